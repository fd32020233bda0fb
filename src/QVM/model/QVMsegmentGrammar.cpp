#include "QVMsegmentGrammar.h"

#include <atomic>
#include <vector>

#include "COLostream.h"
#include "QVMcompositeGrammar.h"
#include "QVMengineInternal.h"
#include "QVMgrammarSupport.h"
#include "QVMlanguage.h"
#include "QVMsegmentValidationRule.h"

// --- QVMsegmentSubField

struct QVMsegmentSubFieldPrivate {
  std::vector<std::unique_ptr<QVMsegmentValidationRule>> rules;
  COLstring name;
  uint32_t maxRepeat = 0;
  bool isRequired = false;
  uint32_t width = 0xFFFFFFFF;
  LANfunction incomingFunction;
  LANfunction outgoingFunction;
  QVMcompositeGrammar* fieldType = nullptr;

  QVMsegmentSubFieldPrivate() = default;
  QVMsegmentSubFieldPrivate(const QVMsegmentSubFieldPrivate& other)
      : name(other.name), maxRepeat(other.maxRepeat), isRequired(other.isRequired), width(other.width),
        incomingFunction(other.incomingFunction), outgoingFunction(other.outgoingFunction),
        fieldType(other.fieldType) {
    rules.reserve(other.rules.size());
    for (const auto& rule : other.rules) rules.push_back(QVMsegmentValidationRuleClone(*rule));
  }
};

QVMsegmentSubField::QVMsegmentSubField() : pMember(std::make_unique<QVMsegmentSubFieldPrivate>()) {}

QVMsegmentSubField::QVMsegmentSubField(const QVMsegmentSubField& other)
    : pMember(std::make_unique<QVMsegmentSubFieldPrivate>(*other.pMember)) {}

QVMsegmentSubField& QVMsegmentSubField::operator=(const QVMsegmentSubField& other) {
  // Built whole before it replaces anything, so a failed rule copy leaves the target as it was.
  if (this != &other) pMember = std::make_unique<QVMsegmentSubFieldPrivate>(*other.pMember);
  return *this;
}

QVMsegmentSubField::~QVMsegmentSubField() = default;

const COLstring& QVMsegmentSubField::name() const { return pMember->name; }
void QVMsegmentSubField::setName(const COLstring& name) { pMember->name = name; }
uint32_t QVMsegmentSubField::maxRepeat() const { return pMember->maxRepeat; }
void QVMsegmentSubField::setMaxRepeat(uint32_t maxRepeat) { pMember->maxRepeat = maxRepeat; }
bool QVMsegmentSubField::isRequired() const { return pMember->isRequired; }
void QVMsegmentSubField::setIsRequired(bool value) { pMember->isRequired = value; }
uint32_t QVMsegmentSubField::width() const { return pMember->width; }
void QVMsegmentSubField::setWidth(uint32_t width) { pMember->width = width; }
LANfunction& QVMsegmentSubField::incomingFunction() { return pMember->incomingFunction; }
const LANfunction& QVMsegmentSubField::incomingFunction() const { return pMember->incomingFunction; }
LANfunction& QVMsegmentSubField::outgoingFunction() { return pMember->outgoingFunction; }
const LANfunction& QVMsegmentSubField::outgoingFunction() const { return pMember->outgoingFunction; }
QVMcompositeGrammar* QVMsegmentSubField::fieldType() const { return pMember->fieldType; }
void QVMsegmentSubField::setFieldType(QVMcompositeGrammar* composite) { pMember->fieldType = composite; }

uint32_t QVMsegmentSubField::countOfValidationRule() const { return static_cast<uint32_t>(pMember->rules.size()); }

QVMsegmentValidationRule* QVMsegmentSubField::validationRule(uint32_t ruleIndex) const {
  COL_PRECONDITION_TEXT(ruleIndex < pMember->rules.size(), "RuleIndex < countOfValidationRules(FieldIndex)");
  return pMember->rules[ruleIndex].get();
}

void QVMsegmentSubField::appendValidationRule(std::unique_ptr<QVMsegmentValidationRule> rule) {
  COL_PRECONDITION_TEXT(rule != nullptr, "pRule != NULL");
  pMember->rules.push_back(std::move(rule));
}

void QVMsegmentSubField::removeValidationRule(uint32_t ruleIndex) {
  COL_PRECONDITION_TEXT(ruleIndex < pMember->rules.size(), "RuleIndex < countOfValidationRules(FieldIndex)");
  pMember->rules.erase(pMember->rules.begin() + ruleIndex);
}

void QVMsegmentSubField::setLanguageEngine(LANengine* engine) {
  pMember->incomingFunction.setEngine(engine);
  pMember->outgoingFunction.setEngine(engine);
  for (auto& rule : pMember->rules) rule->setLanguageEngine(engine);
}

// --- QVMsegmentGrammar

struct QVMsegmentGrammarPrivate {
  COLstring name;
  COLstring description;
  std::vector<std::unique_ptr<QVMsegmentSubField>> fields;
  std::vector<std::unique_ptr<QVMsegmentIdentifier>> identifiers;
  bool hasDelimiters = true;
  QVMengineInternal* rootEngine = nullptr;
  // Not copied: a copy derives its own.
  mutable std::atomic<std::shared_ptr<const QVMsegmentScripts>> scripts;
  // What `scripts` holds, for readers that must not count a reference.
  mutable std::atomic<const QVMsegmentScripts*> scriptsInPlace{nullptr};

  QVMsegmentGrammarPrivate() = default;
  QVMsegmentGrammarPrivate(const QVMsegmentGrammarPrivate& other)
      : name(other.name), description(other.description), hasDelimiters(other.hasDelimiters),
        rootEngine(other.rootEngine) {
    fields.reserve(other.fields.size());
    for (const auto& field : other.fields) fields.push_back(std::make_unique<QVMsegmentSubField>(*field));
    identifiers.reserve(other.identifiers.size());
    for (const auto& identifier : other.identifiers)
      identifiers.push_back(std::make_unique<QVMsegmentIdentifier>(*identifier));
  }
};

QVMsegmentGrammar::QVMsegmentGrammar() : pMember(std::make_unique<QVMsegmentGrammarPrivate>()) {}

QVMsegmentGrammar::QVMsegmentGrammar(const QVMsegmentGrammar& other)
    : QVMlistedGrammar(other), pMember(std::make_unique<QVMsegmentGrammarPrivate>(*other.pMember)) {
  initValidationRules();
}

QVMsegmentGrammar& QVMsegmentGrammar::operator=(const QVMsegmentGrammar& other) {
  if (this == &other) return *this;
  QVMengineInternal* ownEngine = pMember->rootEngine;
  QVMdefinitionEdited(ownEngine);
  COLstring oldName = pMember->name;
  pMember = std::make_unique<QVMsegmentGrammarPrivate>(*other.pMember);
  initValidationRules();
  if (ownEngine)
    init(ownEngine);
  else
    pMember->rootEngine = nullptr;
  QVMgrammarNameChanged(*this, oldName);
  return *this;
}

QVMsegmentGrammar::~QVMsegmentGrammar() = default;

void QVMsegmentGrammar::init(QVMengineInternal* engine) {
  COL_PRECONDITION_TEXT(engine != nullptr, "pEngine != NULL");
  pMember->rootEngine = engine;
  LANengine* languageEngine = &engine->LanguageEngine();
  for (auto& field : pMember->fields) field->setLanguageEngine(languageEngine);
}

QVMengineInternal* QVMsegmentGrammar::rootEngine() const { return pMember->rootEngine; }

LANengine* QVMsegmentGrammar::languageEngine() const {
  return pMember->rootEngine ? &pMember->rootEngine->LanguageEngine() : nullptr;
}

void QVMsegmentGrammar::initValidationRules() {
  // Called whenever fields come, go or move.
  scriptsChanged();
  for (uint32_t fieldIndex = 0; fieldIndex < pMember->fields.size(); ++fieldIndex) {
    const QVMsegmentSubField& field = *pMember->fields[fieldIndex];
    for (uint32_t i = 0; i < field.countOfValidationRule(); ++i)
      field.validationRule(i)->initializeNew(this, fieldIndex);
  }
}

const COLstring& QVMsegmentGrammar::name() const { return pMember->name; }
void QVMsegmentGrammar::setName(const COLstring& name) {
  COLstring oldName = std::exchange(pMember->name, name);
  QVMgrammarNameChanged(*this, oldName);
}
const COLstring& QVMsegmentGrammar::description() const { return pMember->description; }
void QVMsegmentGrammar::setDescription(const COLstring& description) { pMember->description = description; }
bool QVMsegmentGrammar::hasDelimiters() const { return pMember->hasDelimiters; }
void QVMsegmentGrammar::setHasDelimiters(bool value) { pMember->hasDelimiters = value; }

uint32_t QVMsegmentGrammar::countOfField() const { return static_cast<uint32_t>(pMember->fields.size()); }

QVMsegmentSubField& QVMsegmentGrammar::checkedField(uint32_t fieldIndex) const {
  COL_PRECONDITION_TEXT(fieldIndex < pMember->fields.size(), "FieldIndex < pMember->Field.size()");
  return *pMember->fields[fieldIndex];
}

QVMsegmentSubField* QVMsegmentGrammar::field(uint32_t fieldIndex) {
  scriptsChanged();
  fieldsChanged();
  return &checkedField(fieldIndex);
}
const QVMsegmentSubField* QVMsegmentGrammar::field(uint32_t fieldIndex) const { return &checkedField(fieldIndex); }

void QVMsegmentGrammar::insertField(uint32_t fieldIndex) {
  fieldsChanged();
  COL_PRECONDITION_TEXT(fieldIndex <= pMember->fields.size(), "FieldIndex <= countOfField()");
  auto field = std::make_unique<QVMsegmentSubField>();
  field->setLanguageEngine(languageEngine());
  pMember->fields.insert(pMember->fields.begin() + fieldIndex, std::move(field));
  // The rules of the fields behind it moved one place on.
  initValidationRules();
}

void QVMsegmentGrammar::removeField(uint32_t fieldIndex) {
  fieldsChanged();
  COL_PRECONDITION_TEXT(fieldIndex < pMember->fields.size(), "FieldIndex < pMember->Field.size()");
  pMember->fields.erase(pMember->fields.begin() + fieldIndex);
  initValidationRules();
}

void QVMsegmentGrammar::moveField(uint32_t fromIndex, uint32_t toIndex) {
  fieldsChanged();
  QVMmoveElement(pMember->fields, fromIndex, toIndex);
  // Refreshed at once so that a rule always names the field that holds it.
  initValidationRules();
}

const COLstring& QVMsegmentGrammar::fieldName(uint32_t fieldIndex) const { return checkedField(fieldIndex).name(); }
void QVMsegmentGrammar::setFieldName(uint32_t fieldIndex, const COLstring& name) {
  checkedField(fieldIndex).setName(name);
}
uint32_t QVMsegmentGrammar::fieldMaxRepeat(uint32_t fieldIndex) const { return checkedField(fieldIndex).maxRepeat(); }
void QVMsegmentGrammar::setFieldMaxRepeat(uint32_t fieldIndex, uint32_t maxRepeat) {
  checkedField(fieldIndex).setMaxRepeat(maxRepeat);
}
bool QVMsegmentGrammar::isFieldRequired(uint32_t fieldIndex) const { return checkedField(fieldIndex).isRequired(); }
void QVMsegmentGrammar::setIsFieldRequired(uint32_t fieldIndex, bool value) {
  checkedField(fieldIndex).setIsRequired(value);
}
QVMcompositeGrammar* QVMsegmentGrammar::fieldType(uint32_t fieldIndex) const {
  return checkedField(fieldIndex).fieldType();
}
void QVMsegmentGrammar::setFieldType(uint32_t fieldIndex, QVMcompositeGrammar* composite) {
  fieldsChanged();
  QVMsegmentSubField& field = checkedField(fieldIndex);
  COL_PRECONDITION_TEXT(composite != nullptr, "pCompositeGrammar != NULL");
  field.setFieldType(composite);
}
uint32_t QVMsegmentGrammar::fieldWidth(uint32_t fieldIndex) const { return checkedField(fieldIndex).width(); }
void QVMsegmentGrammar::setFieldWidth(uint32_t fieldIndex, uint32_t width) { checkedField(fieldIndex).setWidth(width); }
LANfunction& QVMsegmentGrammar::fieldIncomingFunction(uint32_t fieldIndex) {
  scriptsChanged();
  return checkedField(fieldIndex).incomingFunction();
}
const LANfunction& QVMsegmentGrammar::fieldIncomingFunction(uint32_t fieldIndex) const {
  return checkedField(fieldIndex).incomingFunction();
}
LANfunction& QVMsegmentGrammar::fieldOutgoingFunction(uint32_t fieldIndex) {
  return checkedField(fieldIndex).outgoingFunction();
}
const LANfunction& QVMsegmentGrammar::fieldOutgoingFunction(uint32_t fieldIndex) const {
  return checkedField(fieldIndex).outgoingFunction();
}

uint32_t QVMsegmentGrammar::countOfIdentifier() const { return static_cast<uint32_t>(pMember->identifiers.size()); }

QVMsegmentIdentifier* QVMsegmentGrammar::identifier(uint32_t identifierIndex) {
  COL_PRECONDITION_TEXT(identifierIndex < pMember->identifiers.size(), "IdentifierIndex < countOfIdentifier()");
  return pMember->identifiers[identifierIndex].get();
}

const QVMsegmentIdentifier* QVMsegmentGrammar::identifier(uint32_t identifierIndex) const {
  COL_PRECONDITION_TEXT(identifierIndex < pMember->identifiers.size(), "IdentifierIndex < countOfIdentifier()");
  return pMember->identifiers[identifierIndex].get();
}

QVMsegmentIdentifier* QVMsegmentGrammar::addIdentifierAt(uint32_t identifierIndex) {
  COL_PRECONDITION_TEXT(identifierIndex <= pMember->identifiers.size(), "IdentifierIndex <= countOfIdentifier()");
  auto inserted = pMember->identifiers.insert(pMember->identifiers.begin() + identifierIndex,
                                              std::make_unique<QVMsegmentIdentifier>());
  return inserted->get();
}

void QVMsegmentGrammar::removeIdentifier(uint32_t identifierIndex) {
  COL_PRECONDITION_TEXT(identifierIndex < pMember->identifiers.size(), "IdentifierIndex < countOfIdentifier()");
  pMember->identifiers.erase(pMember->identifiers.begin() + identifierIndex);
}

uint32_t QVMsegmentGrammar::countOfValidationRules(uint32_t fieldIndex) const {
  return checkedField(fieldIndex).countOfValidationRule();
}

QVMsegmentValidationRule* QVMsegmentGrammar::addValidationRule(uint32_t fieldIndex, uint32_t ruleType) {
  COL_PRECONDITION_TEXT(fieldIndex < pMember->fields.size(), "FieldIndex < countOfField()");
  std::unique_ptr<QVMsegmentValidationRule> rule = QVMsegmentValidationRuleCreate(ruleType);
  QVMsegmentValidationRule* added = rule.get();
  pMember->fields[fieldIndex]->appendValidationRule(std::move(rule));
  scriptsChanged();
  added->initializeNew(this, fieldIndex);
  if (pMember->rootEngine) added->setLanguageEngine(languageEngine());
  return added;
}

QVMsegmentValidationRule* QVMsegmentGrammar::getValidationRule(uint32_t fieldIndex, uint32_t ruleIndex) const {
  return checkedField(fieldIndex).validationRule(ruleIndex);
}

void QVMsegmentGrammar::removeValidationRule(uint32_t fieldIndex, uint32_t ruleIndex) {
  checkedField(fieldIndex).removeValidationRule(ruleIndex);
  scriptsChanged();
}

void QVMsegmentGrammar::scriptsChanged() {
  pMember->scriptsInPlace.store(nullptr, std::memory_order_release);
  pMember->scripts.store(nullptr, std::memory_order_release);
}

void QVMsegmentGrammar::fieldsChanged() { QVMdefinitionEdited(pMember->rootEngine); }

const QVMsegmentScripts& QVMsegmentGrammar::currentScripts() const {
  if (const QVMsegmentScripts* Known = pMember->scriptsInPlace.load(std::memory_order_acquire)) return *Known;
  return *scripts();
}

std::shared_ptr<const QVMsegmentScripts> QVMsegmentGrammar::scripts() const {
  std::shared_ptr<const QVMsegmentScripts> Known = pMember->scripts.load(std::memory_order_acquire);
  if (Known) return Known;
  auto Built = std::make_shared<QVMsegmentScripts>();
  for (uint32_t Index = 0; Index < pMember->fields.size(); ++Index) {
    const QVMsegmentSubField& Field = *pMember->fields[Index];
    if (Field.incomingFunction().state() != LANfunction::StateEmpty) Built->equationFields.push_back(Index);
    Built->hasRules = Built->hasRules || Field.countOfValidationRule() != 0;
  }
  // Two parses may build it at once: the first one's stays, so that what currentScripts()
  // handed out is never replaced under a reader.
  std::shared_ptr<const QVMsegmentScripts> Expected;
  if (!pMember->scripts.compare_exchange_strong(Expected, Built, std::memory_order_acq_rel)) return Expected;
  pMember->scriptsInPlace.store(Built.get(), std::memory_order_release);
  return Built;
}

bool QVMsegmentGrammar::operator==(const QVMsegmentGrammar& other) const {
  if (name() != other.name() || description() != other.description()) return false;
  if (countOfIdentifier() != other.countOfIdentifier()) return false;
  for (uint32_t i = 0; i < countOfIdentifier(); ++i)
    if (*identifier(i) != *other.identifier(i)) return false;
  return true;
}

// --- free functions

QVMsegmentIdentifier* QVMsegmentGrammarAddIdentifier(QVMsegmentGrammar& grammar) {
  return grammar.addIdentifierAt(grammar.countOfIdentifier());
}

uint32_t QVMsegmentGrammarAddFieldWithoutInitialization(QVMsegmentGrammar& grammar) {
  uint32_t index = grammar.countOfField();
  grammar.insertField(index);
  return index;
}

void QVMsegmentGrammarInsertFieldWithInitialization(QVMsegmentGrammar& grammar, uint32_t fieldIndex) {
  QVMengineInternal* engine = grammar.rootEngine();
  COL_PRECONDITION_TEXT(engine && engine->countOfComposite() > 0, "Grammar.rootEngine()->countOfComposite() > 0");
  grammar.insertField(fieldIndex);
  grammar.setFieldType(fieldIndex, engine->composite(0));
}

COLstring QVMsegmentGrammarFullName(const QVMsegmentGrammar& grammar) {
  COLstring fullName = grammar.name();
  uint32_t count = grammar.countOfIdentifier();
  for (uint32_t i = 0; i < count; ++i) {
    fullName += i == 0 ? '[' : '-';
    fullName += grammar.identifier(i)->value();
  }
  if (count > 0) fullName += ']';
  return fullName;
}

void QVMsegmentGrammarPrintFieldOn(const QVMsegmentGrammar& grammar, uint32_t fieldIndex, COLostream& stream) {
  const QVMsegmentSubField* field = grammar.field(fieldIndex);
  const QVMcompositeGrammar* type = field->fieldType();
  stream << "Field[" << fieldIndex + 1 << "] " << field->name() << " (" << (type ? type->name() : COLstring())
         << "), " << field->maxRepeat();
}

void QVMsegmentGrammarPrintOn(const QVMsegmentGrammar& grammar, COLostream& stream, const COLstring& indent) {
  stream << indent << "Segment: " << grammar.name() << newline;
  for (uint32_t i = 0; i < grammar.countOfField(); ++i) {
    stream << indent << "  ";
    QVMsegmentGrammarPrintFieldOn(grammar, i, stream);
    stream << newline;
  }
}

COLostream& operator<<(COLostream& stream, const QVMsegmentGrammar& grammar) {
  QVMsegmentGrammarPrintOn(grammar, stream);
  return stream;
}
