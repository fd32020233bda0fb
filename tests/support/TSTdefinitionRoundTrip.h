// What the tests of a second definition kind share: the definitions a round trip runs over,
// the names of their cases, and the tool's XML for a definition in either kind compared.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <string>
#include <vector>

#include "TSTfile.h"
#include "TSTtoolRun.h"

// Every example and bundled definition, with the extra paths given, sorted.
inline std::vector<std::string> TSTbundledDefinitions(std::vector<std::string> paths = {}) {
  const std::string source = MSGBRIDGE_SOURCE_DIR;
  for (const char* directory : {"/examples", "/definitions"})
    for (const auto& entry : std::filesystem::directory_iterator(source + directory))
      if (entry.path().extension() == ".vmd") paths.push_back(entry.path().string());
  std::sort(paths.begin(), paths.end());
  return paths;
}

// A case name from the definition's file name: gtest takes letters, digits and '_' only.
inline std::string TSTdefinitionCaseName(const ::testing::TestParamInfo<std::string>& info) {
  std::string name = std::filesystem::path(info.param).stem().string();
  for (char& c : name)
    if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
  return name;
}

// The tool's --toxml of the messages under the definition: its status and every file it
// wrote, each named, in name order. The scratch directory is emptied first.
inline TSTtoolRun TSTtoolXml(const std::string& definition, const std::string& messages, const std::string& scratch) {
  std::string directory = TSTscratchDirectory(scratch);
  std::filesystem::remove_all(directory);
  std::filesystem::create_directories(directory);
  TSTtoolRun run{TSTrunBinary("--toxml " + definition + " " + messages + " " + directory + "/m.xml").status, ""};
  std::vector<std::string> files;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) files.push_back(entry.path().string());
  std::sort(files.begin(), files.end());
  for (const std::string& file : files)
    run.output += std::filesystem::path(file).filename().string() + "\n" + TSTreadFile(file);
  return run;
}

// The tool's XML of the messages is the same under the original definition and its copy in
// the other kind; scratch names the two directories the runs write into.
inline void TSTexpectSameXml(const std::string& original, const std::string& copy, const std::string& messages,
                             const std::string& scratch, const std::string& label) {
  const TSTtoolRun before = TSTtoolXml(original, messages, scratch + "_0");
  const TSTtoolRun after = TSTtoolXml(copy, messages, scratch + "_1");
  EXPECT_EQ(after.status, before.status) << label;
  EXPECT_FALSE(before.output.empty()) << label;
  EXPECT_TRUE(after.output == before.output) << label << ": the XML differs";
}
