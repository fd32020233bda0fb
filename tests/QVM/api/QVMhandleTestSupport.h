// Helpers for tests of the handle and class interfaces.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "QVMhandle.h"

// What an error handle said; the handle is released.
struct QVMhandleOutcome {
  bool failed = false;
  unsigned code = 0;
  std::string text;
};

inline QVMhandleOutcome QVMoutcome(void* error) {
  QVMhandleOutcome outcome;
  if (!error) return outcome;
  outcome.failed = true;
  const char* text = nullptr;
  EXPECT_EQ(_QVMerrorGetDescription(error, &text), nullptr);
  EXPECT_EQ(_QVMerrorGetCode(error, &outcome.code), nullptr);
  outcome.text = text ? text : "";
  EXPECT_EQ(_QVMerrorRelease(error), nullptr);
  return outcome;
}

#define EXPECT_HANDLE_OK(call)                           \
  do {                                                   \
    const QVMhandleOutcome outcome_ = QVMoutcome(call);  \
    EXPECT_FALSE(outcome_.failed) << outcome_.text;      \
  } while (0)

inline std::string QVMexampleDefinition() { return std::string(MSGBRIDGE_SOURCE_DIR) + "/examples/adt_oru.vmd"; }

inline std::filesystem::path QVMhandleTempDir(const char* name) {
  auto dir = std::filesystem::temp_directory_path() / (std::string(name) + "-" + std::to_string(::getpid()));
  std::filesystem::create_directories(dir);
  return dir;
}
