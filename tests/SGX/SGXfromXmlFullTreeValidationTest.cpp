// "Full Tree Validation" XML back to a flat message: whole documents over a small admission
// definition (header, patient with a nested composite, repeating notes, an optional visit
// group), the positioned faults of bad documents, and the road through the engine's facade.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "COLerror.h"
#include "QVJparse.h"
#include "QVJparseContext.h"
#include "QVMcompositeGrammar.h"
#include "QVMconfig.h"
#include "QVMengineInternal.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMmessageGrammar.h"
#include "QVMsegmentGrammar.h"
#include "SGXfromXmlFullTreeValidation.h"

#include "../support/TSTraised.h"

namespace {

class SGXfullTree : public ::testing::Test {
protected:
  void SetUp() override {
    Engine = new QVFengine;
    QVMengineInternal& Schema = Engine->schema();
    QVMcompositeGrammar& St = composite("ST", "String", {{"Value", QVMstringType}});
    QVMcompositeGrammar& Nm = composite("NM", "Numeric", {{"Value", QVMintegerType}});
    QVMcompositeGrammar& Hd =
        composite("HD", "Hierarchic Designator", {{"Namespace ID", QVMstringType}, {"Universal ID", QVMstringType}});
    QVMcompositeGrammar& Cx =
        composite("CX", "Extended ID", {{"ID", QVMstringType}, {"Check Digit", QVMintegerType}, {"Authority", QVMstringType}});
    Cx.setFieldIsRequired(0, true);
    Cx.setFieldCompositeType(2, &Hd);

    QVMsegmentGrammar& Msh = segment("MSH", "Message Header",
                                     {{"Field Separator", &St}, {"Encoding Characters", &St}, {"Sending App", &St}});
    QVMsegmentGrammar& Pid = segment("PID", "Patient Identification",
                                     {{"Set ID", &Nm}, {"Patient ID", &Cx}, {"Patient Name", &St}});
    Pid.setIsFieldRequired(2, true);
    Pid.setFieldMaxRepeat(1, 1);
    QVMsegmentGrammar& Nte = segment("NTE", "Notes & Comments", {{"Comment", &St}});
    QVMsegmentGrammar& Pv1 = segment("PV1", "Patient Visit", {{"Patient Class", &St}});

    QVMmessageDefinitionInternal& Message = *Schema.message(Schema.addMessage());
    Message.setName("ADT_A01");
    QVMmessageGrammar* Root = Message.messageGrammar();
    Root->insertSegment(&Msh);
    Root->insertSegment(&Pid);
    QVMmessageGrammar* Notes = Root->insertSegment(&Nte);
    Notes->setIsOptional(true);
    Notes->setIsRepeating(true);
    Notes->setMaximumRepeat(1);
    Visit = Root->insertGroup("VISIT");
    Visit->setIsOptional(true);
    Visit->insertSegment(&Pv1);
    Schema.config().setXmlTranslationType("Full Tree Validation");
  }

  QVMcompositeGrammar& composite(const char* Name, const char* Description,
                                 std::initializer_list<std::pair<const char*, QVMdataType>> Fields) {
    QVMcompositeGrammar& Composite = *Engine->schema().composite(Engine->schema().addComposite());
    Composite.setName(Name);
    Composite.setDescription(Description);
    for (const auto& [FieldName, Type] : Fields) {
      const uint32_t Index = QVMcompositeGrammarAddField(Composite);
      Composite.setFieldName(Index, FieldName);
      Composite.setFieldDataType(Index, Type);
    }
    return Composite;
  }

  QVMsegmentGrammar& segment(const char* Name, const char* Description,
                             std::initializer_list<std::pair<const char*, QVMcompositeGrammar*>> Fields) {
    QVMsegmentGrammar& Segment = *Engine->schema().segment(Engine->schema().addSegment());
    Segment.setName(Name);
    Segment.setDescription(Description);
    for (const auto& [FieldName, Type] : Fields) {
      const uint32_t Index = QVMsegmentGrammarAddFieldWithoutInitialization(Segment);
      Segment.setFieldName(Index, FieldName);
      Segment.setFieldType(Index, Type);
    }
    return Segment;
  }

  // What the reader made of a document, and its faults as "code line:column text" lines.
  std::string read(const std::string& Xml, std::string* Faults = nullptr, bool* Ok = nullptr) {
    SGXfromXmlFullTreeValidation Reader;
    COLstring Result;
    const bool Good = Reader.xmlToHl7(Xml, Engine->schema(), Result);
    if (Ok) *Ok = Good;
    if (Faults) {
      Faults->clear();
      for (const auto& Error : Reader.errorList())
        *Faults += std::string(SGXerrorPrintableCode(Error->errorCode()).c_str()) + (Error->fatal() ? "! " : " ") +
                   std::to_string(Error->lineNumber()) + ":" + std::to_string(Error->colNumber()) + " " +
                   Error->description().c_str() + "\n";
    }
    return Result.c_str();
  }

  static std::string header() {
    return "<MSH.MessageHeader>\n"
           "<MSH.1.FieldSeparator>|</MSH.1.FieldSeparator>\n"
           "<MSH.2.EncodingCharacters>^~\\&amp;</MSH.2.EncodingCharacters>\n"
           "<MSH.3.SendingApp>LAB</MSH.3.SendingApp>\n"
           "</MSH.MessageHeader>\n";
  }
  static std::string patient(const std::string& Name = "Doe") {
    return "<PID.PatientIdentification>\n<PID.3.PatientName>" + Name +
           "</PID.3.PatientName>\n</PID.PatientIdentification>\n";
  }
  static std::string note(const std::string& Text) {
    return "<NTE.NotesComments><NTE.1.Comment>" + Text + "</NTE.1.Comment></NTE.NotesComments>\n";
  }

  COLreferencePtr<QVFengine> Engine;
  QVMmessageGrammar* Visit = nullptr;
};

TEST_F(SGXfullTree, AWholeDocumentBecomesTheMessageWithCompositesRepeatsAndGroups) {
  const std::string Xml =
      "<?xml version=\"1.0\"?>\n<ADT_A01>\n" + header() +
      "<PID.PatientIdentification>\n"
      "<PID.1.SetID>1</PID.1.SetID>\n"
      "<PID.2.PatientID><CX.ExtendedID><CX.1.ID>MR1</CX.1.ID>"
      "<CX.3.Authority><HD.HierarchicDesignator><HD.1.NamespaceID>NG</HD.1.NamespaceID>"
      "<HD.2.UniversalID>1.2</HD.2.UniversalID></HD.HierarchicDesignator></CX.3.Authority>"
      "</CX.ExtendedID></PID.2.PatientID>\n"
      "<PID.2.PatientID><CX.ExtendedID><CX.1.ID>MR2</CX.1.ID><CX.2.CheckDigit>7</CX.2.CheckDigit>"
      "</CX.ExtendedID></PID.2.PatientID>\n"
      "<PID.3.PatientName>Doe</PID.3.PatientName>\n"
      "</PID.PatientIdentification>\n" +
      note("first") + note("second") + "<VISIT><PV1.PatientVisit><PV1.1.PatientClass>I</PV1.1.PatientClass>" +
      "</PV1.PatientVisit></VISIT>\n</ADT_A01>\n";
  std::string Faults;
  bool Ok = false;
  EXPECT_EQ(read(Xml, &Faults, &Ok),
            "MSH|^~\\&|LAB\rPID|1|MR1^^NG&1.2~MR2^7|Doe\rNTE|first\rNTE|second\rPV1|I\r");
  EXPECT_TRUE(Ok);
  EXPECT_EQ(Faults, "");
}

TEST_F(SGXfullTree, ValuesAreEscapedExceptTheHeaderDelimitersAndOnlyWhenConfigured) {
  const std::string Xml = "<ADT_A01>" + header() + patient("O|Brien^X&amp;Y") + "</ADT_A01>";
  EXPECT_EQ(read(Xml), "MSH|^~\\&|LAB\rPID|||O\\F\\Brien\\S\\X\\T\\Y\r");
  Engine->schema().config().setEscapeDataForXmlToHL7(false);
  EXPECT_EQ(read(Xml), "MSH|^~\\&|LAB\rPID|||O|Brien^X&Y\r");
}

// Values are 8-bit text in the message: the document's UTF-8 comes back one byte per character,
// and a character that no byte can hold is a fault at its place, not mangled bytes.
TEST_F(SGXfullTree, Utf8ValuesBecomeLatin1BytesAndCharactersBeyondAreFaults) {
  std::string Faults;
  bool Ok = false;
  EXPECT_EQ(read("<ADT_A01>" + header() + patient("M\xC3\xBCller &#xC9;") + "</ADT_A01>", &Faults, &Ok),
            "MSH|^~\\&|LAB\rPID|||M\xFCller \xC9\r");
  EXPECT_TRUE(Ok);
  EXPECT_EQ(Faults, "");

  EXPECT_EQ(read("<ADT_A01>\n" + header() + patient("Zde\xC5\x88ka") + "</ADT_A01>", &Faults, &Ok), "");
  EXPECT_FALSE(Ok);
  EXPECT_EQ(Faults,
            "XML00001! 8:22 The character U+0148 is beyond U+00FF, the last character that 8-bit (Latin-1) text can "
            "hold.\n");
}

TEST_F(SGXfullTree, DocumentsThatAreNotMessagesStopBeforeAnyGrammarWork) {
  std::string Faults;
  bool Ok = true;
  EXPECT_EQ(read("<ADT_A01><MSH.MessageHeader></ADT_A01>", &Faults, &Ok), "");
  EXPECT_FALSE(Ok);
  EXPECT_EQ(Faults.rfind("XML00002! 1:", 0), 0u) << Faults;
  EXPECT_EQ(std::count(Faults.begin(), Faults.end(), '\n'), 1);

  EXPECT_EQ(read("", &Faults, &Ok), "");
  EXPECT_FALSE(Ok);
  EXPECT_EQ(Faults.rfind("XML0000", 0), 0u) << Faults;

  EXPECT_EQ(read("\n<ORU_R01>" + header() + "</ORU_R01>", &Faults, &Ok), "");
  EXPECT_FALSE(Ok);
  EXPECT_EQ(Faults, "XML00003! 2:0 Message 'ORU_R01' is not defined.\n");
}

TEST_F(SGXfullTree, MissingAndOverRepeatedPartsAreFatalAndPositioned) {
  Visit->setIsOptional(false);
  std::string Faults;
  bool Ok = true;
  // The missing group has no element: its parent's stands in for it.
  read("<ADT_A01>\n" + header() + patient() + note("a") + note("b") + note("c") + "</ADT_A01>", &Faults, &Ok);
  EXPECT_FALSE(Ok);
  EXPECT_EQ(Faults,
            "XML00005! 1:0 The segment/group 'VISIT' is required but was not present in the XML.\n"
            "XML00006! 12:0 The segment/group 'NTE' exceeded the maximum number of repeats (1).\n");
}

TEST_F(SGXfullTree, ElementsTheGrammarDoesNotExpectAreReportedWhereTheyStand) {
  std::string Faults;
  bool Ok = false;
  // A stray element between two notes: the second note is not searched for past it.
  const std::string Out = read("<ADT_A01>\n" + header() + patient() + note("a") + "<ZZZ/>\n" + note("b") +
                                   "<VISIT><PV1.PatientVisit/></VISIT>\n<PV1.PatientVisit/>\n</ADT_A01>",
                               &Faults, &Ok);
  EXPECT_TRUE(Ok) << "unexpected elements are not fatal";
  EXPECT_EQ(Out, "MSH|^~\\&|LAB\rPID|||Doe\rNTE|a\rPV1\r");
  EXPECT_EQ(Faults,
            "XML00004 11:0 Found 'ZZZ', when expecting tag of form '<SEG.DESC>' or '<GROUP>'.\n"
            "XML00004 12:0 Found 'NTE.NotesComments', when expecting tag of form '<SEG.DESC>' or '<GROUP>'.\n"
            "XML00004 14:0 Found 'PV1.PatientVisit', at the end of the message, and no more tags are expected\n");
}

TEST_F(SGXfullTree, FieldsOutOfOrderOrMisnamedAreLeftOutAndReported) {
  std::string Faults;
  const std::string Out = read(
      "<ADT_A01>" + header() +
          "<PID.PatientIdentification>\n"
          "<PID.3.PatientName>Doe</PID.3.PatientName>\n"
          "<PID.1.SetID>1</PID.1.SetID>\n"
          "<PID.2.Wrong>x</PID.2.Wrong>\n"
          "<PID.3.PatientName>Roe<b/>tail</PID.3.PatientName>\n"
          "<PID.9.Beyond>z</PID.9.Beyond>\n"
          "</PID.PatientIdentification></ADT_A01>",
      &Faults);
  // Two elements of one field in a row are two repeats; the first text of a value counts.
  EXPECT_EQ(Out, "MSH|^~\\&|LAB\rPID|||Doe~Roe\r");
  // Field 3 allows no repeat: the segment check says so at the first one.
  const std::string Expected =
      "XML00007 7:0 Maximum field repeats of 0 exceeded by 1 in field 3 'Patient Name'\n"
      "XML00004 8:0 Found 'PID.1.SetID', when expecting tag of form '<PID.NN.SegmentFieldName>' where NN is the "
      "segment field index.\n"
      "XML00004 9:0 Found 'PID.2.Wrong', when expecting tag of form '<PID.NN.SegmentFieldName>' where NN is the "
      "segment field index.\n"
      "XML00004 10:22 Found 'b', when expecting a single contigous string.\n"
      "XML00004 10:26 Found 'tail', when expecting a single contigous string.\n"
      "XML00004 11:0 Found 'PID.9.Beyond', when expecting tag of form '<PID.NN.SegmentFieldName>' where NN is the "
      "segment field index.\n";
  EXPECT_EQ(Faults, Expected);
}

TEST_F(SGXfullTree, CompositeFaultsNameTheCompositeTheyExpected) {
  std::string Faults;
  read("<ADT_A01>" + header() +
           "<PID.PatientIdentification>\n"
           "<PID.2.PatientID>MR1</PID.2.PatientID>\n"
           "<PID.2.PatientID><CX.ExtendedID><CX.2.CheckDigit>x</CX.2.CheckDigit><CX.9.Nine>n</CX.9.Nine>"
           "</CX.ExtendedID></PID.2.PatientID>\n"
           "<PID.3.PatientName>Doe</PID.3.PatientName>\n"
           "</PID.PatientIdentification></ADT_A01>",
       &Faults);
  // A value fault stands at the element of the value, a missing value at its field.
  EXPECT_EQ(Faults,
            "XML00004 7:17 Found 'MR1', when expecting tag of form '<CX.ExtendedID>'\n"
            "XML00004 8:68 Found 'CX.9.Nine', when expecting '<CX.NN.CompositeFieldName>' where NN is the composite "
            "field number.\n"
            "XML00007 8:0 Missing required sub field 1 'ID' of field 2 'Patient ID' (repeat 1)\n"
            "XML00007 8:32 Invalid integer format found in sub field 2 'Check Digit' in field 2 'Patient ID' (repeat 1)\n");
}

TEST_F(SGXfullTree, ValueFaultsFollowTheSegmentCheckAndRejectOnlyWhenConfigured) {
  std::string Faults;
  bool Ok = false;
  const std::string Xml = "<ADT_A01>" + header() +
                          "<PID.PatientIdentification>\n<PID.1.SetID>one</PID.1.SetID>\n"
                          "</PID.PatientIdentification></ADT_A01>";
  read(Xml, &Faults, &Ok);
  EXPECT_TRUE(Ok);
  EXPECT_NE(Faults.find("XML00007 7:0 "), std::string::npos) << Faults;
  EXPECT_NE(Faults.find("XML00007 6:0 "), std::string::npos) << "missing required name at the segment: " << Faults;
  Engine->schema().setRejectBadSegmentGrammar(true);
  read(Xml, &Faults, &Ok);
  EXPECT_FALSE(Ok);
  EXPECT_NE(Faults.find("XML00007! 7:0 "), std::string::npos) << Faults;
}

TEST_F(SGXfullTree, TheFacadeRejectsAnyFaultWithEveryPositionAndReadsGoodDocuments) {
  QVJparseContext& Context = Engine->parseContext();
  const std::string Good = "<ADT_A01>" + header() + patient() + "</ADT_A01>";
  EXPECT_STREQ(QVJxmlToHl7(Context, Good), "MSH|^~\\&|LAB\rPID|||Doe\r");
  const COLerror Error =
      TSTraised([&] { QVJxmlToHl7(Context, "<ADT_A01>\n" + header() + patient() + "<ZZZ/>\n<YYY/>\n</ADT_A01>"); });
  EXPECT_EQ(Error.code(), 0x80000500u);
  EXPECT_EQ(std::string(Error.description().c_str()),
            "Some errors were encountered during conversion: \n"
            " [10:0] : Found 'ZZZ', at the end of the message, and no more tags are expected\n"
            " [11:0] : Found 'YYY', at the end of the message, and no more tags are expected\n");
  // Without validation the dialect needs the tree reader, which says that it is missing.
  EXPECT_NE(TSTraised([&] { QVJxmlToHl7validate(Context, Good, false); }).description().find("Full Tree Validation"),
            COLstring::npos);
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
