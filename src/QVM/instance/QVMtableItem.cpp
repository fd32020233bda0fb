#include "QVMtableItem.h"

#include "COLerror.h"
#include "COLostream.h"

namespace {
bool isExplicitNull(const COLstring& text) { return text.size() == 2 && text[0] == '"' && text[1] == '"'; }
}  // namespace

QVMtableItem::QVMtableItem(const QVMtableItem& other) : COLreference() {
  // Assigned rather than copy-constructed: a copied reference count would never reach zero.
  if (other.dateTimeObject) ensureDateTime() = *other.dateTimeObject;
}

void QVMtableItem::refuse(const char* wanted) const {
  COLstring text;
  COLostream(text) << "Trying to access " << typeWord() << " '" << getStringValue() << "' as " << wanted;
  throw COLerror(text, COL_ERROR_PRECONDITION);
}

const COLstring& QVMtableItem::valueAsString() const { refuse("a string"); }
double QVMtableItem::valueAsDouble() const { refuse("a double"); }
int32_t QVMtableItem::valueAsInteger() const { refuse("an integer"); }
QVMdateTimeInternal& QVMtableItem::valueAsDateTime() { refuse("a datetime"); }

void QVMtableItem::clearDateTime() {
  if (dateTimeObject) *dateTimeObject = COLdateTime();
}

QVMdateTimeInternal& QVMtableItem::ensureDateTime() {
  if (!dateTimeObject) dateTimeObject = new QVMdateTimeInternal;
  return *dateTimeObject;
}

// --- string

QVMtableInternalState QVMtableInternalStringItem::state() const {
  if (m_Value.empty()) return QVMtableStateNull;
  return isExplicitNull(m_Value) ? QVMtableStatePresentButNull : QVMtableStateValue;
}

void QVMtableInternalStringItem::printOn(COLostream& stream) const { stream << '"' << m_Value << '"'; }

double QVMtableInternalStringItem::valueAsDouble() const {
  if (state() == QVMtableStateValue) refuse("a double");
  return 0.0;
}

int32_t QVMtableInternalStringItem::valueAsInteger() const {
  if (state() == QVMtableStateValue) refuse("an integer");
  return 0;
}

QVMdateTimeInternal& QVMtableInternalStringItem::valueAsDateTime() {
  if (state() == QVMtableStateValue) refuse("a datetime");
  return ensureDateTime();
}

// --- numbers

void QVMtableInternalIntegerItem::printOn(COLostream& stream) const { stream << m_Value; }

COLstring QVMtableInternalIntegerItem::getStringValue() const {
  COLstring text;
  COLostream(text) << m_Value;
  return text;
}

void QVMtableInternalDoubleItem::printOn(COLostream& stream) const { stream << m_Value; }

COLstring QVMtableInternalDoubleItem::getStringValue() const {
  COLstring text;
  COLostream(text) << m_Value;
  return text;
}

// --- date-time

void QVMtableInternalDateTimeItem::printOn(COLostream& stream) const {
  if (dateTimeObject) stream << static_cast<const COLdateTime&>(*dateTimeObject);
  else stream << COLdateTime();
}

// Hosts match this text as it always was, article included.
const COLstring& QVMtableInternalDateTimeItem::valueAsString() const { refuse("an string"); }

COLstring QVMtableInternalDateTimeItem::getStringValue() const {
  COLstring text;
  COLostream stream(text);
  printOn(stream);
  return text;
}

// --- invalid

void QVMtableInternalInvalidItem::printOn(COLostream&) const {}

void QVMtableInternalInvalidItem::clearDateTime() {
  QVMdateTimeInternal& value = ensureDateTime();
  value = COLdateTime();
  value.setStatus(COLdateTime::invalid);
}

COLostream& operator<<(COLostream& stream, const QVMtableItem& item) {
  item.printOn(stream);
  return stream;
}
