// What the interpreter's start does to the process, checked in fresh child processes (the
// interpreter starts once per process): environment, locale, signals, a start that fails.
#include "LANpython.h"

#include <gtest/gtest.h>

#include "LANtestSupport.h"

#include <clocale>
#include <csignal>
#include <cstdlib>
#include <unistd.h>

#include "LANengine.h"

namespace {

class LANprocess : public ::testing::Test {
protected:
  void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

// Ends the child at once: no exit handlers, no leak report of the child.
[[noreturn]] void finish(bool good) { _exit(good ? 0 : 1); }

void startIgnoringPythonEnvironment() {
  setenv("PYTHONHOME", "/nonexistent/python/home", 1);
  setenv("PYTHONPATH", "/nonexistent/python/path", 1);
  COLstring output;
  COLostream stream(output);
  LANengine engine(stream);
  COLstring error;
  LANinitEngineAndRedirect(engine, error);
  engine.runString("import sys\nprint('/nonexistent/python/path' in sys.path, sys.flags.ignore_environment)\n");
  finish(output == "False 1\n");
}

TEST_F(LANprocess, PythonEnvironmentVariablesAreIgnored) {
  EXPECT_EXIT(startIgnoringPythonEnvironment(), ::testing::ExitedWithCode(0), "");
}

void startKeepingLocale() {
  const char* chosen = setlocale(LC_ALL, "C.UTF-8");
  COLstring before = setlocale(LC_ALL, nullptr);
  LANengine engine;
  engine.init();
  engine.runString("import locale\nx = 'caf\xE9'.upper()\n");
  finish(chosen != nullptr && before == setlocale(LC_ALL, nullptr));
}

TEST_F(LANprocess, ProcessLocaleIsLeftAsTheHostSetIt) {
  EXPECT_EXIT(startKeepingLocale(), ::testing::ExitedWithCode(0), "");
}

void interruptLoopingScript() {
  alarm(30);  // a swallowed interrupt ends the child by SIGALRM instead of hanging the suite
  LANengine engine;
  engine.init();
  engine.runString("import os, signal\nos.kill(os.getpid(), signal.SIGINT)\nwhile True:\n   pass\n");
  finish(false);
}

TEST_F(LANprocess, InterruptEndsTheProcessWhileAScriptLoops) {
  EXPECT_EXIT(interruptLoopingScript(), ::testing::KilledBySignal(SIGINT), "");
}

void startWithMissingStandardLibrary() {
  LANengineInterpreter::setHome("/nonexistent/python/home");
  bool good = false;
  try {
    LANengine engine;
  } catch (COLerror& error) {
    good = error.code() == COL_ERROR_PRECONDITION &&
           error.description().startsWith("The Python interpreter could not start: ");
  }
  // The failure is kept: a second attempt reports the same.
  try {
    LANengineInterpreter::instance();
    good = false;
  } catch (const COLerror&) {
  }
  finish(good);
}

TEST_F(LANprocess, FailedStartIsAClearError) {
  EXPECT_EXIT(startWithMissingStandardLibrary(), ::testing::ExitedWithCode(0), "");
}

}  // namespace
