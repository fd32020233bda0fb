// Tokenising and writing back a typical ADT message and a ~50 kB ORU: MB/s, messages/s, and
// heap allocations per field once the reused list is warm (counted by a global operator new).
#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <new>
#include <sstream>
#include <string>

#include "SCCescaper.h"
#include "SGMoutput.h"
#include "SGPparser.h"

#include "../tests/support/TSTcountingNew.h"

namespace {

std::string readMessage(const char* name) {
  const std::filesystem::path Path = std::filesystem::path(MSGBRIDGE_SOURCE_DIR) / "tests" /
                                     "data" / "SGP" / name;
  std::ifstream In(Path, std::ios::binary);
  std::ostringstream Text;
  Text << In.rdbuf();
  return Text.str();
}

uint64_t countOfValue(const SGMsegmentList& list) {
  uint64_t Count = 0;
  for (uint32_t s = 0; s < list.countOfSegment(); ++s) {
    const SGMsegment& Segment = list.segment(s);
    for (uint32_t f = 0; f < Segment.countOfField(); ++f) {
      for (uint32_t r = 0; r < Segment.countOfFieldRepeat(f); ++r) {
        const SGMfield& Field = Segment.field(f, r);
        for (uint32_t sf = 0; sf < Field.countOfSubField(); ++sf) Count += Field.countOfSubSubField(sf);
      }
    }
  }
  return Count;
}

void reportCounts(benchmark::State& state, const std::string& text, uint64_t allocations, uint64_t values) {
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
  state.counters["messages/s"] = benchmark::Counter(static_cast<double>(state.iterations()),
                                                    benchmark::Counter::kIsRate);
  state.counters["values"] = static_cast<double>(values);
  state.counters["allocs/value"] =
      static_cast<double>(allocations) / static_cast<double>(state.iterations()) / static_cast<double>(values);
}

void tokenise(benchmark::State& state, const char* name) {
  const std::string Text = readMessage(name);
  SGMsegmentList List;
  SGMseparatorCharacters Separators;
  SGPparser Parser;
  Parser.parse(Text.data(), Text.size(), List, Separators, SGPparserOptions());  // warm the list
  const uint64_t Before = CountOfAllocation.load();
  for (auto _ : state) {
    benchmark::DoNotOptimize(Parser.parse(Text.data(), Text.size(), List, Separators, SGPparserOptions()));
  }
  reportCounts(state, Text, CountOfAllocation.load() - Before, countOfValue(List));
}

void tokeniseAndWrite(benchmark::State& state, const char* name) {
  const std::string Text = readMessage(name);
  SGMsegmentList List;
  SGMseparatorCharacters Separators;
  SGPparser Parser;
  COLstring Out;
  Out.reserve(Text.size() * 2);
  Parser.parse(Text.data(), Text.size(), List, Separators, SGPparserOptions());
  const uint64_t Before = CountOfAllocation.load();
  for (auto _ : state) {
    Parser.parse(Text.data(), Text.size(), List, Separators, SGPparserOptions());
    Out.clear();
    SGMappendSegmentList(List, Separators, "\r", Out);
    benchmark::DoNotOptimize(Out.data());
  }
  if (Out.str() != Text) state.SkipWithError("round trip differs");
  reportCounts(state, Text, CountOfAllocation.load() - Before, countOfValue(List));
}

void unescapeEveryValue(benchmark::State& state, const char* name) {
  const std::string Text = readMessage(name);
  SGMsegmentList List;
  SGMseparatorCharacters Separators;
  SGPparser Parser;
  Parser.parse(Text.data(), Text.size(), List, Separators, SGPparserOptions());
  SCCescaper Escaper;
  COLstring Plain;
  Plain.reserve(Text.size());
  for (auto _ : state) {
    for (uint32_t s = 0; s < List.countOfSegment(); ++s) {
      const SGMsegment& Segment = List.segment(s);
      for (uint32_t f = 0; f < Segment.countOfField(); ++f) {
        for (uint32_t r = 0; r < Segment.countOfFieldRepeat(f); ++r) {
          const SGMfield& Field = Segment.field(f, r);
          for (uint32_t sf = 0; sf < Field.countOfSubField(); ++sf) {
            for (uint32_t v = 0; v < Field.countOfSubSubField(sf); ++v) {
              const SGMvalue& Value = Field.value(sf, v);
              Escaper.unescapeStringWithSize(Plain, Value.data(), Value.length(), false);
              benchmark::DoNotOptimize(Plain.data());
            }
          }
        }
      }
    }
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * Text.size()));
}

}  // namespace

BENCHMARK_CAPTURE(tokenise, adt, "mirth_simplesender_adt_a01_v231.hl7");
BENCHMARK_CAPTURE(tokenise, oru50k, "cdc_oru_r01_v251_daart_t_escape.hl7");
BENCHMARK_CAPTURE(tokeniseAndWrite, adt, "mirth_simplesender_adt_a01_v231.hl7");
BENCHMARK_CAPTURE(tokeniseAndWrite, oru50k, "cdc_oru_r01_v251_daart_t_escape.hl7");
BENCHMARK_CAPTURE(unescapeEveryValue, oru50k, "cdc_oru_r01_v251_daart_t_escape.hl7");

BENCHMARK_MAIN();
