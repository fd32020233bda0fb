// QVMerror: the exception of the class interface, carrying what a COLerror carries to
// callers outside the engine.
#pragma once

#include <cstdint>

#include "COLerror.h"
#include "COLstring.h"

class QVMerror {
public:
  QVMerror(const COLstring& description, uint32_t code, uint32_t line, const COLstring& file)
      : m_Description(description), m_Code(code), m_Line(line), m_File(file) {}
  explicit QVMerror(const COLerror& error)
      : m_Description(error.description()), m_Code(error.code()), m_Line(error.line()), m_File(error.file()) {}
  virtual ~QVMerror() = default;

  const char* Description() const { return m_Description.c_str(); }
  uint32_t Code() const { return m_Code; }
  uint32_t Line() const { return m_Line; }
  const char* File() const { return m_File.c_str(); }

private:
  COLstring m_Description;
  uint32_t m_Code;
  uint32_t m_Line;
  COLstring m_File;
};

[[noreturn]] inline void QVMactivateCondition(const char* expression, uint32_t line, const char* file) {
  throw QVMerror(COLstring(expression), 0, line, COLstring(file));
}
