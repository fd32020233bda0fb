#include "COLstring.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cwchar>

#include "COLbuffer.h"
#include "COLerror.h"

COLstring::COLstring(const COLstring& source, size_t start, size_t count) {
  const size_t length = source.size();
  if (length == 0) {
    COL_PRECONDITION(start == 0);
    return;
  }
  COL_PRECONDITION(start <= length);
  m_Str.assign(source.m_Str, start, count);
}

COLstring::COLstring(const char* source, size_t start, size_t count) {
  if (!source) return;
  const size_t length = std::strlen(source);
  if (length == 0) {
    COL_PRECONDITION(start == 0);
    return;
  }
  COL_PRECONDITION(start <= length);
  m_Str.assign(source + start, std::min(count, length - start));
}

COLstring::COLstring(const char* text, COLbuffer* buffer) {
  COL_PRECONDITION(buffer != nullptr);
  if (text) m_Str.assign(text);
}

COLstring::COLstring(const wchar_t* text) {
  if (!text) return;
  std::mbstate_t state{};
  const wchar_t* cursor = text;
  size_t needed = std::wcsrtombs(nullptr, &cursor, 0, &state);
  if (needed == static_cast<size_t>(-1))
    throw COLerror("Unable to convert wide char string to multibyte string, locale may be incorrect.",
                   0x80000500);
  m_Str.resize(needed);
  cursor = text;
  state = std::mbstate_t{};
  std::wcsrtombs(m_Str.data(), &cursor, needed, &state);
}

void COLstring::setCapacity(size_t n) {
  if (capacity() < n) m_Str.reserve(std::max(n, 2 * capacity()) - 1);
}

void COLstring::setSize(size_t newSize) {
  COL_PRECONDITION(newSize < capacity());
  m_Str.resize(newSize);
}

char& COLstring::operator[](size_t CharIndex) {
  COL_PRECONDITION(CharIndex < m_Str.length());
  return m_Str[CharIndex];
}

char COLstring::operator[](size_t CharIndex) const {
  COL_PRECONDITION(CharIndex < m_Str.length());
  return m_Str[CharIndex];
}

COLstring& COLstring::operator+=(const char* SourceString) {
  COL_PRECONDITION(SourceString != NULL);
  m_Str.append(SourceString);
  return *this;
}

COLstring& COLstring::append(const char* data, size_t start, size_t count) {
  if (!data) return *this;
  data += start;
  if (count == npos) count = std::strlen(data);
  m_Str.append(data, count);
  return *this;
}

COLstring& COLstring::append(size_t count, const char* Buffer) {
  if (count == 0) return *this;
  COL_PRECONDITION(Buffer != NULL);
  m_Str.append(Buffer, count);  // std::string copes with a source inside itself
  return *this;
}

int COLstring::compare(const char* ComparisonString) const {
  COL_PRECONDITION(NULL != ComparisonString);
  return std::strcmp(c_str(), ComparisonString);
}

size_t COLstring::find(char c, size_t start) const {
  if (start >= size()) return npos;
  const char* hit = std::strchr(c_str() + start, c);
  // strchr finds the terminator when asked for NUL; that is not a character of the text.
  if (!hit || (c == '\0' && static_cast<size_t>(hit - c_str()) >= size())) return npos;
  return static_cast<size_t>(hit - c_str());
}

size_t COLstring::find(const char* text, size_t start) const {
  if (!text || !*text || start >= size()) return npos;
  const char* hit = std::strstr(c_str() + start, text);
  return hit ? static_cast<size_t>(hit - c_str()) : npos;
}

size_t COLstring::rfind(char c, size_t start) const {
  if (empty()) return npos;
  // Stop at the first NUL like every other search.
  const size_t visible = std::strlen(c_str());
  if (visible == 0) return npos;
  size_t i = std::min(start, visible - 1);
  for (;; --i) {
    if (m_Str[i] == c) return i;
    if (i == 0) return npos;
  }
}

size_t COLstring::rfind(const char* text, size_t start) const {
  if (!text || !*text || empty()) return npos;
  const size_t visible = std::strlen(c_str());
  const size_t needle = std::strlen(text);
  if (visible < needle) return npos;
  size_t i = std::min(std::min(start, visible - 1), visible - needle);
  for (;; --i) {
    if (std::memcmp(c_str() + i, text, needle) == 0) return i;
    if (i == 0) return npos;
  }
}

COLstring COLstring::substr(size_t start, size_t count) const {
  if (start >= size()) return COLstring();
  return COLstring(m_Str.substr(start, count));
}

COLstring COLstring::strip(int type, char c) const {
  size_t begin = 0;
  size_t end = size();
  if (type & StripLeading)
    while (begin < end && m_Str[begin] == c) ++begin;
  if (type & StripTrailing)
    while (end > begin && m_Str[end - 1] == c) --end;
  return COLstring(std::string_view(m_Str).substr(begin, end - begin));
}

void COLstring::stripAll(char c) { std::erase(m_Str, c); }

void COLstring::subChar(char from, char to) { std::replace(m_Str.begin(), m_Str.end(), from, to); }

namespace {
// Both halves are computed before either output is written, so left or right may be *this.
void assignHalves(const std::string& text, size_t leftEnd, size_t rightStart, COLstring& left, COLstring& right) {
  std::string l = text.substr(0, leftEnd);
  std::string r = rightStart < text.size() ? text.substr(rightStart) : std::string();
  left.str() = std::move(l);
  right.str() = std::move(r);
}
}  // namespace

bool COLstring::split(COLstring& left, COLstring& right, char separator) const {
  const size_t at = find(separator);
  if (at == npos) {
    assignHalves(m_Str, m_Str.size(), m_Str.size(), left, right);
    return false;
  }
  assignHalves(m_Str, at, at + 1, left, right);
  return true;
}

bool COLstring::split(COLstring& left, COLstring& right, const char* separator) const {
  const size_t at = find(separator);
  if (at == npos) {
    assignHalves(m_Str, m_Str.size(), m_Str.size(), left, right);
    return false;
  }
  assignHalves(m_Str, at, at + std::strlen(separator), left, right);
  return true;
}

bool COLstring::rsplit(COLstring& left, COLstring& right, char separator) const {
  const size_t at = rfind(separator);
  if (at == npos) {
    assignHalves(m_Str, 0, 0, left, right);
    return false;
  }
  assignHalves(m_Str, at, at + 1, left, right);
  return true;
}

bool COLstring::rsplit(COLstring& left, COLstring& right, const char* separator) const {
  const size_t at = rfind(separator);
  if (at == npos) {
    assignHalves(m_Str, 0, 0, left, right);
    return false;
  }
  assignHalves(m_Str, at, at + std::strlen(separator), left, right);
  return true;
}

void COLstring::splitAtIndex(COLstring& left, COLstring& right, size_t index) const {
  const size_t at = std::min(index, m_Str.size());
  assignHalves(m_Str, at, at, left, right);
}

COLstring& COLstring::replace(size_t start, size_t count, const COLstring& text, size_t textStart,
                              size_t textCount) {
  if (start > size()) return *this;
  const std::string piece = textStart < text.size() ? text.m_Str.substr(textStart, textCount) : std::string();
  m_Str.replace(start, count, piece);
  return *this;
}

COLstring& COLstring::remove(size_t start, size_t count) {
  if (start > size()) return *this;
  m_Str.erase(start, count);
  return *this;
}

COLstring& COLstring::insert(size_t index, const COLstring& text, size_t start, size_t count) {
  const std::string piece = start < text.size() ? text.m_Str.substr(start, count) : std::string();
  if (m_Str.empty()) {
    m_Str = piece;
    return *this;
  }
  m_Str.insert(std::min(index, m_Str.size()), piece);
  return *this;
}

size_t COLstring::substrreplace(const char* from, const char* to) {
  if (!from || !*from) return 0;
  const std::string_view needle(from);
  const std::string_view replacement(to ? to : "");
  size_t hits = 0;
  for (size_t at = m_Str.find(needle); at != std::string::npos; at = m_Str.find(needle, at + needle.size()))
    ++hits;
  if (hits == 0) return 0;
  std::string result;
  result.reserve(m_Str.size() + hits * replacement.size() - hits * needle.size());
  size_t done = 0;
  for (size_t at = m_Str.find(needle); at != std::string::npos; at = m_Str.find(needle, at + needle.size())) {
    result.append(m_Str, done, at - done);
    result.append(replacement);
    done = at + needle.size();
  }
  result.append(m_Str, done);
  m_Str.swap(result);
  return hits;
}

bool COLstring::isWhitespace() const {
  return std::all_of(m_Str.begin(), m_Str.end(), [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; });
}

COLstring& COLstring::toUpperCase() {
  for (char& c : m_Str) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return *this;
}

COLstring& COLstring::toLowerCase() {
  for (char& c : m_Str) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return *this;
}

size_t COLstring::write(const void* data, size_t size) {
  m_Str.append(static_cast<const char*>(data), size);
  return size;
}

size_t COLstring::toWideCharacter(const char* text, COLsimpleBuffer& buffer) {
  std::mbstate_t state{};
  const char* cursor = text ? text : "";
  size_t count = std::mbsrtowcs(nullptr, &cursor, 0, &state);
  if (count == static_cast<size_t>(-1))
    throw COLerror(COLstring("Unable to convert multibyte string to wide character, locale may be incorrect: ") +
                       (text ? text : ""),
                   0x80000500);
  buffer.resize((count + 1) * sizeof(wchar_t));
  std::memset(buffer.data(), 0, buffer.size());
  cursor = text ? text : "";
  state = std::mbstate_t{};
  std::mbsrtowcs(reinterpret_cast<wchar_t*>(buffer.data()), &cursor, count, &state);
  return count;
}

COLstring operator+(const COLstring& a, const COLstring& b) { COLstring r(a); r += b; return r; }
COLstring operator+(const COLstring& a, const char* b) { COLstring r(a); r.append(b); return r; }
COLstring operator+(const char* a, const COLstring& b) { COLstring r(a); r += b; return r; }
COLstring operator+(const COLstring& a, char b) { COLstring r(a); r += b; return r; }
COLstring operator+(char a, const COLstring& b) { COLstring r(1, a); r += b; return r; }

size_t COLlengthWithLimit(const char* text, size_t limit) {
  if (!text) return 0;
  const void* end = std::memchr(text, 0, limit);
  return end ? static_cast<size_t>(static_cast<const char*>(end) - text) : limit;
}

COLstring COLshownValue(std::string_view text, size_t most, bool (*shownAsIs)(unsigned char)) {
  COLstring shown;
  for (const char c : text.substr(0, most)) {
    const auto byte = static_cast<unsigned char>(c);
    if (shownAsIs ? shownAsIs(byte) : byte >= 0x20 && byte != 0x7F) {
      shown += c;
      continue;
    }
    char hex[8];
    std::snprintf(hex, sizeof hex, "\\x%02X", byte);
    shown += hex;
  }
  if (text.size() > most) shown += "...";
  return shown;
}
