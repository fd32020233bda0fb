#include "QVMdateTimeGrammar.h"

#include <vector>

#include "COLostream.h"
#include "QVMgrammarSupport.h"

struct QVMdateTimeGrammarPrivate {
  QVMengineInternal* rootEngine = nullptr;
  bool fieldsRequired = false;
  COLstring name;
  std::vector<QVMdateTimeGrammar::QVMdateTimeInternalMaskItem> mask;
  COLstring description;
};

QVMdateTimeGrammar::QVMdateTimeGrammar() : pMember(std::make_unique<QVMdateTimeGrammarPrivate>()) {}

QVMdateTimeGrammar::QVMdateTimeGrammar(const QVMdateTimeGrammar& other)
    : QVMlistedGrammar(other), pMember(std::make_unique<QVMdateTimeGrammarPrivate>(*other.pMember)) {}

QVMdateTimeGrammar& QVMdateTimeGrammar::operator=(const QVMdateTimeGrammar& other) {
  if (this == &other) return *this;
  COLstring oldName = pMember->name;
  *pMember = *other.pMember;
  QVMgrammarNameChanged(*this, oldName);
  return *this;
}

QVMdateTimeGrammar::~QVMdateTimeGrammar() = default;

void QVMdateTimeGrammar::init(QVMengineInternal* engine) { pMember->rootEngine = engine; }
QVMengineInternal* QVMdateTimeGrammar::rootEngine() const { return pMember->rootEngine; }

const COLstring& QVMdateTimeGrammar::name() const { return pMember->name; }
void QVMdateTimeGrammar::setName(const COLstring& name) {
  COLstring oldName = std::exchange(pMember->name, name);
  QVMgrammarNameChanged(*this, oldName);
}
const COLstring& QVMdateTimeGrammar::description() const { return pMember->description; }
void QVMdateTimeGrammar::setDescription(const COLstring& description) { pMember->description = description; }
bool QVMdateTimeGrammar::fieldsRequired() const { return pMember->fieldsRequired; }
void QVMdateTimeGrammar::setFieldsRequired(bool value) { pMember->fieldsRequired = value; }

uint32_t QVMdateTimeGrammar::countOfMaskItem() const { return static_cast<uint32_t>(pMember->mask.size()); }

QVMdateTimeGrammar::QVMdateTimeInternalMaskItem QVMdateTimeGrammar::maskItem(uint32_t itemIndex) const {
  COL_PRECONDITION_TEXT(itemIndex < pMember->mask.size(), "ItemIndex < pMember->MaskVector.size()");
  return pMember->mask[itemIndex];
}

void QVMdateTimeGrammar::setMaskItem(uint32_t itemIndex, QVMdateTimeInternalMaskItem item) {
  COL_PRECONDITION_TEXT(itemIndex < pMember->mask.size(), "ItemIndex < pMember->MaskVector.size()");
  pMember->mask[itemIndex] = item;
}

void QVMdateTimeGrammar::addMaskItemAt(uint32_t itemIndex) {
  COL_PRECONDITION_TEXT(itemIndex <= pMember->mask.size(), "ItemIndex <= pMember->MaskVector.size()");
  pMember->mask.insert(pMember->mask.begin() + itemIndex, MaskYear);
}

void QVMdateTimeGrammar::removeMaskItem(uint32_t itemIndex) {
  COL_PRECONDITION_TEXT(itemIndex < pMember->mask.size(), "ItemIndex < pMember->MaskVector.size()");
  pMember->mask.erase(pMember->mask.begin() + itemIndex);
}

void QVMdateTimeGrammar::moveField(uint32_t fromIndex, uint32_t toIndex) {
  QVMmoveElement(pMember->mask, fromIndex, toIndex);
}

uint32_t QVMdateTimeGrammarAddMaskItem(QVMdateTimeGrammar& grammar,
                                       QVMdateTimeGrammar::QVMdateTimeInternalMaskItem item) {
  uint32_t index = grammar.countOfMaskItem();
  grammar.addMaskItemAt(index);
  grammar.setMaskItem(index, item);
  return index;
}

const char* QVMdateTimeGrammarMaskItemText(uint32_t item) {
  switch (item) {
    case QVMdateTimeGrammar::MaskYear: return "YYYY";
    case QVMdateTimeGrammar::MaskMonth: return "MM";
    case QVMdateTimeGrammar::MaskDay: return "DD";
    case QVMdateTimeGrammar::MaskHour: return "HH";
    case QVMdateTimeGrammar::MaskMinute: return "mm";
    case QVMdateTimeGrammar::MaskSecond: return "SS";
    case QVMdateTimeGrammar::MaskFraction: return ".SSSS";
    case QVMdateTimeGrammar::MaskTimeZone: return "+/-ZZZZ";
    default: return "!Unknown!";
  }
}

void QVMdateTimeGrammarOutputElement(COLostream& stream, uint32_t item) {
  stream << QVMdateTimeGrammarMaskItemText(item);
}

COLostream& operator<<(COLostream& stream, const QVMdateTimeGrammar& grammar) {
  uint32_t count = grammar.countOfMaskItem();
  if (grammar.fieldsRequired()) {
    for (uint32_t i = 0; i < count; ++i) QVMdateTimeGrammarOutputElement(stream, grammar.maskItem(i));
    return stream;
  }
  // Every part after the first may be left off at the end: each one opens a bracket that
  // closes after the last.  A trailing time zone may be left off by itself.
  bool trailingZone = count > 0 && grammar.maskItem(count - 1) == QVMdateTimeGrammar::MaskTimeZone;
  uint32_t nested = trailingZone ? count - 1 : count;
  for (uint32_t i = 0; i < nested; ++i) {
    if (i > 0) stream << '[';
    QVMdateTimeGrammarOutputElement(stream, grammar.maskItem(i));
  }
  for (uint32_t i = 1; i < nested; ++i) stream << ']';
  if (trailingZone) {
    stream << '[';
    QVMdateTimeGrammarOutputElement(stream, QVMdateTimeGrammar::MaskTimeZone);
    stream << ']';
  }
  return stream;
}
