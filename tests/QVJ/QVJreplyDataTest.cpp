// Acknowledgements and transformations on the cases of tests/data/QVJ/reply: a definition, the
// scripts a case adds, a message in; the reply or the error out, and the engine's current
// configuration as it was before the call.
//
// Sections of a case:
//   definition PATH        the definition, relative to the repository (a fresh engine per case)
//   options                words: "no-ack" (the configuration names no acknowledgement message),
//                          "pass-through" (pass-through mapping), "no-msh" (the segment MSH is
//                          renamed "MSX")
//   current N              the current configuration before the call (default 0)
//   in:SEGMENT.N [C], out:SEGMENT.N [C]
//                          the incoming or outgoing function of field N (from 1) of the segment,
//                          in configuration C (default 0)
//   message-out:NAME [C]   the outgoing function of the message definition NAME
//   script:in-main [C]     the inbound pre-process script
//   message                the message
//   ack                    the acknowledgement expected, its MSH-7 (made today) as "<now>"
//   transform IN OUT       the message expected from the transformation between the two
//   index NAME             the name of the message the transformation identified
//   error [CODE]           the short text of the error (and its code)
//   error-has              lines the full error text holds
#include <gtest/gtest.h>

#include <ctime>
#include <sstream>
#include <string>

#include "COLerror.h"
#include "QVJdataSupport.h"
#include "QVJparseContext.h"
#include "QVJreply.h"
#include "QVLvmdFile.h"
#include "QVMengineInternal.h"
#include "QVMsegmentGrammar.h"

#include "../support/TSTdataFile.h"

namespace {

uint32_t configOf(const TSTdataCase& Case, const std::string& Key) {
  const std::string& Argument = Case.argument(Key);
  return Argument.empty() ? 0 : std::stoul(Argument);
}

LANfunction& scriptOf(QVMengineInternal& Schema, const std::string& Key) {
  const std::string Name = Key.substr(Key.find(':') + 1);
  if (Key == "script:in-main") return Schema.config().mainFunction();
  if (Key.rfind("message-out:", 0) == 0) return Schema.message(Schema.messageByName(Name))->outgoingFunction();
  const size_t Dot = Name.find('.');
  QVMsegmentGrammar& Segment = *Schema.segment(Schema.segmentByName(Name.substr(0, Dot)));
  const uint32_t Field = std::stoul(Name.substr(Dot + 1)) - 1;
  return Key.rfind("in:", 0) == 0 ? Segment.fieldIncomingFunction(Field) : Segment.fieldOutgoingFunction(Field);
}

// MSH-7 of a reply is the time it was made: a time of today stands as "<now>".
std::string withoutTime(const std::string& Reply) {
  if (Reply.rfind("MSH", 0) != 0 || Reply.size() < 4) return Reply;
  const char Separator = Reply[3];
  size_t Start = 3;
  for (int Field = 1; Field < 6 && Start != std::string::npos; ++Field) Start = Reply.find(Separator, Start + 1);
  if (Start == std::string::npos) return Reply;
  const size_t End = Reply.find_first_of(std::string(1, Separator) + "\r", Start + 1);
  const std::string Time = Reply.substr(Start + 1, End - Start - 1);
  char Today[16];
  const std::time_t Now = std::time(nullptr);
  std::strftime(Today, sizeof Today, "%Y%m%d", std::localtime(&Now));
  if (Time.size() != 14 || Time.rfind(Today, 0) != 0) return Reply;
  return Reply.substr(0, Start + 1) + "<now>" + Reply.substr(End);
}

class QVJreplyData : public ::testing::TestWithParam<TSTdataCase> {};

TEST_P(QVJreplyData, Reply) {
  const TSTdataCase& Case = GetParam();
  SCOPED_TRACE(Case.where());
  COLreferencePtr<QVFengine> Engine = QVJcaseEngine(Case);
  QVMengineInternal& Schema = Engine->schema();
  std::istringstream Options(Case.has("options") ? Case.text("options") : "");
  for (std::string Word; Options >> Word;) {
    if (Word == "no-ack") Schema.setAckMessageIndexS(QVMengineInternal::npos);
    else if (Word == "pass-through") Schema.setUsePassThroughMapping(true);
    else if (Word == "no-msh") Schema.segment(Schema.segmentByName("MSH"))->setName("MSX");
    else ADD_FAILURE() << "unknown option " << Word;
  }
  for (const auto& [Key, Section] : Case.Sections) {
    if (Key.find(':') == std::string::npos) continue;
    Schema.setCurrentConfig(configOf(Case, Key));
    scriptOf(Schema, Key).setCode(Section.Text.c_str());
  }
  const uint32_t Current = Case.has("current") ? std::stoul(QVJchomped(Case.text("current"))) : 0;
  Schema.setCurrentConfig(Current);

  QVJparseContext& Context = Engine->parseContext();
  const std::string Message = Case.text("message");
  std::string Reply;
  unsigned Index = 0;
  try {
    if (Case.has("transform")) {
      std::istringstream Pair(Case.argument("transform"));
      unsigned In = 0, Out = 0;
      Pair >> In >> Out;
      Reply = QVJtransformMessage(Context, Message.c_str(), In, Out, Index);
    } else {
      Reply = QVJautoAck(Context, Message.c_str());
    }
    EXPECT_FALSE(Case.has("error") || Case.has("error-has")) << "no error raised";
    if (Case.has("ack")) {
      EXPECT_EQ(withoutTime(Reply), Case.text("ack"));
    }
    if (Case.has("transform")) {
      EXPECT_EQ(Reply, Case.text("transform"));
    }
    if (Case.has("index")) {
      EXPECT_EQ(Schema.message(Index)->name().str(), QVJchomped(Case.text("index")));
    }
  } catch (const COLerror& Error) {
    EXPECT_TRUE(Case.has("error") || Case.has("error-has")) << "unexpected error: " << Error.description().str();
    const std::string Full = QVJlineFeeds(Error.description().str());
    // Every road reports the message it was given, whole.
    EXPECT_NE(Full.find("Message with linefeeds added:"), std::string::npos) << Full;
    if (Case.has("error")) {
      COLerror Copy(Error);
      EXPECT_EQ(Copy.hasParameter("PlainError") ? Copy.parameter("PlainError").str() : Full,
                QVJchomped(Case.text("error")));
      if (!Case.argument("error").empty()) {
        EXPECT_EQ(Error.code(), std::stoul(Case.argument("error"), nullptr, 16));
      }
    }
    std::istringstream Parts(Case.has("error-has") ? Case.text("error-has") : "");
    for (std::string Part; std::getline(Parts, Part);) EXPECT_NE(Full.find(Part), std::string::npos) << Part << "\n" << Full;
  }
  EXPECT_EQ(Schema.currentConfig(), Current) << "the current configuration was not put back";
}

INSTANTIATE_TEST_SUITE_P(Cases, QVJreplyData, ::testing::ValuesIn(TSTreadDataArea("QVJ/reply")), TSTdataParamName);

}  // namespace
