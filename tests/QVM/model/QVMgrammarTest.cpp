// Composite, enumeration and date-time grammars, data type names and node addresses.
#include "QVMgrammarTestSupport.h"

#include "QVMcompositeGrammar.h"
#include "QVMdataType.h"
#include "QVMdateTimeGrammar.h"
#include "QVMenumerationGrammar.h"
#include "QVMmessageNodeAddress.h"

#include "../../support/TSTraised.h"

namespace {

QVMenumerationGrammar enumerationOf(std::initializer_list<const char*> items) {
  QVMenumerationGrammar grammar;
  for (const char* item : items) {
    grammar.addEnumItem();
    grammar.setEnumItem(grammar.countOfEnumItem() - 1, item);
  }
  return grammar;
}

}  // namespace

TEST(QVMgrammarDataType, NamesAndUnknownTypes) {
  EXPECT_EQ(QVMoutputDataTypeAsString(QVMstringType), "String");
  EXPECT_EQ(QVMoutputDataTypeAsString(QVMintegerType), "Integer");
  EXPECT_EQ(QVMoutputDataTypeAsString(QVMdoubleType), "Double");
  EXPECT_EQ(QVMoutputDataTypeAsString(QVMcompositeType), "Composite");
  EXPECT_EQ(QVMoutputDataTypeAsString(QVMdateTimeType), "DateTime");
  EXPECT_EQ(TSTraised([] { QVMoutputDataTypeAsString(QVMenumerationType); }),
            COLerror("Unknown data type.", COL_ERROR_UNKNOWN_MAPPING_TYPE));
  EXPECT_EQ(TSTraised([] { QVMoutputDataTypeAsString(static_cast<QVMdataType>(77)); }),
            COLerror("Unknown data type.", COL_ERROR_UNKNOWN_MAPPING_TYPE));
}

TEST(QVMgrammarComposite, FreshFieldIsUnrestrictedString) {
  QVMcompositeGrammar composite;
  EXPECT_EQ(QVMcompositeGrammarAddField(composite), 0u);
  EXPECT_EQ(QVMcompositeGrammarAddField(composite), 1u);
  EXPECT_EQ(composite.fieldDataType(1), QVMstringType);
  EXPECT_EQ(composite.fieldMaxLength(1), 0xFFFFFFFFu);
  EXPECT_FALSE(composite.fieldIsLengthRestricted(1));
  EXPECT_FALSE(composite.fieldIsRequired(1));
}

TEST(QVMgrammarComposite, KindsAreSetThroughTheirOwnSetters) {
  QVMcompositeGrammar composite, inner;
  QVMdateTimeGrammar dateTime;
  QVMenumerationGrammar enumeration;
  composite.setName("CE");
  for (int i = 0; i < 4; ++i) QVMcompositeGrammarAddField(composite);
  composite.setFieldName(0, "code");

  composite.setFieldDataType(0, QVMintegerType);
  EXPECT_EQ(composite.fieldDataType(0), QVMintegerType);
  EXPECT_EQ(TSTerrorText([&] { composite.setFieldDataType(0, QVMcompositeType); }),
            "Failed precondition: Type == QVMstringType || Type == QVMintegerType || Type == QVMdoubleType");
  EXPECT_EQ(TSTerrorText([&] { composite.setFieldDataType(0, QVMenumerationType); }),
            "Failed precondition: Type == QVMstringType || Type == QVMintegerType || Type == QVMdoubleType");
  EXPECT_EQ(composite.fieldDataType(0), QVMintegerType);

  EXPECT_EQ(TSTerrorText([&] { composite.setFieldCompositeType(1, nullptr); }),
            "Failed precondition: pNewValue != NULL");
  composite.setFieldCompositeType(1, &inner);
  EXPECT_EQ(composite.fieldDataType(1), QVMcompositeType);
  EXPECT_EQ(composite.fieldCompositeType(1), &inner);
  composite.setFieldDateTimeGrammar(2, &dateTime);
  EXPECT_EQ(composite.fieldDataType(2), QVMdateTimeType);
  EXPECT_EQ(composite.fieldDateTimeGrammar(2), &dateTime);
  composite.setFieldEnumerationGrammar(3, &enumeration);
  EXPECT_EQ(composite.fieldDataType(3), QVMenumerationType);
  EXPECT_EQ(composite.fieldEnumerationGrammar(3), &enumeration);

  EXPECT_EQ(TSTerrorText([&] { composite.fieldCompositeType(0); }),
            "Failed precondition: field(FieldIndex)->dataType() == QVMcompositeType");
  EXPECT_EQ(TSTraised([&] { composite.fieldDateTimeGrammar(0); }),
            COLerror("Field 1(code) of composite CE is not a date time field.", COL_ERROR_PRECONDITION));
  EXPECT_EQ(TSTraised([&] { composite.fieldEnumerationGrammar(2); }),
            COLerror("Field 3() of composite CE is not an enumeration field.", COL_ERROR_PRECONDITION));
}

TEST(QVMgrammarComposite, DataTypeValidityAcceptsStringsForEnumerations) {
  QVMcompositeGrammar composite;
  QVMenumerationGrammar enumeration;
  QVMcompositeGrammarAddField(composite);
  QVMcompositeGrammarAddField(composite);
  composite.setFieldEnumerationGrammar(0, &enumeration);
  EXPECT_TRUE(composite.fieldDataTypeIsValid(0, QVMenumerationType));
  EXPECT_TRUE(composite.fieldDataTypeIsValid(0, QVMstringType));
  for (QVMdataType other : {QVMintegerType, QVMdoubleType, QVMcompositeType, QVMdateTimeType})
    EXPECT_FALSE(composite.fieldDataTypeIsValid(0, other)) << other;
  // A string field does not accept an enumeration in return.
  EXPECT_TRUE(composite.fieldDataTypeIsValid(1, QVMstringType));
  EXPECT_FALSE(composite.fieldDataTypeIsValid(1, QVMenumerationType));
}

TEST(QVMgrammarComposite, CopyIsDeep) {
  QVMcompositeGrammar composite;
  composite.setName("XPN");
  composite.setFieldName(QVMcompositeGrammarAddField(composite), "family");
  QVMcompositeGrammar copy(composite);
  copy.setFieldName(0, "given");
  copy.addFieldAt(0);
  EXPECT_EQ(composite.countOfField(), 1u);
  EXPECT_EQ(composite.fieldName(0), "family");
  EXPECT_EQ(copy.name(), "XPN");
  composite = copy;
  EXPECT_EQ(composite.countOfField(), 2u);
  EXPECT_NE(composite.field(1), copy.field(1));
}

TEST(QVMgrammarComposite, PrintingDescendsIntoSubCompositesOnce) {
  QVMcompositeGrammar outer, inner;
  QVMenumerationGrammar enumeration;
  outer.setName("CX");
  inner.setName("HD");
  outer.setFieldName(QVMcompositeGrammarAddField(outer), "id");
  outer.setFieldName(QVMcompositeGrammarAddField(outer), "authority");
  outer.setFieldCompositeType(1, &inner);
  inner.setFieldName(QVMcompositeGrammarAddField(inner), "namespace");
  inner.setFieldEnumerationGrammar(0, &enumeration);
  EXPECT_EQ(QVMprinted(outer),
            "Composite: CX\n"
            "  Field[1] id - String\n"
            "  Field[2] authority - Composite\n"
            "    Composite: HD\n"
            "      Field[1] namespace - Enumeration\n");
  // A composite that holds itself is printed once.
  QVMcompositeGrammar loop;
  loop.setName("LOOP");
  loop.setFieldName(QVMcompositeGrammarAddField(loop), "self");
  loop.setFieldCompositeType(0, &loop);
  EXPECT_EQ(QVMprinted(loop), "Composite: LOOP\n  Field[1] self - Composite\n");
}

// Items and validity as edits: tests/data/QVM/edit/grammar.test.
TEST(QVMgrammarEnumeration, NoTextAndCopies) {
  QVMenumerationGrammar grammar = enumerationOf({"B"});
  EXPECT_TRUE(grammar.isValid(COLstring("B")));
  EXPECT_FALSE(grammar.isValid(static_cast<const char*>(nullptr)));
  QVMenumerationGrammar copy(grammar);
  grammar.setEnumItem(0, "C");
  EXPECT_TRUE(copy.isValid("B"));
  EXPECT_FALSE(copy.isValid("C"));
}

TEST(QVMgrammarNodeAddress, GrowthAndSteps) {
  QVMmessageNodeAddress address;
  EXPECT_EQ(address.depth(), 0u);
  address.pop_back();
  EXPECT_EQ(address.depth(), 0u);
  address.setNodeAndRepeatIndex(2, 5, 1);
  ASSERT_EQ(address.depth(), 3u);
  EXPECT_EQ(address.nodeIndex(0), 0u);
  EXPECT_EQ(address.nodeIndex(2), 5u);
  EXPECT_EQ(address.repeatIndex(1), 0u);
  EXPECT_EQ(address.repeatIndex(2), 1u);
  address.setRepeatIndex(4, 9);
  EXPECT_EQ(address.depth(), 5u);
  EXPECT_EQ(address.nodeIndex(4), 0u);
  address.setDepth(2);
  EXPECT_EQ(address.depth(), 2u);
  address.pop_back();
  EXPECT_EQ(address.depth(), 1u);
  EXPECT_EQ(TSTerrorText([&] { address.nodeIndex(1); }), "Failed precondition: Index < depth()");
  address.clear();
  EXPECT_EQ(address, QVMmessageNodeAddress());
}

TEST(QVMgrammarNodeAddress, EqualityComparesEveryStep) {
  QVMmessageNodeAddress a, b;
  a.setNodeAndRepeatIndex(1, 3, 0);
  b.setNodeIndex(1, 3);
  EXPECT_EQ(a, b);
  b.setRepeatIndex(0, 1);
  EXPECT_NE(a, b);
  b.setRepeatIndex(0, 0);
  b.setDepth(3);
  EXPECT_NE(a, b);
}

TEST(QVMgrammarNodeAddress, CopyAddressTakesAWindowOfTheSource) {
  QVMmessageNodeAddress source;
  for (uint32_t k = 0; k < 4; ++k) source.setNodeAndRepeatIndex(k, 10 + k, 20 + k);
  QVMmessageNodeAddress target;
  target.setNodeAndRepeatIndex(0, 1, 2);
  target.copyAddress(1, 1, source, 1);  // steps 1 and 2 of the source
  ASSERT_EQ(target.depth(), 3u);
  EXPECT_EQ(target.nodeIndex(0), 1u);
  EXPECT_EQ(target.nodeIndex(1), 11u);
  EXPECT_EQ(target.repeatIndex(2), 22u);
  // Nothing to copy leaves it as it was.
  target.copyAddress(0, 3, source, 1);
  target.copyAddress(0, 0, source, 9);
  EXPECT_EQ(target.depth(), 3u);
  EXPECT_EQ(target.nodeIndex(0), 1u);
  // Copying from itself shifts safely.
  source.copyAddress(1, 0, source, 0);
  ASSERT_EQ(source.depth(), 5u);
  EXPECT_EQ(source.nodeIndex(1), 10u);
  EXPECT_EQ(source.nodeIndex(4), 13u);
}
