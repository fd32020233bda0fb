// A scratch directory per test, removed afterwards.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "../support/TSTfile.h"

class FILtestDirectory : public ::testing::Test {
protected:
  void SetUp() override { ASSERT_FALSE(m_Scratch.path().empty()); }
  std::string path(const std::string& name) const { return m_Root + name; }
  void writeText(const std::string& name, const std::string& text) const { TSTwriteFile(path(name), text); }
  std::string readText(const std::string& name) const { return TSTreadFile(path(name)); }

  TSTtemporaryDirectory m_Scratch;
  const std::string m_Root = m_Scratch.path() + "/";
};
