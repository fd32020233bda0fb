// Listeners of instances and the walks over a tree: who is told what and in which order,
// and which nodes each walk reaches.
#include <gtest/gtest.h>

#include <string>

#include "TREcppMember.h"
#include "TREiteration.h"

#include "../support/TSTraised.h"

namespace {

// "EventTestNode": Text (string), Items (list of EventTestItem), Item (one EventTestItem);
// "EventTestItem": Value (integer).
TREtypeComplex& nodeType() {
  TREtypeComplex& Item = TREtypeComplex::getType("EventTestItem");
  if (Item.countOfMember() == 0) Item.addMember("Value", 0, 1, TREtypeSimple::getType(TREbaseType::Integer), false, false);
  TREtypeComplex& Node = TREtypeComplex::getType("EventTestNode");
  if (Node.countOfMember() == 0) {
    Node.addMember("Text", 0, 1, TREtypeSimple::getType(TREbaseType::String), false, false);
    Node.addMember("Items", 0, 0xFFFFFFFF, Item, false, false);
    Node.addMember("Item", 0, 1, Item, false, false);
  }
  return Node;
}

struct Recorder : TREeventsInstanceVector {
  std::string name;
  std::string* log;
  Recorder(const char* n, std::string* l) : name(n), log(l) {}
  void note(const std::string& what) { *log += name + ":" + what + " "; }
  void onUpdate(TREinstance&) override { note("update"); }
  void onDisconnect(TREinstance&) override { note("disconnect"); }
  void onChildNew(TREinstanceVector&, size_t i) override { note("new" + std::to_string(i)); }
  void onResize(TREinstanceVector&, size_t n) override { note("resize" + std::to_string(n)); }
  void onChildBeforeRemove(TREinstanceVector&, size_t i) override { note("before" + std::to_string(i)); }
  void onChildAfterRemove(TREinstanceVector&, size_t i) override { note("after" + std::to_string(i)); }
  void onClear(TREinstanceVector&) override { note("clear"); }
};

// Counts only what a plain listener hears.
struct Plain : TREeventsInstance {
  int updates = 0;
  void onUpdate(TREinstance&) override { ++updates; }
};

TEST(TREevents, ListenersHearChangesInOrder) {
  // Listeners outlive the tree: a node tells them when it goes.
  std::string Log;
  Recorder A("a", &Log), B("b", &Log), V("v", &Log);
  Plain P;
  TRErootInstance Root;
  Root.instance().setType(nodeType());
  TREinstanceSimple& Text = Root.instance().member(0);
  Text.listen(&A);
  Text.listen(&B);
  Text.setValue("x");
  Text.assign("x");  // equal: nothing written, nobody told
  EXPECT_EQ(Log, "a:update b:update ");
  EXPECT_TRUE(Text.unlisten(&A));
  EXPECT_FALSE(Text.unlisten(&A));
  Log.clear();
  Text.setValue("y");
  EXPECT_EQ(Log, "b:update ");

  TREinstanceVector& Items = Root.instance().vectorMember(1);
  Items.listen(&V);
  Items.listen(&P);
  Log.clear();
  Items.push_back();
  Items.insert(0);
  Items.remove(1);
  Items.resize(3);
  Items.clear();
  EXPECT_EQ(Log, "v:new0 v:new0 v:before1 v:after1 v:new1 v:new2 v:resize3 v:clear ");
  EXPECT_EQ(P.updates, 0) << "a plain listener hears no collection events";
}

TEST(TREevents, ListenersHearTheNodeGo) {
  std::string Log;
  Recorder A("a", &Log);
  {
    TRErootInstance Root;
    Root.instance().setType(nodeType());
    Root.instance().complexMember(2).listen(&A);
    Root.instance().vectorMember(1).push_back().listen(&A);
  }
  EXPECT_EQ(Log, "a:disconnect a:disconnect ");
}

// Records each node a walk reaches: "{" name for a complex, "[" for a collection, the value
// for a simple slot, and the closing mark at the end hook.
struct Trace : TREinstanceTask {
  std::string out;
  int stopAfter = -1;
  bool step() { return stopAfter < 0 || --stopAfter >= 0; }
  static std::string label(const TREinstanceIterationParameters& p) {
    return p.memberName ? p.memberName->str() + "=" : p.childIndex >= 0 ? std::to_string(p.childIndex) + "=" : "";
  }
  bool applySimple(TREinstanceSimple& s, const TREinstanceIterationParameters& p) override {
    out += label(p) + s.value().toString().str() + " ";
    return step();
  }
  bool applyComplex(TREinstanceComplex& c, const TREinstanceIterationParameters& p) override {
    out += label(p) + "{" + (c.type() ? c.type()->name().str() : "") + " ";
    return step();
  }
  bool applyComplexEnd(TREinstanceComplex&, const TREinstanceIterationParameters&) override {
    out += "} ";
    return true;
  }
  bool applyVector(TREinstanceVector&, const TREinstanceIterationParameters& p) override {
    out += label(p) + "[ ";
    return step();
  }
  bool applyVectorEnd(TREinstanceVector&, const TREinstanceIterationParameters&) override {
    out += "] ";
    return true;
  }
};

TEST(TREiteration, DepthFirstWalksTheCurrentVersion) {
  TRErootInstance Root;
  TREinstanceComplex& Node = Root.instance();
  Node.setType(nodeType());
  Node.member(0).setValue("t");
  Node.vectorMember(1).push_back().complex()->member(0).setValue(int32_t(7));
  Root.addVersion(0);
  Root.setVersion(1);
  Node.vectorMember(1).push_back();
  Root.setVersion(0);

  Trace T;
  TREinstanceIterationDepthFirst Walk;
  EXPECT_TRUE(Walk.iterate(Node, T));
  EXPECT_EQ(T.out, "{EventTestNode Text=t Items=[ 0={EventTestItem Value=7 } ] Item={EventTestItem Value= } } ");

  Trace Short;
  Short.stopAfter = 2;
  EXPECT_FALSE(Walk.iterate(Node, Short));
  EXPECT_EQ(Short.out, "{EventTestNode Text=t Items=[ ");

  // The stored walk sees the item of version 1 too, and skips what holds nothing.
  Trace Stored;
  TREinstanceIterationDepthFirstDefault Default;
  EXPECT_TRUE(Default.iterate(Node, Stored));
  EXPECT_EQ(Stored.out, "{EventTestNode Text=t Items=[ 0={EventTestItem Value=7 } ] } ");
  Trace All;
  TREinstanceIterationDepthFirstDefault WithEmpty(true);
  // A slot nobody read yet was never made: the item of version 1 has none.
  WithEmpty.iterate(Node, All);
  EXPECT_EQ(All.out,
            "{EventTestNode Text=t Items=[ 0={EventTestItem Value=7 } 1={EventTestItem } ] "
            "Item={EventTestItem Value= } } ");
  EXPECT_FALSE(TREisEmpty(Node));
  EXPECT_TRUE(TREisEmpty(Node.complexMember(2)));
  Node.complexMember(2).ensureHasObjectId();
  EXPECT_FALSE(TREisEmpty(Node.complexMember(2))) << "an object id is data to keep";
}

}  // namespace
