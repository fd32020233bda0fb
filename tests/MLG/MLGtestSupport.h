// Helpers for the log reader tests: files in a private temporary directory, and reading a
// whole log into a list of messages.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "COLstring.h"
#include "MLGreader.h"

#include "../support/TSTfile.h"

class MLGtempDir : public ::testing::Test {
protected:
  void SetUp() override { ASSERT_FALSE(m_Scratch.path().empty()); }

  COLstring write(const std::string& name, const std::string& content) {
    const std::string path = (m_Dir / name).string();
    TSTwriteFile(path, content);
    return COLstring(path);
  }

  COLstring missing() const { return COLstring((m_Dir / "no-such-log.txt").string()); }

  TSTtemporaryDirectory m_Scratch;
  const std::filesystem::path m_Dir = m_Scratch.path();
};

// Every message of an opened reader, with a guard against a reader that never ends.
inline std::vector<std::string> MLGreadAll(MLGreader& reader) {
  std::vector<std::string> messages;
  while (reader.hasNextMessage()) {
    messages.push_back(reader.nextMessage().str());
    if (messages.size() > 100000) {
      ADD_FAILURE() << "reader does not come to an end";
      break;
    }
  }
  return messages;
}

inline std::vector<std::string> MLGreadAll(MLGreaderFileFormat format, const COLstring& path) {
  std::unique_ptr<MLGreader> reader(MLGfactoryFromFormat(format));
  reader->open(path);
  return MLGreadAll(*reader);
}

using MLGmessages = std::vector<std::string>;
