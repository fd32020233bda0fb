#include "QVMstring.h"

#include <string>

class QVMstringRef {
public:
  explicit QVMstringRef(std::string text) : Text(std::move(text)) {}
  std::string Text;
  int CountOfRef = 1;
};

namespace {
void release(QVMstringRef* ref) {
  if (--ref->CountOfRef == 0) delete ref;
}
const char* orEmpty(const char* text) { return text ? text : ""; }
}  // namespace

QVMstring::QVMstring() : m_Ref(new QVMstringRef(std::string())) {}
QVMstring::QVMstring(const char* text) : m_Ref(new QVMstringRef(orEmpty(text))) {}
QVMstring::QVMstring(const char* text, size_t length)
    : m_Ref(new QVMstringRef(text ? std::string(text, length) : std::string())) {}
QVMstring::QVMstring(const QVMstring& other) : m_Ref(other.m_Ref) { ++m_Ref->CountOfRef; }

QVMstring& QVMstring::operator=(const QVMstring& other) {
  ++other.m_Ref->CountOfRef;
  release(m_Ref);
  m_Ref = other.m_Ref;
  return *this;
}

QVMstring::~QVMstring() { release(m_Ref); }

void QVMstring::Dup() {
  if (m_Ref->CountOfRef == 1) return;
  QVMstringRef* own = new QVMstringRef(m_Ref->Text);
  release(m_Ref);
  m_Ref = own;
}

size_t QVMstring::size() const { return m_Ref->Text.size(); }
const char* QVMstring::get_buffer() const { return m_Ref->Text.c_str(); }
char QVMstring::operator[](size_t index) const { return index < size() ? m_Ref->Text[index] : '\0'; }

const char* QVMstring::find(const char* text, size_t start) const {
  size_t at = find_index(text, start);
  return at == npos ? nullptr : get_buffer() + at;
}

const char* QVMstring::rfind(const char* text) const {
  size_t at = rfind_index(text);
  return at == npos ? nullptr : get_buffer() + at;
}

size_t QVMstring::find_index(const char* text, size_t start) const { return m_Ref->Text.find(orEmpty(text), start); }
size_t QVMstring::rfind_index(const char* text) const { return m_Ref->Text.rfind(orEmpty(text)); }
int QVMstring::compare(const char* text) const { return m_Ref->Text.compare(orEmpty(text)); }

QVMstring QVMstring::substr(size_t start, size_t count) const {
  if (start >= size()) return QVMstring();
  std::string part = m_Ref->Text.substr(start, count);
  return QVMstring(part.data(), part.size());
}

QVMstring& QVMstring::assign(const char* text) { return *this = QVMstring(text); }

QVMstring& QVMstring::append(const char* text) {
  Dup();
  m_Ref->Text += orEmpty(text);
  return *this;
}

QVMstring& QVMstring::prepend(const char* text) { return insert(0, text); }

QVMstring& QVMstring::insert(size_t position, const char* text) {
  Dup();
  m_Ref->Text.insert(position < size() ? position : size(), orEmpty(text));
  return *this;
}

QVMstring& QVMstring::remove(size_t start, size_t count) {
  if (start >= size()) return *this;
  Dup();
  m_Ref->Text.erase(start, count);
  return *this;
}

QVMstring& QVMstring::replace(const char* from, const char* to) {
  const std::string pattern(orEmpty(from)), replacement(orEmpty(to));
  if (pattern.empty() || find_index(from) == npos) return *this;
  Dup();
  std::string& text = m_Ref->Text;
  for (size_t at = text.find(pattern); at != std::string::npos; at = text.find(pattern, at + replacement.size()))
    text.replace(at, pattern.size(), replacement);
  return *this;
}

QVMstring& QVMstring::subChar(char from, char to) {
  Dup();
  for (char& c : m_Ref->Text)
    if (c == from) c = to;
  return *this;
}

QVMstring& QVMstring::strip() {
  const std::string& text = m_Ref->Text;
  const char* blanks = " \t\r\n\f\v";
  size_t first = text.find_first_not_of(blanks);
  if (first == std::string::npos) {
    clear();
    return *this;
  }
  size_t last = text.find_last_not_of(blanks);
  std::string kept = text.substr(first, last - first + 1);
  *this = QVMstring(kept.data(), kept.size());
  return *this;
}

QVMstring& QVMstring::stripAll(char character) {
  Dup();
  std::erase(m_Ref->Text, character);
  return *this;
}

void QVMstring::clear() { *this = QVMstring(); }

QVMstring QVMstring::Join(const QVMstring& first, const QVMstring& second) {
  QVMstring joined(first.get_buffer(), first.size());
  joined.Dup();
  joined.m_Ref->Text += second.m_Ref->Text;
  return joined;
}
