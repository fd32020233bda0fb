// One parse context through messages whose scripts fail and succeed in turn: a failure leaves
// nothing behind that changes the next message.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

#include "COLostream.h"
#include "LAGadmission.h"
#include "QVJparse.h"
#include "QVJparseContext.h"
#include "QVLvmdFile.h"
#include "QVMengineInternal.h"
#include "QVMtableInternal.h"

#include "../support/TSTraised.h"

namespace {

std::string printed(const QVMtableInternal& Table) {
  COLstring Text;
  COLostream Stream(Text);
  Table.printOn(Stream);
  Stream.flush();
  return Text.str();
}

TEST(LAGroad, AContextTakesTheNextMessageAfterAScriptRejectedOne) {
  COLreferencePtr<QVFengine> Engine(new QVFengine);
  QVLloadEngine(Engine->schema(), MSGBRIDGE_SOURCE_DIR "/examples/scripted.vmd");
  QVMtableInternal Table;
  unsigned Index = 0;
  for (int Round = 0; Round < 2; ++Round) {
    EXPECT_EQ(TSTraised([&] {
                QVJengineInternalParseMessage(Engine->parseContext(), COLstring(LAGadmission(" ")), Index, Table);
              }).code(),
              0x80002006u);
    QVJengineInternalParseMessage(Engine->parseContext(), COLstring(LAGadmission("okafor\xE9")), Index, Table);
    const std::string Text = printed(Table);
    EXPECT_NE(Text.find("OKAFOR\xC9"), std::string::npos) << Text;
    EXPECT_NE(Text.find("Inpatient"), std::string::npos) << Text;
    EXPECT_EQ(Engine->schema().message(Index)->name(), "ADT_A04");
  }
}

}  // namespace
