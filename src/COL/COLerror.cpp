#include "COLerror.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "COLostream.h"

COLerror::COLerror(const COLstring& description, uint32_t code) : m_Description(description), m_Code(code) {}

COLerror::COLerror(const COLstring& description, uint32_t line, const char* file, uint32_t code)
    : m_Description(description), m_File(file), m_Code(code), m_Line(line) {}

COLerror::COLerror(const COLerror& other, uint32_t code) : COLerror(other) { m_Code = code; }

COLerror& COLerror::operator=(const COLerror& other) {
  m_Description = other.m_Description;
  m_File = other.m_File;
  m_Code = other.m_Code;
  m_Line = other.m_Line;
  m_Parameters = other.m_Parameters;
  return *this;
}

namespace {
template <class Vec>
auto lowerBound(Vec& parameters, const COLstring& key) {
  return std::lower_bound(parameters.begin(), parameters.end(), key,
                          [](const auto& entry, const COLstring& k) { return entry.first < k; });
}
}  // namespace

void COLerror::setParameter(const COLstring& key, const COLstring& value) { parameter(key) = value; }

void COLerror::setParameter(const COLstring& key, unsigned value) {
  COLstring text;
  COLostream(text) << value;
  setParameter(key, text);
}

bool COLerror::hasParameter(const COLstring& key) const {
  auto it = lowerBound(m_Parameters, key);
  return it != m_Parameters.end() && it->first == key;
}

COLstring& COLerror::parameter(const COLstring& key) {
  auto it = lowerBound(m_Parameters, key);
  if (it == m_Parameters.end() || it->first != key) it = m_Parameters.insert(it, {key, COLstring()});
  return it->second;
}

const COLstring& COLerror::key(size_t index) const {
  if (index >= m_Parameters.size()) {
    COLstring text;
    COLostream(text) << "Invalid parameter index " << index << ".  Should be no greater than "
                     << m_Parameters.size();
    throw COLerror(text, COL_ERROR_PRECONDITION);
  }
  return m_Parameters[index].first;
}

bool COLerror::operator==(const COLerror& other) const {
  return m_Code == other.m_Code && m_Description == other.m_Description && m_Parameters == other.m_Parameters;
}

void COLerror::printOn(COLostream& stream) const {
  stream << "Error Code: 0x" << hex << m_Code << decimal << newline;
  stream << "Description: " << m_Description << newline;
  if (!m_File.empty()) {
    stream << "Line: " << m_Line << newline;
    stream << "File: " << m_File << newline;
  }
  for (const auto& [key, value] : m_Parameters) stream << key << ": " << value << newline;
}

COLostream& operator<<(COLostream& stream, const COLerror& error) {
  error.printOn(stream);
  return stream;
}

COLstring COLstrerror(int errorNumber) {
  if (errorNumber == 0) return COLstring("No error info. (errno may not have been set - it was 0)");
  static std::mutex lock;
  std::lock_guard<std::mutex> guard(lock);
  return COLstring(std::strerror(errorNumber));
}

// --- checking road

namespace {
bool g_AbortOnAssert = false;
COLassertSettings::Callback g_Callback = COLassertDefaultCallback;
COLassertSettings::AbortCallback g_AbortCallback = COLabortDefaultCallback;
}  // namespace

void COLassertSettings::setAbortOnAssert(bool value) { g_AbortOnAssert = value; }
bool COLassertSettings::abortOnAssert() { return g_AbortOnAssert; }
void COLassertSettings::setCallback(Callback callback) { g_Callback = callback; }
COLassertSettings::Callback COLassertSettings::callback() { return g_Callback; }
void COLassertSettings::setAbortCallback(AbortCallback callback) { g_AbortCallback = callback; }
COLassertSettings::AbortCallback COLassertSettings::abortCallback() { return g_AbortCallback; }

void COLassertDefaultCallback(COLostream&) {}
void COLabortDefaultCallback(const COLstring&) {}

void COLabort() {
  if (g_AbortCallback) g_AbortCallback(COLstring("COLabort() called."));
  std::abort();
}

void COLfailCheck(const char* prefix, const char* expression, const char* file, int line, uint32_t code) {
  COLstring text;
  COLostream stream(text);
  stream << prefix << expression;
  if (g_AbortOnAssert) {
    if (g_AbortCallback) g_AbortCallback(text);
    std::abort();
  }
  if (g_Callback) g_Callback(stream);
  throw COLerror(text, static_cast<uint32_t>(line), file, code);
}

void COLexitCondition(const char* condition, const char* file, int line, const char* message) {
  COLconsoleExitCondition(condition, file, line, message);
}

void COLconsoleExitCondition(const char* condition, const char* file, int line, const char* message) {
  COLclog << "FATAL EXIT CONDITION: " << newline << condition << " not true in " << file << " at " << line
          << newline;
  if (message && *message) COLclog << message << newline;
  COLclog << "Enter to continue." << newline << flush;
  std::getchar();
  std::exit(1);
}
