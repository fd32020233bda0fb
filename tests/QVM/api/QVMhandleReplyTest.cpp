// Acknowledgements and transformations through the handles and the classes: the texts handed
// out, the refusals, the engine's configuration after a failure, and script modules reloaded.
#include <fstream>
#include <string>

#include "LANfunction.h"
#include "QVMengine.h"
#include "QVMengineInternal.h"
#include "QVMerror.h"
#include "QVMhandleSupport.h"
#include "QVMhandleTestSupport.h"

namespace {

const std::string Standard = std::string(MSGBRIDGE_SOURCE_DIR) + "/definitions/hl7v2.5.1.vmd";
const std::string TwoConfigurations = std::string(MSGBRIDGE_SOURCE_DIR) + "/examples/hl7v2.4_to_2.5.1.vmd";

constexpr char Lab[] =
    "MSH|^~\\&|LABSYS|NORTH|EHR|SOUTH|20240506081522||ORU^R01^ORU_R01|LAB42|P|2.5.1\r"
    "PID|1||MR1^^^NORTH^MR||Doe^Jane\r"
    "OBR|1|ORD1|FIL1|BMP^Basic metabolic panel^L\r"
    "OBX|1|NM|NA^Sodium^L||140|mmol/L\r";

// An engine with a definition loaded; released at the end of the test.
struct Engine {
  void* handle = nullptr;
  explicit Engine(const std::string& definition) {
    EXPECT_HANDLE_OK(_QVMengineCreate(&handle));
    EXPECT_HANDLE_OK(_QVMengineLoad(handle, definition.c_str()));
  }
  ~Engine() { _QVMengineRelease(handle); }
  unsigned current() const {
    unsigned index = 99;
    EXPECT_HANDLE_OK(_QVMengineGetCurrentConfig(handle, &index));
    return index;
  }
};

}  // namespace

TEST(QVMhandleReply, AnAckAnswersTheMessageAndRefusesWhatIsMissing) {
  Engine engine(Standard);
  const char* ack = nullptr;
  EXPECT_HANDLE_OK(_QVMengineGenerateAckFromMessage(engine.handle, Lab, &ack));
  ASSERT_NE(ack, nullptr);
  const std::string reply = ack;
  EXPECT_EQ(reply.rfind("MSH|^~\\&|EHR|SOUTH|LABSYS|NORTH|", 0), 0u) << reply;
  EXPECT_NE(reply.find("|ACK^R01^ACK|LAB42|P|2.5.1\rMSA|AA|LAB42\r"), std::string::npos) << reply;

  EXPECT_EQ(QVMoutcome(_QVMengineGenerateAckFromMessage(engine.handle, nullptr, &ack)).text,
            "Failed precondition: message != NULL");
  EXPECT_EQ(QVMoutcome(_QVMengineGenerateAckFromMessage(engine.handle, Lab, nullptr)).text,
            "Failed precondition: ack != NULL");
  EXPECT_TRUE(QVMoutcome(_QVMengineGenerateAckFromMessage(nullptr, Lab, &ack)).failed);

  EXPECT_HANDLE_OK(_QVMengineSetAckMessageIndex(engine.handle, 0xFFFFFFFFu));
  const QVMhandleOutcome refused = QVMoutcome(_QVMengineGenerateAckFromMessage(engine.handle, Lab, &ack));
  EXPECT_EQ(refused.code, 0x80000100u);
  EXPECT_NE(refused.text.find("Message index exceeds count of messages."), std::string::npos) << refused.text;
}

// The header of the last acknowledgement, kept for its reply, must not reach another message:
// not after an acknowledgement that failed, nor after one that was made.
TEST(QVMhandleReply, TheHeaderKeptForAReplyReachesNoOtherMessage) {
  Engine engine(Standard);
  void* table = nullptr;
  EXPECT_HANDLE_OK(_QVMtableCreate(&table));
  const char* text = nullptr;
  unsigned index = 0;
  const auto regenerated = [&] {
    EXPECT_HANDLE_OK(_QVMengineParseMessageA(engine.handle, Lab, &index, table));
    EXPECT_HANDLE_OK(_QVMengineGenerateMessage(engine.handle, table, index, &text));
    return std::string(text ? text : "");
  };
  const std::string before = regenerated();
  EXPECT_EQ(before.rfind("MSH|^~\\&|LABSYS|NORTH|EHR|SOUTH|", 0), 0u) << before;

  EXPECT_HANDLE_OK(_QVMengineGenerateAckFromMessage(engine.handle, Lab, &text));
  EXPECT_EQ(regenerated(), before);

  EXPECT_HANDLE_OK(_QVMengineSetAckMessageIndex(engine.handle, 0xFFFFFFFFu));
  EXPECT_TRUE(QVMoutcome(_QVMengineGenerateAckFromMessage(engine.handle, Lab, &text)).failed);
  // A table filled from the message, generated again at once: no parse in between.
  EXPECT_HANDLE_OK(_QVMengineGenerateMessage(engine.handle, table, index, &text));
  EXPECT_EQ(std::string(text), before);
  EXPECT_HANDLE_OK(_QVMtableRelease(table));
}

TEST(QVMhandleReply, ATransformationPutsTheConfigurationBackOnEveryRoad) {
  Engine engine(TwoConfigurations);
  const char* result = nullptr;
  unsigned index = 99;
  EXPECT_HANDLE_OK(_QVMengineTransformMessage(engine.handle, Admission, 0, 1, &result, &index, 0));
  const char* name = nullptr;
  EXPECT_HANDLE_OK(_QVMengineMessageName(engine.handle, index, &name));
  EXPECT_STREQ(name, "ADT_A01");
  EXPECT_EQ(std::string(result).rfind("MSH|^~\\&|||||||ADT^A01^ADT_A01|||2.5.1\r", 0), 0u) << result;
  EXPECT_EQ(engine.current(), 0u);

  EXPECT_HANDLE_OK(_QVMengineSetCurrentConfig(engine.handle, 1));
  const QVMhandleOutcome bad = QVMoutcome(_QVMengineTransformMessage(engine.handle, Admission, 0, 2, &result, &index, 0));
  EXPECT_EQ(bad.code, 0x80000100u);
  EXPECT_NE(bad.text.find("Config Index of '2' is not a valid index."), std::string::npos) << bad.text;
  EXPECT_EQ(engine.current(), 1u);
  EXPECT_EQ(QVMoutcome(_QVMengineTransformMessage(engine.handle, Admission, 0, 1, &result, nullptr, 0)).text,
            "Failed precondition: messageIndex != NULL");
}

// The plain form keeps the script modules it loaded; the reload form loads them again.
TEST(QVMhandleReply, TheReloadFormPicksUpAChangedModule) {
  const std::filesystem::path directory = QVMhandleTempDir("qvm-reply-module");
  const auto writeModule = [&](const char* text) {
    std::ofstream(directory / "replytext.py") << "TEXT = '" << text << "'\n";
  };
  writeModule("first");
  Engine engine(TwoConfigurations);
  EXPECT_HANDLE_OK(_QVMengineSetIsUsingPassthruMapping(engine.handle, 1));
  QVMengineInternal& schema = QVMhandleEngine(engine.handle);
  // The script finds its module itself: a fresh interpreter starts from the definition's own path.
  schema.message(schema.messageByName("ADT_A01"))
      ->outgoingFunction()
      .setCode(("import sys\nif " + std::string("'") + directory.string() + "' not in sys.path: sys.path.insert(0, '" +
                directory.string() + "')\nimport replytext\nvalue = replytext.TEXT\n")
                   .c_str());

  const char* result = nullptr;
  unsigned index = 0;
  EXPECT_HANDLE_OK(_QVMengineTransformMessage(engine.handle, Admission, 0, 0, &result, &index, 0));
  EXPECT_STREQ(result, "first");
  writeModule("second");
  EXPECT_HANDLE_OK(_QVMengineTransformMessage(engine.handle, Admission, 0, 0, &result, &index, 0));
  EXPECT_STREQ(result, "first");
  EXPECT_HANDLE_OK(
      _QVMengineTransformMessageReloadAllPythonModules(engine.handle, Admission, 0, 0, &result, &index, 0));
  EXPECT_STREQ(result, "second");
  std::filesystem::remove_all(directory);
}

TEST(QVMclassReply, TheClassAnswersAndTransformsAndThrowsTheRefusals) {
  QVMengine standard;
  standard.Load(Standard.c_str());
  const std::string ack = standard.generateAck(Lab);
  EXPECT_NE(ack.find("\rMSA|AA|LAB42\r"), std::string::npos) << ack;

  QVMengine two;
  two.Load(TwoConfigurations.c_str());
  unsigned index = 99;
  const std::string result = two.transformMessage(Admission, 0, 1, index);
  EXPECT_NE(result.find("|2.5.1\r"), std::string::npos) << result;
  EXPECT_STREQ(two.MessageName(index), "ADT_A01");
  try {
    two.transformMessage(Admission, 3, 1, index);
    ADD_FAILURE() << "no QVMerror thrown";
  } catch (const QVMerror& error) {
    EXPECT_EQ(error.Code(), 0x80000100u);
  }
  // The acknowledgement of a configuration that names none.
  try {
    two.generateAck(Admission);
    ADD_FAILURE() << "no QVMerror thrown";
  } catch (const QVMerror& error) {
    EXPECT_NE(std::string(error.Description()).find("Message index exceeds count of messages."), std::string::npos);
  }
}
