// Bound classes over instance trees: members read and write the version the root is at,
// relationships lead to the right objects before and after a trip through the stream, and
// the bound object and its node may each go first.
#include <gtest/gtest.h>

#include <memory>

#include "COLbuffer.h"
#include "COLerror.h"
#include "TREbinary.h"
#include "TREcppMember.h"

#include "../support/TSTraised.h"

namespace {

class Leaf : public TREcppClass {
public:
  TREcppMemberSimple<COLstring> Name;
  TREcppMemberSimple<int32_t> Count;

  TREtypeComplex& _initializeType(TREinstanceComplex*) override { return registerType(*this, "CppTestLeaf", "a leaf"); }
  uint16_t _initializeMembers(TREinstanceComplex* node, TREtypeComplex* type, uint16_t index) override {
    index = initializeMember(node, type, index, "Name", Name, Identity);
    return initializeMember(node, type, index, "Count", Count);
  }
};

class LongLeaf : public Leaf {
public:
  TREcppMemberSimple<double> Length;

  TREtypeComplex& _initializeType(TREinstanceComplex*) override {
    return registerType(*this, "CppTestLongLeaf", nullptr, &typeOf<Leaf>());
  }
  uint16_t _initializeMembers(TREinstanceComplex* node, TREtypeComplex* type, uint16_t index) override {
    index = Leaf::_initializeMembers(node, type, index);
    return initializeMember(node, type, index, "Length", Length);
  }
};

using ByNamePath = TREcppRelationshipReferenceT<TREcppRelationshipReferenceStepNamed,
                                                TREcppRelationshipReferencePathAbsolute>;
using ByIndexPath = TREcppRelationshipReferenceT<TREcppRelationshipReferenceStepIndex,
                                                 TREcppRelationshipReferencePathRelative>;

class Plant : public TREcppClass {
public:
  TREcppMemberSimple<COLstring> Title;
  TREcppMemberSimple<bool> Fixed;
  TREcppMember<Leaf> Main;
  TREcppMemberVector<Leaf> Leaves;
  TREcppMember<Leaf, TREcppRelationshipReferenceId> Favourite;
  TREcppMember<Leaf, ByNamePath> ByName;
  TREcppMemberDeref<TREcppMember<Leaf, ByIndexPath>> ByIndex;
  TREcppMemberVector<Leaf, TREcppRelationshipReferenceId> Picks;

  TREtypeComplex& _initializeType(TREinstanceComplex*) override { return registerType(*this, "CppTestPlant", nullptr); }
  uint16_t _initializeMembers(TREinstanceComplex* node, TREtypeComplex* type, uint16_t index) override {
    index = initializeMember(node, type, index, "Title", Title);
    index = initializeMember(node, type, index, "Fixed", Fixed, Global);
    index = initializeMember(node, type, index, "Main", Main);
    index = initializeMember(node, type, index, "Leaves", Leaves);
    index = initializeMember(node, type, index, "Favourite", Favourite);
    index = initializeMember(node, type, index, "ByName", ByName);
    index = initializeMember(node, type, index, "ByIndex", ByIndex);
    return initializeMember(node, type, index, "Picks", Picks);
  }
};

std::string text(const COLstring& value) { return value.str(); }

// A root whose instance is bound to a Plant with two leaves "a" and "b".
struct Garden {
  TRErootInstance Root;
  TREcppClassInstance<Plant> Object{Root.instance()};
  Plant& P = *Object;
  Garden() {
    P.Leaves.push_back().Name = "a";
    P.Leaves.push_back().Name = "b";
  }
};

TEST(TREcppClass, RegistersTheTypeFromTheMemberList) {
  Plant P;
  TREtypeComplex& Type = P.cppType();
  ASSERT_EQ(Type.countOfMember(), 8);
  EXPECT_EQ(text(Type.member(3).name), "Leaves");
  EXPECT_EQ(Type.member(3).maxOccurs, 0xFFFFFFFFu);
  EXPECT_EQ(text(Type.member(2).type().name()), "CppTestLeaf");
  EXPECT_EQ(text(Type.member(4).type().name()), "Reference");
  EXPECT_TRUE(Type.member(1).global);
  EXPECT_TRUE(Type.hasCreateCppClass());

  LongLeaf L;
  TREtypeComplex& Long = L.cppType();
  EXPECT_EQ(Long.baseType(), &TREcppClass::typeOf<Leaf>());
  ASSERT_EQ(Long.countOfMember(), 3);
  EXPECT_EQ(text(Long.member(2).name), "Length");
  EXPECT_EQ(TREcppClass::typeOf<Leaf>().countOfIdentity(), 1u);
  EXPECT_EQ(text(TREcppClass::type().name()), "TREcppClass");
  EXPECT_EQ(text(TREcppClass::type().description()), "Variant type for all TREcppClasses");
}

TEST(TREcppClass, MembersReadAndWriteTheCurrentVersion) {
  Garden G;
  G.P.Title = "one";
  G.P.Main->Count = 3;
  G.Root.addVersion(0);
  G.Root.setVersion(1);
  G.P.Title = "two";
  G.P.Main->Count = 4;
  G.P.Leaves.push_back().Name = "c";
  G.P.Fixed = true;
  // The same handles, without binding again, see each version as it is.
  G.Root.setVersion(0);
  EXPECT_EQ(text(G.P.Title.get()), "one");
  EXPECT_EQ(G.P.Main->Count.get(), 3);
  EXPECT_EQ(G.P.Leaves.size(), 2u);
  EXPECT_TRUE(G.P.Fixed.get()) << "a global member is one value for all versions";
  G.Root.setVersion(1);
  EXPECT_EQ(text(G.P.Title.get()), "two");
  EXPECT_EQ(G.P.Main->Count.get(), 4);
  ASSERT_EQ(G.P.Leaves.size(), 3u);
  EXPECT_EQ(text(G.P.Leaves[2].Name.get()), "c");
  // One split value, then writes in place; an equal write splits nothing.
  G.P.Title = "three";
  EXPECT_EQ(G.Root.instance().member(0).countOfValue(), 1);
  EXPECT_EQ(G.Root.instance().member(1).countOfValue(), 0);
  G.Root.setVersion(0);
  G.P.Title = "one";
  EXPECT_EQ(G.Root.instance().member(0).countOfValue(), 1);
  EXPECT_FALSE(G.P.Main->Name.isSet());
  EXPECT_EQ(text(G.P.Main->Name.get()), "");
}

TEST(TREcppClass, ChildObjectsBelongToTheirNodes) {
  Garden G;
  Leaf& First = G.P.Leaves[0];
  EXPECT_EQ(&First, &G.P.Leaves[0]) << "one object per node";
  EXPECT_EQ(First.instance(), &G.Root.instance().vectorMember(3).complexItem(0));
  EXPECT_EQ(First.parentClass(), &G.P);
  EXPECT_EQ(G.P.Main.get().parentComplex(), &G.Root.instance());
  G.P.Leaves.remove(0);
  EXPECT_EQ(text(G.P.Leaves[0].Name.get()), "b");
}

TEST(TREcppClass, ReferencesFollowTheirTargets) {
  Garden G;
  EXPECT_EQ(G.P.Favourite.get(), nullptr);
  G.P.Favourite = G.P.Leaves[1];
  EXPECT_EQ(G.P.Leaves[1].instance()->objectId(), 1u) << "the target got an id when it was named";
  EXPECT_EQ(G.P.Favourite.get(), &G.P.Leaves[1]);
  G.P.ByName = G.P.Leaves[1];
  G.P.ByIndex = G.P.Leaves[1];
  G.P.Picks.push_back(G.P.Leaves[0]);
  G.P.Picks.push_back(G.P.Main.get());
  EXPECT_EQ(TREcppReferencePathFrom(*G.P.Leaves[1].instance(), G.Root.instance(), false, true), "/Leaves[Name='b']");
  EXPECT_EQ(TREcppReferencePathFrom(*G.P.Leaves[1].instance(), G.Root.instance(), true, false), "Leaves[2]");
  EXPECT_EQ(TREcppReferencePathFrom(*G.P.Main.get().instance(), *G.P.Leaves[0].instance(), true, false), "../Main");
  EXPECT_EQ(TREcppReferencePathFrom(G.Root.instance(), G.Root.instance(), true, false), ".");
  EXPECT_EQ(TREcppReferencePathFrom(G.Root.instance(), G.Root.instance(), false, false), "/");
  // A leaf that moves to the front is still found by name, and by position the path names
  // what stands second now.
  G.P.Leaves.remove(0);
  G.P.Leaves.push_back().Name = "z";
  EXPECT_EQ(text(G.P.ByName->Name.get()), "b");
  EXPECT_EQ(text((*G.P.ByIndex).Name.get()), "z");
  EXPECT_EQ(text(G.P.Favourite->Name.get()), "b");
  EXPECT_EQ(G.P.Picks[0], nullptr) << "the removed leaf is no object of the tree any more";
  EXPECT_EQ(G.P.Picks[1], &G.P.Main.get());
  G.P.Favourite = nullptr;
  EXPECT_EQ(G.P.Favourite.get(), nullptr);
  // A path written over one that led elsewhere.
  G.P.Main->Name = "m";
  G.P.ByIndex = G.P.Main.get();
  EXPECT_EQ(text(G.P.ByIndex->Name.get()), "m");
}

TEST(TREcppClass, RelationshipsSurviveTheStream) {
  COLsimpleBuffer Stream;
  {
    Garden G;
    G.P.Title = "v0";
    G.P.Main->Name = "main";
    G.P.Favourite = G.P.Leaves[1];
    G.P.ByName = G.P.Leaves[0];
    G.P.ByIndex = G.P.Leaves[1];
    G.P.Picks.push_back(G.P.Main.get());
    G.Root.addVersion(0);
    G.Root.setVersion(1);
    G.P.Title = "v1";
    G.P.Favourite = G.P.Leaves[0];
    TREsourceBinary Source(G.Root.instance());
    Source.setNext(&Stream);
    Source.writeAll();
  }
  TRErootInstance Root;
  TREsinkBinary::read(Root.instance(), reinterpret_cast<const unsigned char*>(Stream.data()), Stream.size());
  ASSERT_EQ(Root.countOfVersion(), 2);
  TREcppClassInstance<Plant> Object(Root.instance());
  Plant& P = *Object;
  Root.setVersion(0);
  EXPECT_EQ(text(P.Title.get()), "v0");
  EXPECT_EQ(text(P.Main->Name.get()), "main");
  ASSERT_NE(P.Favourite.get(), nullptr);
  EXPECT_EQ(text(P.Favourite->Name.get()), "b");
  EXPECT_EQ(text(P.ByName->Name.get()), "a");
  EXPECT_EQ(text(P.ByIndex->Name.get()), "b");
  ASSERT_EQ(P.Picks.size(), 1u);
  EXPECT_EQ(P.Picks[0], &P.Main.get());
  Root.setVersion(1);
  EXPECT_EQ(text(P.Title.get()), "v1");
  EXPECT_EQ(text(P.Favourite->Name.get()), "a");
}

TEST(TREcppClass, RefusalsSayWhatWentWrong) {
  Plant Unbound;
  COLerror Error = TSTraised([&] { (void)Unbound.Title.get(); });
  EXPECT_EQ(text(Error.description()),
            "Class member has not been initialized. Member probably was not listed in the initialization list of "
            "the declaration.");
  EXPECT_EQ(Error.code(), 0x80000500u);
  EXPECT_NE(TSTerrorText([&] { Unbound.initialize(nullptr); }).find("pInstance != NULL"), std::string::npos);

  TRErootInstance Root;
  Root.instance().setType(TREcppClass::typeOf<Leaf>());
  EXPECT_EQ(TSTraised([&] { Unbound.initialize(&Root.instance()); }),
            COLerror("Cannot convert unrelated types, from: CppTestLeaf to CppTestPlant", 0x80000100));
  EXPECT_FALSE(Unbound.isBound());
  EXPECT_EQ(Root.instance().cppClass(), nullptr);
  // A node of the derived type takes an object of the base class; the reverse raises.
  TRErootInstance Other;
  Other.instance().setType(TREcppClass::typeOf<LongLeaf>());
  EXPECT_NO_THROW(TREcppClass::boundObject<Leaf>(Other.instance()));
  EXPECT_NE(TSTerrorText([&] { TREcppClass::boundObject<LongLeaf>(Other.instance()); }).find("Cannot convert"),
            std::string::npos);
  EXPECT_NE(TSTerrorText([&] { Root.instance().listen(static_cast<TREeventsInstance*>(nullptr)); })
                .find("pListener != NULL"),
            std::string::npos);
}

TEST(TREcppClass, EitherEndMayGoFirst) {
  auto Root = std::make_unique<TRErootInstance>();
  Plant P;
  P.initialize(&Root->instance());
  Leaf& Main = P.Main.get();
  EXPECT_EQ(Main.instance(), &Root->instance().complexMember(2));
  Root.reset();
  EXPECT_FALSE(P.isBound());
  EXPECT_EQ(TSTraised([&] { (void)P.Title.get(); }).code(), 0x80000500u);

  TRErootInstance Kept;
  {
    Plant Short;
    Short.initialize(&Kept.instance());
    Short.Title = "kept";
  }
  EXPECT_EQ(Kept.instance().cppClass(), nullptr);
  EXPECT_EQ(text(Kept.instance().member(0).value().string()), "kept");
  // A second object on the node takes it over; the first lets go.
  Plant First, Second;
  First.initialize(&Kept.instance());
  Second.initialize(&Kept.instance());
  EXPECT_FALSE(First.isBound());
  EXPECT_EQ(Kept.instance().cppClass(), &Second);
  EXPECT_EQ(text(Second.Title.get()), "kept");
}

TEST(TREcppClass, CopyTakesTheDataOfTheVersionRead) {
  Garden From;
  From.P.Title = "zero";
  From.Root.addVersion(0);
  From.Root.setVersion(1);
  From.P.Title = "one";
  From.P.Main->Count = 9;
  // Made before the tree, so that it outlives the node it listens to.
  struct Told : TREeventsInstance {
    int initialized = 0;
    void onInitialize(TREinstance&) override { ++initialized; }
  } Listener;
  TRErootInstance To;
  TREcppClassInstance<Plant> Copy(To.instance());
  To.instance().listen(&Listener);
  Copy->copy(From.P);
  EXPECT_EQ(text(Copy->Title.get()), "one");
  EXPECT_EQ(Copy->Main->Count.get(), 9);
  ASSERT_EQ(Copy->Leaves.size(), 2u);
  EXPECT_EQ(text(Copy->Leaves[1].Name.get()), "b");
  EXPECT_EQ(Listener.initialized, 1);
  From.P.Title = "changed";
  EXPECT_EQ(text(Copy->Title.get()), "one") << "a copy shares nothing with its source";
}

}  // namespace
