// Version maintenance: compaction and reduction change storage only, never what a version
// reads; a version appended or merged from another tree keeps sharing what is alike and
// its references by id name the nodes that now hold their targets.
#include <gtest/gtest.h>

#include "COLerror.h"
#include "TREinstance.h"
#include "TREreference.h"

#include "../support/TSTraised.h"

namespace {

// "MaintenanceNode": Text (string), Fixed (string, global), Items (list of
// "MaintenanceLeaf", one integer Value each), Pick (a reference).
TREtypeComplex& leafType() {
  TREtypeComplex& Leaf = TREtypeComplex::getType("MaintenanceLeaf");
  if (Leaf.countOfMember() == 0) Leaf.addMember("Value", 0, 1, TREtypeSimple::getType(TREbaseType::Integer), true, false);
  return Leaf;
}

TREtypeComplex& nodeType() {
  TREregisterReferenceTypes();
  TREtypeComplex& Node = TREtypeComplex::getType("MaintenanceNode");
  if (Node.countOfMember() == 0) {
    Node.addMember("Text", 0, 1, TREtypeSimple::getType(TREbaseType::String), false, false);
    Node.addMember("Fixed", 0, 1, TREtypeSimple::getType(TREbaseType::String), false, true);
    Node.addMember("Items", 0, 0xFFFFFFFF, leafType(), false, false);
    Node.addMember("Pick", 0, 1, TREtypeComplex::getType("Reference"), false, false);
  }
  return Node;
}

enum { Text = 0, Fixed = 1, Items = 2, Pick = 3 };

struct Tree {
  TRErootInstance Root;
  TREinstanceComplex& Node = Root.instance();
  Tree() { Node.setType(nodeType()); }
  TREinstanceSimple& text() { return Node.member(Text); }
  TREinstanceVector& items() { return Node.vectorMember(Items); }
  std::string textAt(uint16_t Version) {
    Root.setVersion(Version);
    return text().value().string().str();
  }
  // The values of the items that a version reads, as "1,2,".
  std::string itemsAt(uint16_t Version) {
    Root.setVersion(Version);
    std::string Out;
    for (size_t i = 0; i < items().size(); ++i)
      Out += std::to_string(items().complexItem(i).member(0).value().integerValue()) + ",";
    return Out;
  }
  TREinstanceComplex& addItem(int32_t Value) {
    TREinstanceComplex& Item = *items().push_back().complex();
    Item.setType(leafType());
    Item.member(0).setValue(Value);
    return Item;
  }
  TREinstanceComplex* pickAt(uint16_t Version) {
    Root.setVersion(Version);
    return TREreferenceBind(Node.complexMember(Pick));
  }
};

TEST(TREversionCompact, DropsDuplicateDefaultAndUnusedValuesButNotWhatVersionsRead) {
  Tree T;
  T.text().setValue("a");
  for (int i = 0; i < 4; ++i) T.Root.addVersion(0);
  const char* Writes[] = {nullptr, "a", "b", "b", "z"};
  for (uint16_t v = 1; v < 5; ++v) {
    T.Root.setVersion(v);
    T.text().setValue(Writes[v]);
  }
  T.Root.deleteVersion(4);  // "z" is read by no version now
  ASSERT_EQ(T.text().countOfValue(), 4);
  T.Root.versionCompact();
  EXPECT_EQ(T.text().countOfValue(), 1);
  EXPECT_EQ(T.text().valueIndexFromVersion(1), TREnoIndex);
  EXPECT_EQ(T.text().valueIndexFromVersion(2), T.text().valueIndexFromVersion(3));
  EXPECT_EQ(T.textAt(0) + T.textAt(1) + T.textAt(2) + T.textAt(3), "aabb");
  // Versions that share after compaction split again on a write.
  T.Root.setVersion(3);
  T.text().setValue("c");
  EXPECT_EQ(T.textAt(2) + T.textAt(3), "bc");
  T.Root.setVersion(1);
  T.text().setValue("d");
  EXPECT_EQ(T.textAt(0) + T.textAt(1), "ad");
}

TEST(TREversionCompact, ValuesAllEqualToTheDefaultLeaveNoPerVersionStorage) {
  Tree T;
  T.text().setValue("same");
  T.Root.addVersion(0);
  T.Root.setVersion(1);
  T.text().setValue("other");
  T.text().setValue("same");
  T.Root.versionCompact();
  EXPECT_EQ(T.text().countOfValue(), 0);
  EXPECT_EQ(TSTerrorText([&] { T.text().valueIndexFromVersion(0); }), "Failed precondition: pVersions != NULL");
  EXPECT_EQ(T.textAt(0) + T.textAt(1), "samesame");
}

TEST(TREversionCompact, CollectionsMergeEqualListsAndDropItemsNoVersionHolds) {
  Tree T;
  T.addItem(10);
  T.Root.addVersion(0);
  T.Root.addVersion(0);
  T.Root.setVersion(1);
  T.addItem(20);
  T.items().remove(1);  // version 1 is back to [10], with 20 left in the pool
  T.Root.setVersion(2);
  T.addItem(30);
  ASSERT_EQ(T.items().countOfVector(), 3);
  ASSERT_EQ(T.items().defaultSize(), 3);
  T.Root.versionCompact();
  EXPECT_EQ(T.items().countOfVector(), 2);
  EXPECT_EQ(T.items().defaultSize(), 2);
  EXPECT_EQ(T.itemsAt(0) + "|" + T.itemsAt(1) + "|" + T.itemsAt(2), "10,|10,|10,30,");
  // Versions 0 and 1 share one list again: a push in one leaves the other.
  T.Root.setVersion(0);
  T.addItem(40);
  EXPECT_EQ(T.itemsAt(0) + "|" + T.itemsAt(1), "10,40,|10,");
  // With one list left for all versions it becomes the pool itself.
  T.Root.deleteVersion(2);
  T.Root.deleteVersion(0);
  T.Root.versionCompact();
  EXPECT_EQ(T.items().countOfVector(), 0);
  EXPECT_EQ(T.items().defaultSize(), 1);
  EXPECT_EQ(T.itemsAt(0), "10,");
}

TEST(TREversionCompact, ATypeThatAllVersionsShareAgainKeepsItsSlotsOnly) {
  TREtypeComplex& Base = TREtypeComplex::getType("MaintenancePlugin");
  TREtypeComplex& Derived = TREtypeComplex::getType("MaintenancePluginDerived");
  if (!Derived.hasBaseType()) {
    Base.addMember("Shared", 0, 1, TREtypeSimple::getType(TREbaseType::String), false, false);
    Derived.setBaseType(Base);
    Derived.addMember("Extra", 0, 1, TREtypeSimple::getType(TREbaseType::Integer), false, false);
  }
  TRErootInstance Root;
  TREinstanceComplex& Node = Root.instance();
  Node.setType(Base);
  Node.member(0).setValue("kept");
  Root.addVersion(0);
  Root.setVersion(1);
  Node.setType(Derived);
  Node.member(1).setValue(int32_t(5));
  Node.member(0).setValue("changed in 1");
  Node.setType(Base);
  ASSERT_EQ(Node.countOfType(), 2);
  Root.versionCompact();
  EXPECT_EQ(Node.countOfType(), 0);
  EXPECT_EQ(Node.defaultCountOfMember(), 1);
  Root.setVersion(0);
  EXPECT_EQ(Node.member(0).value().string(), "kept");
  Root.setVersion(1);
  EXPECT_EQ(Node.member(0).value().string(), "changed in 1");
  // A later type change in one version still leaves the other.
  Node.setType(Derived);
  Root.setVersion(0);
  EXPECT_EQ(Node.type(), &Base);
}

TEST(TREversionReduce, OneVersionBecomesTheWholeTreeWithoutPerVersionStorage) {
  Tree T;
  T.text().setValue("zero");
  T.addItem(1);
  T.Root.addVersion(0);
  T.Root.addVersion(0);
  T.Root.setVersion(1);
  T.text().setValue("one");
  TREinstanceComplex& Kept = T.addItem(2);
  uint32_t KeptId = Kept.ensureHasObjectId();
  T.Root.setVersion(2);
  uint32_t GoneId = T.addItem(3).ensureHasObjectId();
  T.Root.versionReduce(1);
  EXPECT_EQ(T.Root.countOfVersion(), 1);
  EXPECT_EQ(T.Root.currentVersion(), 0);
  EXPECT_EQ(T.textAt(0), "one");
  EXPECT_EQ(T.itemsAt(0), "1,2,");
  EXPECT_EQ(T.text().countOfValue(), 0);
  EXPECT_EQ(T.items().countOfVector(), 0);
  EXPECT_EQ(T.items().defaultSize(), 2);
  // The object of version 1 keeps its id; the one only version 2 had is gone from the map.
  EXPECT_EQ(T.Root.instanceGlobal("MaintenanceLeaf", KeptId), &Kept);
  EXPECT_EQ(T.Root.instanceGlobal("MaintenanceLeaf", GoneId), nullptr);
  EXPECT_EQ(TSTerrorText([&] { T.Root.versionReduce(1); }), "Failed precondition: VersionIndex < CountOfVersion");
}

TEST(TREversionIsEqual, ComparesWhatTwoVersionsRead) {
  Tree A, B;
  A.text().setValue("x");
  A.addItem(1);
  A.Root.addVersion(0);
  EXPECT_TRUE(A.Root.versionIsEqual(A.Root, 0, 1));
  A.Root.setVersion(1);
  A.items().complexItem(0).member(0).setValue(int32_t(2));
  EXPECT_FALSE(A.Root.versionIsEqual(A.Root, 0, 1));
  B.text().setValue("x");
  B.addItem(2);
  EXPECT_TRUE(A.Root.versionIsEqual(B.Root, 1, 0));
  EXPECT_FALSE(A.Root.versionIsEqual(B.Root, 0, 0));
  B.addItem(3);
  EXPECT_FALSE(A.Root.versionIsEqual(B.Root, 1, 0));
}

TEST(TREappendVersion, VersionsOfAnotherTreeArriveSharingWhatIsAlike) {
  Tree A, B;
  A.text().setValue("a");
  A.Node.member(Fixed).setValue("mine");
  A.addItem(1);
  A.addItem(2);
  // B: two versions; version 1 changes the text and picks its second item.
  B.text().setValue("a");
  B.Node.member(Fixed).setValue("theirs");
  B.addItem(1);
  TREinstanceComplex& Second = B.addItem(7);
  B.Root.addVersion(0);
  B.Root.setVersion(1);
  B.text().setValue("b");
  TREreferenceSetById(B.Node.complexMember(Pick), &Second);
  uint32_t TheirId = Second.objectId();
  // A's own objects have ids that collide with B's.
  A.items().complexItem(0).ensureHasObjectId();

  A.Root.appendVersion(B.Root);
  ASSERT_EQ(A.Root.countOfVersion(), 3);
  EXPECT_EQ(A.Root.currentVersion(), 0);
  EXPECT_EQ(B.Root.currentVersion(), 1);
  EXPECT_EQ(A.textAt(0) + A.textAt(1) + A.textAt(2), "aab");
  EXPECT_EQ(A.itemsAt(0) + "|" + A.itemsAt(1) + "|" + A.itemsAt(2), "1,2,|1,7,|1,7,");
  // The text of version 1 is that of version 0: one stored value, for version 2.
  EXPECT_EQ(A.text().countOfValue(), 1);
  // A global member holds one value for all versions: this tree's.
  A.Root.setVersion(2);
  EXPECT_EQ(A.Node.member(Fixed).value().string(), "mine");
  // The reference follows its target to the node that holds it, under a fresh id.
  EXPECT_EQ(A.pickAt(1), nullptr);
  TREinstanceComplex* Picked = A.pickAt(2);
  ASSERT_NE(Picked, nullptr);
  EXPECT_EQ(Picked->member(0).value().integerValue(), 7);
  EXPECT_EQ(Picked, &A.items().complexItem(1));
  EXPECT_EQ(A.Root.mergedId("MaintenanceLeaf", TheirId), Picked->objectId());
  EXPECT_NE(Picked->objectId(), A.items().complexItem(0).objectId());
  // Version 0 reads what it read before.
  EXPECT_EQ(A.pickAt(0), nullptr);
  EXPECT_EQ(A.itemsAt(0), "1,2,");
  // A tree can't take its own versions: they would grow while being read.
  EXPECT_EQ(TSTerrorText([&] { A.Root.appendVersion(A.Root); }), "Failed precondition: &Other != this");
  EXPECT_EQ(A.Root.countOfVersion(), 3);
}

TEST(TREmerge, TheOtherTreesCurrentVersionIsWrittenOverTheCurrentOne) {
  Tree A, B;
  A.text().setValue("a");
  A.Node.member(Fixed).setValue("mine");
  A.Root.addVersion(0);
  B.text().setValue("b");
  B.Node.member(Fixed).setValue("theirs");
  TREinstanceComplex& Target = B.addItem(4);
  TREreferenceSetById(B.Node.complexMember(Pick), &Target);
  A.Root.setVersion(1);
  A.Root.merge(B.Root);
  EXPECT_EQ(A.textAt(0) + A.textAt(1), "ab");
  EXPECT_EQ(A.itemsAt(0) + "|" + A.itemsAt(1), "|4,");
  // A merge writes a global member as any write does.
  EXPECT_EQ(A.Node.member(Fixed).value().string(), "theirs");
  TREinstanceComplex* Picked = A.pickAt(1);
  ASSERT_NE(Picked, nullptr);
  EXPECT_EQ(Picked->member(0).value().integerValue(), 4);
  EXPECT_EQ(TSTerrorText([&] {
              TRErootInstance Other;
              A.Root.merge(Other);
            }),
            "Failed precondition: Other.type() == type()");
}

}  // namespace
