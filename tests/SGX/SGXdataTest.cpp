// "Full Tree Validation" XML back to a flat message, on the cases of tests/data/SGX: a definition
// and a document in, the message, the positioned faults and whether the reader took it, out.
//
// Sections of a case:
//   definition PATH     the definition, relative to the repository
//   config              "escape off" (values go in as they stand), "reject bad segments" lines
//   xml [options]       the document
//   message [options]   the message made of it (unchecked without the section)
//   faults              "code line:column description" a fault, "!" after a fatal one's code;
//                       default none
//   status              "taken" or "refused"
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "QVLvmdFile.h"
#include "QVMconfig.h"
#include "QVMengineInternal.h"
#include "SGXfromXmlFullTreeValidation.h"

#include "../support/TSTdataFile.h"

namespace {

class SGXdata : public ::testing::TestWithParam<TSTdataCase> {};

TEST_P(SGXdata, XmlToMessage) {
  const TSTdataCase& Case = GetParam();
  SCOPED_TRACE(Case.where());
  COLreferencePtr<QVMengineInternal> Engine(new QVMengineInternal);
  QVLloadEngine(*Engine, (std::string(MSGBRIDGE_SOURCE_DIR) + "/" + Case.argument("definition")).c_str());
  std::istringstream Config(Case.has("config") ? Case.text("config") : "");
  for (std::string Line; std::getline(Config, Line);) {
    if (Line == "escape off") Engine->config().setEscapeDataForXmlToHL7(false);
    else if (Line == "reject bad segments") Engine->setRejectBadSegmentGrammar(true);
    else ADD_FAILURE() << "no setting " << Line;
  }

  SGXfromXmlFullTreeValidation Reader;
  COLstring Message;
  const bool Taken = Reader.xmlToHl7(Case.text("xml"), *Engine, Message);
  std::string Faults;
  for (const auto& Error : Reader.errorList())
    Faults += std::string(SGXerrorPrintableCode(Error->errorCode()).c_str()) + (Error->fatal() ? "! " : " ") +
              std::to_string(Error->lineNumber()) + ":" + std::to_string(Error->colNumber()) + " " +
              Error->description().c_str() + "\n";
  if (Case.has("message")) {
    EXPECT_EQ(std::string(Message.c_str()), Case.text("message"));
  }
  EXPECT_EQ(Faults, Case.has("faults") ? Case.text("faults") : "");
  EXPECT_EQ(Taken ? "taken\n" : "refused\n", Case.text("status"));
}

INSTANTIATE_TEST_SUITE_P(Cases, SGXdata, ::testing::ValuesIn(TSTreadDataFile("SGX/full_tree.test")), TSTdataParamName);

}  // namespace
