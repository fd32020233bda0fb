// The structural road of one message: strip, tokenise, repair the MSH encoding characters,
// identify, lay onto the grammar.  Every failure is the error its cause fixes, and the same
// segment list serves the next message after any failure.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <memory>
#include <sstream>

#include "COLerror.h"
#include "MLGreader.h"
#include "QVLvmdFile.h"
#include "QVMmessageGrammar.h"
#include "SGCcompleteParse.h"
#include "SGCparseTestSupport.h"

using namespace sgctest;

namespace {

const std::string SourceDir = MSGBRIDGE_SOURCE_DIR;

std::string readFile(const std::string& Path) {
  std::ifstream In(Path, std::ios::binary);
  std::stringstream Text;
  Text << In.rdbuf();
  return Text.str();
}

// Engines are loaded once; they go before the interpreter's statics do.
std::map<std::string, COLreferencePtr<QVMengineInternal>> Loaded;

QVMengineInternal& engineFor(const std::string& RelativePath) {
  COLreferencePtr<QVMengineInternal>& Slot = Loaded[RelativePath];
  if (!Slot) {
    Slot = new QVMengineInternal;
    QVLloadEngine(*Slot, (SourceDir + "/" + RelativePath).c_str());
  }
  return *Slot;
}

class SGCparseStructure : public ::testing::Test {
protected:
  static void TearDownTestSuite() { Loaded.clear(); }

  // The identified message's name, or the error's text.
  std::string outcome(QVMengineInternal& Engine, const std::string& Text) {
    try {
      const unsigned Index = ::SGCparseStructure(COLstring(Text), Engine, List, Structure);
      return Engine.message(Index)->name().c_str();
    } catch (const COLerror& Error) {
      Code = Error.code();
      return Error.description().c_str();
    }
  }
  // Full grammar name of each placed segment in list order.
  std::vector<std::string> placement() {
    std::vector<std::string> Names(List.countOfSegment(), "unplaced");
    for (SGCparsed* Node = Structure.context.tree(); Node; Node = SGCparsedGetNextPreOrder(Node))
      if (SGCparsedSegment* Placed = Node->segment()) Names[Placed->index()] = Node->rule()->fullGrammarName().c_str();
    return Names;
  }

  SGMsegmentList List;
  SGCmessageStructure Structure;
  uint32_t Code = 0;
};

TEST_F(SGCparseStructure, EveryMessageOfTheExampleLogIsIdentifiedAndPlaced) {
  QVMengineInternal& Engine = engineFor("examples/adt_oru.vmd");
  std::unique_ptr<MLGreader> Reader(MLGfactoryOpen((SourceDir + "/examples/messages.hl7").c_str()));
  ASSERT_TRUE(Reader);
  std::map<std::string, int> Counts;
  while (Reader->hasNextMessage()) {
    const COLstring Message = Reader->nextMessage();
    ++Counts[outcome(Engine, Message.c_str())];
    for (const std::string& Where : placement()) EXPECT_NE(Where, "unplaced") << Message.c_str();
  }
  EXPECT_EQ(Counts, (std::map<std::string, int>{{"ADT_A01", 4}, {"ADT_A03", 4}, {"ADT_A04", 4}, {"ADT_A08", 4}, {"ORU_R01", 8}}));
}

TEST_F(SGCparseStructure, NotesFollowTheSegmentTheyComment) {
  QVMengineInternal& Engine = engineFor("definitions/hl7v2.5.1.vmd");
  ASSERT_EQ(outcome(Engine, readFile(SourceDir + "/tests/data/SGC/mirth_oru_r01_v22_large_nte.hl7")), "ORU_R01");
  const std::vector<std::string> Where = placement();
  ASSERT_EQ(Where.size(), 150u);
  const std::string Order = "ORU_R01.PATIENT_RESULT.ORDER_OBSERVATION.";
  int Orders = 0;
  for (size_t Index = 1; Index < Where.size(); ++Index) {
    const std::string Name(List.segment(static_cast<uint32_t>(Index)).name().view());
    const std::string Previous(List.segment(static_cast<uint32_t>(Index - 1)).name().view());
    if (Name == "OBR") {
      ++Orders;
      EXPECT_EQ(Where[Index], Order + "OBR");
    }
    if (Name == "OBX") {
      EXPECT_EQ(Where[Index], Order + "OBSERVATION.OBX") << Index;
    }
    // A note after an order or another order note belongs to the order, after a result to the result.
    if (Name == "NTE" && (Previous == "OBR" || Where[Index - 1] == Order + "NTE")) {
      EXPECT_EQ(Where[Index], Order + "NTE") << Index;
    }
    if (Name == "NTE" && Previous == "OBX") {
      EXPECT_EQ(Where[Index], Order + "OBSERVATION.NTE") << Index;
    }
  }
  // Each order begins a new occurrence of the order group.
  SGCparsed* Node = Structure.context.tree();
  std::vector<unsigned> Address;
  for (; Node; Node = SGCparsedGetNextPreOrder(Node))
    if (Node->segment() && Node->segment()->index() == 149) SGCparsedGetAddress(Node, Address);
  ASSERT_GE(Address.size(), 4u);
  EXPECT_EQ(Address[3], static_cast<unsigned>(Orders - 1));
}

TEST_F(SGCparseStructure, OptionalGroupsOfAnAdmissionTakeTheirSegments) {
  QVMengineInternal& Engine = engineFor("definitions/hl7v2.5.1.vmd");
  ASSERT_EQ(outcome(Engine, readFile(SourceDir + "/tests/data/SGC/rethink_adt_a01_v251_full.hl7")), "ADT_A01");
  EXPECT_EQ(placement(), (std::vector<std::string>{"ADT_A01.MSH", "ADT_A01.EVN", "ADT_A01.PID", "ADT_A01.PD1",
                                                   "ADT_A01.NK1", "ADT_A01.PV1", "ADT_A01.PV2", "ADT_A01.DG1",
                                                   "ADT_A01.INSURANCE.IN1"}));
}

TEST_F(SGCparseStructure, TokeniserFailuresReadAsTheirCause) {
  QVMengineInternal& Engine = engineFor("examples/adt_oru.vmd");
  EXPECT_EQ(outcome(Engine, ""), "The message is too short. Each message must include the MSH segment and encoding characters.");
  EXPECT_EQ(Code, 0x80001100u);
  EXPECT_EQ(outcome(Engine, "PID|1|||||||||||||||\rMSH|^~\\&|"), "The header segment 'MSH' was not found.");
  EXPECT_EQ(Code, 0x80001200u);
  EXPECT_EQ(outcome(Engine, "MSH|^^\\&|A|B"), "Some delimiters in the message were repeated.");
  EXPECT_EQ(Code, 0x80001201u);
  EXPECT_EQ(outcome(Engine, "MSH|^~\\&"), "Message delimiters were not found.");
  EXPECT_EQ(Code, 0x80001201u);
  EXPECT_EQ(outcome(Engine, "MSH|^~\\&|||||||XYZ^A01"), SGCunidentifiedMessageText().c_str());
  EXPECT_EQ(Code, 0x80002001u);
  EXPECT_STREQ(SGCunidentifiedMessageText().c_str(),
               "Message type is unidentified.   Often this means that a new message needs to be defined or that the "
               "identifier fields were in the wrong place or that the values were different from what was expected "
               "i.e. wrong case or a zero character instead of the letter 'O' you can add a default message handler "
               "in the option screen which will be invoked every time an unidentified message is encountered.  See "
               "the manual for details.");
  // The list serves the next message as if nothing had happened.
  EXPECT_EQ(outcome(Engine, "MSH|^~\\&|||||||ADT^A01\rEVN|A01\rPID|1\rPV1|1"), "ADT_A01");
}

TEST_F(SGCparseStructure, StructuralFaultsOfAKnownMessageAreReported) {
  QVMengineInternal& Engine = engineFor("examples/adt_oru.vmd");
  EXPECT_EQ(outcome(Engine, "MSH|^~\\&|||||||ADT^A01\rEVN|A01\rPV1|1"),
            "The segment/group 'Message.PID' was required but not present in the message 'ADT_A01'.");
  EXPECT_EQ(Code, 0x80002008u);
  // Unknown segments are ignored by this definition: a Z segment does not disturb the parse.
  EXPECT_EQ(outcome(Engine, "MSH|^~\\&|||||||ADT^A01\rEVN|A01\rZPI|x\rPID|1\rPV1|1"), "ADT_A01");
  EXPECT_EQ(placement()[2], "unplaced");
}

TEST_F(SGCparseStructure, StripRemovesEachCharacterInOnePass) {
  auto stripped = [](const std::string& Text) {
    COLstring Copy(Text);
    SGCstripMessage(Copy);
    return std::string(Copy.c_str(), Copy.size());
  };
  EXPECT_EQ(stripped(" \tMSH|x\r\n"), "MSH|x\r");
  EXPECT_EQ(stripped("MSH|x\n\r"), "MSH|x");
  EXPECT_EQ(stripped("MSH|x\n "), "MSH|x");
  EXPECT_EQ(stripped("MSH|x \n"), "MSH|x ");
  EXPECT_EQ(stripped("\r\r\n\nMSH"), "MSH");
  EXPECT_EQ(stripped(" \t\r\n"), "");
}

TEST_F(SGCparseStructure, EveryMshHoldsItsFourEncodingCharactersAsOneValue) {
  QVMengineInternal& Engine = engineFor("examples/adt_oru.vmd");
  outcome(Engine, "MSH|^~\\&|||||||ADT^A01\rEVN|A01\rPID|1\rPV1|1\rMSH|^~\\&|x");
  EXPECT_EQ(List.segment(0).field(1, 0).value(0, 0).view(), "^~\\&");
  EXPECT_EQ(List.segment(0).field(1, 0).countOfSubField(), 1u);
  EXPECT_EQ(List.segment(4).field(1, 0).value(0, 0).view(), "^~\\&");
  EXPECT_EQ(List.segment(0).field(0, 0).value(0, 0).view(), "|");
}

}  // namespace
