// The grammar parse: where each segment of a flat list lands in the grammar tree, which
// structural faults are found afterwards, in which order, and how they read.
#include <gtest/gtest.h>

#include "COLerror.h"
#include "SGCparseTestSupport.h"
#include "SGCparsedErrorPrepare.h"

using namespace sgctest;

namespace {

class SGCgrammarParse : public ::testing::Test {
protected:
  SGCgrammarParse() : Engine(new QVMengineInternal), Message(addMessage(*Engine, "TEST_MSG")) {
    Root = Message.messageGrammar();
    seg(*Engine, Root, "MSH");
  }

  // Parses "MSH <Segments>" and returns whether no fatal error was found.
  bool parse(const std::string& Segments) {
    Text = messageText(Segments);
    tokenise(Text, List);
    return Context.parse(*Root, List);
  }
  std::string tree() { return draw(Context.tree()); }
  std::string errors() { return drawErrors(Context); }
  // The report of the first fatal error, as the pipeline would throw it.
  COLerror firstReport() {
    COLerror Report("", 0);
    for (const auto& Error : Context.errorList())
      if (Error->isFatal()) {
        SGCparsedErrorPrepareError(Message.name(), Error.get(), Report);
        break;
      }
    return Report;
  }

  COLreferencePtr<QVMengineInternal> Engine;
  QVMmessageDefinitionInternal& Message;
  QVMmessageGrammar* Root = nullptr;
  std::string Text;
  SGMsegmentList List;
  SGCparseContext Context;
};

TEST_F(SGCgrammarParse, OptionalAndRequiredPositionsAreSkippedAlikeAndOnlyRequiredOnesReport) {
  seg(*Engine, Root, "A");
  seg(*Engine, Root, "B", '?');
  seg(*Engine, Root, "C");
  EXPECT_TRUE(parse("A C"));
  EXPECT_EQ(tree(), "(MSH0 A1 - C2)");
  EXPECT_EQ(errors(), "");

  SGCparseContext Again;
  Root->subGrammar(2)->setIsOptional(false);
  EXPECT_FALSE(Again.parse(*Root, List));
  EXPECT_EQ(drawErrors(Again), "2!@B");
}

TEST_F(SGCgrammarParse, OutOfOrderSegmentReportsPlacementBeforeTheMissingItem) {
  Message.setIgnoreUnknownSegments(false);
  seg(*Engine, Root, "A");
  seg(*Engine, Root, "B");
  seg(*Engine, Root, "C");
  EXPECT_FALSE(parse("A C B"));
  EXPECT_EQ(tree(), "(MSH0 A1 - C2)");
  EXPECT_EQ(errors(), "1!@C 2!@B");
  const COLerror Report = firstReport();
  EXPECT_EQ(Report.description(),
            "The segment 'B' at position 4 could not be parsed into the message 'TEST_MSG'. The segment may be "
            "invalid, out of sequence, or it should be ignored by enabling 'Ignore segments not in grammar'.");
  EXPECT_EQ(Report.code(), 0x80002007u);
  EXPECT_EQ(Report.CountOfParameter(), 4u);
  EXPECT_EQ(COLerror(Report).parameter("GrammarSegmentName"), "C");
  EXPECT_EQ(COLerror(Report).parameter("MessageSegmentIndex"), "4");
  EXPECT_EQ(COLerror(Report).parameter("SegmentRepeatIndex"), "0");
  EXPECT_EQ(COLerror(Report).parameter("MessageSegmentName"), "B");
}

TEST_F(SGCgrammarParse, IgnoredUnknownSegmentLeavesTheMissingItemToReport) {
  Message.setIgnoreUnknownSegments(true);
  seg(*Engine, Root, "A");
  seg(*Engine, Root, "B");
  seg(*Engine, Root, "C");
  EXPECT_FALSE(parse("A C B"));
  EXPECT_EQ(errors(), "1@C 2!@B");
  const COLerror Report = firstReport();
  EXPECT_EQ(Report.description(), "The segment/group 'Message.B' was required but not present in the message 'TEST_MSG'.");
  EXPECT_EQ(Report.code(), 0x80002008u);
  EXPECT_EQ(COLerror(Report).parameter("MessageSegmentIndex"), "1");
  EXPECT_EQ(COLerror(Report).parameter("GrammarSegmentName"), "B");
  EXPECT_FALSE(Report.hasParameter("MessageSegmentName"));
}

TEST_F(SGCgrammarParse, RepeatingGroupTakesAnOccurrenceForASegmentThatFitsAnywhereInIt) {
  seg(*Engine, Root, "A");
  QVMmessageGrammar* Group = group(Root, "BC", '+');
  seg(*Engine, Group, "B");
  seg(*Engine, Group, "C");
  EXPECT_FALSE(parse("A B B C"));
  EXPECT_EQ(tree(), "(MSH0 A1 [(B2 -) (B3 C4)])");
  EXPECT_EQ(errors(), "2!@C");
  const COLerror Report = firstReport();
  EXPECT_EQ(Report.description(),
            "The segment/group 'Message.BC.C' was required but not present in the message 'TEST_MSG'.");
  EXPECT_EQ(COLerror(Report).parameter("SegmentRepeatIndex"), "0");
}

TEST_F(SGCgrammarParse, AbsentOptionalRepeatingGroupBecomesOnePlaceholder) {
  seg(*Engine, Root, "A");
  QVMmessageGrammar* Group = group(Root, "BC", '*');
  seg(*Engine, Group, "B");
  seg(*Engine, Group, "C");
  EXPECT_TRUE(parse("A"));
  EXPECT_EQ(tree(), "(MSH0 A1 -)");
  EXPECT_EQ(errors(), "");
  // A required repeating group of required segments is missing as a whole, reported once.
  Group->setIsOptional(false);
  SGCparseContext Again;
  EXPECT_FALSE(Again.parse(*Root, List));
  EXPECT_EQ(drawErrors(Again), "2!@BC");
}

TEST_F(SGCgrammarParse, RepeatLimitCountsRepeatsAfterTheFirstAndBlamesTheLastOccurrence) {
  seg(*Engine, Root, "A", '+', 2);
  EXPECT_TRUE(parse("A A A"));
  EXPECT_EQ(tree(), "(MSH0 [A1 A2 A3])");

  SGMsegmentList Four;
  const std::string FourText = messageText("A A A A");
  tokenise(FourText, Four);
  SGCparseContext Over;
  EXPECT_FALSE(Over.parse(*Root, Four));
  EXPECT_EQ(drawErrors(Over), "3!@A");
  EXPECT_EQ(static_cast<SGCparsedSegment*>(Over.errorList()[0]->errorParsed())->index(), 4u);
  COLerror Report("", 0);
  SGCparsedErrorPrepareError("TEST_MSG", Over.errorList()[0].get(), Report);
  EXPECT_EQ(Report.description(),
            "The segment/group 'Message.A' exceeded the specified repeats in message 'TEST_MSG'. 2 repeats were "
            "specified but 3 repeats were found.");
  EXPECT_EQ(Report.code(), 0x80002009u);
  EXPECT_EQ(Report.parameter("SegmentRepeatIndex"), "3");
  EXPECT_EQ(Report.parameter("MessageSegmentIndex"), "5");

  Root->subGrammar(1)->setMaximumRepeat(0);
  SGCparseContext Unlimited;
  EXPECT_TRUE(Unlimited.parse(*Root, Four));
}

TEST_F(SGCgrammarParse, GroupRepeatLimitHasItsOwnCode) {
  QVMmessageGrammar* Group = group(Root, "G", '+', 1);
  seg(*Engine, Group, "B");
  EXPECT_FALSE(parse("B B B"));
  COLerror Report = firstReport();
  EXPECT_EQ(Report.code(), 0x80002010u);
  EXPECT_EQ(Report.description(),
            "The segment/group 'Message.G' exceeded the specified repeats in message 'TEST_MSG'. 1 repeats were "
            "specified but 2 repeats were found.");
  EXPECT_FALSE(Report.hasParameter("GrammarSegmentName"));
}

TEST_F(SGCgrammarParse, IgnoreOrderGroupGoesBackToItsStartOncePerSegment) {
  QVMmessageGrammar* Group = group(Root, "XYZ");
  Group->setIgnoreSegmentOrder(true);
  seg(*Engine, Group, "X");
  seg(*Engine, Group, "Y");
  seg(*Engine, Group, "Z");
  seg(*Engine, Root, "E", '?');
  EXPECT_TRUE(parse("Z X Y E"));
  EXPECT_EQ(tree(), "(MSH0 (X2 Y3 Z1) E4)");
  EXPECT_EQ(errors(), "");
}

TEST_F(SGCgrammarParse, SegmentWithoutPlaceInAnIgnoreOrderGroupMovesOnPastIt) {
  QVMmessageGrammar* Group = group(Root, "XY");
  Group->setIgnoreSegmentOrder(true);
  seg(*Engine, Group, "X");
  seg(*Engine, Group, "Y");
  seg(*Engine, Root, "E");
  EXPECT_TRUE(parse("Y X E"));
  EXPECT_EQ(tree(), "(MSH0 (X2 Y1) E3)");
  // A second X has no place in the group any more; it is not in the grammar.
  SGMsegmentList Twice;
  const std::string TwiceText = messageText("X Y X E");
  tokenise(TwiceText, Twice);
  SGCparseContext Again;
  Message.setIgnoreUnknownSegments(false);
  EXPECT_FALSE(Again.parse(*Root, Twice));
  EXPECT_EQ(draw(Again.tree()), "(MSH0 (X1 Y2) E4)");
  EXPECT_EQ(drawErrors(Again), "1!@Y");
}

TEST_F(SGCgrammarParse, MessageWithNothingPlacedReportsEachRequiredTopLevelItem) {
  Message.setIgnoreUnknownSegments(true);
  seg(*Engine, Root, "A");
  seg(*Engine, Root, "B", '?');
  QVMmessageGrammar* Group = group(Root, "G");
  seg(*Engine, Group, "C");
  Text = "MSH|^~\\&|\rQ";
  tokenise(Text, List);
  Root->subGrammar(0)->setSegment(segmentNamed(*Engine, "HDR"));
  EXPECT_FALSE(Context.parse(*Root, List));
  EXPECT_EQ(tree(), "(- - - -)");
  EXPECT_EQ(errors(), "1@Message 1@Message 2!@HDR 2!@A 2!@G");
}

TEST_F(SGCgrammarParse, NestedRepeatsGrowAFreshCopyAtEveryLevel) {
  QVMmessageGrammar* Outer = group(Root, "O", '+');
  seg(*Engine, Outer, "P");
  QVMmessageGrammar* Inner = group(Outer, "I", '*');
  seg(*Engine, Inner, "R");
  seg(*Engine, Inner, "S", '*');
  EXPECT_TRUE(parse("P R S S R P R"));
  EXPECT_EQ(tree(), "(MSH0 [(P1 [(R2 [S3 S4]) (R5 -)]) (P6 [(R7 -)])])");
  EXPECT_EQ(errors(), "");
}

TEST_F(SGCgrammarParse, SegmentIdentifiersTellTwoPositionsOfOneNameApart) {
  QVMmessageGrammar* First = seg(*Engine, Root, "OBX", '*');
  seg(*Engine, Root, "NTE", '?');
  // A second grammar of the same segment name, guarded by its first field.
  QVMsegmentGrammar* Flagged = Engine->segment(Engine->addSegment());
  Flagged->setName("OBX");
  QVMsegmentIdentifier* Identifier = Flagged->addIdentifierAt(0);
  Identifier->setValue("^FLAG$");
  Identifier->nodeAddress().setNodeIndex(0, 0);
  QVMmessageGrammar* Second = Root->insertSegment(Flagged);
  Second->setIsOptional(true);
  (void)First;
  EXPECT_TRUE(parse("OBX|1 OBX|2 NTE OBX|FLAG"));
  EXPECT_EQ(tree(), "(MSH0 [OBX1 OBX2] NTE3 OBX4)");
}

TEST(SGCparsedTree, MovingASubtreeRenumbersDepthsAndRemovalRenumbersSiblings) {
  COLreferencePtr<SGCparsedGroup> Root(new SGCparsedGroup(nullptr));
  COLreferencePtr<SGCparsedGroup> Inner(new SGCparsedGroup(nullptr));
  Inner->append(new SGCparsedNotPresent(nullptr));
  Root->append(new SGCparsedNotPresent(nullptr));
  Root->append(Inner);
  Root->append(new SGCparsedNotPresent(nullptr));
  EXPECT_EQ(Inner->child(0)->depth(), 2u);
  std::vector<unsigned> Address;
  SGCparsedGetAddress(Inner->child(0), Address);
  EXPECT_EQ(Address, (std::vector<unsigned>{1, 0}));
  Root->remove(0);
  EXPECT_EQ(Inner->childIndex(), 0u);
  EXPECT_EQ(Root->child(1)->childIndex(), 1u);
  // Walk in pre-order: root, inner, its child, the last placeholder, then the end.
  SGCparsed* Walk = Root.get();
  std::vector<SGCparsed*> Seen;
  while (Walk) {
    Seen.push_back(Walk);
    Walk = SGCparsedGetNextPreOrder(Walk);
  }
  EXPECT_EQ(Seen, (std::vector<SGCparsed*>{Root.get(), Inner.get(), Inner->child(0), Root->child(1)}));
  COLreferencePtr<SGCparsedGroup> Top(new SGCparsedGroup(nullptr));
  Top->append(Root);
  EXPECT_EQ(Inner->child(0)->depth(), 3u);
}

TEST(SGCparsedErrorText, UnknownCodesHaveNoWordsAndCannotBeReported) {
  COLreferencePtr<SGCparsedGroup> Node(new SGCparsedGroup(nullptr));
  SGCparsedError Error(0, nullptr, 7, Node.get(), true);
  EXPECT_EQ(Error.errorString(), nullptr);
  EXPECT_STREQ(SGCparsedError(0, nullptr, 1, Node.get(), true).errorString(), "segment not in grammar");
}

}  // namespace
