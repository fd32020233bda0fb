// The objects scripts reach beyond what the cases of tests/data/QVJ/scripted.test show: the table
// iterator where there is no table, and the grammar tree a situational rule walks.
#include "LANpython.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "LAGadmission.h"
#include "LAGexecute.h"
#include "LAGquovane.h"
#include "LANfunction.h"
#include "QVJparse.h"
#include "QVJparseContext.h"
#include "QVLvmdFile.h"
#include "QVMconfig.h"
#include "QVMengineInternal.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMmessageGrammar.h"

#include "../support/TSTraised.h"

namespace {

class LAGobjectTest : public ::testing::Test {
protected:
  LAGobjectTest() { QVLloadEngine(Engine->schema(), MSGBRIDGE_SOURCE_DIR "/examples/scripted.vmd"); }

  COLreferencePtr<QVFengine> Engine = new QVFengine;
};

// Where no table is being filled or generated there is none to see.
TEST_F(LAGobjectTest, APostProcessWithoutATableHasNoTableIterator) {
  Engine->schema().config().postProcessFunction().setCode("environment.output_table()\n");
  EXPECT_NE(TSTerrorText([&] { QVJenginePostProcessMessage(Engine->parseContext(), COLstring(LAGadmission("okafor"))); })
                .find("RuntimeError: Table iterator is not available in this context."),
            std::string::npos);
}

// --- the grammar tree of a situational rule

struct RecordingListener : LAGmessageGrammarListener {
  void onRequiredAffected(QVMmessageGrammar& Grammar, const QVMsegmentValidationRule*, bool Required) override {
    Heard.push_back(Grammar.grammarName().str() + (Required ? " required" : " optional"));
  }
  std::vector<std::string> Heard;
};

// Runs `code` with message_grammar_iterator bound on the first message of the definition, as
// the situational rule will bind it: "" or the error.
std::string runOnGrammar(QVMengineInternal& Schema, const char* Code, LAGmessageGrammarListener* Listener) {
  LAGenvironment Environment;
  Environment.setEngine(&Schema);
  LANfunction Function(&Schema.LanguageEngine());
  Function.setCode(Code);
  LANengineSwap Swap(Schema.LanguageEngine());
  PyObject* Locals = Schema.LanguageEngine().localDictionary();
  LANobjectPtr Iterator = LAGnewMessageGrammarIteratorObject(Schema.message(0)->messageGrammar(), Listener, nullptr);
  EXPECT_EQ(PyDict_SetItemString(Locals, "message_grammar_iterator", Iterator), 0);
  std::string Result;
  try {
    LAGexecuteScript(Function, LAGglobalInbound, Environment);
  } catch (const COLerror& Error) {
    Result = Error.description().str();
  }
  PyDict_DelItemString(Locals, "message_grammar_iterator");
  return Result;
}

TEST_F(LAGobjectTest, GrammarIteratorWalksTheTreeAndMakesGrammarsRequired) {
  QVMengineInternal& Schema = Engine->schema();
  RecordingListener Listener;
  QVMmessageGrammar& Root = *Schema.message(0)->messageGrammar();
  ASSERT_EQ(Root.subGrammar(3)->grammarName(), "NK1");
  ASSERT_TRUE(Root.subGrammar(3)->isOptional());
  EXPECT_EQ(runOnGrammar(Schema,
                         "it = message_grammar_iterator\n"
                         "assert (it.is_node(), it.count_of_subgrammar()) == (0, 6)\n"
                         "it.move_to_subgrammar('PV1')\n"
                         "assert it.is_node() == 1 and it.message_grammar().name() == 'PV1'\n"
                         "assert it.move_to_parentgrammar() == 1 and it.move_to_parentgrammar() == 0\n"
                         "it.move_to_subgrammar(3)\n"
                         "g = it.message_grammar()\n"
                         "g.set_situationally_required()\n"
                         "g.set_situationally_required()\n"
                         "it.reset()\n"
                         "assert it.message_grammar().name() == 'Message'\n"
                         "def fails(argument, text):\n"
                         "    try:\n"
                         "        it.move_to_subgrammar(argument)\n"
                         "    except RuntimeError as error:\n"
                         "        assert str(error) == text, str(error)\n"
                         "    else:\n"
                         "        raise AssertionError('moved to ' + repr(argument))\n"
                         "fails('ZZZ', 'Sub Grammar name (ZZZ) is not in the current message grammar Message')\n"
                         "fails(6, 'Argument (6) to move_to_subgrammar is out of range')\n"
                         "fails(-1, 'Argument (-1) to move_to_subgrammar is out of range')\n"
                         "fails(1.5, 'Argument to move_to_subgrammar is neither a string nor integer')\n"
                         "it.move_to_subgrammar('MSH')\n"
                         "fails('EVN', 'Current grammar (MSH) is a node.')\n",
                         &Listener),
            "");
  // Told once, when the grammar really changed.
  EXPECT_EQ(Listener.Heard, std::vector<std::string>{"NK1 required"});
  EXPECT_FALSE(Root.subGrammar(3)->isOptional());
  // Without a listener the grammar still changes.
  EXPECT_EQ(runOnGrammar(Schema, "message_grammar_iterator.move_to_subgrammar('OBX')\n"
                                 "message_grammar_iterator.message_grammar().set_situationally_required()\n",
                         nullptr),
            "");
  EXPECT_FALSE(Root.subGrammar(5)->isOptional());
}

}  // namespace
