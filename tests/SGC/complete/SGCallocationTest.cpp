// Checking and unescaping run on every segment of every message: a segment without faults
// and without escapes must cost no allocation at all; nor must a whole message to table XML
// once its parse context has seen the shapes, and the pool of unescaped values that the
// context keeps must hand out correct bytes after it is cleared.
#include <atomic>
#include <cstdlib>
#include <fstream>
#include <new>
#include <sstream>
#include <string>
#include <vector>

#include "QVJparse.h"
#include "QVJparseContext.h"
#include "QVLvmdFile.h"
#include "QVMengineInternal.h"
#include "SGCtestSupport.h"
#include "SGCunescape.h"
#include "SGCvalidationRule.h"

#include "../../support/TSTcountingNew.h"

TEST(SGCallocation, FineSegmentIsCheckedAndUnescapedWithoutAllocating) {
  SGCtest::Definition Def;
  // Every kind of value: numbers, dates with fraction-free masks, an enumeration, nested
  // composites at both levels, repeats, the explicit null, fields beyond the grammar.
  SGCtest::Message Parsed(
      "PID|1|123^7^M11^NS&UID&2^20010203~456|DOE|20010203120000|M|+1e5|a~b~\"\"|ACC|extra^x&y");
  SGMsegment& Segment = Parsed.segment(1);
  QVMengineInternal Engine;
  auto& Rule = static_cast<QVMsegmentValidationRuleConditionalField&>(*Def.Pid.addValidationRule(4, 0));
  Rule.setRequiredField(5);
  COLreferencePtr<SGMstringPool> Pool(new SGMstringPool);
  const COLreferencePtr<SGMsegment>& SegmentReference = Parsed.List.segmentReference(1);
  SCCescaper Escaper;
  SGCerrorList Errors;

  const long Before = CountOfAllocation.load();
  for (int Round = 0; Round < 3; ++Round) {
    SGCcheckSegment(Segment, 1, Def.Pid, Errors);
    SGCunescapeSegment(Escaper, false, true, Segment, 1, Def.Pid, Pool.get(), Errors, true);
    SGCdoSegmentValidationRule(Rule, Pool, SegmentReference, Engine);
  }
  const long After = CountOfAllocation.load();
  EXPECT_EQ(After - Before, 0);
  EXPECT_TRUE(Errors.empty());
  EXPECT_EQ(Pool->countOfString(), 0u);

  // A fault costs its own error object, and the checks find it.
  Def.St10.setFieldMaxLength(0, 2);
  SGCcheckSegment(Segment, 1, Def.Pid, Errors);
  EXPECT_EQ(Errors.size(), 1u);
  EXPECT_GT(CountOfAllocation.load(), After);
}

TEST(SGCallocation, ClearedPoolGivesItsStorageToTheNextStrings) {
  SGMstringPool Pool;
  const char* Long = Pool.setPooledString(nullptr, "a value longer than a short string", 34);
  Pool.setPooledString(nullptr, "another value longer than the others", 36);
  Pool.clear();
  EXPECT_EQ(Pool.countOfString(), 0u);
  EXPECT_FALSE(Pool.hasString(Long));

  const long Before = CountOfAllocation.load();
  const char* Short = Pool.setPooledString(nullptr, "abc", 3);
  const char* Other = Pool.setPooledString(nullptr, "the longest value of the three", 30);
  // Rewriting a value in place keeps its entry.
  const char* Again = Pool.setPooledString(Short, "xyz!", 4);
  EXPECT_EQ(CountOfAllocation.load() - Before, 0);
  EXPECT_EQ(std::string(Again, 4), "xyz!");
  EXPECT_EQ(std::string(Other, 30), "the longest value of the three");
  EXPECT_EQ(Pool.countOfString(), 2u);
  Pool.removePooledString(Again, 4);
  EXPECT_FALSE(Pool.hasString(Again));
  EXPECT_TRUE(Pool.hasString(Other));
}

namespace {

// The messages of the example log, in the order they come.
std::vector<std::string> exampleMessages() {
  std::ifstream In(MSGBRIDGE_SOURCE_DIR "/examples/messages.hl7", std::ios::binary);
  std::stringstream Log;
  Log << In.rdbuf();
  std::vector<std::string> Messages;
  const std::string Text = Log.str();
  for (size_t At = 0, End; At < Text.size(); At = End + 3) {
    End = Text.find("\r\r\n", At);
    if (End == std::string::npos) End = Text.size();
    if (Text.compare(At, 3, "MSH") == 0) Messages.push_back(Text.substr(At, End - At));
  }
  return Messages;
}

// Allocations of one more round through a context warmed by two, each message's XML checked
// against a fresh context's.
long warmRoundAllocations(const char* Definition, const std::vector<std::string>& Messages) {
  COLreferencePtr<QVMengineInternal> Engine = new QVMengineInternal;
  QVLloadEngine(*Engine, Definition);
  std::vector<std::string> Fresh;
  for (const std::string& Message : Messages) {
    QVJparseContext Own(Engine.get());
    Fresh.emplace_back(QVJhl7ToXml(Own, Message.c_str()));
  }
  QVJparseContext Context(Engine.get());
  for (int Round = 0; Round < 2; ++Round)
    for (const std::string& Message : Messages) QVJhl7ToXml(Context, Message.c_str());
  long Allocations = 0;
  for (size_t Index = 0; Index < Messages.size(); ++Index) {
    const long Before = CountOfAllocation.load();
    const char* Xml = QVJhl7ToXml(Context, Messages[Index].c_str());
    Allocations += CountOfAllocation.load() - Before;
    EXPECT_EQ(Xml, Fresh[Index]) << "message " << Index;
  }
  return Allocations;
}

}  // namespace

TEST(SGCallocation, WarmRoadToTableXmlAllocatesNothingAndLeavesNothingBehind) {
  std::vector<std::string> Messages = exampleMessages();
  ASSERT_GT(Messages.size(), 20u);
  // An escaped value goes through the pool of unescaped values, long values past a short
  // string's room into the cells.
  std::string Escaped;
  for (const std::string& Message : Messages)
    if (Message.find("^Basic metabolic panel^") != std::string::npos) Escaped = Message;
  const size_t Service = Escaped.find("Basic metabolic");
  ASSERT_NE(Service, std::string::npos);
  Escaped.replace(Service, 15, "Basic \\T\\ metabolic");
  Messages.push_back(Escaped);
  // A long result list: its child lists outgrow the small blocks the parsed tree is made of.
  std::string Long = Escaped.substr(0, Escaped.find("OBX|"));
  for (int Index = 1; Index <= 300; ++Index)
    Long += "OBX|" + std::to_string(Index) + "|NM|NA^Sodium^L||129|mmol/L|135-145|L|||F\r";
  Messages.push_back(Long);

  const std::string Xml = [&] {
    COLreferencePtr<QVMengineInternal> Engine = new QVMengineInternal;
    QVLloadEngine(*Engine, MSGBRIDGE_SOURCE_DIR "/examples/adt_oru.vmd");
    QVJparseContext Own(Engine.get());
    return std::string(QVJhl7ToXml(Own, Escaped.c_str()));
  }();
  EXPECT_NE(Xml.find("<ServiceText>Basic &amp; metabolic panel</ServiceText>"), std::string::npos);
  EXPECT_EQ(warmRoundAllocations(MSGBRIDGE_SOURCE_DIR "/examples/adt_oru.vmd", Messages), 0);
}

// Under the bundled definitions every repeating field is a sub-table of its own, so tables hold
// sub-tables several levels deep; a log that mixes message types must still reuse them all.
TEST(SGCallocation, WarmRoadOnMixedLogUnderDeepTablesAllocatesNothing) {
  EXPECT_EQ(warmRoundAllocations(MSGBRIDGE_SOURCE_DIR "/definitions/hl7v2.5.1.vmd", exampleMessages()), 0);
}
