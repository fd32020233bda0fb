// "Full Tree Validation" XML back to a flat message through the engine's facade, and the names
// and codes the reader works with.  Whole documents and their faults are kept as cases in
// tests/data/SGX.
#include <gtest/gtest.h>

#include <string>

#include "COLerror.h"
#include "QVJparse.h"
#include "QVJparseContext.h"
#include "QVLvmdFile.h"
#include "QVMengineInternal.h"
#include "SGXfromXmlFullTreeValidation.h"

#include "../support/TSTraised.h"

namespace {

TEST(SGXfullTree, TheFacadeRejectsAnyFaultWithEveryPositionAndReadsGoodDocuments) {
  COLreferencePtr<QVFengine> Engine(new QVFengine);
  QVLloadEngine(Engine->schema(), MSGBRIDGE_SOURCE_DIR "/tests/data/SGX/admission.vmd");
  QVJparseContext& Context = Engine->parseContext();
  const std::string Start =
      "<ADT_A01>\n<MSH.MessageHeader>\n<MSH.1.FieldSeparator>|</MSH.1.FieldSeparator>\n"
      "<MSH.2.EncodingCharacters>^~\\&amp;</MSH.2.EncodingCharacters>\n<MSH.3.SendingApp>LAB</MSH.3.SendingApp>\n"
      "</MSH.MessageHeader>\n<PID.PatientIdentification>\n<PID.3.PatientName>Doe</PID.3.PatientName>\n"
      "</PID.PatientIdentification>\n";
  EXPECT_STREQ(QVJxmlToHl7(Context, Start + "</ADT_A01>"), "MSH|^~\\&|LAB\rPID|||Doe\r");
  const COLerror Error = TSTraised([&] { QVJxmlToHl7(Context, Start + "<ZZZ/>\n<YYY/>\n</ADT_A01>"); });
  EXPECT_EQ(Error.code(), 0x80000500u);
  EXPECT_EQ(std::string(Error.description().c_str()),
            "Some errors were encountered during conversion: \n"
            " [10:0] : Found 'ZZZ', at the end of the message, and no more tags are expected\n"
            " [11:0] : Found 'YYY', at the end of the message, and no more tags are expected\n");
  // Without validation the tag shapes alone are read: an element the grammar does not know is a
  // segment like any other (and this definition ends segments with a separator).
  EXPECT_STREQ(QVJxmlToHl7validate(Context, Start + "<ZZZ.Unknown/>\n</ADT_A01>", false),
               "MSH|^~\\&|LAB|\rPID|||Doe|\rZZZ|\r");
}

TEST(SGXfullTreeNames, NamesLoseWhatTheTagFilterDropsAndIndicesComeFromTheSecondPart) {
  XMLiosTagFilter Filter(nullptr, '.');
  EXPECT_EQ(SGXfromXmlFullTreeValidationXmlName(Filter, {"PID", "Patient Identification (v2.x)"}),
            "PID.PatientIdentificationv2x");
  EXPECT_EQ(SGXfromXmlFullTreeValidationXmlName(Filter, {"1st", "a:b"}), "_st.a_b");
  EXPECT_EQ(SGXfromXmlFullTreeValidationExtractIndex("PID.12.Name"), 12u);
  EXPECT_EQ(SGXfromXmlFullTreeValidationExtractIndex("PID.Name"), 0u);
  EXPECT_EQ(SGXfromXmlFullTreeValidationExtractIndex("PID.x1.Name"), 0u);
  EXPECT_EQ(SGXfromXmlFullTreeValidationExtractIndex("PID.99999999999999999999.Name"), 0u);
  EXPECT_EQ(SGXerrorPrintableCode(SGXerror::SegmentCheckFailed), "XML00007");
  EXPECT_THROW(SGXerrorPrintableCode(7), COLerror);
}

}  // namespace
