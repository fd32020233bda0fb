// QVMcompositeGrammar: the type of a segment field, a list of typed sub-fields.  A
// sub-field is a plain value (string, integer, double), another composite, a date-time
// or an enumeration; the three last are plain pointers into the same configuration.  A
// composite with no sub-fields is a plain value.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "COLstring.h"
#include "QVMlistedGrammar.h"
#include "QVMdataType.h"

class COLostream;
class QVMengineInternal;
class QVMcompositeGrammar;
class QVMdateTimeGrammar;
class QVMenumerationGrammar;

class QVMcompositeSubField {
public:
  const COLstring& name() const { return m_Name; }
  void setName(const COLstring& name) { m_Name = name; }
  QVMdataType dataType() const { return m_DataType; }
  void setDataType(QVMdataType type) { m_DataType = type; }
  uint32_t maxLength() const { return m_MaxLength; }
  void setMaxLength(uint32_t length) { m_MaxLength = length; }
  bool isLengthRestricted() const { return m_IsLengthRestricted; }
  void setIsLengthRestricted(bool value) { m_IsLengthRestricted = value; }
  bool isRequired() const { return m_IsRequired; }
  void setIsRequired(bool value) { m_IsRequired = value; }
  // Meaningful for the matching data type only.
  QVMcompositeGrammar* compositeType() const { return m_CompositeType; }
  void setCompositeType(QVMcompositeGrammar* composite) { m_CompositeType = composite; }
  QVMdateTimeGrammar* dateTimeGrammar() const { return m_DateTimeGrammar; }
  void setDateTimeGrammar(QVMdateTimeGrammar* grammar) { m_DateTimeGrammar = grammar; }
  QVMenumerationGrammar* enumerationGrammar() const { return m_EnumerationGrammar; }
  void setEnumerationGrammar(QVMenumerationGrammar* grammar) { m_EnumerationGrammar = grammar; }
  // `grammar` is going away: a pointer to it becomes null, and a sub-field typed by it
  // becomes a plain string.
  void forgetGrammar(const void* grammar);

private:
  COLstring m_Name;
  QVMdataType m_DataType = QVMstringType;
  uint32_t m_MaxLength = 0xFFFFFFFF;
  bool m_IsLengthRestricted = false;
  bool m_IsRequired = false;
  QVMcompositeGrammar* m_CompositeType = nullptr;
  QVMdateTimeGrammar* m_DateTimeGrammar = nullptr;
  QVMenumerationGrammar* m_EnumerationGrammar = nullptr;
};

struct QVMcompositeGrammarPrivate;

class QVMcompositeGrammar : public QVMlistedGrammar {
public:
  QVMcompositeGrammar();
  QVMcompositeGrammar(const QVMcompositeGrammar& other);
  QVMcompositeGrammar& operator=(const QVMcompositeGrammar& other);
  virtual ~QVMcompositeGrammar();

  void init(QVMengineInternal* engine);
  void setRootEngine(QVMengineInternal* engine);
  QVMengineInternal* rootEngine() const;

  const COLstring& name() const;
  void setName(const COLstring& name);
  const COLstring& description() const;
  void setDescription(const COLstring& description);

  uint32_t countOfField() const;
  QVMcompositeSubField* field(uint32_t fieldIndex);
  const QVMcompositeSubField* field(uint32_t fieldIndex) const;
  // Inserts a string sub-field at `fieldIndex` (up to the count).
  void addFieldAt(uint32_t fieldIndex);
  void removeField(uint32_t fieldIndex);
  // `to` indexes the list after the removal at `from`.
  void moveField(uint32_t fromIndex, uint32_t toIndex);

  const COLstring& fieldName(uint32_t fieldIndex) const;
  void setFieldName(uint32_t fieldIndex, const COLstring& name);
  QVMdataType fieldDataType(uint32_t fieldIndex) const;
  // String, integer or double only; the other kinds go through their own setters.
  void setFieldDataType(uint32_t fieldIndex, QVMdataType type);
  uint32_t fieldMaxLength(uint32_t fieldIndex) const;
  void setFieldMaxLength(uint32_t fieldIndex, uint32_t length);
  bool fieldIsLengthRestricted(uint32_t fieldIndex) const;
  void setFieldIsLengthRestricted(uint32_t fieldIndex, bool value);
  bool fieldIsRequired(uint32_t fieldIndex) const;
  void setFieldIsRequired(uint32_t fieldIndex, bool value);
  QVMcompositeGrammar* fieldCompositeType(uint32_t fieldIndex) const;
  void setFieldCompositeType(uint32_t fieldIndex, QVMcompositeGrammar* composite);
  QVMdateTimeGrammar* fieldDateTimeGrammar(uint32_t fieldIndex) const;
  void setFieldDateTimeGrammar(uint32_t fieldIndex, QVMdateTimeGrammar* grammar);
  QVMenumerationGrammar* fieldEnumerationGrammar(uint32_t fieldIndex) const;
  void setFieldEnumerationGrammar(uint32_t fieldIndex, QVMenumerationGrammar* grammar);
  // True for the field's own type, and for a string asked of an enumeration field.
  bool fieldDataTypeIsValid(uint32_t fieldIndex, QVMdataType type) const;

private:
  std::unique_ptr<QVMcompositeGrammarPrivate> pMember;
};

// Appends a sub-field; returns its index.
uint32_t QVMcompositeGrammarAddField(QVMcompositeGrammar& grammar);
// "Composite: <name>" and one line per sub-field, sub-composites indented two more blanks.
void QVMcompositeGrammarPrintOn(const QVMcompositeGrammar& grammar, COLostream& stream,
                                const COLstring& indent = COLstring());
// "Field[<1-based index>] <name> - <type text>", without a line end.
void QVMcompositeGrammarPrintField(const QVMcompositeGrammar& grammar, uint32_t fieldIndex, COLostream& stream);
COLostream& operator<<(COLostream& stream, const QVMcompositeGrammar& grammar);
