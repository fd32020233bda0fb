// Whole files read and written as bytes, and a scratch directory per process and name.
#pragma once

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
