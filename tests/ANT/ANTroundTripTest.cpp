// Round trips through the version-one format: the example definition and a model with every
// kind of element come back equal, and a second save gives the same bytes as the first.
#include <gtest/gtest.h>

#include "ANTengine.h"
#include "COLerror.h"
#include "ANTtestSupport.h"

#include "../support/TSTfile.h"

namespace {
const std::string ExamplePath = std::string(MSGBRIDGE_SOURCE_DIR) + "/examples/adt_oru.vmd";

COLstring saveToText(QVMengineInternal& engine) { return ANTsaveEngineToString(engine); }

void loadText(QVMengineInternal& engine, const COLstring& text) { ANTloadEngine(text, engine, "copy.vmd"); }
}  // namespace

TEST(ANTroundTripTest, ExampleLoadsSavesAndReloadsUnchanged) {
  QVMengineInternal first;
  loadText(first, TSTreadFile(ExamplePath));
  EXPECT_EQ(first.countOfMessage(), 5u);
  EXPECT_EQ(first.countOfTable(), 5u);
  EXPECT_STREQ(first.config().xmlTranslationType(), "TABLE - Short Tags");
  EXPECT_EQ(first.message(4)->name(), "ORU_R01");
  ASSERT_EQ(first.message(4)->tableGrammar().countOfSubGrammar(), 3u);
  const QVMtableGrammarInternal& results = *first.message(4)->tableGrammar().subGrammar(2)->subGrammar(1);
  EXPECT_EQ(results.table()->tableName(), "Results");
  EXPECT_EQ(results.messageGrammar()->grammarName(), "OBSERVATION");
  EXPECT_EQ(results.table()->mapSet(results.tableMapSetIndex())->name(), "ORU_R01");

  COLstring text = saveToText(first);
  // The example is kept in the writer's own layout.
  EXPECT_EQ(text.str(), TSTreadFile(ExamplePath));
  QVMengineInternal second;
  loadText(second, text);
  EXPECT_EQ(ANTtestDump(second), ANTtestDump(first));
  EXPECT_EQ(saveToText(second).str(), text.str());
}

// Texts and indexes are checked by value as well, so a dump that missed them still fails here.
TEST(ANTroundTripTest, FullModelComesBackEqual) {
  QVMengineInternal original;
  ANTtestBuildFullModel(original);
  std::string before = ANTtestDump(original);
  COLstring text = saveToText(original);
  EXPECT_EQ(ANTtestDump(original), before) << "saving changed the model";
  QVMengineInternal copy;
  loadText(copy, text);
  EXPECT_EQ(ANTtestDump(copy), before);
  EXPECT_EQ(saveToText(copy).str(), text.str());

  // Attribute and element escapes, and a script holding the CDATA terminator. A second blank
  // in an attribute would survive only by luck of the reader's normalisation: it goes by number.
  EXPECT_NE(text.find("<config name=\" &#x20;second"), COLstring::npos);
  EXPECT_NE(text.find("<table_ref>Visits &amp; more</table_ref>"), COLstring::npos);
  EXPECT_NE(text.find("]]&gt;"), COLstring::npos);
  EXPECT_NE(text.find("<outgoing_config>-1</outgoing_config>"), COLstring::npos);
  EXPECT_EQ(copy.vmdDescription(), original.vmdDescription());
  EXPECT_EQ(copy.configName(1), "  second  &  config ");
  EXPECT_EQ(copy.table(0)->tableName(), "Visits & more");
  EXPECT_EQ(copy.currentConfig(), 1u);
  EXPECT_EQ(copy.outgoingConfigIndex(), 0xFFFFFFFFu);
  EXPECT_EQ(copy.engineConfig(1).matchOrder().toVector(), (std::vector<uint32_t>{1, 0, 1}));
  EXPECT_EQ(copy.engineConfig(0).matchOrder().toVector(), (std::vector<uint32_t>{1, 0}));
  EXPECT_EQ(QVMengineIgnoreMessageIndex(copy, size_t{0}), 0u);
  EXPECT_EQ(copy.ackMessageIndex(0), 1u);
  EXPECT_EQ(copy.ackMessageIndex(1), 0xFFFFFFFFu);
  copy.setCurrentConfig(0);
  EXPECT_EQ(copy.segment(2)->fieldOutgoingFunction(1).code(), "if value == ']]>':\r\n  value = ''\r\n");
  EXPECT_EQ(copy.composite(0)->description(), "  blanks kept  ");
  EXPECT_EQ(copy.config().sepCharInfo(0).sepCharDefault(), '\n');
  EXPECT_EQ(copy.config().endOfMessage(), 28);
  EXPECT_EQ(copy.config().parserVersion(), QVMparserSegmentChecker3);
  EXPECT_EQ(copy.config().countOfLevel(), 5u);
  // The identifier named the first of two PID grammars and still does.
  EXPECT_EQ(copy.message(0)->config(0).identifier(0)->segment(), "PID");
  EXPECT_EQ(copy.message(0)->config(0).identifier(1)->segment(), "ZZZ");
  const QVMtableGrammarInternal& leaf = *copy.message(0)->tableGrammar().subGrammar(0)->subGrammar(0);
  EXPECT_EQ(leaf.config(0).messageGrammar()->segment(), copy.segment(2));
  EXPECT_EQ(leaf.config(0).tableMapSetIndex(), 1u);
  EXPECT_EQ(leaf.config(1).messageGrammar(), nullptr);
  const QVMcompositeGrammar& person = *copy.composite(0);
  EXPECT_EQ(person.fieldCompositeType(3), copy.composite(1));
  EXPECT_EQ(person.fieldDateTimeGrammar(4), copy.dateTimeGrammar(0));
  EXPECT_FALSE(copy.segment(2)->identifier(0)->isRegexValid());
}
