// Whole files read and written as bytes, and scratch directories.
#pragma once

#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

inline std::string TSTreadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream content;
  content << in.rdbuf();
  return content.str();
}

inline void TSTwriteFile(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
}

// Emptied when asked for again, so a test never sees what an earlier run left.
inline std::string TSTscratchDirectory(const std::string& name) {
  std::filesystem::path directory =
      std::filesystem::temp_directory_path() / ("msgbridge_test_" + std::to_string(getpid()) + "_" + name);
  std::filesystem::remove_all(directory);
  std::filesystem::create_directories(directory);
  return directory.string();
}

// A fresh directory below the temporary directory, removed with all it holds (whatever its
// permissions became) at the end of the scope; its path is empty when it could not be made.
class TSTtemporaryDirectory {
public:
  TSTtemporaryDirectory() {
    std::string pattern = (std::filesystem::temp_directory_path() / "msgbridge-XXXXXX").string();
    if (mkdtemp(pattern.data())) m_Path = pattern;
  }
  ~TSTtemporaryDirectory() {
    std::error_code ignored;
    if (m_Path.empty()) return;
    std::filesystem::permissions(m_Path, std::filesystem::perms::owner_all, ignored);
    std::filesystem::remove_all(m_Path, ignored);
  }
  TSTtemporaryDirectory(const TSTtemporaryDirectory&) = delete;
  TSTtemporaryDirectory& operator=(const TSTtemporaryDirectory&) = delete;
  const std::string& path() const { return m_Path; }

private:
  std::string m_Path;
};
