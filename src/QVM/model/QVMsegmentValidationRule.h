// Validation rules: extra checks on one field of a segment grammar, beyond what the
// field's type says.  A field owns its rules; this header gives their data and common
// behaviour, running them against a message belongs to segment validation.
#pragma once

#include <cstdint>
#include <memory>

#include "COLerror.h"
#include "COLstring.h"

class LANengine;
class LANfunction;
class REXmatcher;
class QVMmessageGrammar;
class QVMsegmentGrammar;
struct QVMsegmentValidationRulePrivate;

// The kinds, by class id.
enum QVMsegmentValidationRuleType : uint32_t {
  QVMconditionalFieldRule = 0,
  QVMregularExpressionRule = 1,
  QVMregExpPairRule = 2,
  QVMpythonRule = 3,
  QVMsituationalPythonRule = 4,
};

class QVMsegmentValidationRule {
public:
  QVMsegmentValidationRule();
  QVMsegmentValidationRule(const QVMsegmentValidationRule& other);
  QVMsegmentValidationRule& operator=(const QVMsegmentValidationRule& other);
  virtual ~QVMsegmentValidationRule();

  virtual uint32_t classId() const = 0;
  virtual const char* className() const = 0;
  // Short description of this rule for the user.
  virtual COLstring displayName() const = 0;
  // Unknown keys raise 0x80000100 "<key> is not a recognized key for this validation rule."
  virtual void setParameter(const COLstring& key, const COLstring& value) = 0;
  virtual COLstring parameter(const COLstring& key) const = 0;
  // Only the rules with code use the interpreter.
  virtual void setLanguageEngine(LANengine* engine);

  // Binds the rule to its segment grammar and field.
  void initializeNew(QVMsegmentGrammar* segment, uint32_t fieldIndex);
  QVMsegmentGrammar* segmentGrammar() const;
  uint32_t fieldIndex() const;
  void setFieldIndex(uint32_t fieldIndex);
  const COLstring& name() const;
  void setName(const COLstring& name);

  // The error that a failed rule reports (code 0x80002006, with the rule and field named).
  COLerror getError() const;
  // The field's name, empty when the rule is unbound or the field is gone.
  COLstring fieldNameAt(uint32_t fieldIndex) const;

protected:
  uint32_t segmentFieldCount() const;
  [[noreturn]] static void raiseUnknownKey(const COLstring& key);

private:
  std::unique_ptr<QVMsegmentValidationRulePrivate> pMember;
};

// Creates an unbound rule of kind `ruleType`; other kinds raise "Unknown validation rule type.".
std::unique_ptr<QVMsegmentValidationRule> QVMsegmentValidationRuleCreate(uint32_t ruleType);
// Copies a rule by its class id; an unknown id raises "Unknown validation rule".
std::unique_ptr<QVMsegmentValidationRule> QVMsegmentValidationRuleClone(const QVMsegmentValidationRule& rule);

// The field that must hold a value (when this field does).
class QVMsegmentValidationRuleConditionalField : public QVMsegmentValidationRule {
public:
  uint32_t classId() const override { return QVMconditionalFieldRule; }
  const char* className() const override { return "Required Field"; }
  COLstring displayName() const override;
  void setParameter(const COLstring& key, const COLstring& value) override;
  COLstring parameter(const COLstring& key) const override;

  uint32_t requiredField() const { return m_RequiredField; }
  void setRequiredField(uint32_t fieldIndex) { m_RequiredField = fieldIndex; }

private:
  uint32_t m_RequiredField = 0;
};

struct QVMsegmentValidationRuleRegularExpressionPrivate;

class QVMsegmentValidationRuleRegularExpression : public QVMsegmentValidationRule {
public:
  QVMsegmentValidationRuleRegularExpression();
  QVMsegmentValidationRuleRegularExpression(const QVMsegmentValidationRuleRegularExpression& other);
  QVMsegmentValidationRuleRegularExpression& operator=(const QVMsegmentValidationRuleRegularExpression& other);
  ~QVMsegmentValidationRuleRegularExpression() override;

  uint32_t classId() const override { return QVMregularExpressionRule; }
  const char* className() const override { return "Regular Expression"; }
  COLstring displayName() const override;
  void setParameter(const COLstring& key, const COLstring& value) override;
  COLstring parameter(const COLstring& key) const override;

  REXmatcher& regularExpression();
  const REXmatcher& regularExpression() const;

private:
  std::unique_ptr<QVMsegmentValidationRuleRegularExpressionPrivate> pRule;
};

struct QVMsegmentValidationRuleRegExpPairPrivate;

// When the dependent field matches its pattern, this field must match its own.
class QVMsegmentValidationRuleRegExpPair : public QVMsegmentValidationRule {
public:
  QVMsegmentValidationRuleRegExpPair();
  QVMsegmentValidationRuleRegExpPair(const QVMsegmentValidationRuleRegExpPair& other);
  QVMsegmentValidationRuleRegExpPair& operator=(const QVMsegmentValidationRuleRegExpPair& other);
  ~QVMsegmentValidationRuleRegExpPair() override;

  uint32_t classId() const override { return QVMregExpPairRule; }
  const char* className() const override { return "Regular Expression Pair"; }
  COLstring displayName() const override;
  void setParameter(const COLstring& key, const COLstring& value) override;
  COLstring parameter(const COLstring& key) const override;

  REXmatcher& dependentFieldRegex();
  const REXmatcher& dependentFieldRegex() const;
  REXmatcher& fieldRegex();
  const REXmatcher& fieldRegex() const;
  uint32_t dependentFieldIndex() const;
  void setDependentFieldIndex(uint32_t fieldIndex);

private:
  std::unique_ptr<QVMsegmentValidationRuleRegExpPairPrivate> pRule;
};

struct QVMsegmentValidationRulePythonPrivate;

class QVMsegmentValidationRulePython : public QVMsegmentValidationRule {
public:
  QVMsegmentValidationRulePython();
  QVMsegmentValidationRulePython(const QVMsegmentValidationRulePython& other);
  QVMsegmentValidationRulePython& operator=(const QVMsegmentValidationRulePython& other);
  ~QVMsegmentValidationRulePython() override;

  uint32_t classId() const override { return QVMpythonRule; }
  const char* className() const override { return "Python Validation Rule"; }
  COLstring displayName() const override;
  void setParameter(const COLstring& key, const COLstring& value) override;
  COLstring parameter(const COLstring& key) const override;
  void setLanguageEngine(LANengine* engine) override;
  LANengine* languageEngine() const;

  LANfunction& pythonFunction();
  const LANfunction& pythonFunction() const;
  const COLstring& code() const;
  void setCode(const COLstring& code);
  const COLstring& description() const;
  void setDescription(const COLstring& description);

private:
  std::unique_ptr<QVMsegmentValidationRulePythonPrivate> pRule;
};

struct QVMsegmentValidationRuleSituationalPythonPrivate;

// A script rule with a second script that runs when the first reports a failure; the
// three pointers are run-time state of segment validation.
class QVMsegmentValidationRuleSituationalPython : public QVMsegmentValidationRule {
public:
  QVMsegmentValidationRuleSituationalPython();
  QVMsegmentValidationRuleSituationalPython(const QVMsegmentValidationRuleSituationalPython& other);
  QVMsegmentValidationRuleSituationalPython& operator=(const QVMsegmentValidationRuleSituationalPython& other);
  ~QVMsegmentValidationRuleSituationalPython() override;

  uint32_t classId() const override { return QVMsituationalPythonRule; }
  const char* className() const override { return "Situational Python Validation Rule"; }
  COLstring displayName() const override;
  void setParameter(const COLstring& key, const COLstring& value) override;
  COLstring parameter(const COLstring& key) const override;
  void setLanguageEngine(LANengine* engine) override;
  LANengine* languageEngine() const;

  LANfunction& pythonCode();
  const LANfunction& pythonCode() const;
  LANfunction& pythonCodeOnError();
  const LANfunction& pythonCodeOnError() const;
  const COLstring& code() const;
  void setCode(const COLstring& code);
  const COLstring& codeOnError() const;
  void setCodeOnError(const COLstring& code);
  const COLstring& description() const;
  void setDescription(const COLstring& description);

  QVMmessageGrammar* messageGrammar() const;
  void setMessageGrammar(QVMmessageGrammar* grammar);
  const void* lastSegment() const;
  void setLastSegment(const void* segment);
  void* messageGrammarListener() const;
  void setMessageGrammarListener(void* listener);

private:
  std::unique_ptr<QVMsegmentValidationRuleSituationalPythonPrivate> pRule;
};
