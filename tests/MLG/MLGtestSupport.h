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

class MLGtempDir : public ::testing::Test {
protected:
  void SetUp() override {
    std::string pattern = (std::filesystem::temp_directory_path() / "mlgtest-XXXXXX").string();
    ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
    m_Dir = pattern;
  }
  void TearDown() override {
    std::error_code ignored;
    std::filesystem::remove_all(m_Dir, ignored);
  }

  COLstring write(const std::string& name, const std::string& content) {
    const std::filesystem::path path = m_Dir / name;
    std::ofstream out(path, std::ios::binary);
    out.write(content.data(), static_cast<std::streamsize>(content.size()));
    return COLstring(path.string());
  }

  COLstring missing() const { return COLstring((m_Dir / "no-such-log.txt").string()); }

  std::filesystem::path m_Dir;
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
