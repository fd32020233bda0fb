// Checking and unescaping run on every segment of every message: a segment without faults
// and without escapes must cost no allocation at all.
#include <atomic>
#include <cstdlib>
#include <new>

#include "QVMengineInternal.h"
#include "SGCtestSupport.h"
#include "SGCunescape.h"
#include "SGCvalidationRule.h"

#include "../../support/TSTcountingNew.h"

TEST(SGCallocation, FineSegmentIsCheckedAndUnescapedWithoutAllocating) {
  SGCtest::Definition Def;
  // Every kind of value: numbers, dates with fraction-free masks, an enumeration, nested
  // composites at both levels, repeats, the explicit null, fields beyond the grammar.
  SGCtest::Message Parsed(
      "PID|1|123^7^M11^NS&UID&2^20010203~456|DOE|20010203120000|M|+1e5|a~b~\"\"|ACC|extra^x&y");
  SGMsegment& Segment = Parsed.segment(1);
  QVMengineInternal Engine;
  auto& Rule = static_cast<QVMsegmentValidationRuleConditionalField&>(*Def.Pid.addValidationRule(4, 0));
  Rule.setRequiredField(5);
  COLreferencePtr<SGMstringPool> Pool(new SGMstringPool);
  const COLreferencePtr<SGMsegment>& SegmentReference = Parsed.List.segmentReference(1);
  SCCescaper Escaper;
  SGCerrorList Errors;

  const long Before = CountOfAllocation.load();
  for (int Round = 0; Round < 3; ++Round) {
    SGCcheckSegment(Segment, 1, Def.Pid, Errors);
    SGCunescapeSegment(Escaper, false, true, Segment, 1, Def.Pid, Pool.get(), Errors, true);
    SGCdoSegmentValidationRule(Rule, Pool, SegmentReference, Engine);
  }
  const long After = CountOfAllocation.load();
  EXPECT_EQ(After - Before, 0);
  EXPECT_TRUE(Errors.empty());
  EXPECT_EQ(Pool->countOfString(), 0u);

  // A fault costs its own error object, and the checks find it.
  Def.St10.setFieldMaxLength(0, 2);
  SGCcheckSegment(Segment, 1, Def.Pid, Errors);
  EXPECT_EQ(Errors.size(), 1u);
  EXPECT_GT(CountOfAllocation.load(), After);
}
