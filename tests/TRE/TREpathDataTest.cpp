// The path cases of tests/data/TRE/*.path: a path parsed, printed back, and bound on one fixed
// tree.  Sections:
//   path     the text
//   xpath    what printing gives, when it differs from the text
//   from     a path from the root to the instance the binding starts at (the root without it)
//   binds    the instance found: "Type name" for an object (its Name), "type 'value'" for a value,
//            "items n" for a collection, "null" for none; or "error: " and the text raised
// The tree: PathRoot 'root' with List [a (Value 1), b (Value 2, Sub [c (Value 3)])] and Child x
// (Value 9); the variable $v is Child, the global "first#" is List item a.
#include <gtest/gtest.h>

#include "COLerror.h"
#include "TREpath.h"

#include "../support/TSTdataFile.h"

namespace {

struct Tree {
  TRErootInstance Root;
  TREvariableTable Variables;

  static TREtypeComplex& itemType() {
    TREtypeComplex& Item = TREtypeComplex::getType("PathItem");
    if (Item.countOfMember() == 0) {
      Item.addMember("Name", 0, 1, TREtypeSimple::getType(TREbaseType::String), true, false);
      Item.addMember("Value", 0, 1, TREtypeSimple::getType(TREbaseType::Integer), false, false);
      Item.addMember("Sub", 0, 0xFFFFFFFF, Item, false, false);
    }
    return Item;
  }
  static void fill(TREinstanceComplex& Node, const char* Name, int32_t Value) {
    Node.member(0).setValue(Name);
    Node.member(1).setValue(Value);
  }
  Tree() {
    TREtypeComplex& Type = TREtypeComplex::getType("PathRoot");
    if (Type.countOfMember() == 0) {
      Type.addMember("Name", 0, 1, TREtypeSimple::getType(TREbaseType::String), true, false);
      Type.addMember("List", 0, 0xFFFFFFFF, itemType(), false, false);
      Type.addMember("Child", 0, 1, itemType(), false, false);
    }
    TREinstanceComplex& Top = Root.instance();
    Top.setType(Type);
    Top.member(0).setValue("root");
    TREinstanceVector& List = Top.vectorMember(1);
    fill(*List.push_back().complex(), "a", 1);
    TREinstanceComplex& B = *List.push_back().complex();
    fill(B, "b", 2);
    fill(*B.vectorMember(2).push_back().complex(), "c", 3);
    fill(Top.complexMember(2), "x", 9);
    Variables["v"] = &Top.complexMember(2);
    TREpath::addGlobalReference("first", List[0].complex());
  }
};

std::string describe(TREinstance* Found) {
  if (!Found) return "null";
  switch (Found->classType()) {
    case TREinstance::eComplex: {
      auto& Node = static_cast<TREinstanceComplex&>(*Found);
      return Node.type()->name().str() + " " + Node.member(0).value().toString().str();
    }
    case TREinstance::eVector: return "items " + std::to_string(static_cast<TREinstanceVector&>(*Found).size());
    default: {
      const TREvariant& Value = static_cast<TREinstanceSimple&>(*Found).value();
      return std::string(Value.typeName()) + " '" + Value.toString().str() + "'";
    }
  }
}

std::string firstLine(const std::string& Text) { return Text.substr(0, Text.find('\n')); }

class TREpathData : public ::testing::TestWithParam<TSTdataCase> {};

TEST_P(TREpathData, ParsesPrintsAndBinds) {
  const TSTdataCase& Case = GetParam();
  Tree T;
  const std::string Text = firstLine(Case.text("path"));
  std::string Result;
  try {
    TREpath Path = TREpath::fromXPath(Text.c_str());
    EXPECT_EQ(Path.toXPath().str(), Case.has("xpath") ? firstLine(Case.text("xpath")) : Text) << Case.where();
    TREinstance* From = &T.Root.instance();
    if (Case.has("from")) From = TREpath::fromXPath(firstLine(Case.text("from")).c_str()).bind(*From);
    ASSERT_NE(From, nullptr) << Case.where();
    Result = describe(Path.bind(*From, &T.Variables));
  } catch (const COLerror& Error) {
    Result = "error: " + Error.description().str();
  }
  EXPECT_EQ(Result, firstLine(Case.text("binds"))) << Case.where();
}

std::vector<TSTdataCase> pathCases() {
  std::vector<TSTdataCase> Cases;
  for (const char* File : {"TRE/paths.path"})
    for (TSTdataCase& Case : TSTreadDataFile(File)) Cases.push_back(std::move(Case));
  return Cases;
}

INSTANTIATE_TEST_SUITE_P(Cases, TREpathData, ::testing::ValuesIn(pathCases()), TSTdataParamName);

}  // namespace
