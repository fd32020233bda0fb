#include <gtest/gtest.h>

#include <map>
#include <set>
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

namespace {

template <class F>
COLstring failureText(F&& action) {
  try {
    action();
  } catch (const COLerror& error) {
    EXPECT_EQ(error.code(), COL_ERROR_PRECONDITION);
    return error.description();
  }
  return "no error";
}

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

TEST(COLvector, CapacityIsNextPowerOfTwoAboveRequest) {
  EXPECT_EQ(COLvectorCapacityFor(3), 4u);
  EXPECT_EQ(COLvectorCapacityFor(4), 8u);
  COLvector<int> vector;
  vector.resize(7);
  EXPECT_EQ(vector.capacity(), 8u);
  vector.resize(8);
  EXPECT_EQ(vector.capacity(), 8u);
  vector.resize(9);
  EXPECT_EQ(vector.capacity(), 16u);
  vector.resize(2);
  EXPECT_EQ(vector.capacity(), 16u);  // never shrinks
  EXPECT_EQ(vector.size(), 2u);
  COLvector<int> added;
  for (int i = 0; i < 5; ++i) added.add(i);
  EXPECT_EQ(added.capacity(), 8u);
}

TEST(COLvector, InsertRemoveExchangeAndChecks) {
  COLvector<std::string> v;
  v.add("b");
  v.insert(0, std::string("a"));
  v.insert(2, std::string("d"));
  v.insert(2, std::string("c"));
  ASSERT_EQ(v.size(), 4u);
  EXPECT_EQ(v[0] + v[1] + v[2] + v[3], "abcd");
  v.remove(1);
  EXPECT_EQ(v[1], "c");
  v.exchange(0, 2);
  EXPECT_EQ(v[0], "d");
  EXPECT_EQ(v.find("a"), 2u);
  EXPECT_EQ(failureText([&] { (void)v[3]; }), "Failed precondition: ItemIndex >= 0 && ItemIndex < this->size()");
  EXPECT_EQ(failureText([&] { v.remove(3); }), "Failed precondition: RemoveIndex < size()");
  EXPECT_EQ(failureText([&] { v.insert(5, std::string("x")); }), "Failed precondition: InsertIndex <= size()");
  v.clear();
  EXPECT_TRUE(v.empty());
}

TEST(COLvector, AddingOwnElementWhileGrowingIsSafe) {
  COLvector<std::string> v;
  v.add(std::string(100, 'x'));
  v.add(v[0]);  // capacity 2 holds it
  v.add(v[0]);  // capacity 2 -> 4: the argument refers into the old block
  v.insert(0, v[2]);
  v.add(v[1]);  // 4 -> 8
  for (size_t i = 0; i < v.size(); ++i) EXPECT_EQ(v[i], std::string(100, 'x'));
}

TEST(COLvector, FailedElementCopyLeavesSizeUnchanged) {
  {
    COLvector<Counted> v;
    v.add(1);
    Counted extra(2);
    Counted::throwOnCopy = true;
    EXPECT_THROW(v.add(extra), std::runtime_error);
    Counted::throwOnCopy = false;
    EXPECT_EQ(v.size(), 1u);
  }
  EXPECT_EQ(Counted::live, 0);
}

TEST(COLvector, CopiesAreDeep) {
  COLvector<int> a{1, 2, 3};
  COLvector<int> b = a;
  b[0] = 9;
  EXPECT_EQ(a[0], 1);
  EXPECT_EQ(b.size(), 3u);
  int sum = 0;
  for (int x : a) sum += x;
  EXPECT_EQ(sum, 6);
}

TEST(COLindexedVector, ElementsNeverMoveAndSlotsAreReused) {
  COLindexedVector<std::string> v;
  for (int i = 0; i < 4; ++i) v.add(std::to_string(i));
  EXPECT_EQ(v.capacity(), 4u);
  std::string* third = &v[3];
  v.remove(1);
  v.insert(0, std::string("new"));
  // The freed slot took the new element: no growth, and nothing moved.
  EXPECT_EQ(v.capacity(), 4u);
  EXPECT_EQ(&v[3], third);
  EXPECT_EQ(v[0], "new");
  EXPECT_EQ(v[1], "0");
  EXPECT_EQ(v[2], "2");
  v.add("4");  // grows; old elements stay where they are
  EXPECT_EQ(v.capacity(), 8u);
  EXPECT_EQ(&v[3], third);
  std::string joined;
  for (const std::string& s : v) joined += s;
  EXPECT_EQ(joined, "new0234");
  v.exchange(0, 4);
  EXPECT_EQ(v[4], "new");
  v.resize(2);
  EXPECT_EQ(v.size(), 2u);
  EXPECT_EQ(failureText([&] { v.remove(2); }), "Failed precondition: RemoveIndex < size()");
}

TEST(COLindexedVector, FailedInsertRollsBack) {
  {
    COLindexedVector<Counted> v;
    v.add(1);
    Counted extra(2);
    Counted::throwOnCopy = true;
    EXPECT_THROW(v.insert(0, extra), std::runtime_error);
    Counted::throwOnCopy = false;
    EXPECT_EQ(v.size(), 1u);
    v.add(extra);
    EXPECT_EQ(v.size(), 2u);
    EXPECT_EQ(v.capacity(), 2u);  // the slot of the failed insert was given back
  }
  EXPECT_EQ(Counted::live, 0);
}

TEST(COLarray, OwnCheckTexts) {
  COLarray<char> bytes;
  bytes.resize(3);
  EXPECT_EQ(bytes.capacity(), 4u);
  EXPECT_EQ(failureText([&] { bytes.insert(4, 'x'); }), "Failed precondition: InsertIndex <= Size");
  EXPECT_EQ(failureText([&] { bytes.remove(3); }), "Failed precondition: RemoveIndex < Size");
}

TEST(COLrefVect, GrowthRule) {
  EXPECT_EQ(COLrefVectResizeFunc(0, 1), 1u);
  EXPECT_EQ(COLrefVectResizeFunc(1, 2), 2u);
  EXPECT_EQ(COLrefVectResizeFunc(2, 3), 3u);
  EXPECT_EQ(COLrefVectResizeFunc(3, 4), 5u);
  EXPECT_EQ(COLrefVectResizeFunc(5, 6), 8u);
  EXPECT_EQ(COLrefVectResizeFunc(1, 6), 8u);
  EXPECT_EQ(COLrefVectResizeFunc(10, 4), 10u);
  EXPECT_EQ(failureText([] { COLrefVectResizeFunc(4, 0); }), "Failed precondition: RequiredSize > 0");
  COLrefVect<int> v;
  v.resize(1);
  EXPECT_EQ(v.capacity(), 1u);
  std::vector<size_t> capacities;
  for (int i = 0; i < 8; ++i) {
    v.add(i);
    capacities.push_back(v.capacity());
  }
  EXPECT_EQ(capacities, (std::vector<size_t>{2, 3, 5, 5, 8, 8, 8, 12}));
}

TEST(COLlist, OrderPlacesAndChecks) {
  COLlist<int> list;
  auto two = list.addItem(2);
  auto four = list.addItem(4);
  list.insertItem(two, 1);
  list.insertItem(four, 3);
  std::vector<int> seen;
  for (auto p = list.first(); p; p = list.next(p)) seen.push_back(list[p]);
  EXPECT_EQ(seen, (std::vector<int>{1, 2, 3, 4}));
  seen.clear();
  for (auto p = list.last(); p; p = list.previous(p)) seen.push_back(list[p]);
  EXPECT_EQ(seen, (std::vector<int>{4, 3, 2, 1}));
  list.exchange(list.first(), list.last());
  EXPECT_EQ(list[list.first()], 4);
  list.remove(two);
  list.remove(list.first());
  EXPECT_EQ(list.size(), 2u);
  EXPECT_EQ(list[list.first()], 3);
  EXPECT_EQ(list[list.last()], 1);
  EXPECT_EQ(failureText([&] { list.next(nullptr); }), "Failed precondition: Place != NULL");
  EXPECT_EQ(failureText([&] { list.remove(nullptr); }), "Failed precondition: Item != NULL");
  EXPECT_EQ(failureText([&] { list.exchange(nullptr, list.first()); }),
            "Failed precondition: Place1 != NULL && Place2 != NULL");
  COLlist<int> copy = list;
  list.clear();
  EXPECT_EQ(copy.size(), 2u);
  EXPECT_EQ(list.first(), nullptr);
}

TEST(COLlookupList, DuplicateKeyKeepsOldValue) {
  COLlookupList<COLstring, int> table;
  ASSERT_NE(table.addItem("MSH", 1), nullptr);
  EXPECT_EQ(table.addItem("MSH", 2), nullptr);
  EXPECT_EQ(table.size(), 1u);
  ASSERT_NE(table.findItem("MSH"), nullptr);
  EXPECT_EQ(table.findItem("MSH")->value(), 1);
  EXPECT_EQ(table.findItem("PID"), nullptr);
  EXPECT_TRUE(table.removeItem("MSH"));
  EXPECT_FALSE(table.removeItem("MSH"));
  EXPECT_TRUE(table.empty());
}

TEST(COLlookupList, GrowsThroughPrimeTableAndIteratesEverything) {
  COLlookupList<int, int> table;
  EXPECT_EQ(table.countOfBucket(), 2u);
  for (int i = 0; i < 1000; ++i) ASSERT_NE(table.addItem(i, i * 2), nullptr);
  const std::set<size_t> primes{2, 5, 11, 17, 29, 47, 71, 107, 163, 251, 379, 569, 857, 1289};
  EXPECT_TRUE(primes.count(table.countOfBucket())) << table.countOfBucket();
  EXPECT_GT(table.countOfBucket(), 2u);
  size_t total = 0;
  for (size_t b = 0; b < table.countOfBucket(); ++b) total += table.countOfBucketItem(b);
  EXPECT_EQ(total, 1000u);
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

// Growth needs both a chain of four passed nodes and a table holding as many items as buckets.
struct ConstantHash {
  uint32_t operator()(int) const { return 7; }
};
struct IdentityHash {
  uint32_t operator()(int key) const { return static_cast<uint32_t>(key); }
};

TEST(COLlookupList, GrowsOnlyWithLongChainAndFullTable) {
  COLlookupList<int, int, IdentityHash> spread;
  for (int i = 0; i < 8; ++i) spread.addItem(i, i);
  EXPECT_EQ(spread.countOfBucket(), 2u);  // full long ago, but no chain reached four
  spread.addItem(8, 8);                   // passes 0, 2, 4, 6
  EXPECT_EQ(spread.countOfBucket(), 5u);

  COLlookupList<int, int, ConstantHash> chained;
  std::vector<size_t> buckets;
  for (int i = 1; i <= 12; ++i) {
    chained.addItem(i, i);
    buckets.push_back(chained.countOfBucket());
  }
  // One long chain: growth waits each time until the table is full.
  EXPECT_EQ(buckets, (std::vector<size_t>{2, 2, 2, 2, 5, 11, 11, 11, 11, 11, 11, 17}));
  for (int i = 1; i <= 12; ++i) EXPECT_EQ(chained.findItem(i)->value(), i);
}

TEST(COLhash, StringHashes) {
  EXPECT_EQ(COLlookupHash<COLstring>::defaultHash(""), 0u);
  // "ABCD" as one big-endian word, rotated right by (sum of bytes % 31) + 1.
  const uint32_t word = 0x41424344;
  const int rotate = (0x41 + 0x42 + 0x43 + 0x44) % 31 + 1;
  EXPECT_EQ(COLlookupHash<COLstring>::defaultHash("ABCD"), std::rotr(word, rotate));
  // A tail byte is added and rotated by (byte + index) % 31 + 1.
  EXPECT_EQ(COLlookupHash<COLstring>::defaultHash("A"), std::rotr(uint32_t(0x41), (0x41 + 0) % 31 + 1));
  EXPECT_NE(COLlookupHash<COLstring>::defaultHash("abc"), COLlookupHash<COLstring>::defaultHash("acb"));

  COLhashFunc<COLstring> hash;
  EXPECT_EQ(hash(""), 123432u);
  EXPECT_EQ(hash("x"), 123432u);
  // last 'd', second last 'c', second 'b', first 'a'
  EXPECT_EQ(hash("abcd"), (uint32_t('d') << 24) + (uint32_t('c') << 16) + (uint32_t('b') << 8) + uint32_t('a'));
  EXPECT_EQ(COLhashFuncCOLint64(0x0000000100000002LL), 3u);
  int x = 0;
  EXPECT_EQ(COLhashFunc<int*>()(&x), static_cast<uint32_t>(reinterpret_cast<uintptr_t>(&x)));
  EXPECT_EQ(COLlookupHash<uint16_t>::defaultHash(0x0102), ((0x02u << 5) ^ 0x01u));  // little-endian bytes
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
  EXPECT_EQ(list.previous(list.last()).key(), 7);
  EXPECT_TRUE(list.removeItem(5));
  EXPECT_EQ(list.findItem(5).value(), "five again");
  EXPECT_EQ(failureText([&] { list.next({}); }), "Failed precondition: Place != NULL");
}

TEST(COLrefHashTable, InsertionOrderAndDefaults) {
  COLrefHashTable<COLstring, int> table(2);
  const char* names[] = {"zeta", "alpha", "mid", "beta", "omega", "x", "yy"};
  for (int i = 0; i < 7; ++i) table.insert(names[i], i);
  table.insert("alpha", 100);  // overwrites in place, keeps its position
  EXPECT_EQ(table.size(), 7u);
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
  it.reset();
  COLstring key;
  int value = 0;
  ASSERT_TRUE(it.iterateNext(key, value));
  ASSERT_TRUE(it.iterateNext(key, value));
  ASSERT_TRUE(it.iterateNext(key, value));
  EXPECT_EQ(key, "beta");
}

TEST(COLtrackable, TrackersHearOfDestruction) {
  struct Tracker : COLtracker {
    int calls = 0;
    COLtrackable* last = nullptr;
    void trackableDestroyed(COLtrackable* object) override {
      ++calls;
      last = object;
    }
  };
  Tracker a, b;
  COLtrackable* object = new COLtrackable;
  object->addTracker(&a);
  object->addTracker(&a);
  object->addTracker(&b);
  EXPECT_EQ(object->countOfTracker(), 2u);
  object->removeTracker(&b);
  delete object;
  EXPECT_EQ(a.calls, 1);
  EXPECT_EQ(a.last, object);
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
