// The translation tool's driver, kept apart from main() so tests can run it in-process.
#pragma once

#include "COLostream.h"

// Runs the tool over argv and returns its exit status; all output goes to `out`.
int APPrunTool(int argc, const char* const* argv, COLostream& out);
