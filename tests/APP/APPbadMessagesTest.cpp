// The bad messages of examples/: each holds one fault, and the tool stops on it with the full
// error text: the sentence, the segment with carets under the fault, and the named parameters.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "APPtool.h"
#include "COLostream.h"

namespace {

const char* const Expected[] = {
    // a date that is no date
    "Error Code: 0x80002003\n"
       "Description: Segment EVN failed validation:\n"
       "Invalid datetime format found in sub field 1 'Time' in field 2 'RecordedDateTime'\n"
       "EVN|A01|2024031x0800\n"
       "        ^^^^^^^^^^^^\n"
       "FieldIndex: 2\n"
       "FieldName: RecordedDateTime\n"
       "FieldRepeatIndex: 0\n"
       "FieldValue: 2024031x0800\n"
       "GrammarSegmentName: EVN\n"
       "MessageSegmentIndex: 2\n"
       "MessageSegmentName: EVN\n"
       "SegmentGrammarErrorCode: 12\n"
       "SegmentGrammarErrorDescription: Invalid DateTime\n"
       "SegmentGrammarName: EVN\n"
       "SegmentRepeatIndex: 0\n"
       "SubFieldIndex: 1\n"
       "SubFieldName: Time\n"
       "\n",
    // a set id that is no number
    "Error Code: 0x80002003\n"
       "Description: Segment OBX failed validation:\n"
       "Invalid integer format found in field 1 'SetId'\n"
       "OBX|x1|NM|NA^Sodium^L||129|mmol/L|135-145|L|||F\n"
       "    ^^\n"
       "FieldIndex: 1\n"
       "FieldName: SetId\n"
       "FieldRepeatIndex: 0\n"
       "FieldValue: x1\n"
       "GrammarSegmentName: OBX\n"
       "MessageSegmentIndex: 6\n"
       "MessageSegmentName: OBX\n"
       "SegmentGrammarErrorCode: 10\n"
       "SegmentGrammarErrorDescription: Invalid Integer\n"
       "SegmentGrammarName: OBX\n"
       "SegmentRepeatIndex: 0\n"
       "\n",
    // an identifier over its length
    "Error Code: 0x80002003\n"
       "Description: Segment PID failed validation:\n"
       "Maximum length of 15 exceeded in field 3 'PatientIdentifierList'\n"
       "PID|1||MR4100001234567890^^^NORTHGATE^MR||Okonkwo^Amara^^^||19500101|F\n"
       "       ^^^^^^^^^^^^^^^^^^\n"
       "FieldIndex: 3\n"
       "FieldName: PatientIdentifierList\n"
       "FieldRepeatIndex: 0\n"
       "GrammarSegmentName: PID\n"
       "MaxLength: 15\n"
       "MessageSegmentIndex: 3\n"
       "MessageSegmentName: PID\n"
       "SegmentGrammarName: PID\n"
       "SegmentRepeatIndex: 0\n"
       "\n",
    // a field repeated that may not repeat
    "Error Code: 0x80002003\n"
       "Description: Segment PID failed validation:\n"
       "Maximum field repeats of 0 exceeded by 1 in field 5 'PatientName'\n"
       "PID|1||MR410904^^^NORTHGATE^MR||Okonkwo^Amara~Okonkwo^Ada||19500101|F\n"
       "                                              ^^^^^^^^^^^\n"
       "FieldIndex: 5\n"
       "FieldName: PatientName\n"
       "GrammarSegmentName: PID\n"
       "MessageSegmentIndex: 3\n"
       "MessageSegmentName: PID\n"
       "SegmentGrammarErrorCode: 1\n"
       "SegmentGrammarErrorDescription: Field max repeats exceeded\n"
       "SegmentGrammarName: PID\n"
       "SegmentRepeatIndex: 0\n"
       "\n",
    // an unknown escape sequence
    "Error Code: 0x80002003\n"
       "Description: Segment PID failed validation:\n"
       "Sub field 1 'FamilyName' of field 5 'PatientName' has an escape sequence error : This character sequence \\Q\\kwo is an unrecognized escape sequence.\n"
       "PID|1||MR410905^^^NORTHGATE^MR||Okon\\Q\\kwo^Amara||19500101|F\n"
       "                                ^^^^^^^^^^\n"
       "FieldIndex: 5\n"
       "FieldName: PatientName\n"
       "FieldRepeatIndex: 0\n"
       "GrammarSegmentName: PID\n"
       "MessageSegmentIndex: 3\n"
       "MessageSegmentName: PID\n"
       "SegmentGrammarErrorCode: 8\n"
       "SegmentGrammarErrorDescription: Bad Escape Sequence\n"
       "SegmentGrammarName: PID\n"
       "SegmentRepeatIndex: 0\n"
       "SubFieldIndex: 1\n"
       "SubFieldName: FamilyName\n"
       "SubSubFieldIndex: 1\n"
       "\n",
    // a required field missing
    "Error Code: 0x80002003\n"
       "Description: Segment EVN failed validation:\n"
       "Missing required field 2 'RecordedDateTime'\n"
       "FieldIndex: 2\n"
       "FieldName: RecordedDateTime\n"
       "GrammarSegmentName: EVN\n"
       "MessageSegmentIndex: 2\n"
       "MessageSegmentName: EVN\n"
       "SegmentGrammarErrorCode: 0\n"
       "SegmentGrammarErrorDescription: Required field missing\n"
       "SegmentGrammarName: EVN\n"
       "SegmentRepeatIndex: 0\n"
       "\n",
    // a required segment missing
    "Error Code: 0x80002008\n"
       "Description: The segment/group 'Message.PID' was required but not present in the message 'ADT_A01'.\n"
       "GrammarSegmentName: PID\n"
       "MessageSegmentIndex: 1\n"
       "SegmentRepeatIndex: 0\n"
       "\n",
    // a message no definition matches
    "Error Code: 0x80002001\n"
       "Description: Message type is unidentified.   Often this means that a new message needs to be defined or that the identifier fields were in the wrong place or that the values were different from what was expected i.e. wrong case or a zero character instead of the letter 'O' you can add a default message handler in the option screen which will be invoked every time an unidentified message is encountered.  See the manual for details.\n"
       "\n",
    // a result status its rule refuses
    "Error Code: 0x80002006\n"
       "Description: A validation rule has failed. The field OBX.ObservationResultStatus has failed the regular expression ^[FCP]$\n"
       "FieldIndex: 11\n"
       "FieldName: ObservationResultStatus\n"
       "MessageSegmentName: OBX\n"
       "OriginalValue: X\n"
       "RegularExpression: ^[FCP]$\n"
       "ValidationRuleClassId: 1\n"
       "ValidationRuleClassName: Regular Expression\n"
       "ValidationRuleName: ^[FCP]$\n"
       "\n",
};

std::vector<std::string> badMessages() {
  std::ifstream In(std::string(MSGBRIDGE_SOURCE_DIR) + "/examples/bad_messages.hl7", std::ios::binary);
  std::stringstream Text;
  Text << In.rdbuf();
  const std::string Log = Text.str();
  std::vector<std::string> Messages;
  for (size_t Start = 0, End; (End = Log.find("\r\r\n", Start)) != std::string::npos; Start = End + 3)
    Messages.push_back(Log.substr(Start, End + 3 - Start));
  return Messages;
}

// The error text the tool prints for a log of this one message, line ends made "\n".
std::string toolError(const std::string& Message, const std::filesystem::path& Dir, size_t Number) {
  const std::string Log = (Dir / ("bad" + std::to_string(Number) + ".hl7")).string();
  std::ofstream(Log, std::ios::binary) << Message;
  const std::string Out = (Dir / ("out" + std::to_string(Number)) / "m.xml").string();
  std::vector<const char*> Words = {"msgbridge", "--toxml", MSGBRIDGE_SOURCE_DIR "/examples/adt_oru.vmd",
                                    Log.c_str(), Out.c_str()};
  COLstring Text;
  COLostream Stream(Text);
  EXPECT_EQ(APPrunTool(static_cast<int>(Words.size()), Words.data(), Stream), 1);
  Stream.flush();
  std::string Output = Text.str();
  const size_t Start = Output.find("Error Code:");
  const size_t End = Output.find("Diagnostic info follows:");
  if (Start == std::string::npos || End == std::string::npos) return Output;
  std::string Error;
  for (size_t At = Start; At < End; ++At)
    if (!(Output[At] == '\r' && At + 1 < End && Output[At + 1] == '\n')) Error += Output[At];
  return Error;
}

TEST(APPbadMessages, EachFaultOfTheExampleLogGivesItsFullErrorText) {
  const std::vector<std::string> Messages = badMessages();
  ASSERT_EQ(Messages.size(), std::size(Expected));
  const auto Dir = std::filesystem::temp_directory_path() / ("app-bad-" + std::to_string(::getpid()));
  std::filesystem::create_directories(Dir);
  for (size_t Index = 0; Index < Messages.size(); ++Index)
    EXPECT_EQ(toolError(Messages[Index], Dir, Index + 1), Expected[Index]) << "message " << Index + 1;
  std::filesystem::remove_all(Dir);
}

}  // namespace
