// The real msgbridge binary run through the shell, its status and everything it printed.
#pragma once

#include <sys/wait.h>

#include <cstdio>
#include <string>

struct TSTtoolRun {
  int status;
  std::string output;
};

// A shell command line with its standard error joined to its output; -1 when it did not exit.
inline TSTtoolRun TSTrunShell(const std::string& commandLine) {
  const std::string command = commandLine + " 2>&1";
  FILE* pipe = popen(command.c_str(), "r");
  std::string output;
  char buffer[4096];
  for (size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;) output.append(buffer, n);
  const int status = pclose(pipe);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

inline TSTtoolRun TSTrunBinary(const std::string& arguments) {
  return TSTrunShell(std::string(MSGBRIDGE_TOOL) + " " + arguments);
}
