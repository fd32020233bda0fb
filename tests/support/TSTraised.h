// What an action raised, so that a test checks the text and code of a refusal in one line.
#pragma once

#include <gtest/gtest.h>

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
