#include <gtest/gtest.h>
#include <unistd.h>

#include "COLdateTime.h"
#include "COLdll.h"
#include "COLerror.h"
#include "COLreference.h"

#include "../support/TSTraised.h"

TEST(COLdll, LoadsSymbolsAndReportsFailures) {
  COLdll dll;
  EXPECT_EQ(dll.tryLoadLibrary(""), COLdllEmptyName);
  EXPECT_EQ(dll.tryLoadLibrary("libdoes-not-exist.so"), COLdllLoadFailed);
  EXPECT_FALSE(dll.loaded());
  EXPECT_FALSE(dll.lastError().empty());
  EXPECT_EQ(TSTraised([&] { dll.loadLibrary(""); }).description(), "Unable to load library, NULL file name.");
  EXPECT_EQ(TSTraised([&] { dll.loadLibrary("libdoes-not-exist.so"); }).description().find(
                "Unable to load library: libdoes-not-exist.so"),
            0u);
  EXPECT_EQ(TSTraised([&] { dll.getProcAddress("cos"); }).description(), "Failed precondition: DllHandle != NULL");
  dll.loadLibrary("libm.so.6");
  EXPECT_TRUE(dll.loaded());
  EXPECT_EQ(dll.libraryName(), "libm.so.6");
  auto cosine = reinterpret_cast<double (*)(double)>(dll.getProcAddress("cos"));
  EXPECT_DOUBLE_EQ(cosine(0.0), 1.0);
  EXPECT_EQ(TSTraised([&] { dll.getProcAddress("no_such_symbol_here"); }).description().find(
                "Failed to load procedure: no_such_symbol_here"),
            0u);
  dll.freeLibrary();
  EXPECT_FALSE(dll.loaded());
  EXPECT_TRUE(COLdllHasPermission("/", R_OK));
  EXPECT_FALSE(COLdllHasPermission("/does/not/exist", R_OK));
}

TEST(COLreference, CloneSharesOnlyWhenAlone) {
  COLreferencePtr<COLdateTime> time(new COLdateTime(5.0));
  EXPECT_EQ(time->clone(), time.get());
  COLreferencePtr<COLdateTime> second = time;
  COLreference* copy = time->clone();
  ASSERT_NE(copy, time.get());
  EXPECT_DOUBLE_EQ(static_cast<double>(*static_cast<COLdateTime*>(copy)), 5.0);
  delete copy;
}
