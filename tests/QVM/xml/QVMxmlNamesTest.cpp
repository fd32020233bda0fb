// Names for schemas cleaned of what a schema name cannot hold, and the list numbering tree
// that follows a message grammar's shape.
#include <gtest/gtest.h>

#include "COLostream.h"
#include "QVMengineInternal.h"
#include "QVMlistXmlIndexGrammar.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMmessageGrammar.h"
#include "QVMsegmentGrammar.h"

namespace {

std::string clean(const char* Name, char Delimiter = '.') {
  COLstring Out("stale");
  QVMnameSanitizer(Delimiter).sanitizedXmlName(Name, Out);
  return Out.c_str();
}

TEST(QVMnameSanitizerXml, PunctuationAndTheDelimiterGoColonsBecomeUnderscores) {
  EXPECT_EQ(clean("Patient Name (Last/First)"), "PatientNameLastFirst");
  EXPECT_EQ(clean("a-b&c[d]e'f,g\"h`i.j#k*l+m"), "abcdefghijklm");
  EXPECT_EQ(clean("ns:type;x"), "ns_type_x");
  EXPECT_EQ(clean("Caf\xc3\xa9\x92s"), "Cafs") << "bytes from 128 up go, 0x92 among them";
  // The delimiter is removed whatever it is; "." goes in any case.
  EXPECT_EQ(clean("A_B.C", '_'), "ABC");
  EXPECT_EQ(clean(""), "");
}

TEST(QVMlistXmlIndexGrammar, FollowsTheGrammarAndPrintsItsNumbersIndented) {
  QVMengineInternal Engine;
  QVMmessageDefinitionInternal& Message = *Engine.message(Engine.addMessage());
  QVMsegmentGrammar& Pid = *Engine.segment(Engine.addSegment());
  Pid.setName("PID");
  QVMmessageGrammar* Root = Message.messageGrammar();
  Root->insertSegment(&Pid);
  QVMmessageGrammar* Visit = Root->insertGroup("VISIT");
  Visit->insertSegment(&Pid);
  Visit->insertSegment(&Pid);

  QVMlistXmlIndexGrammar Index(*Root);
  ASSERT_EQ(Index.countOfSubGrammar(), 2u);
  EXPECT_EQ(Index.subgrammar(0).countOfSubGrammar(), 0u);
  EXPECT_EQ(Index.subgrammar(1).countOfSubGrammar(), 2u);
  EXPECT_EQ(Index.listIndex(), QVMlistXmlIndexGrammar::NoIndex);
  Index.subgrammar(1).setListIndex(1);
  Index.subgrammar(1).subgrammar(1).setListIndex(2);
  EXPECT_THROW(Index.subgrammar(2), COLerror);

  COLstring Text;
  COLostream Stream(Text);
  Index.printOn(Stream);
  Stream << flush;
  COLstring Expected;
  COLostream(Expected) << "ListIndex = 4294967295" << newline << "  ListIndex = 4294967295" << newline
                       << "  ListIndex = 1" << newline << "    ListIndex = 4294967295" << newline
                       << "    ListIndex = 2" << newline << flush;
  EXPECT_EQ(Text, Expected);
}

}  // namespace
