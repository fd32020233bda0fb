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

// An admission the example definition parses, for the tests that need one message.
inline constexpr char Admission[] =
    "MSH|^~\\&|PASYS|NORTHGATE|ENGINE|NORTHGATE|20240301080000||ADT^A01|MSG01000|P|2.4\r"
    "EVN|A01|20240301080000\r"
    "PID|1||MR410000^^^NORTHGATE^MR||Okonkwo^Amara^^^||19500101|F\r"
    "PV1|1|I|WARD3^100^A^NORTHGATE||||D1042^Varga^Ilona\r";

inline std::string QVMexampleDefinition() { return std::string(MSGBRIDGE_SOURCE_DIR) + "/examples/adt_oru.vmd"; }

inline std::filesystem::path QVMhandleTempDir(const char* name) {
  auto dir = std::filesystem::temp_directory_path() / (std::string(name) + "-" + std::to_string(::getpid()));
  std::filesystem::create_directories(dir);
  return dir;
}
