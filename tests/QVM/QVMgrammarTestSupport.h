// Shared helpers of the grammar and rule tests.
#pragma once

#include <gtest/gtest.h>

#include <functional>

#include "COLerror.h"
#include "COLostream.h"
#include "COLstring.h"
#include "QVMsegmentGrammar.h"

// Runs `action` and checks that it raises exactly this text with this code.
inline void QVMexpectError(const std::function<void()>& action, const char* text, uint32_t code = 0x80000100) {
  try {
    action();
    ADD_FAILURE() << "no error raised, expected: " << text;
  } catch (const COLerror& error) {
    EXPECT_EQ(std::string(error.description().c_str()), std::string(text));
    EXPECT_EQ(error.code(), code);
  }
}

// The text and code of what `action` raises, as "text|code", or "no error".
inline std::string QVMfailureText(const std::function<void()>& action) {
  try {
    action();
  } catch (const COLerror& error) {
    return error.description().str() + "|" + std::to_string(error.code());
  }
  return "no error";
}

inline void QVMexpectPrecondition(const std::function<void()>& action, const char* expression) {
  QVMexpectError(action, (COLstring("Failed precondition: ") + expression).c_str());
}

template <class T>
COLstring QVMprinted(const T& value) {
  COLstring text;
  COLostream stream(text);
  stream << value;
  return text;
}

// A segment grammar with these field names and nothing else set.
inline QVMsegmentGrammar segmentWithFields(const char* name, std::initializer_list<const char*> fields) {
  QVMsegmentGrammar grammar;
  grammar.setName(name);
  for (const char* field : fields) grammar.setFieldName(QVMsegmentGrammarAddFieldWithoutInitialization(grammar), field);
  return grammar;
}
