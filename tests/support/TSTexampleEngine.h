// The example definition loaded into a whole engine once per suite, and the parse of one
// message into a table: the start of every test that reads the example's messages.
#pragma once

#include <gtest/gtest.h>

#include "QVJparse.h"
#include "QVJparseContext.h"
#include "QVLvmdFile.h"
#include "QVMengineInternal.h"
#include "QVMtableInternal.h"

// Each suite loads its own engine, so that what one suite changes in it cannot reach another.
class TSTexampleEngineTest : public ::testing::Test {
protected:
  static void SetUpTestSuite() {
    Engine = new QVFengine;
    QVLloadEngine(Engine->schema(), MSGBRIDGE_SOURCE_DIR "/examples/adt_oru.vmd");
  }
  static void TearDownTestSuite() { Engine = nullptr; }

  static unsigned parse(const char* Message, QVMtableInternal& Into) {
    unsigned Index = 99;
    Into.clear();
    QVJengineInternalParseMessage(Engine->parseContext(), Message, Index, Into);
    return Index;
  }
  static QVMtableInternal& sub(const char* Name, QVMtableInternal& From) {
    return From.subTable(0, From.subTableNameToIndex(Name));
  }

  static inline COLreferencePtr<QVFengine> Engine;
  QVMtableInternal Table;
};
