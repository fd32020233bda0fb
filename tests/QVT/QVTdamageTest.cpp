// Damaged reflected binary files: every cut of a stream and of a file, and a damaged byte at
// many places, load or raise a COLerror, never crash.  Its own program, since what a damaged
// file teaches the type registry (new members, new types) lasts for the process.
#include <gtest/gtest.h>

#include <mutex>

#include "COLerror.h"
#include "CTTcopy.h"
#include "QVMengineInternal.h"
#include "QVTengineInternal.h"
#include "TREbinary.h"

#include "../support/TSTfile.h"

namespace {
const std::string Source = MSGBRIDGE_SOURCE_DIR;
}  // namespace

// The fuzz target goes further from the same seeds.
TEST(QVTdamage, CutAndDamagedInputsFailCleanly) {
  std::string stream = TSTreadFile(Source + "/tests/fuzz/seeds/fuzz_trebin/full_model.stream");
  std::string file = TSTreadFile(Source + "/tests/data/CTT/full_model.vmd");
  ASSERT_FALSE(stream.empty());
  QVMengineInternal model;
  size_t loaded = 0, refused = 0;
  auto attempt = [&](const std::string& bytes, bool isFile) {
    QVTengineInternal reflected;
    try {
      if (isFile) {
        QVTloadTreBinVmdBytes(reflected, bytes.data(), bytes.size());
      } else {
        std::lock_guard<COLcriticalSection> guard(TREnamespace::instance().criticalSection());
        reflected.vmdInstance().clear();
        TREsinkBinary::read(reflected.vmdComplexInstance(), reinterpret_cast<const unsigned char*>(bytes.data()),
                            bytes.size());
        reflected.postLoad();
      }
      CTTcopy(reflected, model);
      ++loaded;
    } catch (const COLerror&) {
      ++refused;
    }
  };
  for (size_t cut = 0; cut < stream.size(); cut += 17) attempt(stream.substr(0, cut), false);
  for (size_t cut = 0; cut < file.size(); cut += 29) attempt(file.substr(0, cut), true);
  for (size_t at = 0; at < stream.size(); at += 23) {
    std::string damaged = stream;
    damaged[at] = char(damaged[at] ^ 0x5A);
    attempt(damaged, false);
  }
  attempt(stream, false);
  EXPECT_GT(refused, 0u);
  EXPECT_GT(loaded, 0u);
}

