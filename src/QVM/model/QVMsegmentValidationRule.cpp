#include "QVMsegmentValidationRule.h"

#include <cstdlib>

#include "COLostream.h"
#include "QVMsegmentGrammar.h"
#include "REXmatcher.h"

// --- the base

struct QVMsegmentValidationRulePrivate {
  QVMsegmentGrammar* segmentGrammar = nullptr;
  COLstring name;
  uint32_t fieldIndex = 0;
};

QVMsegmentValidationRule::QVMsegmentValidationRule() : pMember(std::make_unique<QVMsegmentValidationRulePrivate>()) {}

QVMsegmentValidationRule::QVMsegmentValidationRule(const QVMsegmentValidationRule& other)
    : pMember(std::make_unique<QVMsegmentValidationRulePrivate>(*other.pMember)) {}

QVMsegmentValidationRule& QVMsegmentValidationRule::operator=(const QVMsegmentValidationRule& other) {
  if (this != &other) *pMember = *other.pMember;
  return *this;
}

QVMsegmentValidationRule::~QVMsegmentValidationRule() = default;

void QVMsegmentValidationRule::setLanguageEngine(LANengine*) {}

void QVMsegmentValidationRule::initializeNew(QVMsegmentGrammar* segment, uint32_t fieldIndex) {
  pMember->segmentGrammar = segment;
  pMember->fieldIndex = fieldIndex;
}

QVMsegmentGrammar* QVMsegmentValidationRule::segmentGrammar() const { return pMember->segmentGrammar; }
uint32_t QVMsegmentValidationRule::fieldIndex() const { return pMember->fieldIndex; }
void QVMsegmentValidationRule::setFieldIndex(uint32_t fieldIndex) { pMember->fieldIndex = fieldIndex; }
const COLstring& QVMsegmentValidationRule::name() const { return pMember->name; }
void QVMsegmentValidationRule::setName(const COLstring& name) { pMember->name = name; }

uint32_t QVMsegmentValidationRule::segmentFieldCount() const {
  return pMember->segmentGrammar ? pMember->segmentGrammar->countOfField() : 0;
}

COLstring QVMsegmentValidationRule::fieldNameAt(uint32_t fieldIndex) const {
  if (fieldIndex >= segmentFieldCount()) return COLstring();
  return pMember->segmentGrammar->fieldName(fieldIndex);
}

void QVMsegmentValidationRule::raiseUnknownKey(const COLstring& key) {
  throw COLerror(key + " is not a recognized key for this validation rule.", COL_ERROR_PRECONDITION);
}

COLerror QVMsegmentValidationRule::getError() const {
  COLerror error("A validation rule has failed. ", COL_ERROR_VALIDATION_RULE);
  error.setParameter("ValidationRuleClassId", static_cast<unsigned>(classId()));
  error.setParameter("ValidationRuleClassName", COLstring(className()));
  error.setParameter("ValidationRuleName", displayName());
  error.setParameter("FieldIndex", static_cast<unsigned>(fieldIndex() + 1));
  error.setParameter("FieldName", fieldNameAt(fieldIndex()));
  error.setParameter("MessageSegmentName", pMember->segmentGrammar ? pMember->segmentGrammar->name() : COLstring());
  return error;
}

namespace {

COLstring QVMruleDecimal(uint32_t value) {
  COLstring text;
  COLostream(text) << value;
  return text;
}

// As atoi: leading blanks and a sign are read, anything else ends the number.
uint32_t QVMruleParseIndex(const COLstring& text) { return static_cast<uint32_t>(std::atoi(text.c_str())); }

}  // namespace

std::unique_ptr<QVMsegmentValidationRule> QVMsegmentValidationRuleCreate(uint32_t ruleType) {
  switch (ruleType) {
    case QVMconditionalFieldRule: return std::make_unique<QVMsegmentValidationRuleConditionalField>();
    case QVMregularExpressionRule: return std::make_unique<QVMsegmentValidationRuleRegularExpression>();
    case QVMregExpPairRule: return std::make_unique<QVMsegmentValidationRuleRegExpPair>();
    case QVMpythonRule: return std::make_unique<QVMsegmentValidationRulePython>();
    case QVMsituationalPythonRule: return std::make_unique<QVMsegmentValidationRuleSituationalPython>();
    default: break;
  }
  throw COLerror("Unknown validation rule type.", COL_ERROR_PRECONDITION);
}

std::unique_ptr<QVMsegmentValidationRule> QVMsegmentValidationRuleClone(const QVMsegmentValidationRule& rule) {
  // By class id rather than by dynamic type: a rule's id is what it is stored and shown as.
  switch (rule.classId()) {
    case QVMconditionalFieldRule:
      return std::make_unique<QVMsegmentValidationRuleConditionalField>(
          static_cast<const QVMsegmentValidationRuleConditionalField&>(rule));
    case QVMregularExpressionRule:
      return std::make_unique<QVMsegmentValidationRuleRegularExpression>(
          static_cast<const QVMsegmentValidationRuleRegularExpression&>(rule));
    case QVMregExpPairRule:
      return std::make_unique<QVMsegmentValidationRuleRegExpPair>(
          static_cast<const QVMsegmentValidationRuleRegExpPair&>(rule));
    case QVMpythonRule:
      return std::make_unique<QVMsegmentValidationRulePython>(static_cast<const QVMsegmentValidationRulePython&>(rule));
    case QVMsituationalPythonRule:
      return std::make_unique<QVMsegmentValidationRuleSituationalPython>(
          static_cast<const QVMsegmentValidationRuleSituationalPython&>(rule));
    default: break;
  }
  throw COLerror("Unknown validation rule", COL_ERROR_PRECONDITION);
}

// --- ConditionalField

COLstring QVMsegmentValidationRuleConditionalField::displayName() const {
  if (m_RequiredField >= segmentFieldCount()) return "Undefined";
  return fieldNameAt(m_RequiredField);
}

void QVMsegmentValidationRuleConditionalField::setParameter(const COLstring& key, const COLstring& value) {
  if (key == "FieldIndex")
    m_RequiredField = QVMruleParseIndex(value);
  else if (key == "Name")
    setName(value);
  else
    raiseUnknownKey(key);
}

COLstring QVMsegmentValidationRuleConditionalField::parameter(const COLstring& key) const {
  if (key == "FieldIndex") return QVMruleDecimal(m_RequiredField);
  if (key == "Name") return name();
  raiseUnknownKey(key);
}

// --- RegularExpression

struct QVMsegmentValidationRuleRegularExpressionPrivate {
  REXmatcher regularExpression;
};

QVMsegmentValidationRuleRegularExpression::QVMsegmentValidationRuleRegularExpression()
    : pRule(std::make_unique<QVMsegmentValidationRuleRegularExpressionPrivate>()) {}

QVMsegmentValidationRuleRegularExpression::QVMsegmentValidationRuleRegularExpression(
    const QVMsegmentValidationRuleRegularExpression& other)
    : QVMsegmentValidationRule(other),
      pRule(std::make_unique<QVMsegmentValidationRuleRegularExpressionPrivate>(*other.pRule)) {}

QVMsegmentValidationRuleRegularExpression& QVMsegmentValidationRuleRegularExpression::operator=(
    const QVMsegmentValidationRuleRegularExpression& other) {
  if (this != &other) {
    QVMsegmentValidationRule::operator=(other);
    *pRule = *other.pRule;
  }
  return *this;
}

QVMsegmentValidationRuleRegularExpression::~QVMsegmentValidationRuleRegularExpression() = default;

COLstring QVMsegmentValidationRuleRegularExpression::displayName() const {
  return pRule->regularExpression.pattern();
}

void QVMsegmentValidationRuleRegularExpression::setParameter(const COLstring& key, const COLstring& value) {
  if (key == "RegularExpression")
    pRule->regularExpression.init(value, 0);
  else if (key == "Name")
    setName(value);
  else
    raiseUnknownKey(key);
}

COLstring QVMsegmentValidationRuleRegularExpression::parameter(const COLstring& key) const {
  if (key == "RegularExpression") return pRule->regularExpression.pattern();
  if (key == "Name") return name();
  raiseUnknownKey(key);
}

REXmatcher& QVMsegmentValidationRuleRegularExpression::regularExpression() { return pRule->regularExpression; }
const REXmatcher& QVMsegmentValidationRuleRegularExpression::regularExpression() const {
  return pRule->regularExpression;
}

// --- RegExpPair

struct QVMsegmentValidationRuleRegExpPairPrivate {
  REXmatcher dependentFieldRegex;
  REXmatcher fieldRegex;
  uint32_t dependentFieldIndex = 0;
};

QVMsegmentValidationRuleRegExpPair::QVMsegmentValidationRuleRegExpPair()
    : pRule(std::make_unique<QVMsegmentValidationRuleRegExpPairPrivate>()) {}

QVMsegmentValidationRuleRegExpPair::QVMsegmentValidationRuleRegExpPair(const QVMsegmentValidationRuleRegExpPair& other)
    : QVMsegmentValidationRule(other), pRule(std::make_unique<QVMsegmentValidationRuleRegExpPairPrivate>(*other.pRule)) {}

QVMsegmentValidationRuleRegExpPair& QVMsegmentValidationRuleRegExpPair::operator=(
    const QVMsegmentValidationRuleRegExpPair& other) {
  if (this != &other) {
    QVMsegmentValidationRule::operator=(other);
    *pRule = *other.pRule;
  }
  return *this;
}

QVMsegmentValidationRuleRegExpPair::~QVMsegmentValidationRuleRegExpPair() = default;

COLstring QVMsegmentValidationRuleRegExpPair::displayName() const {
  uint32_t count = segmentFieldCount();
  if (pRule->dependentFieldIndex >= count || fieldIndex() >= count || !pRule->dependentFieldRegex.isExpressionValid() ||
      !pRule->fieldRegex.isExpressionValid())
    return "Invalid rule";
  COLstring text;
  COLostream(text) << "If " << fieldNameAt(pRule->dependentFieldIndex) << " matches "
                   << pRule->dependentFieldRegex.pattern() << " this field (" << fieldNameAt(fieldIndex())
                   << ") must match " << pRule->fieldRegex.pattern();
  return text;
}

void QVMsegmentValidationRuleRegExpPair::setParameter(const COLstring& key, const COLstring& value) {
  if (key == "DependentFieldRegExp")
    pRule->dependentFieldRegex.init(value, 0);
  else if (key == "FieldRegExp")
    pRule->fieldRegex.init(value, 0);
  else if (key == "DependentFieldIndex")
    pRule->dependentFieldIndex = QVMruleParseIndex(value);
  else if (key == "Name")
    setName(value);
  else
    raiseUnknownKey(key);
}

COLstring QVMsegmentValidationRuleRegExpPair::parameter(const COLstring& key) const {
  if (key == "DependentFieldRegExp") return pRule->dependentFieldRegex.pattern();
  if (key == "FieldRegExp") return pRule->fieldRegex.pattern();
  if (key == "DependentFieldIndex") return QVMruleDecimal(pRule->dependentFieldIndex);
  if (key == "Name") return name();
  raiseUnknownKey(key);
}

REXmatcher& QVMsegmentValidationRuleRegExpPair::dependentFieldRegex() { return pRule->dependentFieldRegex; }
const REXmatcher& QVMsegmentValidationRuleRegExpPair::dependentFieldRegex() const { return pRule->dependentFieldRegex; }
REXmatcher& QVMsegmentValidationRuleRegExpPair::fieldRegex() { return pRule->fieldRegex; }
const REXmatcher& QVMsegmentValidationRuleRegExpPair::fieldRegex() const { return pRule->fieldRegex; }
uint32_t QVMsegmentValidationRuleRegExpPair::dependentFieldIndex() const { return pRule->dependentFieldIndex; }
void QVMsegmentValidationRuleRegExpPair::setDependentFieldIndex(uint32_t fieldIndex) {
  pRule->dependentFieldIndex = fieldIndex;
}
