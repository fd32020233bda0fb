// QVMtableCell: one cell of a table instance, a typed value with a state, held by value in
// its table's cell array (no heap object per cell).  A date-time object may ride along on
// any cell, shared with the caller who asked for it and kept when the cell changes kind.  When
// the cell lets go of it and nobody else holds it, its storage stays for the next date-time,
// so refilling a table message after message makes none.
#pragma once

#include <cstdint>
#include <string_view>

#include "COLreference.h"
#include "COLstring.h"
#include "QVMdateTimeInternal.h"

class COLostream;

enum QVMtableInternalState : uint32_t {
  QVMtableStateValue = 0,
  QVMtableStatePresentButNull = 1,  // the message held the explicit null ""
  QVMtableStateNull = 2,            // nothing was there
  QVMtableStateInvalid = 3,         // text that did not fit the column's type
};

class QVMtableCell {
public:
  // Empty cells of every column type are text cells.
  enum Kind : uint8_t { Text, Integer, Double, DateTime, Invalid };

  QVMtableCell() = default;
  explicit QVMtableCell(const COLstring& text) : m_Text(text) {}
  // A copy has a date-time object of its own.
  QVMtableCell(const QVMtableCell& other);
  QVMtableCell& operator=(const QVMtableCell& other);
  QVMtableCell(QVMtableCell&& other) noexcept;
  QVMtableCell& operator=(QVMtableCell&& other) noexcept;

  Kind kind() const { return m_Kind; }
  // Nothing there and no date-time object that could change that: the state is null.
  bool isPlainNull() const { return m_Kind == Text && !m_HasDateTime && m_Text.empty(); }
  QVMtableInternalState state() const;
  // The text of the value whatever its kind; none for an invalid cell.
  COLstring getStringValue() const;
  void printOn(COLostream& stream) const;

  // Reads in another type than the cell's own raise 0x80000100 "Trying to access ...";
  // empty and explicit-null text read as 0, invalid cells read as anything.
  const COLstring& valueAsString() const;
  double valueAsDouble() const;
  int32_t valueAsInteger() const;
  QVMdateTimeInternal& valueAsDateTime();
  // Resets the date-time object, if there is one, to a default (null) date-time; an invalid
  // cell makes one if needed and marks it invalid, so the cell stays invalid.
  void clearDateTime();

  // Back to a fresh (null text) cell without its date-time object; the text keeps its buffer.
  void reset();
  // Turns the cell into another kind with an empty value, keeping the date-time object.
  void becomeKeepingDateTime(Kind kind, const COLstring& text = COLstring());
  // Sets a value of the cell's kind in place, or turns the cell into that kind; a change of
  // kind lets go of the date-time object.
  void setText(const COLstring& value);
  // As setText, copying the bytes into the cell's own buffer.
  void assignText(std::string_view value);
  void setInteger(int32_t value);
  void setDouble(double value);
  void setDateTime(const COLdateTime& value);
  // The text kept by an invalid cell.
  void setInvalidText(const COLstring& text) { m_Text = text; }
  void assignInvalidText(std::string_view text) { m_Text.str().assign(text); }

  // The date-time object, null when the cell has none (a spare one kept for reuse included).
  const COLreferencePtr<QVMdateTimeInternal>& dateTimeObject() const {
    static const COLreferencePtr<QVMdateTimeInternal> None;
    return m_HasDateTime ? m_DateTime : None;
  }

private:
  // "string", "integer", "double", "datetime" or "invalid".
  const char* typeWord() const;
  [[noreturn]] void refuse(const char* wanted) const;
  QVMdateTimeInternal& ensureDateTime();
  // Lets go of the date-time object; its storage stays when no caller shares it.
  void dropDateTime();
  void changeKind(Kind kind);

  Kind m_Kind = Text;
  union {
    int32_t m_Integer;
    double m_Double = 0.0;
  };
  COLstring m_Text;  // the text of a text cell, or what failed to convert in an invalid one
  // Set or spare: only m_HasDateTime says whether the cell has a date-time object.
  COLreferencePtr<QVMdateTimeInternal> m_DateTime;
  bool m_HasDateTime = false;
};

COLostream& operator<<(COLostream& stream, const QVMtableCell& cell);
