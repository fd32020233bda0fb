// Tree nodes come from slabs that a thread fills in order: a tree must outlive the thread
// that made it, and its nodes must never be handed out again while it lives, whoever
// releases them.
#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

#include "TREinstance.h"

namespace {

TREtypeComplex& rowType() {
  TREtypeComplex& Row = TREtypeComplex::getType("SlabTestRow");
  if (Row.countOfMember() == 0) {
    Row.addMember("Text", 0, 1, TREtypeSimple::getType(TREbaseType::String), false, false);
    Row.addMember("Numbers", 0, 0xFFFFFFFF, TREtypeSimple::getType(TREbaseType::Integer), false, false);
  }
  return Row;
}

// A tree of one row whose text and numbers all derive from `seed`.
std::unique_ptr<TRErootInstance> makeTree(int seed, int count) {
  auto Root = std::make_unique<TRErootInstance>();
  TREinstanceComplex& Row = Root->instance();
  Row.setType(rowType());
  Row.member(0).setValue(COLstring("row ") + std::to_string(seed) + " with a text longer than a short string");
  TREinstanceVector& Numbers = Row.vectorMember(1);
  for (int i = 0; i < count; ++i) Numbers.push_back().setValue(int32_t(seed * 100000 + i));
  return Root;
}

bool holds(TRErootInstance& Root, int seed, int count) {
  TREinstanceComplex& Row = Root.instance();
  if (Row.member(0).value().string() != COLstring("row ") + std::to_string(seed) + " with a text longer than a short string")
    return false;
  TREinstanceVector& Numbers = Row.vectorMember(1);
  if (Numbers.size() != size_t(count)) return false;
  for (int i = 0; i < count; ++i)
    if (Numbers[size_t(i)].value().integerValue() != seed * 100000 + i) return false;
  return true;
}

TEST(TREnodeSlab, ATreeOutlivesTheThreadThatMadeItAndKeepsItsNodes) {
  std::unique_ptr<TRErootInstance> Made;
  std::thread([&] { Made = makeTree(1, 20000); }).join();
  // Enough new nodes to fill several slabs: none may land on the first tree's.
  std::vector<std::unique_ptr<TRErootInstance>> Others;
  for (int seed = 2; seed < 6; ++seed) Others.push_back(makeTree(seed, 20000));
  EXPECT_TRUE(holds(*Made, 1, 20000));
  // Released here, on another thread than the one that made them.
  Made.reset();
  for (int seed = 6; seed < 10; ++seed) Others.push_back(makeTree(seed, 20000));
  for (int seed = 2; seed < 10; ++seed) EXPECT_TRUE(holds(*Others[size_t(seed - 2)], seed, 20000)) << seed;
}

TEST(TREnodeSlab, TreesMadeAndReleasedOnSeveralThreadsAtOnceStayWhole) {
  std::vector<std::unique_ptr<TRErootInstance>> Trees(4);
  std::vector<std::thread> Workers;
  for (int t = 0; t < 4; ++t)
    Workers.emplace_back([&Trees, t] {
      for (int round = 0; round < 5; ++round) {
        auto Tree = makeTree(t * 10 + round, 5000);
        if (!holds(*Tree, t * 10 + round, 5000)) return;
        Trees[size_t(t)] = std::move(Tree);
      }
    });
  for (std::thread& Worker : Workers) Worker.join();
  for (int t = 0; t < 4; ++t) {
    ASSERT_NE(Trees[size_t(t)], nullptr) << t;
    EXPECT_TRUE(holds(*Trees[size_t(t)], t * 10 + 4, 5000)) << t;
  }
}

}  // namespace
