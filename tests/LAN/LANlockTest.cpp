// The interpreter lock: nesting per thread, threads with engines of their own, giving the lock
// up around a wait, and no lock held outside a swap.
#include "LANpython.h"

#include <gtest/gtest.h>

#include "LANtestSupport.h"

#include <chrono>
#include <future>
#include <thread>

#include "LANengine.h"

namespace {

using namespace std::chrono_literals;

TEST(LANlock, NestedLocksTakeTheLockOnceAndTheOuterOneReleases) {
  LANengineInterpreter::instance();
  EXPECT_EQ(LANengineLock::countForThisThread(), 0u);
  EXPECT_FALSE(LANengineLock::isHeldByThisThread());
  std::future<void> other;
  {
    LANengineLock outer;
    EXPECT_TRUE(LANengineLock::isHeldByThisThread());
    {
      LANengineLock inner;
      EXPECT_EQ(LANengineLock::countForThisThread(), 2u);
    }
    EXPECT_EQ(LANengineLock::countForThisThread(), 1u);
    EXPECT_TRUE(LANengineLock::isHeldByThisThread());
    // Another thread can't get in while the outer lock stands.
    other = std::async(std::launch::async, [] { LANengineLock lock; });
    EXPECT_EQ(other.wait_for(100ms), std::future_status::timeout);
  }
  EXPECT_EQ(LANengineLock::countForThisThread(), 0u);
  EXPECT_FALSE(LANengineLock::isHeldByThisThread());
  EXPECT_EQ(other.wait_for(10s), std::future_status::ready);
}

TEST(LANlock, NestedSwapsReturnToTheOuterEngine) {
  auto first = readyEngine();
  auto second = readyEngine();
  LANengineSwap outer(*first);
  {
    LANengineSwap again(*first);
    LANengineSwap inner(*second);
    EXPECT_EQ(PyThreadState_Get(), second->pythonInterpreterThreadState());
  }
  EXPECT_EQ(PyThreadState_Get(), first->pythonInterpreterThreadState());
  EXPECT_EQ(LANengineLock::countForThisThread(), 1u);
}

TEST(LANlock, AnErrorInsideASwapReleasesTheLock) {
  auto engine = readyEngine();
  EXPECT_THROW(engine->runString("raise KeyError('k')\n"), COLerror);
  EXPECT_EQ(LANengineLock::countForThisThread(), 0u);
  auto other = std::async(std::launch::async, [&] {
    auto own = readyEngine();
    own->runString("x = 1\n");
  });
  EXPECT_EQ(other.wait_for(10s), std::future_status::ready);
  other.get();
}

// Each of two threads runs scripts in its own engine, many times over, with nested locks.
TEST(LANlock, TwoThreadsEachWithItsOwnEngine) {
  auto work = [](int id) {
    COLreferencePtr<LANengine> engine = readyEngine();
    engine->setPythonVariable("id", std::to_string(id).c_str());
    for (int i = 0; i < 200; ++i) {
      LANengineSwap swap(*engine);
      EXPECT_EQ(LANengineLock::countForThisThread(), 1u);
      engine->runString("total = globals().get('total', 0) + int(id)\n");
      EXPECT_EQ(LANengineLock::countForThisThread(), 1u);
    }
    EXPECT_EQ(LANengineLock::countForThisThread(), 0u);
    EXPECT_FALSE(LANengineLock::isHeldByThisThread());
    LANengineSwap swap(*engine);
    PyObject* total = PyDict_GetItemString(engine->globalDictionary(), "total");
    return total ? PyLong_AsLong(total) : -1;
  };
  auto one = std::async(std::launch::async, work, 1);
  auto two = std::async(std::launch::async, work, 2);
  EXPECT_EQ(one.get(), 200);
  EXPECT_EQ(two.get(), 400);
}

TEST(LANlock, UnlockLetsAnotherThreadRunMeanwhile) {
  auto engine = readyEngine();
  auto otherEngine = readyEngine();
  LANengineSwap swap(*engine);
  std::future<void> other;
  {
    LANengineUnlock unlock;
    EXPECT_FALSE(LANengineLock::isHeldByThisThread());
    EXPECT_EQ(LANengineUnlock::countForThisThread(), 1u);
    other = std::async(std::launch::async, [&] { otherEngine->runString("done = 1\n"); });
    ASSERT_EQ(other.wait_for(10s), std::future_status::ready);
    // A lock inside the unlocked stretch takes the lock and gives it back.
    {
      LANengineLock nested;
      EXPECT_TRUE(LANengineLock::isHeldByThisThread());
    }
    EXPECT_FALSE(LANengineLock::isHeldByThisThread());
  }
  EXPECT_TRUE(LANengineLock::isHeldByThisThread());
  EXPECT_EQ(PyThreadState_Get(), engine->pythonInterpreterThreadState());
  engine->runString("after = 1\n");
  other.get();
}

TEST(LANlock, EngineMadeInOneThreadServesAnother) {
  auto engine = readyEngine();
  engine->runString("origin = 'main'\n");
  auto other = std::async(std::launch::async, [&] {
    engine->runString("seen = origin + ' seen from a worker'\n");
    engine.get()->setPythonVariable("worker", "yes");
  });
  other.get();
  LANengineSwap swap(*engine);
  COLstring seen;
  ASSERT_TRUE(LANstringFromPython(PyDict_GetItemString(engine->globalDictionary(), "seen"), seen));
  EXPECT_EQ(seen, "main seen from a worker");
}

}  // namespace
