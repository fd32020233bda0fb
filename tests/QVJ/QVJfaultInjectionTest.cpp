// A long run with corrupt messages mixed in: every bad one is refused with its error, every
// good one parses, and the context goes on serving after each refusal.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "COLerror.h"
#include "MLGreader.h"
#include "QVJparse.h"
#include "QVJparseContext.h"
#include "QVLvmdFile.h"
#include "QVMtableInternal.h"

namespace {

std::vector<std::string> exampleMessages() {
  std::unique_ptr<MLGreader> Reader(MLGfactoryOpen(MSGBRIDGE_SOURCE_DIR "/examples/messages.hl7"));
  std::vector<std::string> Messages;
  while (Reader && Reader->hasNextMessage()) Messages.push_back(Reader->nextMessage().c_str());
  return Messages;
}

// Three ways a message arrives broken: cut inside its header, replaced by binary garbage, or
// with its delimiters repeated.
std::string corrupt(const std::string& Message, int Kind) {
  switch (Kind % 3) {
    case 0:
      return Message.substr(0, 6);
    case 1: {
      std::string Garbage;
      for (int Index = 0; Index < 300; ++Index) Garbage += static_cast<char>((Index * 37 + Kind) % 256);
      return Garbage;
    }
    default: {
      std::string Broken = Message;
      Broken[4] = Broken[3];  // "MSH||~\&": the component separator repeats the field separator
      return Broken;
    }
  }
}

TEST(QVJfaultInjection, OneBadMessageInAHundredIsRefusedAndTheRestParse) {
  COLreferencePtr<QVFengine> Engine(new QVFengine);
  QVLloadEngine(Engine->schema(), MSGBRIDGE_SOURCE_DIR "/examples/adt_oru.vmd");
  const std::vector<std::string> Good = exampleMessages();
  ASSERT_EQ(Good.size(), 24u);
  int Accepted = 0, Refused = 0, RefusedWithReport = 0;
  for (int Index = 0; Index < 2000; ++Index) {
    const bool Bad = Index % 100 == 99;
    const std::string Message = Bad ? corrupt(Good[Index % Good.size()], Index / 100) : Good[Index % Good.size()];
    QVMtableInternal Table;
    unsigned MessageIndex = 0;
    try {
      QVJengineInternalParseMessage(Engine->parseContext(), Message.c_str(), MessageIndex, Table);
      ++Accepted;
      EXPECT_FALSE(Bad) << "message " << Index << " was corrupt and still parsed";
    } catch (const COLerror& Error) {
      ++Refused;
      EXPECT_TRUE(Bad) << "message " << Index << ": " << COLerror(Error).parameter("PlainError").c_str();
      if (COLerror(Error).hasParameter("PlainError") && !COLerror(Error).parameter("PlainError").empty())
        ++RefusedWithReport;
    }
  }
  EXPECT_EQ(Accepted, 1980);
  EXPECT_EQ(Refused, 20);
  EXPECT_EQ(RefusedWithReport, 20);
}

}  // namespace
