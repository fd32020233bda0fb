// Two threads on one loaded engine, each with its own parse context, write the same table XML
// as one thread alone: what the parse keeps beside the definition (identification index, fill
// plans, segment scripts) is built once for both and never changed under either.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "QVJparse.h"
#include "QVJparseContext.h"
#include "QVLvmdFile.h"
#include "QVMengineInternal.h"

namespace {

// The messages of the example log, each in the framing the road takes.
std::vector<std::string> exampleMessages() {
  std::ifstream In(MSGBRIDGE_SOURCE_DIR "/examples/messages.hl7", std::ios::binary);
  std::stringstream Whole;
  Whole << In.rdbuf();
  const std::string Text = Whole.str();
  std::vector<std::string> Messages;
  for (size_t Begin = 0, End; Begin < Text.size(); Begin = End + 3) {
    End = Text.find("\r\r\n", Begin);
    if (End == std::string::npos) End = Text.size();
    if (Text.compare(Begin, 3, "MSH") == 0) Messages.push_back(Text.substr(Begin, End - Begin));
  }
  return Messages;
}

std::vector<std::string> translateAll(QVJparseContext& Context, const std::vector<std::string>& Messages,
                                      int Rounds) {
  std::vector<std::string> Xml;
  for (int Round = 0; Round < Rounds; ++Round)
    for (const std::string& Message : Messages) Xml.emplace_back(QVJhl7ToXml(Context, Message.c_str()));
  return Xml;
}

TEST(QVJthreads, TwoContextsOnOneEngineWriteWhatOneWrites) {
  COLreferencePtr<QVMengineInternal> Engine(new QVMengineInternal);
  QVLloadEngine(*Engine, MSGBRIDGE_SOURCE_DIR "/examples/adt_oru.vmd");
  const std::vector<std::string> Messages = exampleMessages();
  ASSERT_GE(Messages.size(), 20u);
  constexpr int Rounds = 20;
  const uint64_t Generation = Engine->planGeneration();

  // Both threads start cold, so that they build the shared plans at the same time.
  std::vector<std::string> Together[2];
  {
    QVJparseContext First(Engine.get()), Second(Engine.get());
    std::thread Other([&] { Together[1] = translateAll(Second, Messages, Rounds); });
    Together[0] = translateAll(First, Messages, Rounds);
    Other.join();
  }
  QVJparseContext Alone(Engine.get());
  const std::vector<std::string> Expected = translateAll(Alone, Messages, Rounds);
  // The log holds both kinds of message, each filling tables rooted at segments and at groups.
  ASSERT_NE(Expected.front().find("<ADT_A01>"), std::string::npos);
  bool SawGroupTable = false;
  for (const std::string& Xml : Expected) SawGroupTable = SawGroupTable || Xml.find("<Results>") != std::string::npos;
  ASSERT_TRUE(SawGroupTable);
  // Parsing reads the definition only: were it to count as an edit, every message would build
  // every plan again.
  EXPECT_EQ(Engine->planGeneration(), Generation);
  for (int Thread = 0; Thread < 2; ++Thread) {
    ASSERT_EQ(Together[Thread].size(), Expected.size());
    for (size_t Index = 0; Index < Expected.size(); ++Index)
      ASSERT_EQ(Together[Thread][Index], Expected[Index]) << "thread " << Thread << ", message " << Index;
  }
}

}  // namespace
