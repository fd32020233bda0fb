// The engine family as step cases (tests/support/TSTsteps.h), tests/data/QVM/handle_engine.test:
// files, the model, configurations, the match order, flags, text helpers and what isn't built
// yet.  Each step is one handle call on the current engine; a refusal answers "error: TEXT" with
// the temporary directory written "{dir}", and `code` then gives its code.  "{example}" is the
// example definition, "{dir}" a directory of the case's own, "{data}/" the folder tests/data.
//
//   load PATH | load2 PATH -> kind | loadmem PATH|empty -> kind (the file's bytes handed over in
//   memory) | filetype PATH -> kind | save PATH KIND | clear | engine 1|2
//   count messages|segments|configs|tables|datetimes|enumerations | current | outgoing | ack
//   messagename I | messagebyname NAME | segmentbyname NAME -> index or "none" | removemessage I
//   dump TEXT -> whether the dump holds TEXT | setdescription TEXT | description
//   addconfig NAME | renameconfig I NAME | configname I | setcurrent I | setoutgoing I | deleteconfig I
//   order -> message indexes in match order | move I POSITION | matchorder I | nextofstale | setack I
//   setflag reject|passthru V | flag reject|dotnet|passthru | add table|datetime|enumeration|composite
//   gettable I | removetable I | version | printable TEXT END | parseable TEXT|null END
//   tostandardxml-nohandle | fromstandardxml XML | errortree | tibco | schema KIND | badhandle
#include <fstream>
#include <map>
#include <vector>
#include <unistd.h>

#include "COLerror.h"
#include "COLostream.h"
#include "QVMhandleSupport.h"
#include "QVMhandleTestSupport.h"

#include "../../support/TSTsteps.h"

namespace {

class Engines : public TSTstepModel {
public:
  Engines() : Dir(QVMhandleTempDir("qvm-handle-steps").string()) {
    call(_QVMengineCreate(&Both[0]));
    Engine = Both[0];
  }
  ~Engines() override {
    for (void* Engine : Both)
      if (Engine) EXPECT_HANDLE_OK(_QVMengineRelease(Engine));
    std::filesystem::remove_all(Dir);
  }

private:
  // A refusal as the COLerror the steps report, its code kept for `code`.
  void call(void* Error) {
    const QVMhandleOutcome Outcome = QVMoutcome(Error);
    if (!Outcome.failed) return;
    Code = Outcome.code;
    std::string Text = Outcome.text;
    for (size_t At; (At = Text.find(Dir)) != std::string::npos;) Text.replace(At, Dir.size(), "{dir}");
    throw COLerror(Text.c_str(), Outcome.code);
  }
  std::string number(void* (*Function)(void*, unsigned*)) {
    unsigned Value = 12345;
    call(Function(Engine, &Value));
    return Value == QVM_NO_INDEX ? "none" : std::to_string(Value);
  }
  std::string text(void* Error, const char*& Text) { return call(Error), Text ? Text : "(null)"; }
  const char* path(size_t At) {
    Words[At] = Words[At] == "{example}" ? QVMexampleDefinition() : Words[At];
    if (Words[At].rfind("{data}", 0) == 0) Words[At].replace(0, 6, std::string(MSGBRIDGE_SOURCE_DIR) + "/tests/data");
    if (Words[At].rfind("{dir}", 0) == 0) Words[At].replace(0, 5, Dir);
    return Words[At].c_str();
  }

  std::string step() override {
    const std::string& Verb = word(0);
    unsigned Index = 12345;
    int Flag = -1;
    const char* Text = nullptr;
    void* Object = nullptr;
    auto indexed = [&](void* Error) { return call(Error), Index == QVM_NO_INDEX ? "none" : std::to_string(Index); };
    if (Verb == "code") return std::to_string(Code);
    if (Verb == "engine") {
      Engine = Both[index(1) - 1];
      if (!Engine) call(_QVMengineCreate(&Both[1])), Engine = Both[1];
      return "";
    }
    if (Verb == "load") return call(_QVMengineLoad(Engine, word(1) == "null" ? nullptr : path(1))), "";
    if (Verb == "load2") return indexed(_QVMengineLoad2(Engine, path(1), &Index));
    if (Verb == "loadmem") {
      std::string Bytes;
      if (word(1) != "empty") {
        std::ifstream In(path(1), std::ios::binary);
        Bytes.assign(std::istreambuf_iterator<char>(In), {});
      }
      return indexed(_QVMengineLoadFromMemory(Engine, Bytes.data(), Bytes.size(), &Index));
    }
    if (Verb == "filetype") return indexed(_QVMvmdFileType(path(1), &Index));
    if (Verb == "write") return std::ofstream(path(1)) << rest(2), "";
    if (Verb == "save") return call(_QVMengineSave(Engine, path(1), index(2))), "";
    if (Verb == "clear") return call(_QVMengineClear(Engine)), "";
    if (Verb == "count") {
      static const std::map<std::string, void* (*)(void*, unsigned*)> Counts = {
          {"messages", _QVMengineCountOfMessage}, {"segments", _QVMengineCountOfSegment},
          {"configs", _QVMengineCountOfConfig}, {"tables", _QVMengineGetCountOfTable},
          {"datetimes", _QVMengineGetCountOfDateTimeGrammar},
          {"enumerations", _QVMengineGetCountOfEnumerationGrammar}};
      return number(Counts.at(word(1)));
    }
    if (Verb == "current") return number(_QVMengineGetCurrentConfig);
    if (Verb == "outgoing") return number(_QVMengineGetOutgoingConfigIndex);
    if (Verb == "ack") return number(_QVMengineGetAckMessageIndex);
    if (Verb == "messagename") return text(_QVMengineMessageName(Engine, index(1), &Text), Text);
    if (Verb == "messagebyname") return indexed(_QVMengineMessageByName(Engine, word(1).c_str(), &Index));
    if (Verb == "segmentbyname") return indexed(_QVMengineSegmentByName(Engine, word(1).c_str(), &Index));
    if (Verb == "removemessage") return call(_QVMengineRemoveMessage(Engine, index(1))), "";
    if (Verb == "dump") {
      char* Dump = nullptr;
      call(_QVMengineDump(Engine, &Dump));
      const bool Holds = Dump && std::string(Dump).find(rest(1)) != std::string::npos;
      call(_QVMengineFreeBuffer(&Dump));
      return Dump ? "not freed" : Holds ? "yes" : "no";
    }
    if (Verb == "setdescription") return call(_QVMengineSetVmdDescription(Engine, rest(1).c_str())), "";
    if (Verb == "description") return text(_QVMengineGetVmdDescription(Engine, &Text), Text);
    if (Verb == "addconfig") return indexed(_QVMengineAddConfiguration(Engine, word(1).c_str(), &Index));
    if (Verb == "renameconfig") return call(_QVMengineRenameConfig(Engine, index(1), rest(2).c_str())), "";
    if (Verb == "configname") return text(_QVMengineConfigName(Engine, index(1), &Text), Text);
    if (Verb == "setcurrent") return call(_QVMengineSetCurrentConfig(Engine, index(1))), "";
    if (Verb == "setoutgoing") return call(_QVMengineSetOutgoingConfigIndex(Engine, index(1))), "";
    if (Verb == "deleteconfig") return call(_QVMengineDeleteConfig(Engine, index(1))), "";
    if (Verb == "order") {
      std::string Order;
      for (call(_QVMengineFirstMessage(Engine, &Object)); Object; call(_QVMengineNextMessage(Engine, Object, &Object)))
        Order += (Order.empty() ? "" : " ") + indexed(_QVMengineMessageIndexFromMatchIndex(Engine, Object, &Index));
      return Order;
    }
    if (Verb == "move") return call(_QVMengineMoveMessageInMatchOrder(Engine, index(1), index(2))), "";
    if (Verb == "matchorder") return indexed(_QVMengineGetMessageMatchOrder(Engine, index(1), &Index));
    if (Verb == "nextofstale") return call(_QVMengineNextMessage(Engine, &Flag, &Object)), "";
    if (Verb == "setack") return call(_QVMengineSetAckMessageIndex(Engine, index(1))), "";
    if (Verb == "setflag" && word(1) == "reject")
      return call(_QVMengineSetRejectBadSegmentGrammarFlag(Engine, static_cast<int>(integer(2)))), "";
    if (Verb == "setflag" && word(1) == "passthru")
      return call(_QVMengineSetIsUsingPassthruMapping(Engine, static_cast<int>(integer(2)))), "";
    if (Verb == "flag") {
      call(word(1) == "reject"   ? _QVMengineGetRejectBadSegmentGrammarFlag(Engine, &Flag)
           : word(1) == "dotnet" ? _QVMengineGetUseDotNetProperties(Engine, &Flag)
                                 : _QVMengineIsUsingPassthruMapping(Engine, &Flag));
      return std::to_string(Flag);
    }
    if (Verb == "add" && word(1) == "table") return indexed(_QVMengineAddTable(Engine, &Index));
    if (Verb == "add" && word(1) == "datetime") return indexed(_QVMengineAddDateTimeGrammar(Engine, &Index));
    if (Verb == "add" && word(1) == "enumeration") return indexed(_QVMengineAddEnumerationGrammar(Engine, &Index));
    if (Verb == "add" && word(1) == "composite") return indexed(_QVMengineAddComposite(Engine, &Index));
    if (Verb == "gettable") return call(_QVMengineGetTable(Engine, index(1), &Object)), Object ? "object" : "null";
    if (Verb == "removetable") return call(_QVMengineRemoveTable(Engine, index(1))), "";
    if (Verb == "version") {
      unsigned Major = 0, Minor = 0, Build = 0;
      const char* Id = nullptr;
      call(_QVMengineGetMajorVersion(&Major));
      call(_QVMengineGetMinorVersion(&Minor));
      call(_QVMengineGetBuildNumber(&Build));
      call(_QVMengineGetBuildId(&Id));
      call(_QVMengineGetVersionString(&Text));
      return std::string(Text) + "|" + Id + "|" + std::to_string(Major * 10000 + Minor * 100 + Build);
    }
    if (Verb == "printable") return text(_QVMengineMakePrintable(word(1).c_str(), word(2).c_str(), &Text), Text);
    if (Verb == "parseable")
      return text(_QVMengineMakeParseable(word(1) == "null" ? nullptr : word(1).c_str(), word(2).c_str(), &Text), Text);
    if (Verb == "tostandardxml-nohandle")
      return text(_QVMengineTranslateMessageToHl7StandardXml(nullptr, "x", &Text), Text);
    if (Verb == "fromstandardxml")
      return text(_QVMengineTranslateHl7StandardXmlToMessage(Engine, word(1).c_str(), &Text), Text);
    if (Verb == "errortree") return call(_QVMengineGetErrorTree(Engine, &Object)), "";
    if (Verb == "tibco") return text(_QVMengineGetTibcoSchema(Engine, &Text), Text);
    if (Verb == "schema") return text(_QVMengineGenerateSchema(Engine, index(1), &Text), Text);
    if (Verb == "badhandle") return call(_QVMtableCountOfRow(reinterpret_cast<void*>(-1), &Index)), "";
    unknown();
  }

  std::string Dir;
  void* Both[2] = {nullptr, nullptr};
  void* Engine = nullptr;
  unsigned Code = 0;
};

class QVMhandleEngineData : public ::testing::TestWithParam<TSTdataCase> {};

TEST_P(QVMhandleEngineData, Steps) {
  TSTrunSteps(GetParam(), [] { return std::make_unique<Engines>(); });
}

INSTANTIATE_TEST_SUITE_P(Cases, QVMhandleEngineData, ::testing::ValuesIn(TSTreadDataFile("QVM/handle_engine.test")),
                         TSTdataParamName);

class QVMhandleEngineFamily : public ::testing::Test {
protected:
  void SetUp() override { EXPECT_HANDLE_OK(_QVMengineCreate(&engine)); }
  void TearDown() override { EXPECT_HANDLE_OK(_QVMengineRelease(engine)); }
  void* engine = nullptr;
};
}  // namespace

namespace {
std::string g_Logged;
void collect(void* context, const char* text, size_t length) {
  g_Logged.append(static_cast<const char*>(context)).append(text, length);
}
}  // namespace

TEST_F(QVMhandleEngineFamily, LogTextGoesToTheEnginesFunctionElseTheGlobalOne) {
  g_Logged.clear();
  COLostream& log = QVMhandleEngine(engine).logStream();
  log << "dropped" << flush;
  EXPECT_EQ(g_Logged, "");
  char global[] = "G:", own[] = "E:";
  EXPECT_HANDLE_OK(_QVMengineSetLogCallBack(collect, global));
  log << "one" << flush;
  EXPECT_HANDLE_OK(_QVMengineSetLogCallBackPerEngine(engine, collect, own));
  log << "two" << flush;
  EXPECT_HANDLE_OK(_QVMengineSetLogCallBack(nullptr, nullptr));
  EXPECT_HANDLE_OK(_QVMengineSetLogCallBackPerEngine(engine, nullptr, nullptr));
  log << "three" << flush;
  EXPECT_EQ(g_Logged, "G:oneE:two");
}
