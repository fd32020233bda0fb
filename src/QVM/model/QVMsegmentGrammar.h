// QVMsegmentGrammar: what one segment holds: its fields (each typed by a composite, with
// repeat limit, fixed width, field scripts and validation rules) and the identifiers that
// tell variants of one segment apart.  Held per configuration by QVMengineConfig; message
// grammars point at it.  Fields are reached by index in constant time.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "COLstring.h"
#include "QVMlistedGrammar.h"
#include "QVMidentifier.h"

class COLostream;
class LANengine;
class LANfunction;
class QVMengineInternal;
class QVMcompositeGrammar;
class QVMsegmentGrammar;
class QVMsegmentValidationRule;
struct QVMsegmentSubFieldPrivate;
struct QVMsegmentGrammarPrivate;

// One field of a segment.  Copying clones the validation rules by their kind; the copies
// still point at the source's grammar until QVMsegmentGrammar::initValidationRules.
class QVMsegmentSubField {
public:
  QVMsegmentSubField();
  QVMsegmentSubField(const QVMsegmentSubField& other);
  QVMsegmentSubField& operator=(const QVMsegmentSubField& other);
  ~QVMsegmentSubField();

  const COLstring& name() const;
  void setName(const COLstring& name);
  // Repeats after the first occurrence; 0 means no limit.
  uint32_t maxRepeat() const;
  void setMaxRepeat(uint32_t maxRepeat);
  bool isRequired() const;
  void setIsRequired(bool value);
  // 0xFFFFFFFF: not a fixed-width field.
  uint32_t width() const;
  void setWidth(uint32_t width);
  LANfunction& incomingFunction();
  const LANfunction& incomingFunction() const;
  LANfunction& outgoingFunction();
  const LANfunction& outgoingFunction() const;
  QVMcompositeGrammar* fieldType() const;
  void setFieldType(QVMcompositeGrammar* composite);

  uint32_t countOfValidationRule() const;
  QVMsegmentValidationRule* validationRule(uint32_t ruleIndex) const;
  // Takes ownership.
  void appendValidationRule(std::unique_ptr<QVMsegmentValidationRule> rule);
  void removeValidationRule(uint32_t ruleIndex);
  // Gives both field scripts the interpreter.
  void setLanguageEngine(LANengine* engine);

private:
  std::unique_ptr<QVMsegmentSubFieldPrivate> pMember;
};

// What the per-segment checks of a parse need to know of the fields' scripts, so that a segment
// without any costs one test: the fields with an incoming equation, and whether any field has
// validation rules.
struct QVMsegmentScripts {
  std::vector<uint32_t> equationFields;
  bool hasRules = false;
};

class QVMsegmentGrammar : public QVMlistedGrammar {
public:
  QVMsegmentGrammar();
  // Copies fields (cloning rules by kind) and repoints the copied rules at the copy.
  QVMsegmentGrammar(const QVMsegmentGrammar& other);
  // As the copy; the target keeps its own engine.
  QVMsegmentGrammar& operator=(const QVMsegmentGrammar& other);
  ~QVMsegmentGrammar();

  void init(QVMengineInternal* engine);
  QVMengineInternal* rootEngine() const;
  // The root engine's interpreter; null without an engine.
  LANengine* languageEngine() const;
  // Binds every rule of every field to this grammar and to its field's index.
  void initValidationRules();

  const COLstring& name() const;
  void setName(const COLstring& name);
  const COLstring& description() const;
  void setDescription(const COLstring& description);
  bool hasDelimiters() const;
  void setHasDelimiters(bool value);

  uint32_t countOfField() const;
  // The mutable accessors (this one, fieldIncomingFunction) drop scripts(): a script may be
  // edited through what they return.
  QVMsegmentSubField* field(uint32_t fieldIndex);
  const QVMsegmentSubField* field(uint32_t fieldIndex) const;
  // Inserts a default field at `fieldIndex` (up to the count), its scripts on the engine.
  void insertField(uint32_t fieldIndex);
  void removeField(uint32_t fieldIndex);
  // `to` indexes the list after the removal at `from`.
  void moveField(uint32_t fromIndex, uint32_t toIndex);

  const COLstring& fieldName(uint32_t fieldIndex) const;
  void setFieldName(uint32_t fieldIndex, const COLstring& name);
  uint32_t fieldMaxRepeat(uint32_t fieldIndex) const;
  void setFieldMaxRepeat(uint32_t fieldIndex, uint32_t maxRepeat);
  bool isFieldRequired(uint32_t fieldIndex) const;
  void setIsFieldRequired(uint32_t fieldIndex, bool value);
  QVMcompositeGrammar* fieldType(uint32_t fieldIndex) const;
  void setFieldType(uint32_t fieldIndex, QVMcompositeGrammar* composite);
  uint32_t fieldWidth(uint32_t fieldIndex) const;
  void setFieldWidth(uint32_t fieldIndex, uint32_t width);
  LANfunction& fieldIncomingFunction(uint32_t fieldIndex);
  const LANfunction& fieldIncomingFunction(uint32_t fieldIndex) const;
  LANfunction& fieldOutgoingFunction(uint32_t fieldIndex);
  const LANfunction& fieldOutgoingFunction(uint32_t fieldIndex) const;

  uint32_t countOfIdentifier() const;
  QVMsegmentIdentifier* identifier(uint32_t identifierIndex);
  const QVMsegmentIdentifier* identifier(uint32_t identifierIndex) const;
  // Inserts an empty identifier at `identifierIndex` (up to the count) and returns it.
  QVMsegmentIdentifier* addIdentifierAt(uint32_t identifierIndex);
  void removeIdentifier(uint32_t identifierIndex);

  uint32_t countOfValidationRules(uint32_t fieldIndex) const;
  // Creates a rule of kind `ruleType` (0 to 4) on the field, bound to it, and returns it.
  QVMsegmentValidationRule* addValidationRule(uint32_t fieldIndex, uint32_t ruleType);
  QVMsegmentValidationRule* getValidationRule(uint32_t fieldIndex, uint32_t ruleIndex) const;
  void removeValidationRule(uint32_t fieldIndex, uint32_t ruleIndex);

  // Derived from the fields on first use after an edit; safe to read from parses on any thread,
  // while no edit runs.
  std::shared_ptr<const QVMsegmentScripts> scripts() const;
  // The same without counting a reference, for the per-segment step of a parse: a counted copy
  // would make every parse thread write the one shared count.  Valid until the next edit.
  const QVMsegmentScripts& currentScripts() const;

  // Name, description and identifiers (by value and node address); fields do not count.
  bool operator==(const QVMsegmentGrammar& other) const;
  bool operator!=(const QVMsegmentGrammar& other) const { return !(*this == other); }

private:
  QVMsegmentSubField& checkedField(uint32_t fieldIndex) const;
  void scriptsChanged();
  // The fields' layout or types changed: plans made from them are stale.
  void fieldsChanged();

  std::unique_ptr<QVMsegmentGrammarPrivate> pMember;
};

// Appends an empty identifier; returns it.
QVMsegmentIdentifier* QVMsegmentGrammarAddIdentifier(QVMsegmentGrammar& grammar);
// Appends a field with no type; returns its index.
uint32_t QVMsegmentGrammarAddFieldWithoutInitialization(QVMsegmentGrammar& grammar);
// Inserts a field typed by composite 0 of the current configuration (there must be one).
void QVMsegmentGrammarInsertFieldWithInitialization(QVMsegmentGrammar& grammar, uint32_t fieldIndex);
// The name, followed by the identifier values as "[v1-v2]" when there are identifiers.
COLstring QVMsegmentGrammarFullName(const QVMsegmentGrammar& grammar);
void QVMsegmentGrammarPrintOn(const QVMsegmentGrammar& grammar, COLostream& stream,
                              const COLstring& indent = COLstring());
// "Field[<1-based index>] <name> (<composite name>), <max repeat>", without a line end.
void QVMsegmentGrammarPrintFieldOn(const QVMsegmentGrammar& grammar, uint32_t fieldIndex, COLostream& stream);
COLostream& operator<<(COLostream& stream, const QVMsegmentGrammar& grammar);
