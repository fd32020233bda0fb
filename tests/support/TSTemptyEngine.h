// What a failed load must leave: an engine as new, with only its default configuration.
#pragma once

#include <gtest/gtest.h>

#include "QVMengineInternal.h"

inline void TSTexpectEmptyEngine(QVMengineInternal& engine) {
  EXPECT_EQ(engine.countOfMessage(), 0u);
  EXPECT_EQ(engine.countOfTable(), 0u);
  EXPECT_EQ(engine.countOfConfig(), 1u);
  EXPECT_EQ(engine.configName(0), "default");
  EXPECT_EQ(engine.countOfSegment(), 0u);
  EXPECT_EQ(engine.vmdDescription(), "");
}
