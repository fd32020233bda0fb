// The translation tool's driver, kept apart from main() so tests can run it in-process.
#pragma once

#include "COLostream.h"

class APPengine;

// Makes the engines of a run; tests put in their own.
using APPengineFactory = APPengine* (*)();

// Runs the tool over argv and returns its exit status; all output goes to `out`.
int APPrunTool(int argc, const char* const* argv, COLostream& out, APPengineFactory makeEngine = nullptr);
