// Variants: how they take their type, their texts, and how values of different types compare.
#include <gtest/gtest.h>

#include "COLerror.h"
#include "TREtype.h"
#include "TREvariant.h"

#include "../support/TSTraised.h"

namespace {

TEST(TREvariant, NullTakesTheTypeOfTheFirstValueAndKeepsIt) {
  TREvariant Value;
  Value.fromString("42", TREbaseType::Integer);
  EXPECT_EQ(Value.baseType(), TREbaseType::Integer);
  EXPECT_EQ(Value.toString(), "42");
  EXPECT_EQ(TSTerrorText([&] { Value.fromString("x", TREbaseType::String); }),
            "Incorrect type expected string but got integer");
}

TEST(TREvariant, TextsOfEachTypeAndTheirRefusals) {
  TREvariant Flag;
  Flag.fromString("true", TREbaseType::Boolean);
  EXPECT_TRUE(Flag.boolean());
  EXPECT_EQ(TSTerrorText([&] { Flag.fromString("TRUE", TREbaseType::Boolean); }), "Unexpected Boolean string: TRUE");

  TREvariant Tiny;
  Tiny.fromString("127", TREbaseType::TinyInteger);
  Tiny.fromString("-128", TREbaseType::TinyInteger);
  EXPECT_EQ(Tiny.toString(), "-128");
  EXPECT_EQ(TSTerrorText([&] { Tiny.fromString("128", TREbaseType::TinyInteger); }), "OverFlow for COLint8 from 128");

  TREvariant Single;
  EXPECT_EQ(TSTerrorText([&] { Single.fromString("1e39", TREbaseType::Float); }),
            "Overflow on String to Float Conversion for '1e39'");

  TREvariant Time(COLdateTime(2024, 3, 1, 12, 5, 9));
  EXPECT_EQ(Time.toString(), "01/03/2024 12:05:09");
  EXPECT_EQ(TREvariant(COLdateTime()).toString(), "<null>");
  TREvariant Parsed;
  Parsed.fromString("01/03/2024 12:05:09", TREbaseType::DateTime);
  EXPECT_EQ(Parsed.compare(Time), 0);

  TREvariant Bytes;
  Bytes.fromString("00ff1A", TREbaseType::Binary);
  EXPECT_EQ(Bytes.toString(), "00FF1A");
  EXPECT_EQ(TSTerrorText([&] { Bytes.fromString("abc", TREbaseType::Binary); }),
            "Failed precondition: String.size() % 2 == 0");
  EXPECT_EQ(TSTerrorText([&] { TREvariant().fromString("x", TREbaseType::InstanceComplex); }),
            "InstanceComplex from String Not Available");
  EXPECT_EQ(TSTerrorText([] { TREvariantType::instance(13); }), "Unknown Type");
}

TEST(TREvariant, CompareAcrossTypes) {
  EXPECT_EQ(TREvariant(int32_t(5)).compare(TREvariant(int64_t(5))), 0);
  EXPECT_LT(TREvariant(int16_t(4)).compare(TREvariant(int32_t(5))), 0);
  EXPECT_GT(TREvariant(int64_t(9)).compare(TREvariant(int8_t(5))), 0);
  EXPECT_EQ(TREvariant("5").compare(TREvariant(int32_t(5))), 1);
  EXPECT_EQ(TREvariant(int32_t(5)).compare(TREvariant("5")), 1);
  EXPECT_EQ(TREvariant(5.0f).compare(TREvariant(int32_t(5))), 1);
  EXPECT_EQ(TREvariant(COLsimpleBuffer()).compare(TREvariant(COLsimpleBuffer())), 0);
  COLsimpleBuffer One(1), Two(1);
  One.data()[0] = 1;
  Two.data()[0] = 2;
  EXPECT_EQ(TREvariant(One).compare(TREvariant(Two)), 1);
  EXPECT_EQ(TREvariant(Two).compare(TREvariant(One)), 1);
}

TEST(TREvariant, AssignmentChangesTypeAndDefaultsAreRecognised) {
  TREvariant Value("text");
  Value = TREvariant(2.5);
  EXPECT_EQ(Value.baseType(), TREbaseType::Double);
  EXPECT_FALSE(Value.isDefault());
  EXPECT_TRUE(TREvariant(0.0).isDefault());
  EXPECT_TRUE(TREvariant("").isDefault());
  EXPECT_TRUE(TREvariant(COLdateTime()).isDefault());
  EXPECT_FALSE(TREvariant(COLdateTime(2020, 1, 1, 0, 0, 0)).isDefault());
}

TEST(TREtypeComplex, MembersBasesAndLookups) {
  TREtypeComplex& Base = TREtypeComplex::getType("TestTypeBase");
  Base.addMember("Name", 0, 1, TREtypeSimple::getType(TREbaseType::String), true, false);
  TREtypeComplex& Derived = TREtypeComplex::getType("TestTypeDerived");
  Derived.setBaseType(Base);
  Derived.addMember("Items", 0, 2, TREtypeSimple::getType(TREbaseType::Integer), false, false);
  Derived.setBaseType(TREtypeComplex::getType("TestTypeOther"));
  EXPECT_EQ(Derived.baseType(), &Base);
  EXPECT_EQ(Derived.countOfMember(), 2);
  EXPECT_EQ(Derived.memberIndex("Name"), 0);
  EXPECT_EQ(Derived.memberIndex("Items"), 1);
  EXPECT_EQ(Derived.memberIndex("Nothing"), TREtypeComplex::npos);
  EXPECT_TRUE(Derived.member(1).isCollection());
  EXPECT_FALSE(Derived.member(0).isCollection());
  EXPECT_EQ(Base.countOfIdentity(), 1u);
  EXPECT_TRUE(Derived.isDerivedFrom(Base));
  EXPECT_FALSE(Base.isDerivedFrom(Derived));
  EXPECT_EQ(&TREtype::getType("integer"), &TREtypeSimple::getType(TREbaseType::Integer));
  EXPECT_EQ(TSTraised([] { TREtype::getType("NoSuchTypeAnywhere"); }),
            COLerror("The following type is not registered: NoSuchTypeAnywhere", 0x80000500));
  EXPECT_EQ(TSTerrorText([] { TREtypeComplex::getType("string"); }),
            "Failed precondition: pType->classType() == eComplex");
}

}  // namespace
