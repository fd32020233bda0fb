// The two validation rules that hold script code.
#include "QVMsegmentValidationRule.h"

#include "QVMlanguage.h"

// --- Python

struct QVMsegmentValidationRulePythonPrivate {
  LANfunction pythonFunction;
  COLstring description;
  LANengine* languageEngine = nullptr;
};

QVMsegmentValidationRulePython::QVMsegmentValidationRulePython()
    : pRule(std::make_unique<QVMsegmentValidationRulePythonPrivate>()) {}

QVMsegmentValidationRulePython::QVMsegmentValidationRulePython(const QVMsegmentValidationRulePython& other)
    : QVMsegmentValidationRule(other), pRule(std::make_unique<QVMsegmentValidationRulePythonPrivate>(*other.pRule)) {}

QVMsegmentValidationRulePython& QVMsegmentValidationRulePython::operator=(const QVMsegmentValidationRulePython& other) {
  if (this != &other) {
    QVMsegmentValidationRule::operator=(other);
    *pRule = *other.pRule;
  }
  return *this;
}

QVMsegmentValidationRulePython::~QVMsegmentValidationRulePython() = default;

COLstring QVMsegmentValidationRulePython::displayName() const { return pRule->description; }

void QVMsegmentValidationRulePython::setParameter(const COLstring& key, const COLstring& value) {
  if (key == "Description")
    setDescription(value);
  else if (key == "Code")
    setCode(value);
  else if (key == "Name")
    setName(value);
  else
    raiseUnknownKey(key);
}

COLstring QVMsegmentValidationRulePython::parameter(const COLstring& key) const {
  if (key == "Description") return description();
  if (key == "Code") return code();
  if (key == "Name") return name();
  raiseUnknownKey(key);
}

void QVMsegmentValidationRulePython::setLanguageEngine(LANengine* engine) {
  pRule->pythonFunction.setEngine(engine);
  pRule->languageEngine = engine;
}

LANengine* QVMsegmentValidationRulePython::languageEngine() const { return pRule->languageEngine; }
LANfunction& QVMsegmentValidationRulePython::pythonFunction() { return pRule->pythonFunction; }
const LANfunction& QVMsegmentValidationRulePython::pythonFunction() const { return pRule->pythonFunction; }
const COLstring& QVMsegmentValidationRulePython::code() const { return pRule->pythonFunction.code(); }
void QVMsegmentValidationRulePython::setCode(const COLstring& code) { pRule->pythonFunction.setCode(code); }
const COLstring& QVMsegmentValidationRulePython::description() const { return pRule->description; }
void QVMsegmentValidationRulePython::setDescription(const COLstring& description) {
  pRule->description = description;
}

// --- SituationalPython

struct QVMsegmentValidationRuleSituationalPythonPrivate {
  LANengine* languageEngine = nullptr;
  // Run-time state of segment validation; a copy starts without it.
  QVMmessageGrammar* messageGrammar = nullptr;
  const void* lastSegment = nullptr;
  void* messageGrammarListener = nullptr;
  LANfunction pythonCode;
  LANfunction pythonCodeOnError;
  COLstring description;

  QVMsegmentValidationRuleSituationalPythonPrivate() = default;
  QVMsegmentValidationRuleSituationalPythonPrivate(const QVMsegmentValidationRuleSituationalPythonPrivate& other)
      : languageEngine(other.languageEngine), pythonCode(other.pythonCode),
        pythonCodeOnError(other.pythonCodeOnError), description(other.description) {}
};

QVMsegmentValidationRuleSituationalPython::QVMsegmentValidationRuleSituationalPython()
    : pRule(std::make_unique<QVMsegmentValidationRuleSituationalPythonPrivate>()) {}

QVMsegmentValidationRuleSituationalPython::QVMsegmentValidationRuleSituationalPython(
    const QVMsegmentValidationRuleSituationalPython& other)
    : QVMsegmentValidationRule(other),
      pRule(std::make_unique<QVMsegmentValidationRuleSituationalPythonPrivate>(*other.pRule)) {}

QVMsegmentValidationRuleSituationalPython& QVMsegmentValidationRuleSituationalPython::operator=(
    const QVMsegmentValidationRuleSituationalPython& other) {
  if (this != &other) {
    QVMsegmentValidationRule::operator=(other);
    pRule = std::make_unique<QVMsegmentValidationRuleSituationalPythonPrivate>(*other.pRule);
  }
  return *this;
}

QVMsegmentValidationRuleSituationalPython::~QVMsegmentValidationRuleSituationalPython() = default;

COLstring QVMsegmentValidationRuleSituationalPython::displayName() const { return pRule->description; }

void QVMsegmentValidationRuleSituationalPython::setParameter(const COLstring& key, const COLstring& value) {
  if (key == "Description")
    setDescription(value);
  else if (key == "Code")
    setCode(value);
  else if (key == "CodeOnError")
    setCodeOnError(value);
  else if (key == "Name")
    setName(value);
  else
    raiseUnknownKey(key);
}

COLstring QVMsegmentValidationRuleSituationalPython::parameter(const COLstring& key) const {
  if (key == "Description") return description();
  if (key == "Code") return code();
  if (key == "CodeOnError") return codeOnError();
  if (key == "Name") return name();
  raiseUnknownKey(key);
}

void QVMsegmentValidationRuleSituationalPython::setLanguageEngine(LANengine* engine) {
  pRule->pythonCode.setEngine(engine);
  pRule->pythonCodeOnError.setEngine(engine);
  pRule->languageEngine = engine;
}

LANengine* QVMsegmentValidationRuleSituationalPython::languageEngine() const { return pRule->languageEngine; }
LANfunction& QVMsegmentValidationRuleSituationalPython::pythonCode() { return pRule->pythonCode; }
const LANfunction& QVMsegmentValidationRuleSituationalPython::pythonCode() const { return pRule->pythonCode; }
LANfunction& QVMsegmentValidationRuleSituationalPython::pythonCodeOnError() { return pRule->pythonCodeOnError; }
const LANfunction& QVMsegmentValidationRuleSituationalPython::pythonCodeOnError() const {
  return pRule->pythonCodeOnError;
}
const COLstring& QVMsegmentValidationRuleSituationalPython::code() const { return pRule->pythonCode.code(); }
void QVMsegmentValidationRuleSituationalPython::setCode(const COLstring& code) { pRule->pythonCode.setCode(code); }
const COLstring& QVMsegmentValidationRuleSituationalPython::codeOnError() const {
  return pRule->pythonCodeOnError.code();
}
void QVMsegmentValidationRuleSituationalPython::setCodeOnError(const COLstring& code) {
  pRule->pythonCodeOnError.setCode(code);
}
const COLstring& QVMsegmentValidationRuleSituationalPython::description() const { return pRule->description; }
void QVMsegmentValidationRuleSituationalPython::setDescription(const COLstring& description) {
  pRule->description = description;
}

QVMmessageGrammar* QVMsegmentValidationRuleSituationalPython::messageGrammar() const { return pRule->messageGrammar; }
void QVMsegmentValidationRuleSituationalPython::setMessageGrammar(QVMmessageGrammar* grammar) {
  pRule->messageGrammar = grammar;
}
const void* QVMsegmentValidationRuleSituationalPython::lastSegment() const { return pRule->lastSegment; }
void QVMsegmentValidationRuleSituationalPython::setLastSegment(const void* segment) { pRule->lastSegment = segment; }
void* QVMsegmentValidationRuleSituationalPython::messageGrammarListener() const {
  return pRule->messageGrammarListener;
}
void QVMsegmentValidationRuleSituationalPython::setMessageGrammarListener(void* listener) {
  pRule->messageGrammarListener = listener;
}
