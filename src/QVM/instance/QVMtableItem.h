// QVMtableItem and its kinds: one cell of a table instance, a typed value with a state.
// Empty cells of every column type are string items; a date-time object may ride along on
// any item, shared with the caller who asked for it and with the item that replaces this one.
#pragma once

#include <cstdint>

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

class QVMtableItem : public COLreference {
public:
  ~QVMtableItem() override = default;

  virtual void printOn(COLostream& stream) const = 0;
  virtual COLstring getStringValue() const = 0;
  virtual QVMtableInternalState state() const = 0;
  // Reads in another type than the item's own raise 0x80000100 "Trying to access ...".
  virtual const COLstring& valueAsString() const;
  virtual double valueAsDouble() const;
  virtual int32_t valueAsInteger() const;
  virtual QVMdateTimeInternal& valueAsDateTime();
  // Resets the date-time object, if there is one, to a default (null) date-time.
  virtual void clearDateTime();

  // An independent copy, date-time object included.
  QVMtableItem* copy() const { return static_cast<QVMtableItem*>(copyForClone()); }

  COLreferencePtr<QVMdateTimeInternal> dateTimeObject;

protected:
  QVMtableItem() = default;
  // A copy has a date-time object of its own.
  QVMtableItem(const QVMtableItem& other);
  QVMtableItem& operator=(const QVMtableItem&) = delete;

  // "string", "integer", "double" or "datetime".
  virtual const char* typeWord() const = 0;
  [[noreturn]] void refuse(const char* wanted) const;
  QVMdateTimeInternal& ensureDateTime();
};

class QVMtableInternalStringItem : public QVMtableItem {
public:
  QVMtableInternalStringItem() = default;
  explicit QVMtableInternalStringItem(const COLstring& value) : m_Value(value) {}

  void printOn(COLostream& stream) const override;
  COLstring getStringValue() const override { return m_Value; }
  QVMtableInternalState state() const override;
  const COLstring& valueAsString() const override { return m_Value; }
  double valueAsDouble() const override;
  int32_t valueAsInteger() const override;
  QVMdateTimeInternal& valueAsDateTime() override;

  void setValue(const COLstring& value) { m_Value = value; }

protected:
  COLreference* copyForClone() const override { return new QVMtableInternalStringItem(*this); }
  const char* typeWord() const override { return "string"; }

private:
  COLstring m_Value;
};

class QVMtableInternalIntegerItem : public QVMtableItem {
public:
  explicit QVMtableInternalIntegerItem(int32_t value = 0) : m_Value(value) {}

  void printOn(COLostream& stream) const override;
  COLstring getStringValue() const override;
  QVMtableInternalState state() const override { return QVMtableStateValue; }
  int32_t valueAsInteger() const override { return m_Value; }

  void setValue(int32_t value) { m_Value = value; }

protected:
  COLreference* copyForClone() const override { return new QVMtableInternalIntegerItem(*this); }
  const char* typeWord() const override { return "integer"; }

private:
  int32_t m_Value;
};

class QVMtableInternalDoubleItem : public QVMtableItem {
public:
  explicit QVMtableInternalDoubleItem(double value = 0.0) : m_Value(value) {}

  void printOn(COLostream& stream) const override;
  COLstring getStringValue() const override;
  QVMtableInternalState state() const override { return QVMtableStateValue; }
  double valueAsDouble() const override { return m_Value; }

  void setValue(double value) { m_Value = value; }

protected:
  COLreference* copyForClone() const override { return new QVMtableInternalDoubleItem(*this); }
  const char* typeWord() const override { return "double"; }

private:
  double m_Value;
};

// Holds no value of its own: the value is the date-time object.
class QVMtableInternalDateTimeItem : public QVMtableItem {
public:
  QVMtableInternalDateTimeItem() = default;

  void printOn(COLostream& stream) const override;
  COLstring getStringValue() const override;
  QVMtableInternalState state() const override { return QVMtableStateValue; }
  const COLstring& valueAsString() const override;
  QVMdateTimeInternal& valueAsDateTime() override { return ensureDateTime(); }

  void setValue(const COLdateTime& value) { ensureDateTime() = value; }

protected:
  COLreference* copyForClone() const override { return new QVMtableInternalDateTimeItem(*this); }
  const char* typeWord() const override { return "datetime"; }
};

// Keeps the text that failed to convert; reads of every type answer without complaint.
class QVMtableInternalInvalidItem : public QVMtableItem {
public:
  QVMtableInternalInvalidItem() = default;
  explicit QVMtableInternalInvalidItem(const COLstring& text) : m_Text(text) {}

  void printOn(COLostream& stream) const override;
  COLstring getStringValue() const override { return COLstring(); }
  QVMtableInternalState state() const override { return QVMtableStateInvalid; }
  const COLstring& valueAsString() const override { return m_Text; }
  double valueAsDouble() const override { return 0.0; }
  int32_t valueAsInteger() const override { return 0; }
  QVMdateTimeInternal& valueAsDateTime() override { return ensureDateTime(); }
  // Also marks the object invalid, making one if needed, so the cell stays invalid.
  void clearDateTime() override;

  const COLstring& text() const { return m_Text; }
  void setText(const COLstring& text) { m_Text = text; }

protected:
  COLreference* copyForClone() const override { return new QVMtableInternalInvalidItem(*this); }
  const char* typeWord() const override { return "invalid"; }

private:
  COLstring m_Text;
};

COLostream& operator<<(COLostream& stream, const QVMtableItem& item);
