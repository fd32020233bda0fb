// The registry of live handles on its own: who owns what, when handles stop working, and that
// nothing a script made outlives the registry.  (Leaks of objects made from a script would hide
// behind the interpreter's leak suppressions; counted here they cannot.)
#include <gtest/gtest.h>

#include "SGMsegmentList.h"
#include "SGMstringPool.h"
#include "SGPYregistry.h"

namespace {

// A segment that counts its live instances.
struct CountedSegment : SGMsegment {
  static inline int Live = 0;
  CountedSegment() { ++Live; }
  ~CountedSegment() override { --Live; }
};

CountedSegment* made(SGPYregistry& Registry) {
  auto* Object = new CountedSegment;
  Object->AddRef();
  Registry.adopt(Object, Object, SGPYkind::Segment);
  return Object;
}

bool live(const SGPYregistry& Registry, const void* Handle, SGPYkind Kind) {
  SGPYregistry::Lookup Result;
  SGPYkind Actual;
  return Registry.find(reinterpret_cast<uintptr_t>(Handle), Kind, Result, Actual) != nullptr;
}

TEST(SGPYregistry, ReleasesWhatScriptsMadeAtTheLastReferenceOrAtItsEnd) {
  {
    SGPYregistry Registry;
    CountedSegment* Kept = made(Registry);
    CountedSegment* Released = made(Registry);
    Registry.addRef(Kept);
    Registry.addRef(Released);
    Registry.addPart(Released, &Released->name(), SGPYkind::Value);
    Registry.release(Released);
    EXPECT_TRUE(live(Registry, &Released->name(), SGPYkind::Value));
    Registry.release(Released);
    EXPECT_EQ(CountedSegment::Live, 1);
    EXPECT_FALSE(live(Registry, Released, SGPYkind::Segment));
    EXPECT_FALSE(live(Registry, &Kept->name(), SGPYkind::Value)) << "a part is live only once reached";
    EXPECT_EQ(Registry.countOfCreatedRoot(), 1u);
  }
  EXPECT_EQ(CountedSegment::Live, 0) << "both references of the kept segment go with the registry";
}

TEST(SGPYregistry, ALentObjectAndItsPartsLiveUntilTheLastWithdrawal) {
  SGPYregistry Registry;
  SGMsegment Host;
  Host.setCountOfField(2);
  Registry.lend(&Host, SGPYkind::Segment);
  Registry.lend(&Host, SGPYkind::Segment);
  Registry.addPart(&Host, &Host.fieldRepeats(1), SGPYkind::FieldRepeats);
  Registry.addPart(&Host.fieldRepeats(1), &Host.field(1, 0), SGPYkind::Field);
  SGPYregistry::Lookup Result;
  SGPYkind Actual;
  EXPECT_EQ(Registry.find(reinterpret_cast<uintptr_t>(&Host), SGPYkind::Field, Result, Actual), nullptr);
  EXPECT_TRUE(Result == SGPYregistry::Lookup::OtherKind && Actual == SGPYkind::Segment);
  EXPECT_FALSE(Registry.isCreatedRoot(&Host)) << "AddRef and Release never reach the host's objects";

  Registry.withdraw(&Host);
  EXPECT_TRUE(live(Registry, &Host.field(1, 0), SGPYkind::Field));
  Registry.dropParts(&Host.field(1, 0));
  EXPECT_FALSE(live(Registry, &Host.field(1, 0), SGPYkind::Field));
  EXPECT_TRUE(live(Registry, &Host, SGPYkind::Segment));
  Registry.withdraw(&Host);
  EXPECT_FALSE(live(Registry, &Host, SGPYkind::Segment));
  EXPECT_EQ(Registry.countOfHandle(), 0u);
}

TEST(SGPYregistry, APoolThatGoesFirstClearsOnlyTheValuesItStillHolds) {
  SGPYregistry Registry;
  auto* Pool = new SGMstringPool, *Other = new SGMstringPool;
  auto* Written = new SGMvalue, *Rewritten = new SGMvalue;
  for (SGMstringPool* Each : {Pool, Other}) {
    Each->AddRef();
    Registry.adopt(Each, Each, SGPYkind::StringPool);
  }
  for (SGMvalue* Each : {Written, Rewritten}) {
    Each->AddRef();
    Registry.adopt(Each, Each, SGPYkind::Value);
  }
  for (SGMvalue* Each : {Written, Rewritten}) {
    SGMstringPoolSetValue(*Each, *Pool, "text", 4);
    Registry.noteServed(Pool, Each);
  }
  SGMstringPoolSetValue(*Rewritten, *Other, "other", 5);
  Registry.release(Pool);
  EXPECT_TRUE(Written->isNull());
  EXPECT_EQ(Rewritten->view(), "other");
}

}  // namespace
