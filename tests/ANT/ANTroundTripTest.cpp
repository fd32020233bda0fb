// Round trips through the version-one format: the example definition and a model with every
// kind of element come back equal, and saving again gives the same bytes.
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

TEST(ANTroundTripTest, ExampleLoadsAndSavesUnchanged) {
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

  // The example is kept in the writer's own layout, so reloading what was saved reads the same bytes.
  EXPECT_EQ(saveToText(first).str(), TSTreadFile(ExamplePath));
}

// The dump is checked against its own file; what the dump doesn't print is checked by value.
TEST(ANTroundTripTest, FullModelComesBackEqual) {
  std::string text = TSTreadFile(ANTfullModel + ".vmd");
  QVMengineInternal copy;
  loadText(copy, text);
  std::string dump = ANTtestDump(copy);
  EXPECT_EQ(dump, TSTreadFile(ANTfullModel + ".dump"));
  EXPECT_EQ(saveToText(copy).str(), text);
  EXPECT_EQ(ANTtestDump(copy), dump) << "saving changed the model";
  EXPECT_EQ(QVMengineIgnoreMessageIndex(copy, size_t{0}), 0u);
  EXPECT_FALSE(copy.segment(2)->identifier(0)->isRegexValid());
}
