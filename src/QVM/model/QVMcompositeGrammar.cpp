#include "QVMcompositeGrammar.h"

#include <algorithm>

#include "COLostream.h"
#include "QVMengineInternal.h"
#include "QVMgrammarSupport.h"

struct QVMcompositeGrammarPrivate {
  COLstring name;
  COLstring description;
  // Owned one by one so that a sub-field handed out stays where it is while others move.
  std::vector<std::unique_ptr<QVMcompositeSubField>> fields;
  QVMengineInternal* rootEngine = nullptr;

  QVMcompositeGrammarPrivate() = default;
  QVMcompositeGrammarPrivate(const QVMcompositeGrammarPrivate& other)
      : name(other.name), description(other.description), rootEngine(other.rootEngine) {
    fields.reserve(other.fields.size());
    for (const auto& field : other.fields) fields.push_back(std::make_unique<QVMcompositeSubField>(*field));
  }
};

namespace {

// The kind text of a printed sub-field; enumerations have none in the data-type names.
COLstring QVMcompositeTypeText(QVMdataType type) {
  return type == QVMenumerationType ? COLstring("Enumeration") : QVMoutputDataTypeAsString(type);
}

[[noreturn]] void QVMcompositeRaiseWrongKind(const QVMcompositeGrammar& grammar, uint32_t fieldIndex,
                                             const char* kind) {
  COLstring text;
  COLostream(text) << "Field " << fieldIndex + 1 << "(" << grammar.fieldName(fieldIndex) << ") of composite "
                   << grammar.name() << " is not " << kind << " field.";
  throw COLerror(text, COL_ERROR_PRECONDITION);
}

}  // namespace

void QVMcompositeSubField::forgetGrammar(const void* grammar) {
  bool typedByIt = false;
  if (m_CompositeType == grammar) {
    m_CompositeType = nullptr;
    typedByIt |= m_DataType == QVMcompositeType;
  }
  if (m_DateTimeGrammar == grammar) {
    m_DateTimeGrammar = nullptr;
    typedByIt |= m_DataType == QVMdateTimeType;
  }
  if (m_EnumerationGrammar == grammar) {
    m_EnumerationGrammar = nullptr;
    typedByIt |= m_DataType == QVMenumerationType;
  }
  if (typedByIt) m_DataType = QVMstringType;
}

QVMcompositeGrammar::QVMcompositeGrammar() : pMember(std::make_unique<QVMcompositeGrammarPrivate>()) {}

QVMcompositeGrammar::QVMcompositeGrammar(const QVMcompositeGrammar& other)
    : QVMlistedGrammar(other), pMember(std::make_unique<QVMcompositeGrammarPrivate>(*other.pMember)) {}

QVMcompositeGrammar& QVMcompositeGrammar::operator=(const QVMcompositeGrammar& other) {
  if (this == &other) return *this;
  COLstring oldName = pMember->name;
  QVMdefinitionEdited(pMember->rootEngine);
  pMember = std::make_unique<QVMcompositeGrammarPrivate>(*other.pMember);
  QVMgrammarNameChanged(*this, oldName);
  return *this;
}

QVMcompositeGrammar::~QVMcompositeGrammar() = default;

void QVMcompositeGrammar::init(QVMengineInternal* engine) { pMember->rootEngine = engine; }
void QVMcompositeGrammar::setRootEngine(QVMengineInternal* engine) { pMember->rootEngine = engine; }
QVMengineInternal* QVMcompositeGrammar::rootEngine() const { return pMember->rootEngine; }

const COLstring& QVMcompositeGrammar::name() const { return pMember->name; }
void QVMcompositeGrammar::setName(const COLstring& name) {
  COLstring oldName = std::exchange(pMember->name, name);
  QVMgrammarNameChanged(*this, oldName);
}
const COLstring& QVMcompositeGrammar::description() const { return pMember->description; }
void QVMcompositeGrammar::setDescription(const COLstring& description) { pMember->description = description; }

uint32_t QVMcompositeGrammar::countOfField() const { return static_cast<uint32_t>(pMember->fields.size()); }

// Whoever asks for a sub-field to change it may change its type: plans made from the types
// are stale from here on.
QVMcompositeSubField* QVMcompositeGrammar::field(uint32_t fieldIndex) {
  QVMdefinitionEdited(pMember->rootEngine);
  COL_PRECONDITION_TEXT(fieldIndex < pMember->fields.size(), "FieldIndex < countOfField()");
  return pMember->fields[fieldIndex].get();
}

const QVMcompositeSubField* QVMcompositeGrammar::field(uint32_t fieldIndex) const {
  COL_PRECONDITION_TEXT(fieldIndex < pMember->fields.size(), "FieldIndex < countOfField()");
  return pMember->fields[fieldIndex].get();
}

void QVMcompositeGrammar::addFieldAt(uint32_t fieldIndex) {
  QVMdefinitionEdited(pMember->rootEngine);
  COL_PRECONDITION_TEXT(fieldIndex <= pMember->fields.size(), "FieldIndex <= countOfField()");
  pMember->fields.insert(pMember->fields.begin() + fieldIndex, std::make_unique<QVMcompositeSubField>());
}

void QVMcompositeGrammar::removeField(uint32_t fieldIndex) {
  QVMdefinitionEdited(pMember->rootEngine);
  COL_PRECONDITION_TEXT(fieldIndex < pMember->fields.size(), "FieldIndex < countOfField()");
  pMember->fields.erase(pMember->fields.begin() + fieldIndex);
}

void QVMcompositeGrammar::moveField(uint32_t fromIndex, uint32_t toIndex) {
  QVMdefinitionEdited(pMember->rootEngine);
  QVMmoveElement(pMember->fields, fromIndex, toIndex);
}

const COLstring& QVMcompositeGrammar::fieldName(uint32_t fieldIndex) const { return field(fieldIndex)->name(); }
void QVMcompositeGrammar::setFieldName(uint32_t fieldIndex, const COLstring& name) {
  field(fieldIndex)->setName(name);
}

QVMdataType QVMcompositeGrammar::fieldDataType(uint32_t fieldIndex) const { return field(fieldIndex)->dataType(); }

void QVMcompositeGrammar::setFieldDataType(uint32_t fieldIndex, QVMdataType type) {
  QVMcompositeSubField* subField = field(fieldIndex);
  COL_PRECONDITION_TEXT(type == QVMstringType || type == QVMintegerType || type == QVMdoubleType,
                    "Type == QVMstringType || Type == QVMintegerType || Type == QVMdoubleType");
  subField->setDataType(type);
}

uint32_t QVMcompositeGrammar::fieldMaxLength(uint32_t fieldIndex) const { return field(fieldIndex)->maxLength(); }
void QVMcompositeGrammar::setFieldMaxLength(uint32_t fieldIndex, uint32_t length) {
  field(fieldIndex)->setMaxLength(length);
}

bool QVMcompositeGrammar::fieldIsLengthRestricted(uint32_t fieldIndex) const {
  return field(fieldIndex)->isLengthRestricted();
}
void QVMcompositeGrammar::setFieldIsLengthRestricted(uint32_t fieldIndex, bool value) {
  field(fieldIndex)->setIsLengthRestricted(value);
}

bool QVMcompositeGrammar::fieldIsRequired(uint32_t fieldIndex) const { return field(fieldIndex)->isRequired(); }
void QVMcompositeGrammar::setFieldIsRequired(uint32_t fieldIndex, bool value) {
  field(fieldIndex)->setIsRequired(value);
}

QVMcompositeGrammar* QVMcompositeGrammar::fieldCompositeType(uint32_t fieldIndex) const {
  const QVMcompositeSubField* subField = field(fieldIndex);
  COL_PRECONDITION_TEXT(subField->dataType() == QVMcompositeType, "field(FieldIndex)->dataType() == QVMcompositeType");
  return subField->compositeType();
}

void QVMcompositeGrammar::setFieldCompositeType(uint32_t fieldIndex, QVMcompositeGrammar* composite) {
  QVMcompositeSubField* subField = field(fieldIndex);
  COL_PRECONDITION_TEXT(composite != nullptr, "pNewValue != NULL");
  subField->setCompositeType(composite);
  subField->setDataType(QVMcompositeType);
}

QVMdateTimeGrammar* QVMcompositeGrammar::fieldDateTimeGrammar(uint32_t fieldIndex) const {
  const QVMcompositeSubField* subField = field(fieldIndex);
  if (subField->dataType() != QVMdateTimeType) QVMcompositeRaiseWrongKind(*this, fieldIndex, "a date time");
  return subField->dateTimeGrammar();
}

void QVMcompositeGrammar::setFieldDateTimeGrammar(uint32_t fieldIndex, QVMdateTimeGrammar* grammar) {
  QVMcompositeSubField* subField = field(fieldIndex);
  subField->setDataType(QVMdateTimeType);
  subField->setDateTimeGrammar(grammar);
}

QVMenumerationGrammar* QVMcompositeGrammar::fieldEnumerationGrammar(uint32_t fieldIndex) const {
  const QVMcompositeSubField* subField = field(fieldIndex);
  if (subField->dataType() != QVMenumerationType) QVMcompositeRaiseWrongKind(*this, fieldIndex, "an enumeration");
  return subField->enumerationGrammar();
}

void QVMcompositeGrammar::setFieldEnumerationGrammar(uint32_t fieldIndex, QVMenumerationGrammar* grammar) {
  QVMcompositeSubField* subField = field(fieldIndex);
  subField->setDataType(QVMenumerationType);
  subField->setEnumerationGrammar(grammar);
}

bool QVMcompositeGrammar::fieldDataTypeIsValid(uint32_t fieldIndex, QVMdataType type) const {
  QVMdataType own = field(fieldIndex)->dataType();
  return own == type || (own == QVMenumerationType && type == QVMstringType);
}

// --- free functions

uint32_t QVMcompositeGrammarAddField(QVMcompositeGrammar& grammar) {
  uint32_t index = grammar.countOfField();
  grammar.addFieldAt(index);
  return index;
}

void QVMcompositeGrammarPrintField(const QVMcompositeGrammar& grammar, uint32_t fieldIndex, COLostream& stream) {
  const QVMcompositeSubField* subField = grammar.field(fieldIndex);
  stream << "Field[" << fieldIndex + 1 << "] " << subField->name() << " - "
         << QVMcompositeTypeText(subField->dataType());
}

namespace {

// `path` holds the composites being printed, so that a composite that contains itself
// is shown once rather than forever.
void QVMcompositePrintOn(const QVMcompositeGrammar& grammar, COLostream& stream, const COLstring& indent,
                         std::vector<const QVMcompositeGrammar*>& path) {
  stream << indent << "Composite: " << grammar.name() << newline;
  path.push_back(&grammar);
  COLstring fieldIndent = indent + "  ";
  for (uint32_t i = 0; i < grammar.countOfField(); ++i) {
    stream << fieldIndent;
    QVMcompositeGrammarPrintField(grammar, i, stream);
    stream << newline;
    const QVMcompositeSubField* subField = grammar.field(i);
    const QVMcompositeGrammar* sub = subField->dataType() == QVMcompositeType ? subField->compositeType() : nullptr;
    if (sub && std::find(path.begin(), path.end(), sub) == path.end())
      QVMcompositePrintOn(*sub, stream, fieldIndent + "  ", path);
  }
  path.pop_back();
}

}  // namespace

void QVMcompositeGrammarPrintOn(const QVMcompositeGrammar& grammar, COLostream& stream, const COLstring& indent) {
  std::vector<const QVMcompositeGrammar*> path;
  QVMcompositePrintOn(grammar, stream, indent, path);
}

COLostream& operator<<(COLostream& stream, const QVMcompositeGrammar& grammar) {
  QVMcompositeGrammarPrintOn(grammar, stream);
  return stream;
}
