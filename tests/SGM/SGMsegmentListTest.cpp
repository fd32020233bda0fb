// The segment list model: growth defaults, reuse of objects, deep copies, the string pool
// and the writer's joining rules.
#include <gtest/gtest.h>

#include <string>

#include "COLerror.h"
#include "SGMoutput.h"
#include "SGMsegmentList.h"
#include "SGMstringPool.h"

TEST(SGMsegmentList, GrowthFillsDefaultsSoEveryLevelCanBeWalked) {
  SGMsegmentList List;
  List.setCountOfSegment(1);
  SGMsegment& Segment = List.segment(0);
  Segment.setCountOfField(3);
  for (uint32_t f = 0; f < 3; ++f) EXPECT_EQ(Segment.countOfFieldRepeat(f), 1u);
  SGMfield& Field = Segment.field(2, 0);
  Field.setCountOfSubField(2);
  EXPECT_EQ(Field.countOfSubSubField(0), 1u);
  EXPECT_TRUE(Field.value(1, 0).isNull());
  // A sub field never has zero values.
  Field.value(0, 0).set("abc");
  Field.setCountOfSubSubField(0, 0);
  EXPECT_EQ(Field.countOfSubSubField(0), 1u);
  EXPECT_TRUE(Field.value(0, 0).isNull());
  // Sub fields emptied directly get their value back when the count is set again.
  Field.subField(1).setCountOfSubSubField(0);
  Field.setCountOfSubField(2);
  EXPECT_EQ(Field.countOfSubSubField(1), 1u);
  EXPECT_THROW(Segment.field(3, 0), COLerror);
  EXPECT_THROW(Field.value(0, 1), COLerror);
}

TEST(SGMsegmentList, ShrinkingClearsAndKeepsObjects) {
  SGMsegmentList List;
  List.setCountOfSegment(2);
  List.segment(1).name().set("PID");
  List.segment(1).setCountOfField(4);
  SGMsegment* Kept = &List.segment(1);
  COLreferencePtr<SGMsegment> Held = List.segmentReference(1);
  List.setCountOfSegment(1);
  List.setCountOfSegment(2);
  // The same object comes back, cleared.
  EXPECT_EQ(&List.segment(1), Kept);
  EXPECT_EQ(Held.get(), Kept);
  EXPECT_TRUE(List.segment(1).name().isNull());
  EXPECT_EQ(List.segment(1).countOfField(), 0u);
  List.clear();
  EXPECT_EQ(List.countOfSegment(), 0u);
}

TEST(SGMsegmentList, CopiesAreDeep) {
  SGMsegmentList List;
  List.setCountOfSegment(1);
  List.segment(0).name().set("OBX");
  List.segment(0).setCountOfField(1);
  List.segment(0).field(0, 0).setCountOfSubField(1);
  List.segment(0).field(0, 0).value(0, 0).set("v");
  SGMsegmentList Copy(List);
  Copy.segment(0).field(0, 0).value(0, 0).set("w");
  EXPECT_EQ(List.segment(0).field(0, 0).value(0, 0).view(), "v");
  EXPECT_EQ(Copy.segment(0).name().view(), "OBX");
  EXPECT_NE(&Copy.segment(0), &List.segment(0));
}

TEST(SGMvalue, MatchingComparesLengthAndBytes) {
  SGMvalue Value;
  EXPECT_TRUE(SGMvalueMatchesCharArray(Value, "", 0));
  Value.set("MSHX", 3);
  EXPECT_TRUE(SGMvalueMatchesString(Value, "MSH"));
  EXPECT_FALSE(SGMvalueMatchesString(Value, "MSHX"));
  EXPECT_FALSE(SGMvalueMatchesString(Value, "MSX"));
  EXPECT_EQ(Value.asString(), "MSH");
  COLstring Out;
  COLostream Stream(Out);
  Stream << Value << SGMvalue();
  EXPECT_EQ(Out, "MSH");
}

TEST(SGMstringPool, ReusesTheBufferOfAValueWrittenAgain) {
  SGMstringPool Pool;
  SGMvalue Value;
  Value.set("original");
  SGMstringPoolSetValue(Value, Pool, "first", 5);
  EXPECT_EQ(Value.view(), "first");
  EXPECT_TRUE(Pool.hasString(Value.data()));
  SGMstringPoolSetValue(Value, Pool, "second value", 12);
  EXPECT_EQ(Value.view(), "second value");
  EXPECT_EQ(Pool.countOfString(), 1u);
  // A value set from its own pooled bytes survives the buffer being reused.
  SGMstringPoolSetValue(Value, Pool, Value.data() + 7, 5);
  EXPECT_EQ(Value.view(), "value");
  // Empty text does not touch the pool.
  const char* Empty = Pool.setPooledString(nullptr, "", 0);
  EXPECT_STREQ(Empty, "");
  EXPECT_EQ(Pool.countOfString(), 1u);
  SGMstringPoolClearValue(Value, Pool);
  EXPECT_EQ(Pool.countOfString(), 0u);
  EXPECT_THROW(Pool.setPooledString(nullptr, nullptr, 1), COLerror);
}

TEST(SGMoutput, JoiningRules) {
  SGMsegmentList List;
  List.setCountOfSegment(2);
  SGMsegment& Msh = List.segment(0);
  Msh.name().set("MSH");
  Msh.setCountOfField(3);
  Msh.field(0, 0).setCountOfSubField(1);
  Msh.field(0, 0).value(0, 0).set("|");
  Msh.field(1, 0).setCountOfSubField(1);
  Msh.field(1, 0).value(0, 0).set("^~\\&");
  Msh.setCountOfFieldRepeat(2, 2);
  Msh.field(2, 1).setCountOfSubField(2);
  Msh.field(2, 1).setCountOfSubSubField(1, 2);
  Msh.field(2, 1).value(1, 1).set("z");
  SGMsegment& Other = List.segment(1);
  Other.name().set("FHS");
  Other.setCountOfField(2);
  SGMseparatorCharacters Separators;
  COLstring Out;
  SGMappendSegmentList(List, Separators, "\r", Out);
  // Field 0 of "MSH" is the delimiter itself and is not written again; for any other name it is.
  EXPECT_EQ(Out, "MSH|^~\\&|~^&z\rFHS||\r");
  COLstring Streamed;
  COLostream Stream(Streamed);
  Stream.setNewLine("\n");
  SGMoutputSegmentList(List, Separators, Stream);
  EXPECT_EQ(Streamed, "MSH|^~\\&|~^&z\nFHS||\n");
  COLstring Piece;
  COLostream PieceStream(Piece);
  SGMoutputSegmentField(Msh, 2, Separators, PieceStream);
  PieceStream << "/";
  SGMoutputSubField(Msh.field(2, 1), 1, Separators, PieceStream);
  PieceStream << "/";
  SGMoutputField(Msh.field(2, 0), Separators, PieceStream);  // no sub field: nothing
  EXPECT_EQ(Piece, "~^&z/&z/");
}
