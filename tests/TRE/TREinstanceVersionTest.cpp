// Instance trees with versions: what each version reads after writes, and that storage per
// version appears only where versions differ.
#include <gtest/gtest.h>

#include "COLerror.h"
#include "TREinstance.h"

#include "../support/TSTraised.h"

namespace {

// A type "VersionTestNode": Text (string), Fixed (string, global), Numbers (list of integer),
// Child (a VersionTestLeaf with one integer Value).
TREtypeComplex& nodeType() {
  TREtypeComplex& Leaf = TREtypeComplex::getType("VersionTestLeaf");
  if (Leaf.countOfMember() == 0) Leaf.addMember("Value", 0, 1, TREtypeSimple::getType(TREbaseType::Integer), false, false);
  TREtypeComplex& Node = TREtypeComplex::getType("VersionTestNode");
  if (Node.countOfMember() == 0) {
    Node.addMember("Text", 0, 1, TREtypeSimple::getType(TREbaseType::String), true, false);
    Node.addMember("Fixed", 0, 1, TREtypeSimple::getType(TREbaseType::String), false, true);
    Node.addMember("Numbers", 0, 0xFFFFFFFF, TREtypeSimple::getType(TREbaseType::Integer), false, false);
    Node.addMember("Child", 0, 1, Leaf, false, false);
  }
  return Node;
}

enum { Text = 0, Fixed = 1, Numbers = 2, Child = 3 };

struct Tree {
  TRErootInstance Root;
  TREinstanceComplex& Node = Root.instance();
  Tree() { Node.setType(nodeType()); }
  std::string text(uint16_t Version) {
    Root.setVersion(Version);
    return Node.member(Text).value().string().str();
  }
};

TEST(TREinstanceVersions, OneVersionWritesWithoutPerVersionStorage) {
  Tree T;
  T.Node.member(Text).setValue("a");
  T.Node.vectorMember(Numbers).push_back().setValue(int32_t(1));
  T.Node.complexMember(Child).member(0).setValue(int32_t(2));
  EXPECT_EQ(T.Node.member(Text).countOfValue(), 0);
  EXPECT_EQ(T.Node.vectorMember(Numbers).countOfVector(), 0);
  EXPECT_EQ(T.Node.complexMember(Child).member(0).countOfValue(), 0);
  EXPECT_EQ(T.Node.countOfType(), 0);
  EXPECT_TRUE(T.Root.isDirty());
}

TEST(TREinstanceVersions, AWriteSplitsASharedValueOnceThenWritesInPlace) {
  Tree T;
  T.Node.member(Text).setValue("old");
  T.Root.addVersion(0);
  T.Root.setVersion(1);
  T.Node.member(Text).setValue("new");
  EXPECT_EQ(T.Node.member(Text).countOfValue(), 1);
  T.Node.member(Text).setValue("newer");
  EXPECT_EQ(T.Node.member(Text).countOfValue(), 1);
  EXPECT_EQ(T.text(0), "old");
  EXPECT_EQ(T.text(1), "newer");
  // An equal value written through assign keeps the versions sharing.
  T.Root.addVersion(0);
  T.Root.setVersion(2);
  T.Node.member(Text).assign("old");
  EXPECT_EQ(T.Node.member(Text).valueIndexFromVersion(2), TREnoIndex);
}

TEST(TREinstanceVersions, ANewVersionStartsFromItsSource) {
  Tree T;
  T.Node.member(Text).setValue("zero");
  T.Root.addVersion(0);
  T.Root.setVersion(0);
  T.Node.member(Text).setValue("written in zero");
  T.Root.addVersion(0);
  EXPECT_EQ(T.text(2), "written in zero");
  EXPECT_EQ(T.text(1), "zero");
  T.Root.deleteVersion(1);
  EXPECT_EQ(T.Root.countOfVersion(), 2);
  EXPECT_EQ(T.text(1), "written in zero");
}

TEST(TREinstanceVersions, AGlobalMemberIsOneValueForAllVersions) {
  Tree T;
  T.Root.addVersion(0);
  T.Root.addVersion(0);
  T.Root.setVersion(2);
  T.Node.member(Fixed).setValue("all");
  EXPECT_EQ(T.Node.member(Fixed).countOfValue(), 0);
  T.Root.setVersion(0);
  EXPECT_EQ(T.Node.member(Fixed).value().string(), "all");
}

TEST(TREinstanceVersions, CollectionsKeepAListPerVersionOverOnePool) {
  Tree T;
  TREinstanceVector& List = T.Node.vectorMember(Numbers);
  List.push_back().setValue(int32_t(10));
  T.Root.addVersion(0);
  T.Root.setVersion(1);
  List.push_back().setValue(int32_t(20));
  EXPECT_EQ(List.size(), 2u);
  EXPECT_EQ(List.defaultSize(), 2);
  T.Root.setVersion(0);
  EXPECT_EQ(List.size(), 1u);
  T.Root.setVersion(1);
  List.remove(0);
  EXPECT_EQ(List[0].value().integerValue(), 20);
  EXPECT_EQ(List.defaultSize(), 2);
  T.Root.setVersion(0);
  EXPECT_EQ(List[0].value().integerValue(), 10);
}

TEST(TREinstanceVersions, ATypeChangeInOneVersionKeepsTheOthers) {
  TREtypeComplex& Base = TREtypeComplex::getType("VersionTestPlugin");
  TREtypeComplex& Derived = TREtypeComplex::getType("VersionTestPluginDerived");
  if (!Derived.hasBaseType()) {
    Base.addMember("Shared", 0, 1, TREtypeSimple::getType(TREbaseType::String), false, false);
    Derived.setBaseType(Base);
    Derived.addMember("Extra", 0, 1, TREtypeSimple::getType(TREbaseType::Integer), false, false);
  }
  TRErootInstance Root;
  Root.instance().setType(Base);
  Root.instance().member(0).setValue("kept");
  Root.addVersion(0);
  Root.setVersion(1);
  Root.instance().setType(Derived);
  EXPECT_EQ(Root.instance().member("Shared")->value().string(), "kept");
  Root.instance().member("Extra")->setValue(int32_t(3));
  Root.setVersion(0);
  EXPECT_EQ(Root.instance().type(), &Base);
  EXPECT_FALSE(Root.instance().hasMember("Extra"));
}

TEST(TREinstanceVersions, ObjectIdsPerTypeName) {
  Tree T;
  EXPECT_EQ(T.Root.nextObjectId("SomeTypeName"), 1u);
  EXPECT_EQ(T.Root.nextObjectId("SomeTypeName"), 2u);
  uint32_t Id = T.Node.complexMember(Child).ensureHasObjectId();
  EXPECT_EQ(T.Root.instanceGlobal("VersionTestLeaf", Id), &T.Node.complexMember(Child));
  T.Node.complexMember(Child).setObjectId(0);
  EXPECT_EQ(T.Root.instanceGlobal("VersionTestLeaf", Id), nullptr);
  EXPECT_EQ(TSTerrorText([&] { T.Root.setVersion(1); }), "Failed precondition: NewVersionIndex < CountOfVersion");
}

}  // namespace
