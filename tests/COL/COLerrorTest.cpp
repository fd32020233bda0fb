#include <gtest/gtest.h>

#include <cerrno>

#include "COLerror.h"
#include "COLostream.h"

#include "../support/TSTraised.h"

namespace {
COLstring printed(const COLerror& error) {
  COLstring text;
  COLostream stream(text);
  stream << error;
  return text;
}
}  // namespace

TEST(COLerror, PrintsCodeInUpperCaseHexWithoutPaddingAndFileWhenKnown) {
  EXPECT_EQ(printed(COLerror("No such file", ENOENT)), "Error Code: 0x2\nDescription: No such file\n");
  EXPECT_EQ(printed(COLerror("x", 0x80000abc)), "Error Code: 0x80000ABC\nDescription: x\n");
  // Line and file show only with a file name.
  EXPECT_EQ(printed(COLerror("d", 42, "", 0x80000100)), "Error Code: 0x80000100\nDescription: d\n");
  EXPECT_EQ(printed(COLerror("d", 42, "src/x.cpp", 0x80000100)),
            "Error Code: 0x80000100\nDescription: d\nLine: 42\nFile: src/x.cpp\n");
}

TEST(COLerror, ParametersPrintInKeyOrderAfterTheStreamReturnsToDecimal) {
  COLerror error("bad", 0x80000500);
  error.setParameter("zeta", "last");
  error.setParameter("alpha", 17u);
  error.setParameter("zeta", "overwritten");
  COLstring text;
  COLostream stream(text);
  stream << error << 255;
  EXPECT_EQ(text, "Error Code: 0x80000500\nDescription: bad\nalpha: 17\nzeta: overwritten\n255");
}

TEST(COLerror, ParameterLookupCreatesMissingKey) {
  COLerror error("e", 1);
  EXPECT_FALSE(error.hasParameter("k"));
  EXPECT_EQ(error.parameter("k"), "");
  EXPECT_TRUE(error.hasParameter("k"));
  EXPECT_EQ(error.CountOfParameter(), 1u);
  EXPECT_EQ(error.key(0), "k");
  EXPECT_EQ(TSTraised([&] { error.key(1); }).description(), "Invalid parameter index 1.  Should be no greater than 1");
}

TEST(COLerror, WalkingParametersWithACursor) {
  COLerror error("e", 1);
  error.setParameter("b", "2");
  error.setParameter("a", "1");
  COLstring seen;
  for (auto cursor = error.firstParameter(); cursor != COLerror::EndCursor; cursor = error.nextParameter(cursor))
    seen += error.keyInPlace(cursor) + "=" + error.parameterInPlace(cursor) + ";";
  EXPECT_EQ(seen, "a=1;b=2;");
  EXPECT_EQ(COLerror("x", 1).firstParameter(), COLerror::EndCursor);
}

TEST(COLerror, EqualityIgnoresLineAndFile) {
  COLerror a("text", 10, "a.cpp", 5);
  COLerror b("text", 99, "b.cpp", 5);
  EXPECT_TRUE(a == b);
  b.setParameter("k", "v");
  EXPECT_FALSE(a == b);
  EXPECT_FALSE(COLerror("text", 6) == COLerror("text", 5));
  EXPECT_EQ(COLerror(a, 7).code(), 7u);
  EXPECT_EQ(COLerror(a, 7).line(), 10u);
}

TEST(COLerror, StrerrorOfZeroExplainsItself) {
  EXPECT_EQ(COLstrerror(0), "No error info. (errno may not have been set - it was 0)");
  EXPECT_FALSE(COLstrerror(ENOENT).empty());
}

namespace {
int g_Callbacks = 0;
void countingCallback(COLostream&) { ++g_Callbacks; }

void failingPrecondition(int itemIndex) { COL_PRECONDITION(itemIndex >= 0 && itemIndex < 3); }
void failingPostcondition() { COL_POSTCONDITION(1 == 2); }
}  // namespace

TEST(COLassert, FailedChecksBecomeErrorsWithTheExpressionText) {
  COLassertSettings::setCallback(countingCallback);
  g_Callbacks = 0;
  const COLerror error = TSTraised([] { failingPrecondition(5); });
  EXPECT_EQ(error, COLerror("Failed precondition: itemIndex >= 0 && itemIndex < 3", 0x80000100u));
  EXPECT_NE(error.line(), 0u);
  EXPECT_FALSE(error.file().empty());
  EXPECT_EQ(TSTraised([] { failingPostcondition(); }), COLerror("Failed postcondition:1 == 2", 0x80000101u));
  EXPECT_EQ(g_Callbacks, 2);
  COLassertSettings::setCallback(COLassertDefaultCallback);
  EXPECT_NO_THROW(failingPrecondition(1));
}

TEST(COLreference, CloneAndRelease) {
  struct Counted : COLreference {
    explicit Counted(bool* destroyed) : m_Destroyed(destroyed) {}
    ~Counted() override { *m_Destroyed = true; }
    bool* m_Destroyed;
  };
  bool destroyed = false;
  {
    COLreferencePtr<Counted> first(new Counted(&destroyed));
    EXPECT_EQ(first->clone(), first.get());
    COLreferencePtr<Counted> second = first;
    EXPECT_EQ(first->countOfRef(), 2);
    EXPECT_THROW(first->clone(), COLerror);  // shared, and this type cannot copy itself
    first = second;  // self-assignment through another holder keeps it alive
    EXPECT_FALSE(destroyed);
  }
  EXPECT_TRUE(destroyed);

  COLerror error("e", 1);
  error.AddRef();
  EXPECT_EQ(error.clone(), &error);
  error.AddRef();
  COLreference* copy = error.clone();
  EXPECT_NE(copy, &error);
  EXPECT_EQ(*static_cast<COLerror*>(copy), error);
  delete copy;
}
