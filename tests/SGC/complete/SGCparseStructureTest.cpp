// The structural road of whole logs and long messages, the stripping of a message's ends, the
// repaired MSH encoding characters, and a segment list that serves the next message after any
// failure (single messages and their outcomes are the cases of tests/data/SGC/structure.test).
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
      return Error.description().c_str();
    }
  }
  std::vector<std::string> placement() { return placed(List, Structure.context.tree()); }

  SGMsegmentList List;
  SGCmessageStructure Structure;
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

TEST_F(SGCparseStructure, TheListServesTheNextMessageAfterAnyFailure) {
  QVMengineInternal& Engine = engineFor("examples/adt_oru.vmd");
  for (const char* Failing : {"", "PID|1\rMSH|^~\\&|", "MSH|^^\\&|A|B", "MSH|^~\\&|||||||XYZ^A01",
                              "MSH|^~\\&|||||||ADT^A01\rEVN|A01\rPV1|1"}) {
    EXPECT_NE(outcome(Engine, Failing), "ADT_A01") << Failing;
    EXPECT_EQ(outcome(Engine, "MSH|^~\\&|||||||ADT^A01\rEVN|A01\rPID|1\rPV1|1"), "ADT_A01") << Failing;
  }
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
