// The strict segment check read from the raw tree in place must agree with the check of the
// copy on every segment: a segment it passes wrongly would lose its report. The example
// messages are checked as they are and with each field in turn replaced by text that breaks
// one rule or another (empty, too long, not a number, not a date, the explicit null, extra
// components, sub components, repeats, encoding characters of five).
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "COLerror.h"
#include "QVJlegacySegment.h"
#include "QVLvmdFile.h"
#include "QVMengineInternal.h"
#include "QVMparser.h"
#include "QVMuntypedMessageTree.h"
#include "QVMverifySegment.h"
#include "QVPparseContext.h"
#include "SGCcheck.h"
#include "SGCcompleteParse.h"
#include "SGMsegmentList.h"

namespace {

std::vector<std::string> messagesOf(const std::string& Path) {
  std::ifstream In(MSGBRIDGE_SOURCE_DIR "/" + Path, std::ios::binary);
  std::stringstream Whole;
  Whole << In.rdbuf();
  std::string Text;
  for (char C : Whole.str())
    if (C != '\n') Text += C;
  std::vector<std::string> Messages;
  for (size_t At = 0; At < Text.size();) {
    size_t Next = Text.find("\rMSH|", At);
    Next = Next == std::string::npos ? Text.size() : Next + 1;
    Messages.push_back(Text.substr(At, Next - At));
    At = Next;
  }
  return Messages;
}

// The message itself, then one variant per segment, field and replacement text, and each
// segment cut to its name.
std::vector<std::string> variantsOf(const std::string& Message) {
  static const std::vector<std::string> Replacements{
      "", "\"\"", "abc", "12x", "2024xx", "7^8^9^1^2^3", "a&b&c&d", "1~2~3~4", "^", "&x", "^~\\&#", std::string(300, '9')};
  std::vector<std::string> Variants{Message};
  std::vector<std::string> Segments;
  std::stringstream In(Message);
  for (std::string Segment; std::getline(In, Segment, '\r');) Segments.push_back(Segment);
  // The header too: a variant that breaks its delimiters fails to parse and is passed over.
  for (size_t s = 0; s < Segments.size(); ++s) {
    std::vector<size_t> Bars;
    for (size_t i = 0; i < Segments[s].size(); ++i)
      if (Segments[s][i] == '|') Bars.push_back(i);
    for (size_t f = 0; f < Bars.size(); ++f) {
      const size_t Begin = Bars[f] + 1;
      const size_t End = f + 1 < Bars.size() ? Bars[f + 1] : Segments[s].size();
      for (const std::string& Replacement : Replacements) {
        std::vector<std::string> Changed = Segments;
        Changed[s] = Segments[s].substr(0, Begin) + Replacement + Segments[s].substr(End);
        std::string Text;
        for (const std::string& Line : Changed) Text += Line + "\r";
        Variants.push_back(Text);
      }
    }
    // A segment cut short misses its later required fields.
    std::vector<std::string> Changed = Segments;
    Changed[s] = Segments[s].substr(0, 3);
    std::string Text;
    for (const std::string& Line : Changed) Text += Line + "\r";
    Variants.push_back(Text);
  }
  return Variants;
}

bool copyPasses(const QVMuntypedMessageTree& Segment, const QVMsegmentGrammar& Grammar) {
  SGMsegment Copy;
  QVJcopyUntypedTreeToSegment(Segment, Copy);
  if (Copy.name().view() == "MSH" && Copy.countOfField() > 1) QVJdoSpecialMshHack(Copy);
  SGCerrorList Errors;
  SGCcheckSegment(Copy, 0, Grammar, Errors);
  return Errors.empty();
}

struct Tally {
  unsigned Passed = 0;
  unsigned Failed = 0;
};

void compareOn(const char* Definition, const char* Messages, Tally& Count) {
  COLreferencePtr<QVMengineInternal> Engine = new QVMengineInternal;
  ASSERT_EQ(QVLloadEngine(*Engine, (std::string(MSGBRIDGE_SOURCE_DIR "/") + Definition).c_str()), QVLvmdTypeXml);
  QVPparseContext Context(Engine.get());
  Context.initParser();
  for (const std::string& Message : messagesOf(Messages))
    for (const std::string& Variant : variantsOf(Message)) {
      QVMuntypedMessageTree& Raw = Context.rawSegmentList();
      try {
        QVMrawParseMessage(Variant, Context.parser(), Context.escaper(), Raw);
      } catch (const COLerror&) {
        continue;  // a variant that breaks the header has no segments to check
      }
      for (unsigned Index = 0; Index < Raw.countOfSubNode(); ++Index) {
        QVMuntypedMessageTree& Segment = *Raw.node(Index, 0);
        QVMengineInternalAddSegmentGrammarAndVerify(*Engine, Segment);
        const QVMsegmentGrammar* Grammar = Segment.segmentGrammar();
        if (Grammar == nullptr) continue;
        const bool Expected = copyPasses(Segment, *Grammar);
        ASSERT_EQ(QVJuntypedTreeSegmentPassesCheck(Segment, *Grammar), Expected)
            << Definition << ", segment " << Index << " of:\n" << Variant;
        ++(Expected ? Count.Passed : Count.Failed);
      }
    }
}

TEST(QVJlegacySegment, RawCheckAgreesWithTheCopy) {
  Tally Count;
  compareOn("examples/adt_oru.vmd", "examples/messages.hl7", Count);
  compareOn("examples/adt_oru.vmd", "examples/bad_messages.hl7", Count);
  compareOn("definitions/hl7v2.5.1.vmd", "examples/hl7v2.5.1_sample.hl7", Count);
  compareOn("tests/data/QVM/legacy/legacy.vmd", "examples/messages.hl7", Count);
  // Both verdicts must be well represented, or the comparison proves little.
  EXPECT_GT(Count.Passed, 1000u);
  EXPECT_GT(Count.Failed, 1000u);
}

}  // namespace
