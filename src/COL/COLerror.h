// COLerror: the one exception type of the system (code, text, source position and named
// parameters), and the checking road that turns a failed pre- or postcondition into one.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "COLreference.h"
#include "COLstring.h"

class COLostream;

class COLerror : public COLreference {
public:
  using Cursor = size_t;
  static constexpr Cursor EndCursor = static_cast<Cursor>(-1);

  COLerror(const COLstring& description, uint32_t code);
  COLerror(const COLstring& description, uint32_t line, const char* file, uint32_t code);
  COLerror(const COLerror& other) = default;
  COLerror(const COLerror& other, uint32_t code);
  ~COLerror() override = default;
  virtual COLerror& operator=(const COLerror& other);

  COLreference* clone() override { return countOfRef() == 1 ? this : new COLerror(*this); }
  virtual void printOn(COLostream& stream) const;

  uint32_t code() const { return m_Code; }
  uint32_t Code() const { return m_Code; }
  uint32_t line() const { return m_Line; }
  const COLstring& file() const { return m_File; }
  const COLstring& description() const { return m_Description; }
  const COLstring& Description() const { return m_Description; }
  void setCode(uint32_t code) { m_Code = code; }
  void setDescription(const COLstring& text) { m_Description = text; }

  // Named parameters, kept in key order; setting an existing key overwrites it.
  void setParameter(const COLstring& key, const COLstring& value);
  void setParameter(const COLstring& key, unsigned value);
  bool hasParameter(const COLstring& key) const;
  // Creates the key with an empty value when it is missing.
  COLstring& parameter(const COLstring& key);
  size_t CountOfParameter() const { return m_Parameters.size(); }
  const COLstring& key(size_t index) const;
  Cursor firstParameter() const { return m_Parameters.empty() ? EndCursor : 0; }
  Cursor nextParameter(Cursor cursor) const {
    return cursor + 1 < m_Parameters.size() ? cursor + 1 : EndCursor;
  }
  const COLstring& keyInPlace(Cursor cursor) const { return m_Parameters.at(cursor).first; }
  const COLstring& parameterInPlace(Cursor cursor) const { return m_Parameters.at(cursor).second; }

  // Code, description and parameters; line and file do not count.
  bool operator==(const COLerror& other) const;
  // std::exception-style text for generic handlers.
  const char* what() const noexcept { return m_Description.c_str(); }

private:
  COLstring m_Description;
  COLstring m_File;
  uint32_t m_Code = 0;
  uint32_t m_Line = 0;
  std::vector<std::pair<COLstring, COLstring>> m_Parameters;
};

COLostream& operator<<(COLostream& stream, const COLerror& error);

// The text of errno, serialised because strerror is not re-entrant.
COLstring COLstrerror(int errorNumber);

// --- the checking road

class COLassertSettings {
public:
  using Callback = void (*)(COLostream&);
  using AbortCallback = void (*)(const COLstring&);

  static void setAbortOnAssert(bool value);
  static bool abortOnAssert();
  static void setCallback(Callback callback);
  static Callback callback();
  static void setAbortCallback(AbortCallback callback);
  static AbortCallback abortCallback();
};

void COLassertDefaultCallback(COLostream&);
void COLabortDefaultCallback(const COLstring&);
[[noreturn]] void COLabort();
[[noreturn]] void COLexitCondition(const char* condition, const char* file, int line, const char* message);
[[noreturn]] void COLconsoleExitCondition(const char* condition, const char* file, int line, const char* message);

// Raised by the check macros: builds the text, honours the settings, throws.
[[noreturn]] void COLfailCheck(const char* prefix, const char* expression, const char* file, int line, uint32_t code);

#define COL_PRECONDITION(expr)                                                             \
  do {                                                                                     \
    if (!(expr)) COLfailCheck("Failed precondition: ", #expr, __FILE__, __LINE__, 0x80000100); \
  } while (0)

#define COL_POSTCONDITION(expr)                                                           \
  do {                                                                                    \
    if (!(expr)) COLfailCheck("Failed postcondition:", #expr, __FILE__, __LINE__, 0x80000101); \
  } while (0)

// A precondition (postcondition) whose report text is given rather than taken from the expression,
// for checks whose historical wording differs from the C++ that tests them.
#define COL_PRECONDITION_TEXT(expr, text)                                                 \
  do {                                                                                    \
    if (!(expr)) [[unlikely]]                                                             \
      COLfailCheck("Failed precondition: ", text, __FILE__, __LINE__, 0x80000100);        \
  } while (0)

#define COL_POSTCONDITION_TEXT(expr, text)                                                \
  do {                                                                                    \
    if (!(expr)) [[unlikely]]                                                             \
      COLfailCheck("Failed postcondition:", text, __FILE__, __LINE__, 0x80000101);        \
  } while (0)

// Error codes used across the system.
enum : uint32_t {
  COL_ERROR_PRECONDITION = 0x80000100,
  COL_ERROR_POSTCONDITION = 0x80000101,
  COL_ERROR_BAD_ARGUMENT = 0x80000201,
  COL_ERROR_TABLE_NOT_EMPTY = 0x80000400,
  COL_ERROR_RESOURCE = 0x80000500,
  COL_ERROR_MODEL_DATE_TIME = 0x80000600,
  COL_ERROR_TOKEN_LEVEL = 0x80000700,
  COL_ERROR_INCONSISTENT_DEFINITION = 0x80000800,
  COL_ERROR_COLUMN_TYPE = 0x80000801,
  COL_ERROR_UNKNOWN_MAPPING_TYPE = 0x80000900,
  COL_ERROR_DEFINITION_FORMAT = 0x80001000,
  COL_ERROR_MESSAGE_TOO_SHORT = 0x80001100,
  COL_ERROR_HEADER_NOT_FOUND = 0x80001200,
  COL_ERROR_DELIMITERS = 0x80001201,
  COL_ERROR_OUT_OF_BOUNDS = 0x80002000,
  COL_ERROR_NOT_IDENTIFIED = 0x80002001,
  COL_ERROR_SEGMENT_NOT_DEFINED = 0x80002002,
  COL_ERROR_STRICT_GRAMMAR = 0x80002003,
  COL_ERROR_MESSAGE_GRAMMAR = 0x80002004,
  COL_ERROR_SEGMENT_NO_IDENTIFIER = 0x80002005,
  COL_ERROR_VALIDATION_RULE = 0x80002006,
  COL_ERROR_UNEXPECTED_SEGMENT = 0x80002007,
  COL_ERROR_REQUIRED_SEGMENT = 0x80002008,
  COL_ERROR_SEGMENT_REPEAT = 0x80002009,
  COL_ERROR_GROUP_REPEAT = 0x80002010,
  COL_ERROR_INPUT_PARSE = 0x80003000,
};
