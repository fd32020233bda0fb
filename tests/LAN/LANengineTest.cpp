// The interpreter host: separate sub-interpreters, variables, the search path, byte conversions
// and the host callback.  What scripts print and raise runs as data: tests/data/LAG/interpreter.test.
#include "LANpython.h"

#include <gtest/gtest.h>

#include "LANtestSupport.h"

#include <clocale>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "LANengine.h"

#include "../support/TSTraised.h"

namespace {

// An engine set up as the definition model does it: init and redirected output.
struct ScriptEngine {
  COLstring output;
  COLostream stream{output};
  COLreferencePtr<LANengine> engine;

  ScriptEngine() {
    stream.setNewLine("<NL>");
    engine = new LANengine(stream);
    COLstring error;
    EXPECT_TRUE(LANinitEngineAndRedirect(*engine, error));
    EXPECT_TRUE(error.empty());
  }
  // The text of a variable of the engine's globals, read back as bytes.
  COLstring variable(const char* name) {
    LANengineSwap swap(*engine);
    PyObject* value = PyDict_GetItemString(engine->globalDictionary(), name);
    COLstring bytes;
    if (value == nullptr || !LANstringFromPython(value, bytes)) ADD_FAILURE() << "no text variable " << name;
    return bytes;
  }
};

COLerror errorOf(LANengine& engine, const char* code) {
  return TSTraised([&] { engine.runString(code); });
}

// Whether running `code` raises an error whose text holds `text`.
::testing::AssertionResult raises(LANengine& engine, const char* code, const char* text) {
  const std::string description = TSTerrorText([&] { engine.runString(code); });
  if (description.find(text) != std::string::npos) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "no '" << text << "' in: " << description;
}

// A module of a layer above, added the way such layers add theirs: from a static initialiser.
PyModuleDef s_AboveModule = {PyModuleDef_HEAD_INIT, "_lan_test_above", nullptr, -1, nullptr,
                             nullptr,          nullptr,           nullptr, nullptr};
PyObject* createAboveModule() { return PyModule_Create(&s_AboveModule); }
void addAboveModule() { PyImport_AppendInittab("_lan_test_above", createAboveModule); }
[[maybe_unused]] const bool s_AboveModuleAdded = (LANaddBuiltinModules(addAboveModule), true);

TEST(LANengine, ModulesAddedFromAboveAreImportableAndLateOnesAreRefused) {
  ScriptEngine script;
  script.engine->runString("import _lan_test_above\nname = _lan_test_above.__name__\n");
  EXPECT_EQ(script.variable("name"), "_lan_test_above");
  // Python reads its table of built-in modules once, at the start.
  EXPECT_THROW(LANaddBuiltinModules(addAboveModule), COLerror);
}

TEST(LANengine, SubInterpretersDoNotShareGlobalsOrModules) {
  ScriptEngine first, second;
  first.engine->runString("shared = 'first'\nimport sys\nsys.marker = 1\n");
  COLerror error = errorOf(*second.engine, "shared\n");
  EXPECT_EQ(error.code(), COL_ERROR_PRECONDITION);
  EXPECT_NE(error.description().find("NameError"), COLstring::npos) << error.description();
  second.engine->runString("import sys\nhas_marker = str(hasattr(sys, 'marker'))\n");
  EXPECT_EQ(second.variable("has_marker"), "False");
  EXPECT_EQ(first.variable("shared"), "first");
}

TEST(LANengine, OutputWithoutStreamVanishes) {
  COLreferencePtr<LANengine> engine = new LANengine();
  COLstring error;
  LANinitEngineAndRedirectWithoutImportString(*engine, error);
  EXPECT_NO_THROW(engine->runString("print('nobody listens')\n"));
  COLstring output;
  COLostream stream(output);
  engine->setLogStream(&stream);
  engine->runString("print('now')\n");
  EXPECT_EQ(output, "now\n");
  engine->setLogStream(nullptr);
  engine->runString("print('gone')\n");
  EXPECT_EQ(output, "now\n");
}

TEST(LANengine, CompileCodeStripsCarriageReturnsAndReportsSyntaxErrors) {
  ScriptEngine script;
  LANcompiledModule* module = script.engine->compileCode("a = 'one'\r\nif a:\r\n   b = a + 'two'\r\n");
  ASSERT_NE(module, nullptr);
  script.engine->executeModule(module);
  EXPECT_EQ(script.variable("b"), "onetwo");
  script.engine->freeCompiledCode(module);
  EXPECT_EQ(module, nullptr);

  COLerror error = TSTraised([&] { script.engine->compileCode("x = 1\ny = (\n"); });
  EXPECT_NE(error.description().find("<stdout>"), COLstring::npos) << error.description();
  EXPECT_NE(error.description().find("SyntaxError"), COLstring::npos);
  EXPECT_EQ(error.parameter("line"), "2");
  EXPECT_THROW(script.engine->compileCode(COLstring(std::string("x = 1\0y", 7))), COLerror);
}

TEST(LANengine, EveryByteValueSurvivesTheRoundTrip) {
  ScriptEngine script;
  std::string all;
  for (int i = 0; i < 256; ++i) all += static_cast<char>(i);
  script.engine->setPythonVariable("message", COLstring(all));
  script.engine->runString(
      "codes = ','.join(str(ord(c)) for c in message)\n"
      "copy = ''.join(chr(ord(c)) for c in message)\n"
      "reversed_copy = message[::-1]\n");
  std::string codes;
  for (int i = 0; i < 256; ++i) codes += (i ? "," : "") + std::to_string(i);
  EXPECT_EQ(script.variable("codes"), COLstring(codes));
  EXPECT_EQ(script.variable("copy").str(), all);
  EXPECT_EQ(script.variable("reversed_copy").str(), std::string(all.rbegin(), all.rend()));

  LANengineSwap swap(*script.engine);
  LANobjectPtr wide = PyUnicode_FromString("\xE2\x82\xAC");  // a character above 255
  COLstring bytes;
  EXPECT_FALSE(LANstringFromPython(wide, bytes));
  EXPECT_EQ(PyErr_Occurred(), nullptr);
  LANstringFromPythonForDisplay(wide, bytes);
  EXPECT_EQ(bytes, "\\u20ac");
}

TEST(LANengine, PythonVariablesReplaceAndRemove) {
  ScriptEngine script;
  script.engine->setPythonVariable("name", "first");
  script.engine->setPythonVariable("name", "second");
  EXPECT_EQ(script.variable("name"), "second");
  script.engine->removePythonVariable("name");
  EXPECT_TRUE(raises(*script.engine, "name\n", "NameError"));
  // A script that deletes the variable itself doesn't trouble its removal.
  script.engine->setPythonVariable("temp", "x");
  script.engine->runString("del temp\n");
  EXPECT_NO_THROW(script.engine->removePythonVariable("temp"));
}

TEST(LANengine, ResetGivesAFreshInterpreterWithTheSameStream) {
  ScriptEngine script;
  script.engine->runString("kept = 1\n");
  script.engine->reset();
  COLstring error;
  LANinitEngineAndRedirect(*script.engine, error);
  EXPECT_TRUE(raises(*script.engine, "kept\n", "NameError"));
  script.output.clear();
  script.engine->runString("print('after reset')\n");
  EXPECT_EQ(script.output, "after reset<NL>");
}

TEST(LANengine, RunningWithoutInitIsARefusalNotACrash) {
  COLreferencePtr<LANengine> engine = new LANengine();
  EXPECT_THROW(engine->runString("x = 1\n"), COLerror);
  EXPECT_FALSE(LANengineLock::isHeldByThisThread());
}

TEST(LANengine, SearchPathComesFromWorkingDirectoryAndEnvironment) {
  std::string cwd = std::filesystem::current_path().string();
  const std::string program = std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
  const std::string beside = ":" + program + "/python_lib/:" + program + "/../python_lib/";
  unsetenv("QVM_PYTHON_LIB_PATH");
  EXPECT_EQ(LANfindPythonLibDir("msgbridge"), COLstring(cwd + "/python_lib/:" + cwd + "/" + beside));
  setenv("QVM_PYTHON_LIB_PATH", "/opt/a:/opt/b", 1);
  EXPECT_EQ(LANfindPythonLibDir("msgbridge"), COLstring(cwd + "/python_lib/:" + cwd + "/:/opt/a:/opt/b" + beside));
  unsetenv("QVM_PYTHON_LIB_PATH");

  // A module in a directory of the search path imports; the standard library still does.
  auto directory = std::filesystem::temp_directory_path() / ("lan_path_" + std::to_string(getpid()));
  std::filesystem::create_directories(directory);
  std::ofstream(directory / "lan_helper_module.py") << "VALUE = 'from helper'\n";
  ScriptEngine script;
  script.engine->setSearchPath(COLstring(directory.string()) + ":/nonexistent");
  EXPECT_EQ(script.engine->searchPath(), COLstring(directory.string()) + ":/nonexistent");
  script.engine->runString(
      "import sys, lan_helper_module, traceback\n"
      "value = lan_helper_module.VALUE\nfirst = sys.path[0]\nsecond = sys.path[1]\n");
  EXPECT_EQ(script.variable("value"), "from helper");
  EXPECT_EQ(script.variable("first"), COLstring(directory.string()));
  EXPECT_EQ(script.variable("second"), "/nonexistent");
  std::filesystem::remove_all(directory);
}

TEST(LANengine, StartLeavesLocaleAndSignalsAlone) {
  COLreferencePtr<LANengine> engine = new LANengine();
  engine->init();
  engine->runString("import signal, locale\n");
  EXPECT_STREQ(setlocale(LC_ALL, nullptr), "C");
  struct sigaction action {};
  ASSERT_EQ(sigaction(SIGINT, nullptr, &action), 0);
  EXPECT_EQ(action.sa_handler, SIG_DFL);
  ASSERT_EQ(sigaction(SIGPIPE, nullptr, &action), 0);
  EXPECT_EQ(action.sa_handler, SIG_DFL);
}

const char* answerQuery(const char* query, const char* argument, void* userData) {
  auto* answer = static_cast<COLstring*>(userData);
  *answer = COLstring(query) + "|" + (argument ? argument : "<none>");
  return COLstring(query) == "none" ? nullptr : answer->c_str();
}

// The host callback answers queries (refusals without one: tests/data/LAG/interpreter.test).
TEST(LANengine, HostCallbackAnswersQueries) {
  ScriptEngine script;
  COLstring answer;
  LANsetNimbatCallback(*script.engine, answerQuery, &answer);
  script.engine->runString(
      "import _brelmont_nimbat\n"
      "one = _brelmont_nimbat.query('who\\xe9')\n"
      "two = _brelmont_nimbat.query('a', 'b')\n"
      "three = str(_brelmont_nimbat.query('none'))\n");
  EXPECT_EQ(script.variable("one"), "who\xE9|<none>");
  EXPECT_EQ(script.variable("two"), "a|b");
  EXPECT_EQ(script.variable("three"), "None");
}

TEST(LANengine, HelpersCheckRangesAndText) {
  EXPECT_EQ(TSTerrorText([] { LANcheckMin(-1, 0, "Index"); }),
            "Range index error. Index was -1 when it should have been greater or equal to 0");
  EXPECT_EQ(TSTerrorText([] { LANcheckMax(5, 5, "Column"); }),
            "Range index error. Column was 5 when it should have been less than 5");
  EXPECT_NO_THROW(LANcheckMin(0, 0, "x"));
  EXPECT_NO_THROW(LANcheckMax(4, 5, "x"));
  EXPECT_TRUE(LANisDigit('0') && LANisDigit('9'));
  EXPECT_FALSE(LANisDigit('a') || LANisDigit('/'));
  COLstring text = "a\r\nb\rc";
  LANstripCarriageReturnChars(text);
  EXPECT_EQ(text, "a\nbc");
}

}  // namespace
