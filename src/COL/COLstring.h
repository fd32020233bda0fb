// COLstring: the byte string of the whole system.  Bytes are kept exactly (embedded NULs
// included); searching and comparing stop at the first NUL, as the C string functions do.
// A COLstring is also a sink, so a COLostream can write straight into one.
#pragma once

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

#include "COLsink.h"

class COLbuffer;
class COLsimpleBuffer;

class COLstring : public COLsink {
public:
  static constexpr size_t npos = static_cast<size_t>(-1);

  // strip() sides
  enum StripType { StripLeading = 1, StripTrailing = 2, StripBoth = 3 };

  COLstring() = default;
  COLstring(const char* text) { if (text) m_Str.assign(text); }
  COLstring(const COLstring& source) : COLsink(), m_Str(source.m_Str) {}
  COLstring(COLstring&& source) noexcept : m_Str(std::move(source.m_Str)) {}
  COLstring(const COLstring& source, size_t start, size_t count = npos);
  COLstring(const char* source, size_t start, size_t count);
  COLstring(size_t count, char fill) : m_Str(count, fill) {}
  COLstring(const char* text, COLbuffer* buffer);
  COLstring(const wchar_t* text);
  COLstring(std::string text) : m_Str(std::move(text)) {}
  explicit COLstring(std::string_view text) : m_Str(text) {}
  ~COLstring() override = default;

  COLstring& operator=(const COLstring& source) { m_Str = source.m_Str; return *this; }
  COLstring& operator=(COLstring&& source) noexcept { m_Str = std::move(source.m_Str); return *this; }
  COLstring& operator=(const char* text) { if (text) m_Str.assign(text); else m_Str.clear(); return *this; }
  COLstring& operator=(char c) { m_Str.assign(1, c); return *this; }

  // --- size and storage
  size_t size() const { return m_Str.size(); }
  size_t length() const { return m_Str.size(); }
  bool empty() const { return m_Str.empty(); }
  bool isEmpty() const { return m_Str.empty(); }
  // Bytes available including the terminator.
  size_t capacity() const { return m_Str.capacity() + 1; }
  const char* c_str() const { return m_Str.c_str(); }
  const char* data() const { return m_Str.data(); }
  char* data() { return m_Str.data(); }
  std::string_view view() const { return m_Str; }
  const std::string& str() const { return m_Str; }
  std::string& str() { return m_Str; }
  operator std::string_view() const { return m_Str; }
  void clear() { m_Str.clear(); }
  // Grows to at least `n` bytes (terminator included), at least doubling; never shrinks.
  void setCapacity(size_t n);
  void reserve(size_t n) { setCapacity(n + 1); }
  // Sets the length; new bytes (if any) are NUL.  NewSize must lie below the capacity.
  void setSize(size_t newSize);
  void resize(size_t newSize) { m_Str.resize(newSize); }

  char& operator[](size_t index);
  char operator[](size_t index) const;

  // --- appending
  COLstring& operator+=(const COLstring& text) { m_Str.append(text.m_Str); return *this; }
  COLstring& operator+=(const char* text);
  COLstring& operator+=(char c) { m_Str.push_back(c); return *this; }
  COLstring& operator+=(std::string_view text) { m_Str.append(text); return *this; }
  // From data + start up to `count` bytes or the first NUL when count is npos; null is ignored.
  COLstring& append(const char* data, size_t start = 0, size_t count = npos);
  COLstring& append(const COLstring& text) { m_Str.append(text.m_Str); return *this; }
  // Exactly `count` bytes.
  COLstring& append(size_t count, const char* data);
  COLstring& append(char c) { m_Str.push_back(c); return *this; }

  // --- comparing (stop at the first NUL, as strcmp does)
  int compare(const char* text) const;
  int compare(const COLstring& text) const { return std::strcmp(c_str(), text.c_str()); }
  bool operator==(const COLstring& other) const { return compare(other) == 0; }
  bool operator==(const char* other) const { return compare(other) == 0; }
  bool operator!=(const COLstring& other) const { return compare(other) != 0; }
  bool operator!=(const char* other) const { return compare(other) != 0; }
  bool operator<(const COLstring& other) const { return compare(other) < 0; }
  bool operator>(const COLstring& other) const { return compare(other) > 0; }
  bool operator<=(const COLstring& other) const { return compare(other) <= 0; }
  bool operator>=(const COLstring& other) const { return compare(other) >= 0; }
  bool startsWith(std::string_view prefix) const { return view().substr(0, prefix.size()) == prefix; }

  // --- searching; npos when absent
  size_t find(char c, size_t start = 0) const;
  size_t find(const char* text, size_t start = 0) const;
  size_t find(const COLstring& text, size_t start = 0) const { return find(text.c_str(), start); }
  size_t rfind(char c, size_t start = npos) const;
  size_t rfind(const char* text, size_t start = npos) const;
  size_t rfind(const COLstring& text, size_t start = npos) const { return rfind(text.c_str(), start); }

  // --- pieces
  COLstring substr(size_t start, size_t count = npos) const;
  COLstring strip(int type = StripBoth, char c = ' ') const;
  void stripAll(char c);
  void subChar(char from, char to);
  // At the first separator; if absent, left = whole text, right = empty, result false.
  bool split(COLstring& left, COLstring& right, char separator) const;
  bool split(COLstring& left, COLstring& right, const char* separator) const;
  // At the last separator; if absent, left = empty, right = whole text, result false.
  bool rsplit(COLstring& left, COLstring& right, char separator) const;
  bool rsplit(COLstring& left, COLstring& right, const char* separator) const;
  void splitAtIndex(COLstring& left, COLstring& right, size_t index) const;

  // --- editing in place
  COLstring& replace(size_t start, size_t count, const COLstring& text, size_t textStart = 0,
                     size_t textCount = npos);
  COLstring& remove(size_t start, size_t count = npos);
  COLstring& insert(size_t index, const COLstring& text, size_t start = 0, size_t count = npos);
  // Replaces every occurrence of `from`; returns how many there were.
  size_t substrreplace(const char* from, const char* to);
  bool isWhitespace() const;
  COLstring& toUpperCase();
  COLstring& toLowerCase();

  // COLsink: appends.
  size_t write(const void* data, size_t size) override;

  // The wide form, 4 bytes a character plus a zero terminator; returns the character count.
  static size_t toWideCharacter(const char* text, COLsimpleBuffer& buffer);

private:
  std::string m_Str;
};

COLstring operator+(const COLstring& a, const COLstring& b);
COLstring operator+(const COLstring& a, const char* b);
COLstring operator+(const char* a, const COLstring& b);
COLstring operator+(const COLstring& a, char b);
COLstring operator+(char a, const COLstring& b);
inline bool operator==(const char* a, const COLstring& b) { return b == a; }
inline bool operator!=(const char* a, const COLstring& b) { return b != a; }

// Length of a NUL-terminated text, looking at no more than `limit` bytes.
size_t COLlengthWithLimit(const char* text, size_t limit);

// A value as a report line shows it: control bytes as "\xHH", so that they neither garble the
// line nor go unseen; at most `most` bytes of it, then "...".  `shownAsIs`, when given, says
// which bytes are shown as they are instead (all others by number).
COLstring COLshownValue(std::string_view text, size_t most = std::string_view::npos,
                        bool (*shownAsIs)(unsigned char) = nullptr);

template <>
struct std::hash<COLstring> {
  size_t operator()(const COLstring& s) const noexcept { return std::hash<std::string_view>()(s.view()); }
};
