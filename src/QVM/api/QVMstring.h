// QVMstring: the byte string of the class interface, shared by reference and copied before
// a change, so the interface's headers need nothing else of the system.
#pragma once

#include <cstddef>

class QVMstringRef;

class QVMstring {
public:
  static constexpr size_t npos = static_cast<size_t>(-1);

  QVMstring();
  QVMstring(const char* text);
  QVMstring(const char* text, size_t length);
  QVMstring(const QVMstring& other);
  QVMstring& operator=(const QVMstring& other);
  ~QVMstring();

  size_t size() const;
  const char* get_buffer() const;
  char operator[](size_t index) const;
  // The first or last occurrence as a pointer into the buffer, null when absent.
  const char* find(const char* text, size_t start = 0) const;
  const char* rfind(const char* text) const;
  size_t find_index(const char* text, size_t start = 0) const;
  size_t rfind_index(const char* text) const;
  int compare(const char* text) const;
  QVMstring substr(size_t start, size_t count = npos) const;

  QVMstring& assign(const char* text);
  QVMstring& append(const char* text);
  QVMstring& prepend(const char* text);
  QVMstring& insert(size_t position, const char* text);
  QVMstring& remove(size_t start, size_t count = npos);
  // Every occurrence of `from` becomes `to`.
  QVMstring& replace(const char* from, const char* to);
  QVMstring& subChar(char from, char to);
  // White space off both ends; stripAll drops every occurrence of the character.
  QVMstring& strip();
  QVMstring& stripAll(char character);
  void clear();

  static QVMstring Join(const QVMstring& first, const QVMstring& second);

private:
  // Makes this string the only holder of its text before a change.
  void Dup();
  QVMstringRef* m_Ref;
};

inline bool operator==(const QVMstring& left, const char* right) { return left.compare(right) == 0; }
