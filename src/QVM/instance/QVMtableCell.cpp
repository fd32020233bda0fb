#include "QVMtableCell.h"

#include <utility>

#include "COLerror.h"
#include "COLostream.h"

namespace {
bool isExplicitNull(const COLstring& text) { return text.size() == 2 && text[0] == '"' && text[1] == '"'; }
}  // namespace

QVMtableCell::QVMtableCell(const QVMtableCell& other)
    : m_Kind(other.m_Kind), m_Double(other.m_Double), m_Text(other.m_Text) {
  if (m_Kind == Integer) m_Integer = other.m_Integer;
  // Assigned into a fresh object: a shared one would tie the copy to the original.
  if (other.m_HasDateTime) ensureDateTime() = *other.m_DateTime;
}

QVMtableCell& QVMtableCell::operator=(const QVMtableCell& other) {
  if (this != &other) *this = QVMtableCell(other);
  return *this;
}

QVMtableCell::QVMtableCell(QVMtableCell&& other) noexcept
    : m_Kind(other.m_Kind),
      m_Double(other.m_Double),
      m_Text(std::move(other.m_Text)),
      m_DateTime(std::move(other.m_DateTime)),
      m_HasDateTime(std::exchange(other.m_HasDateTime, false)) {
  if (m_Kind == Integer) m_Integer = other.m_Integer;
}

QVMtableCell& QVMtableCell::operator=(QVMtableCell&& other) noexcept {
  if (this != &other) {
    m_Kind = other.m_Kind;
    m_Double = other.m_Double;
    if (m_Kind == Integer) m_Integer = other.m_Integer;
    m_Text = std::move(other.m_Text);
    m_DateTime = std::move(other.m_DateTime);
    m_HasDateTime = std::exchange(other.m_HasDateTime, false);
  }
  return *this;
}

QVMtableInternalState QVMtableCell::state() const {
  switch (m_Kind) {
    case Text:
      if (m_Text.empty()) return QVMtableStateNull;
      return isExplicitNull(m_Text) ? QVMtableStatePresentButNull : QVMtableStateValue;
    case Invalid: return QVMtableStateInvalid;
    default: return QVMtableStateValue;
  }
}

const char* QVMtableCell::typeWord() const {
  static const char* const Words[] = {"string", "integer", "double", "datetime", "invalid"};
  return Words[m_Kind];
}

void QVMtableCell::refuse(const char* wanted) const {
  COLstring text;
  COLostream(text) << "Trying to access " << typeWord() << " '" << getStringValue() << "' as " << wanted;
  throw COLerror(text, COL_ERROR_PRECONDITION);
}

QVMdateTimeInternal& QVMtableCell::ensureDateTime() {
  if (!m_HasDateTime) {
    // A spare object is the cell's alone (dropDateTime saw to it): it starts over as a new one.
    if (m_DateTime) *m_DateTime = COLdateTime();
    else m_DateTime = new QVMdateTimeInternal;
    m_HasDateTime = true;
  }
  return *m_DateTime;
}

void QVMtableCell::dropDateTime() {
  m_HasDateTime = false;
  // A caller that still holds the object keeps it as it is.
  if (m_DateTime && m_DateTime->countOfRef() != 1) m_DateTime = nullptr;
}

void QVMtableCell::printOn(COLostream& stream) const {
  switch (m_Kind) {
    case Text: stream << '"' << m_Text << '"'; return;
    case Integer: stream << m_Integer; return;
    case Double: stream << m_Double; return;
    case DateTime:
      if (m_HasDateTime) stream << static_cast<const COLdateTime&>(*m_DateTime);
      else stream << COLdateTime();
      return;
    case Invalid: return;
  }
}

COLstring QVMtableCell::getStringValue() const {
  if (m_Kind == Text) return m_Text;
  COLstring text;
  if (m_Kind == Invalid) return text;
  COLostream stream(text);
  printOn(stream);
  return text;
}

const COLstring& QVMtableCell::valueAsString() const {
  if (m_Kind == Text || m_Kind == Invalid) return m_Text;
  // Hosts match the date-time text as it always was, article included.
  refuse(m_Kind == DateTime ? "an string" : "a string");
}

double QVMtableCell::valueAsDouble() const {
  switch (m_Kind) {
    case Double: return m_Double;
    case Invalid: return 0.0;
    case Text:
      if (state() != QVMtableStateValue) return 0.0;
      [[fallthrough]];
    default: refuse("a double");
  }
}

int32_t QVMtableCell::valueAsInteger() const {
  switch (m_Kind) {
    case Integer: return m_Integer;
    case Invalid: return 0;
    case Text:
      if (state() != QVMtableStateValue) return 0;
      [[fallthrough]];
    default: refuse("an integer");
  }
}

QVMdateTimeInternal& QVMtableCell::valueAsDateTime() {
  switch (m_Kind) {
    case DateTime:
    case Invalid: return ensureDateTime();
    case Text:
      if (state() != QVMtableStateValue) return ensureDateTime();
      [[fallthrough]];
    default: refuse("a datetime");
  }
}

void QVMtableCell::clearDateTime() {
  if (m_Kind == Invalid) {
    QVMdateTimeInternal& value = ensureDateTime();
    value = COLdateTime();
    value.setStatus(COLdateTime::invalid);
    return;
  }
  if (m_HasDateTime) *m_DateTime = COLdateTime();
}

void QVMtableCell::reset() {
  m_Kind = Text;
  m_Double = 0.0;
  m_Text.clear();
  dropDateTime();
}

void QVMtableCell::becomeKeepingDateTime(Kind kind, const COLstring& text) {
  m_Kind = kind;
  m_Double = 0.0;
  m_Text = text;
}

void QVMtableCell::changeKind(Kind kind) {
  if (m_Kind == kind) return;
  m_Kind = kind;
  m_Double = 0.0;
  m_Text.clear();
  dropDateTime();
}

void QVMtableCell::setText(const COLstring& value) {
  changeKind(Text);
  m_Text = value;
}

void QVMtableCell::assignText(std::string_view value) {
  changeKind(Text);
  m_Text.str().assign(value);
}

void QVMtableCell::setInteger(int32_t value) {
  changeKind(Integer);
  m_Integer = value;
}

void QVMtableCell::setDouble(double value) {
  changeKind(Double);
  m_Double = value;
}

void QVMtableCell::setDateTime(const COLdateTime& value) {
  changeKind(DateTime);
  ensureDateTime() = value;
}

COLostream& operator<<(COLostream& stream, const QVMtableCell& cell) {
  cell.printOn(stream);
  return stream;
}
