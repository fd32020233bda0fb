// Time to load each generated standard HL7 v2 definition with QVLloadEngine, from the file
// to a model ready for parsing. Each must stay well under 100 ms.
#include <benchmark/benchmark.h>

#include <string>

#include "QVLvmdFile.h"
#include "QVMengineInternal.h"

namespace {

std::string definitionPath(const char* file) { return std::string(MSGBRIDGE_SOURCE_DIR "/definitions/") + file; }

void BM_LoadStandardDefinition(benchmark::State& state, const char* file) {
  const std::string path = definitionPath(file);
  // The engine (and its interpreter) is made once: a load starts by clearing it.
  QVMengineInternal engine;
  for (auto _ : state) {
    if (QVLloadEngine(engine, path.c_str()) != QVLvmdTypeXml) state.SkipWithError("not loaded");
    benchmark::DoNotOptimize(engine.countOfMessage());
  }
}

BENCHMARK_CAPTURE(BM_LoadStandardDefinition, v2_3_1, "hl7v2.3.1.vmd")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_LoadStandardDefinition, v2_4, "hl7v2.4.vmd")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_LoadStandardDefinition, v2_5_1, "hl7v2.5.1.vmd")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_LoadStandardDefinition, v2_7_1, "hl7v2.7.1.vmd")->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
