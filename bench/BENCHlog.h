// A log and one loaded engine for the benchmark programs that run the whole road over every
// message of a log: the messages cut apart as the C host cuts them (each keeps its CR LF), and
// the engine loaded and configured as the library's handle loads it.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "COLerror.h"
#include "COLreference.h"
#include "QVLvmdFile.h"
#include "QVMengineInternal.h"

inline std::vector<std::string> BENCHreadLog(const char* Path) {
  std::ifstream In(Path, std::ios::binary);
  if (!In) {
    std::fprintf(stderr, "cannot read %s\n", Path);
    std::exit(1);
  }
  std::ostringstream Whole;
  Whole << In.rdbuf();
  const std::string Text = Whole.str();
  std::vector<std::string> Messages;
  for (size_t At = 0; At < Text.size();) {
    size_t End = Text.find("\r\n", At);
    End = End == std::string::npos ? Text.size() : End + 2;
    Messages.push_back(Text.substr(At, End - At));
    At = End;
  }
  return Messages;
}

inline COLreferencePtr<QVMengineInternal> BENCHloadEngine(const char* Path) {
  COLreferencePtr<QVMengineInternal> Engine(new QVMengineInternal);
  QVLloadEngine(*Engine, Path);
  QVMengineReadCustomConfig(*Engine);
  return Engine;
}
