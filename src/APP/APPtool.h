// The translation tool's driver, kept apart from main() so tests can run it in-process.
#pragma once

#include "COLostream.h"

class APPengine;

// Makes the engines of a run; tests put in their own.
using APPengineFactory = APPengine* (*)();

// Runs the tool over argv and returns its exit status; all output goes to `out`.
int APPrunTool(int argc, const char* const* argv, COLostream& out, APPengineFactory makeEngine = nullptr);

// Writes an elapsed time in seconds as the statistics show it: "1 minute 5 seconds", or for less
// than a second its fraction to the microsecond, "0.042100 seconds"; nothing for no time at all.
void APPprintElapsed(COLostream& out, double seconds);
