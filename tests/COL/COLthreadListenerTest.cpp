// Listener scopes: nesting gives the outer listener back, and another thread sees none of them.
#include <gtest/gtest.h>

#include <thread>

#include "COLthreadListener.h"

namespace {

struct Heard {
  int count = 0;
};

TEST(COLthreadListener, ScopesNestAndStayOnTheirThread) {
  using Scope = COLthreadListenerScope<Heard>;
  EXPECT_EQ(Scope::current(), nullptr);
  Heard Outer, Inner;
  {
    Scope Listening(Outer);
    EXPECT_EQ(Scope::current(), &Outer);
    {
      Scope Nested(Inner);
      EXPECT_EQ(Scope::current(), &Inner);
      Heard* Elsewhere = &Inner;
      std::thread([&Elsewhere] { Elsewhere = Scope::current(); }).join();
      EXPECT_EQ(Elsewhere, nullptr);
    }
    EXPECT_EQ(Scope::current(), &Outer);
  }
  EXPECT_EQ(Scope::current(), nullptr);
}

}  // namespace
