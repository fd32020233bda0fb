// What an action raised, so that a test checks the text and code of a refusal in one line:
//   EXPECT_EQ(TSTraised(action), COLerror(text, code));  or  EXPECT_EQ(TSTerrorText(action), text);
#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "COLerror.h"

// The COLerror `action` raises; when it raises none the test fails and an empty error comes back.
template <class Action>
COLerror TSTraised(Action&& action) {
  try {
    action();
  } catch (const COLerror& error) {
    return error;
  }
  ADD_FAILURE() << "no COLerror raised";
  return COLerror("", 0);
}

// The text of what `action` raises, or "no error", for tests that also expect success.
template <class Action>
std::string TSTerrorText(Action&& action) {
  try {
    action();
  } catch (const COLerror& error) {
    return error.description().str();
  }
  return "no error";
}

// A failed comparison of two errors shows code and text rather than bytes.
inline void PrintTo(const COLerror& error, std::ostream* out) {
  *out << "0x" << std::hex << error.code() << std::dec << " \"" << error.description().str() << "\"";
}
