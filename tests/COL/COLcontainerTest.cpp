// The containers nothing in the system uses yet: one test each of what a user would rely on
// (order, lookup, elements that stay put, safety when an element copy fails or aliases the
// container), not of sizes and texts that are the code's own choice.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <thread>

#include "COLcriticalSection.h"
#include "COLerror.h"
#include "COLhash.h"
#include "COLlist.h"
#include "COLlookupList.h"
#include "COLrefHashTable.h"
#include "COLsortedList.h"
#include "COLtrackable.h"
#include "COLvector.h"

#include "../support/TSTraised.h"

namespace {

// Counts live instances, and can be told to throw on the next copy.
struct Counted {
  static inline int live = 0;
  static inline bool throwOnCopy = false;
  int value = 0;
  Counted(int v = 0) : value(v) { ++live; }
  Counted(const Counted& other) : value(other.value) {
    if (throwOnCopy) throw std::runtime_error("copy");
    ++live;
  }
  Counted& operator=(const Counted&) = default;
  ~Counted() { --live; }
  bool operator==(const Counted& other) const { return value == other.value; }
};

}  // namespace

TEST(COLvector, EditsAliasingAndFailedCopies) {
  COLvector<std::string> v;
  v.add("b");
  v.insert(0, std::string("a"));
  v.insert(2, std::string("d"));
  v.insert(2, std::string("c"));
  EXPECT_EQ(v[0] + v[1] + v[2] + v[3], "abcd");
  v.remove(1);
  v.exchange(0, 2);
  EXPECT_EQ(v[0] + v[1] + v[2], "dca");
  EXPECT_EQ(v.find("a"), 2u);
  EXPECT_NE(TSTerrorText([&] { v.remove(3); }), "no error");
  // An argument that refers into the block being regrown.
  COLvector<std::string> grown;
  grown.add(std::string(100, 'x'));
  for (int i = 0; i < 4; ++i) grown.add(grown[0]);
  grown.insert(0, grown[4]);
  for (const std::string& item : grown) EXPECT_EQ(item, std::string(100, 'x'));
  COLvector<std::string> copy = grown;
  copy[0] = "y";
  EXPECT_EQ(grown[0], std::string(100, 'x'));
  {
    COLvector<Counted> counted;
    counted.add(1);
    Counted extra(2);
    Counted::throwOnCopy = true;
    EXPECT_THROW(counted.add(extra), std::runtime_error);
    Counted::throwOnCopy = false;
    EXPECT_EQ(counted.size(), 1u);
  }
  EXPECT_EQ(Counted::live, 0);
}

TEST(COLindexedVector, ElementsNeverMoveAndAFailedInsertRollsBack) {
  COLindexedVector<std::string> v;
  for (int i = 0; i < 4; ++i) v.add(std::to_string(i));
  std::string* third = &v[3];
  v.remove(1);
  v.insert(0, std::string("new"));
  v.add("4");
  EXPECT_EQ(&v[3], third);
  std::string joined;
  for (const std::string& item : v) joined += item;
  EXPECT_EQ(joined, "new0234");
  {
    COLindexedVector<Counted> counted;
    counted.add(1);
    Counted extra(2);
    Counted::throwOnCopy = true;
    EXPECT_THROW(counted.insert(0, extra), std::runtime_error);
    Counted::throwOnCopy = false;
    counted.add(extra);
    EXPECT_EQ(counted.size(), 2u);
    EXPECT_EQ(counted.capacity(), 2u);  // the slot of the failed insert was given back
  }
  EXPECT_EQ(Counted::live, 0);
}

TEST(COLarrayAndRefVect, ElementsSurviveGrowthAndBoundsAreChecked) {
  COLarray<char> bytes;
  bytes.resize(3);
  EXPECT_NE(TSTerrorText([&] { bytes.insert(4, 'x'); }), "no error");
  EXPECT_NE(TSTerrorText([&] { bytes.remove(3); }), "no error");
  COLrefVect<int> v;
  for (int i = 0; i < 8; ++i) v.add(i);
  for (int i = 0; i < 8; ++i) EXPECT_EQ(v[i], i);
  EXPECT_NE(TSTerrorText([] { COLrefVectResizeFunc(4, 0); }), "no error");
}

TEST(COLlist, OrderBothWaysThroughEdits) {
  COLlist<int> list;
  auto two = list.addItem(2);
  auto four = list.addItem(4);
  list.insertItem(two, 1);
  list.insertItem(four, 3);
  std::vector<int> forward, backward;
  for (auto p = list.first(); p; p = list.next(p)) forward.push_back(list[p]);
  for (auto p = list.last(); p; p = list.previous(p)) backward.push_back(list[p]);
  EXPECT_EQ(forward, (std::vector<int>{1, 2, 3, 4}));
  EXPECT_EQ(backward, (std::vector<int>{4, 3, 2, 1}));
  list.exchange(list.first(), list.last());
  list.remove(two);
  list.remove(list.first());
  EXPECT_EQ(list[list.first()], 3);
  EXPECT_EQ(list[list.last()], 1);
  COLlist<int> copy = list;
  list.clear();
  EXPECT_EQ(copy.size(), 2u);
}

TEST(COLlookupList, FindsEverythingThroughGrowthAndRemoval) {
  COLlookupList<COLstring, int> named;
  ASSERT_NE(named.addItem("MSH", 1), nullptr);
  EXPECT_EQ(named.addItem("MSH", 2), nullptr);  // the first value stays
  EXPECT_EQ(named.findItem("MSH")->value(), 1);
  EXPECT_TRUE(named.removeItem("MSH"));
  EXPECT_FALSE(named.removeItem("MSH"));

  COLlookupList<int, int> table;
  for (int i = 0; i < 1000; ++i) ASSERT_NE(table.addItem(i, i * 2), nullptr);
  EXPECT_GT(table.countOfBucket(), 2u);
  std::map<int, int> forward, backward;
  for (auto n = table.first(); n; n = table.next(n)) forward[n->key()] = n->value();
  for (auto n = table.last(); n; n = table.previous(n)) backward[n->key()] = n->value();
  EXPECT_EQ(forward.size(), 1000u);
  EXPECT_EQ(forward, backward);
  for (int i = 0; i < 1000; i += 2) table.remove(table.findItem(i));
  EXPECT_EQ(table.size(), 500u);
  EXPECT_EQ(table.findItem(3)->value(), 6);
  EXPECT_EQ(table.findItem(4), nullptr);
}

TEST(COLhash, StringHashesDependOnOrder) {
  EXPECT_NE(COLlookupHash<COLstring>::defaultHash("abc"), COLlookupHash<COLstring>::defaultHash("acb"));
  EXPECT_NE(COLhashFunc<COLstring>()("abcd"), COLhashFunc<COLstring>()("dcba"));
}

TEST(COLsortedList, OrderDuplicatesAndNearest) {
  COLsortedList<int, std::string> list;
  list.addItem(5, "five");
  list.addItem(1, "one");
  list.addItem(9, "nine");
  list.addItem(5, "five again");
  EXPECT_FALSE(list.addUniqueItem(5, "refused"));
  EXPECT_TRUE(list.addUniqueItem(7, "seven"));
  std::vector<int> keys;
  for (auto p = list.first(); p; p = list.next(p)) keys.push_back(p.key());
  EXPECT_EQ(keys, (std::vector<int>{1, 5, 5, 7, 9}));
  EXPECT_EQ(list.findItem(5).value(), "five");
  EXPECT_FALSE(list.findItem(4));
  EXPECT_EQ(list.findNearestItem(6).key(), 7);
  EXPECT_EQ(list.findNearestItem(10).key(), 9);
  EXPECT_EQ(list.findBelowItem(5).key(), 1);
  EXPECT_FALSE(list.findBelowItem(1));
  EXPECT_EQ(list.findAboveItem(5).key(), 7);
  EXPECT_FALSE(list.findAboveItem(9));
  EXPECT_TRUE(list.removeItem(5));
  EXPECT_EQ(list.findItem(5).value(), "five again");
}

TEST(COLrefHashTable, KeepsInsertionOrderThroughGrowth) {
  COLrefHashTable<COLstring, int> table(2);
  const char* names[] = {"zeta", "alpha", "mid", "beta", "omega", "x", "yy"};
  for (int i = 0; i < 7; ++i) table.insert(names[i], i);
  table.insert("alpha", 100);  // overwrites in place, keeps its position
  EXPECT_GT(table.countOfBucket(), 2u);
  COLrefHashTableIterator<COLstring, int> it(table);
  std::vector<std::string> order;
  while (it.iterateNext()) order.push_back(it.key().c_str());
  EXPECT_EQ(order, (std::vector<std::string>{"zeta", "alpha", "mid", "beta", "omega", "x", "yy"}));
  EXPECT_EQ(*table.find("alpha"), 100);
  EXPECT_EQ(table.find("none"), nullptr);
  EXPECT_EQ(table["new"], 0);  // a default value appears for a missing key
  EXPECT_EQ(table.size(), 8u);
  EXPECT_TRUE(table.remove("mid"));
  EXPECT_FALSE(table.contains("mid"));
}

TEST(COLtrackable, TrackersHearOfDestructionOnce) {
  struct Tracker : COLtracker {
    int calls = 0;
    void trackableDestroyed(COLtrackable*) override { ++calls; }
  };
  Tracker a, b;
  COLtrackable* object = new COLtrackable;
  object->addTracker(&a);
  object->addTracker(&a);
  object->addTracker(&b);
  object->removeTracker(&b);
  delete object;
  EXPECT_EQ(a.calls, 1);
  EXPECT_EQ(b.calls, 0);
}

TEST(COLcriticalSection, RecursiveAndExclusive) {
  COLcriticalSection section;
  long counter = 0;
  auto work = [&] {
    for (int i = 0; i < 20000; ++i) {
      COLcriticalSectionLocker outer(section);
      COLcriticalSectionLocker inner(section);  // the same thread may take it again
      ++counter;
    }
  };
  std::thread t1(work), t2(work);
  t1.join();
  t2.join();
  EXPECT_EQ(counter, 40000);
  EXPECT_TRUE(section.tryLock());
  section.unlock();
}
