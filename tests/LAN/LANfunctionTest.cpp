// Script bodies and embedded modules: compiled when set, faults kept in the object.
#include "LANpython.h"

#include <gtest/gtest.h>

#include "LANtestSupport.h"

#include "LANembeddedPythonModule.h"
#include "LANengine.h"
#include "LANfunction.h"

#include "../support/TSTraised.h"

namespace {

COLstring globalText(LANengine& engine, const char* name) {
  LANengineSwap swap(engine);
  COLstring text;
  PyObject* value = PyDict_GetItemString(engine.globalDictionary(), name);
  if (value == nullptr || !LANstringFromPython(value, text)) return "<absent>";
  return text;
}

TEST(LANfunction, NewlinesAreMadeUniform) {
  const auto fixed = [](COLstring code) { return LANfixNewlines(code), code; };
  EXPECT_EQ(fixed("a\rb\nc"), "a\r\nb\r\nc\r\n");
  EXPECT_EQ(fixed("x\r\n\r\ny\r\n"), "x\r\n\r\ny\r\n");
  EXPECT_EQ(fixed("\n\r"), "\r\n\r\n");
}

// Blank text is empty and valid; good text compiles at once and runs.
TEST(LANfunction, BlankTextIsEmptyAndGoodTextCompilesAtOnce) {
  auto engine = readyEngine();
  LANfunction function(engine.get());
  function.setCode(" \t\r\n  \n");
  EXPECT_EQ(function.state(), LANfunction::StateEmpty);
  EXPECT_TRUE(function.isValid());
  EXPECT_FALSE(function.isSet());
  EXPECT_TRUE(function.code().empty());
  EXPECT_NO_THROW(function.execute());
  function.setCode("result = 'ran'\rmore = result * 2");
  EXPECT_EQ(function.code(), "result = 'ran'\r\nmore = result * 2\r\n");
  EXPECT_TRUE(function.isSet());
  EXPECT_TRUE(function.isValidAndCompiled());
  ASSERT_NE(function.compiledModule(), nullptr);
  function.execute();
  EXPECT_EQ(globalText(*engine, "more"), "ranran");
}

TEST(LANfunction, SyntaxErrorIsKeptWithItsLine) {
  auto engine = readyEngine();
  LANfunction function(engine.get());
  EXPECT_NO_THROW(function.setCode("a = 1\nif a\n   b = 2\n"));
  EXPECT_FALSE(function.isValid());
  EXPECT_FALSE(function.isSet());
  EXPECT_EQ(function.compiledModule(), nullptr);
  EXPECT_EQ(function.compileErrorLine(), 2u);
  const COLstring& text = function.compileErrorDescription();
  EXPECT_NE(text.find("SyntaxError"), COLstring::npos) << text;
  EXPECT_NE(text.find("\"<stdout>\", line 2\r\n"), COLstring::npos) << text;
  COLerror error = TSTraised([&] { function.execute(); });
  EXPECT_EQ(error.description(), text);
  EXPECT_EQ(error.parameter("line"), "2");
  // Fixing the text makes it valid again.
  function.setCode("a = 1\nif a:\n   b = 2\n");
  EXPECT_TRUE(function.isSet());
  EXPECT_TRUE(function.compileErrorDescription().empty());
  EXPECT_EQ(function.compileErrorLine(), 0u);
}

TEST(LANfunction, RuntimeErrorsComeFromExecuteNotFromCompile) {
  auto engine = readyEngine();
  LANfunction function(engine.get());
  function.setCode("x = 1 / 0\n");
  EXPECT_TRUE(function.isSet());
  COLerror error = TSTraised([&] { function.execute(); });
  EXPECT_EQ(error.parameter("python_exception"), "ZeroDivisionError");
  EXPECT_EQ(error.parameter("line"), "1");
}

TEST(LANfunction, NoEngineIsAFailedPrecondition) {
  auto engine = readyEngine();  // made first: it must outlive the function's module
  LANfunction function;
  EXPECT_NE(TSTerrorText([&] { function.setCode("x = 1\n"); }).find("Failed precondition: pMember->pEngine != NULL"),
            std::string::npos);
  EXPECT_FALSE(function.isValid());
  function.setEngine(engine.get());
  EXPECT_TRUE(function.isSet());
}

TEST(LANfunction, MovingToAnotherEngineCompilesThere) {
  auto first = readyEngine();
  auto second = readyEngine();
  LANfunction function(first.get());
  function.setCode("where = 'here'\n");
  function.setEngine(second.get());
  EXPECT_EQ(function.engine(), second.get());
  EXPECT_TRUE(function.isSet());
  EXPECT_NE(function.compiledModule(), nullptr);
  function.execute();
  EXPECT_EQ(globalText(*second, "where"), "here");
  EXPECT_EQ(globalText(*first, "where"), "<absent>");

  LANfunction copy(function);
  EXPECT_EQ(copy.code(), function.code());
  EXPECT_TRUE(copy.isSet());
  EXPECT_NE(copy.compiledModule(), function.compiledModule());
  copy.disconnectEngine(second.get());
  EXPECT_EQ(copy.engine(), nullptr);
  EXPECT_THROW(copy.disconnectEngine(first.get()), COLerror);
}

TEST(LANfunction, RecompileAfterResetRunsInTheFreshInterpreter) {
  auto engine = readyEngine();
  LANfunction function(engine.get());
  function.setCode("value = 'v'\n");
  engine->reset();
  engine->init();
  function.recompile();
  ASSERT_TRUE(function.isSet());
  function.execute();
  EXPECT_EQ(globalText(*engine, "value"), "v");
}

// --- embedded modules

LANembeddedPythonModule moduleIn(LANengine& engine, unsigned number) {
  LANembeddedPythonModule module;
  module.setEngine(&engine);
  module.setName("shared_tools");
  module.setNumber(number);
  return module;
}

TEST(LANembeddedModule, ListsFunctionsWithArgumentsAndLines) {
  auto engine = readyEngine();
  LANembeddedPythonModule module = moduleIn(*engine, 7);
  EXPECT_EQ(module.pythonModuleName(), "qvm_user_module_7");
  module.setCode("def zeta(a, b):\r\n   return a + b\r\n\r\nCONSTANT = 3\r\ndef alpha():\r\n   pass\r\n");
  ASSERT_FALSE(module.hasError()) << module.errorDescription();
  ASSERT_EQ(module.functions().size(), 2u);
  EXPECT_EQ(module.functions()[0].name, "alpha");
  EXPECT_EQ(module.functions()[0].lineNumber, 5u);
  EXPECT_TRUE(module.functions()[0].argumentNames.empty());
  EXPECT_EQ(module.functions()[1].name, "zeta");
  EXPECT_EQ(module.functions()[1].argumentNames, (std::vector<COLstring>{"a", "b"}));
  ASSERT_NE(LANembeddedPythonModuleFindFunction(module, "zeta"), nullptr);
  EXPECT_EQ(LANembeddedPythonModuleFindFunction(module, "missing"), nullptr);
  // Callable from other scripts, and no trace left in the globals.
  engine->runString("import qvm_user_module_7\nsum = str(qvm_user_module_7.zeta(2, 3))\n");
  EXPECT_EQ(globalText(*engine, "sum"), "5");
  EXPECT_EQ(globalText(*engine, "_qvm_utils_get_function_names"), "<absent>");
}

TEST(LANembeddedModule, NamesDroppedByNewTextAreGone) {
  auto engine = readyEngine();
  LANembeddedPythonModule module = moduleIn(*engine, 1);
  module.setCode("def old():\n   pass\ndef kept():\n   pass\n");
  module.setCode("def kept():\n   pass\n");
  ASSERT_EQ(module.functions().size(), 1u);
  engine->runString("import qvm_user_module_1\nhas_old = str(hasattr(qvm_user_module_1, 'old'))\n"
                    "name = qvm_user_module_1.__name__\n");
  EXPECT_EQ(globalText(*engine, "has_old"), "False");
  EXPECT_EQ(globalText(*engine, "name"), "qvm_user_module_1");
}

TEST(LANembeddedModule, FaultsAreKeptNotThrown) {
  auto engine = readyEngine();
  LANembeddedPythonModule module = moduleIn(*engine, 2);
  EXPECT_NO_THROW(module.setCode("x = 1\n\nimport no_such_module_anywhere\n"));
  EXPECT_TRUE(module.hasError());
  EXPECT_EQ(module.errorLineNumber(), 3u);
  EXPECT_NE(module.errorDescription().find("no_such_module_anywhere"), COLstring::npos) << module.errorDescription();

  EXPECT_NO_THROW(module.setCode("def f(:\n   pass\n"));
  EXPECT_TRUE(module.hasError());
  EXPECT_EQ(module.errorLineNumber(), 1u);
  EXPECT_FALSE(module.errorDescription().empty());

  module.setCode("VALUE = 1\n");
  EXPECT_FALSE(module.hasError());
  EXPECT_TRUE(module.functions().empty());
  module.setCode("");
  EXPECT_FALSE(module.hasError());
  EXPECT_TRUE(module.functions().empty());
}

}  // namespace
