// A scratch directory per test, removed afterwards.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

class FILtestDirectory : public ::testing::Test {
protected:
  void SetUp() override {
    std::string pattern = (std::filesystem::temp_directory_path() / "filtest.XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    m_Root = pattern + "/";
  }
  void TearDown() override {
    std::error_code ignored;
    std::filesystem::permissions(m_Root, std::filesystem::perms::owner_all, ignored);
    std::filesystem::remove_all(m_Root, ignored);
  }
  std::string path(const std::string& name) const { return m_Root + name; }
  void writeText(const std::string& name, const std::string& text) const {
    std::ofstream(path(name), std::ios::binary) << text;
  }
  std::string readText(const std::string& name) const {
    std::ifstream in(path(name), std::ios::binary);
    std::stringstream all;
    all << in.rdbuf();
    return all.str();
  }

  std::string m_Root;
};
