// The class interface: engine, errors, the message-passing frame, strings, date-times.
#include <memory>
#include <vector>

#include "COLostream.h"
#include "QVMdateTime.h"
#include "QVMengine.h"
#include "QVMerror.h"
#include "QVMhandleSupport.h"
#include "QVMhandleTestSupport.h"
#include "QVMtable.h"
#include "../../support/TSTtableDefinition.h"

namespace {
// The QVMerror `action` throws (the class interface's own, no COLerror); none fails the test.
template <class Action>
QVMerror QVMthrown(Action&& action) {
  try {
    action();
  } catch (const QVMerror& error) {
    return error;
  }
  ADD_FAILURE() << "no QVMerror thrown";
  return QVMerror("no error", 0, "", 0);
}
}  // namespace

TEST(QVMclassEngine, LoadsAndForwardsToTheHandles) {
  QVMengine engine;
  engine.Load(QVMexampleDefinition().c_str());
  EXPECT_EQ(engine.CountOfMessage(), 5u);
  EXPECT_STREQ(engine.MessageName(0), "ADT_A01");
  EXPECT_EQ(engine.CountOfConfiguration(), 1u);
  EXPECT_STREQ(engine.ConfigurationName(0), "HL7 v2.4 inbound");
  EXPECT_NE(engine.MessageHandle(4), nullptr);
  EXPECT_STREQ(engine.versionString(), "5.1 Build: 12");
  EXPECT_THROW(engine.SetCurrentConfigurationIndex(1), QVMerror);
}

TEST(QVMclassEngine, AFailedLoadThrowsTheEnginesText) {
  QVMengine engine;
  const QVMerror load = QVMthrown([&] { engine.Load("/nonexistent/definition.vmd"); });
  EXPECT_NE(std::string(load.Description()).find("/nonexistent/definition.vmd"), std::string::npos)
      << load.Description();
  EXPECT_NE(load.Code(), 0u);
  EXPECT_EQ(std::string(load.Expression()).rfind("_QVMengineLoad(", 0), 0u) << load.Expression();
  // The engine is left empty, with the default dialect, whose reader refuses a tag it cannot place.
  const QVMerror read = QVMthrown([&] { engine.translateXmlToMessage("<Root><PID.0/></Root>"); });
  EXPECT_EQ(std::string(read.Description()).rfind("Invalid tag PID.0, tags should have format", 0), 0u)
      << read.Description();
  EXPECT_EQ(read.Code(), 0x80003000u);
}

TEST(QVMclassError, CopiesShareTheHandleAndOutliveTheOriginal) {
  COLerror thrown("Field 3 is too long.", COL_ERROR_VALIDATION_RULE);
  thrown.setParameter("Field", "3");
  auto first = std::make_unique<QVMerror>(QVMhandleMakeError(thrown), 10, "here.cpp");
  QVMerror second(*first);
  first.reset();
  EXPECT_STREQ(second.Description(), "Field 3 is too long.");
  EXPECT_EQ(second.Code(), COL_ERROR_VALIDATION_RULE);
  EXPECT_TRUE(second.HasParameter("Field"));
  EXPECT_STREQ(second.Parameter("Field"), "3");
  EXPECT_STREQ(second.Parameter("Other"), "");
  EXPECT_EQ(second.CountOfParameter(), 1u);
  EXPECT_STREQ(second.ParameterName(0), "Field");
  EXPECT_THROW(second.ParameterName(1), QVMerror);
  EXPECT_STREQ(second.Dump().get_buffer(), "Error Code : 2147491846\nDescription : Field 3 is too long.");

  QVMerror plain("Wrapper() != NULL", 5, "x.cpp", 0);
  plain = second;  // assignment shares the handle as well
  EXPECT_EQ(plain.Code(), COL_ERROR_VALIDATION_RULE);
  const QVMerror condition = QVMthrown([] { QVMactivateCondition("a == b", 7, "y.cpp"); });
  EXPECT_STREQ(condition.Description(), "a == b");
  EXPECT_EQ(condition.Code(), 0u);
  EXPECT_EQ(condition.Line(), 7);
  EXPECT_EQ(condition.CountOfParameter(), 0u);
}

namespace {
// Frames a message as <text>\n and cuts the same.
class LineWrapper : public QVMwrapper {
public:
  QVMstring FrameMessage(const char* message) override { return QVMstring::Join(message, "\n"); }
  bool ExtractMessage(QVMstring& data, QVMstring& message) override {
    const size_t end = data.find_index("\n");
    if (end == QVMstring::npos) return false;
    message = data.substr(0, end);
    data.remove(0, end + 1);
    return true;
  }
};

struct Sent {
  std::string data;
  unsigned id;
};

class RecordingTransport : public QVMtransport {
public:
  RecordingTransport(std::vector<Sent>& sent, bool& destroyed) : m_Sent(sent), m_Destroyed(destroyed) {}
  ~RecordingTransport() override { m_Destroyed = true; }
  void SendData(const char* data, size_t length, unsigned id) override { m_Sent.push_back({{data, length}, id}); }

private:
  std::vector<Sent>& m_Sent;
  bool& m_Destroyed;
};

class EchoEngine : public QVMengine {
public:
  void ParseMessage(const char* message, unsigned id) override {
    received.emplace_back(message);
    ReplyToMessage((std::string("ACK ") + message).c_str(), id);
  }
  std::vector<std::string> received;
};

class StringLog : public QVMoutputLog {
public:
  explicit StringLog(std::string& text) : m_Text(text) {}
  void OutputText(const char* text, size_t length) override { m_Text.append(text, length); }

private:
  std::string& m_Text;
};
}  // namespace

TEST(QVMclassWrapper, CutsMessagesAcrossChunksAndRepliesThroughTheTransport) {
  std::vector<Sent> sent;
  bool firstGone = false, secondGone = false;
  EchoEngine engine;
  engine.SetWrapper(new LineWrapper);
  engine.SetTransport(new RecordingTransport(sent, firstGone));
  engine.SetTransport(new RecordingTransport(sent, secondGone));
  EXPECT_TRUE(firstGone);  // the engine owned the first one
  EXPECT_FALSE(secondGone);

  EXPECT_EQ(engine.Wrapper()->ReceiveData("one\ntw", 3), 1u);
  EXPECT_EQ(engine.Wrapper()->ReceiveData("o\nthree\n", 3), 2u);
  EXPECT_EQ(engine.Wrapper()->ReceiveData("half", 0), 0u);
  engine.Wrapper()->ClearData(0);
  EXPECT_EQ(engine.Wrapper()->ReceiveData("new\n", 0), 1u);
  EXPECT_EQ(engine.received, (std::vector<std::string>{"one", "two", "three", "new"}));
  ASSERT_EQ(sent.size(), 4u);
  EXPECT_EQ(sent[1].data, "ACK two\n");
  EXPECT_EQ(sent[1].id, 3u);
  EXPECT_EQ(sent[3].id, 0u);
  engine.InitiateMessage("hello");
  EXPECT_EQ(sent.back().data, "hello\n");
  EXPECT_EQ(sent.back().id, 0u);
}

TEST(QVMclassWrapper, BaseEngineRefusesWithoutAWrapperOrAParser) {
  QVMengine engine;
  EXPECT_STREQ(QVMthrown([&] { engine.InitiateMessage("x"); }).Description(), "Wrapper() != NULL");
  EXPECT_THROW(engine.ReplyToMessage("x", 1), QVMerror);
  engine.SetWrapper(new LineWrapper);
  EXPECT_STREQ(QVMthrown([&] { engine.Wrapper()->ReceiveData("m\n", 0); }).Description(),
               "The ParseMessage method should be overridden.");
}

TEST(QVMclassEngine, LogReceivesTheEnginesTextAndOutputLines) {
  std::string text;
  QVMengine engine;
  engine.OutputLine("dropped without a log");
  engine.SetLog(new StringLog(text));
  engine.OutputLine("line");
  engine.NewLine();
  QVMhandleEngine(engine.EngineHandle()).logStream() << "from the engine" << flush;
  EXPECT_EQ(text, "line\n\nfrom the engine");
}

// A refused table call throws the class's own check, or the code of the handle layer's refusal.
TEST(QVMclassTable, RefusedCallsThrow) {
  QVMengine engine;
  const TSTtableDefinition definition = TSTbuildTableDefinition(QVMhandleEngine(engine.EngineHandle()));
  EXPECT_STREQ(QVMthrown([&] { QVMtable(engine.EngineHandle(), 3); }).Description(),
               "Failed precondition: MessageIndex < CountOfMessage");
  QVMtable root(engine.EngineHandle(), definition.messageIndex);
  root.AddRow();
  root[0].SubTable(0).AddRow();
  EXPECT_STREQ(QVMthrown([&] { root.SubTable(3, 0); }).Description(), "SubTableIndex < pMember->CountOfSubTable");
  EXPECT_EQ(std::string(QVMthrown([&] { root.SubTable(0, 1); }).Description()).rfind("slot < ", 0), 0u);  // no row 1
  EXPECT_EQ(QVMthrown([&] { root[0].SubTable(0).GetString(0, kAge); }).Code(), 0x80000801u);
}

TEST(QVMclassString, CopiesShareUntilOneChanges) {
  QVMstring original("  MSH|PID  ");
  QVMstring copy(original);
  EXPECT_EQ(copy.get_buffer(), original.get_buffer());  // shared
  copy.strip().replace("|", "^");
  EXPECT_STREQ(copy.get_buffer(), "MSH^PID");
  EXPECT_STREQ(original.get_buffer(), "  MSH|PID  ");
  EXPECT_EQ(copy.find_index("PID"), 4u);
  EXPECT_EQ(copy.rfind_index("x"), QVMstring::npos);
  EXPECT_EQ(copy.find("^"), copy.get_buffer() + 3);
  copy.prepend("<").append(">").insert(4, "-");
  EXPECT_STREQ(copy.get_buffer(), "<MSH-^PID>");
  copy.subChar('^', '~').stripAll('-');
  EXPECT_TRUE(copy == "<MSH~PID>");
  EXPECT_STREQ(copy.substr(1, 3).get_buffer(), "MSH");
  EXPECT_STREQ(copy.substr(99).get_buffer(), "");
  EXPECT_EQ(copy[99], '\0');
  EXPECT_STREQ(QVMstring::Join("a", QVMstring("b")).get_buffer(), "ab");
  copy.clear();
  EXPECT_EQ(copy.size(), 0u);
}

TEST(QVMclassDateTime, CalendarFieldsAndRefusedValues) {
  QVMdateTime value;
  EXPECT_TRUE(value.IsNull());
  EXPECT_THROW(value.Year(), QVMerror);
  EXPECT_TRUE(value.SetDateTime(2024, 2, 29, 13, 45, 10));
  EXPECT_EQ(value.Year(), 2024);
  EXPECT_EQ(value.Month(), 2);
  EXPECT_EQ(value.Day(), 29);
  EXPECT_EQ(value.Hour(), 13);
  EXPECT_EQ(value.Minute(), 45);
  EXPECT_EQ(value.Second(), 10);
  EXPECT_EQ(value.DayOfWeek(), 5);  // a Thursday, Sunday being 1
  EXPECT_EQ(value.DayOfYear(), 60);
  EXPECT_FALSE(value.SetDateTime(2023, 2, 29, 0, 0, 0));
  EXPECT_EQ(value.Day(), 29);  // unchanged
  EXPECT_TRUE(value.SetTime(6, 0, 0));
  EXPECT_STREQ(value.Dump().get_buffer(), "2024-02-29 06:00:00");
  value.SetZone(100);
  QVMdateTime copy(value);
  EXPECT_DOUBLE_EQ(copy.Date(), value.Date());
  EXPECT_EQ(copy.Zone(), 100);
  EXPECT_NE(copy.DateTimeHandle(), value.DateTimeHandle());
  EXPECT_FALSE(QVMdateTime::Now().IsNull());
}
