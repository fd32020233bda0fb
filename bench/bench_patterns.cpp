// Costs of the foundation's per-value helpers: a regular expression tried on field values
// (as message identification does for every message), and the bzip2 filters in MB/s.
#include <benchmark/benchmark.h>

#include <string>

#include "COLsinkStandard.h"
#include "FMTprintable.h"
#include "REXmatcher.h"
#include "STMZIPfilter.h"

namespace {

std::string sampleMessages(size_t count) {
  std::string result;
  for (size_t i = 0; i < count; ++i)
    result += "MSH|^~\\&|LAB|HOSP|||20240517||ORU^R01|" + std::to_string(i) + "|P|2.3\rPID|1||" +
              std::to_string(i * 7919) + "||DOE^JOHN\r";
  return result;
}

void BM_REXdoesMatchIdentifier(benchmark::State& state) {
  const REXmatcher matcher("^(ADT|ORU)$");
  const char* values[] = {"ADT", "ORM", "ORU", "SIU"};
  size_t index = 0;
  for (auto _ : state) benchmark::DoNotOptimize(matcher.doesMatchWithLength(values[index++ & 3], 3));
}
BENCHMARK(BM_REXdoesMatchIdentifier);

void BM_REXfindInMessage(benchmark::State& state) {
  const REXmatcher matcher("PID\\|1\\|\\|([0-9]+)");
  const std::string text = sampleMessages(20);
  size_t first = 0, last = 0;
  for (auto _ : state) benchmark::DoNotOptimize(matcher.findMatch(text.c_str(), 0, first, last));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(last + 1));
}
BENCHMARK(BM_REXfindInMessage);

void BM_STMZIPcompress(benchmark::State& state) {
  const std::string text = sampleMessages(10000);
  COLsinkNull null;
  for (auto _ : state) {
    STMZIPfilterCompress filter(&null);
    filter.write(text.data(), text.size());
    filter.flush();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_STMZIPcompress)->Unit(benchmark::kMillisecond);

void BM_STMZIPdecompress(benchmark::State& state) {
  const std::string text = sampleMessages(10000);
  COLstring packed;
  {
    STMZIPfilterCompress filter(&packed);
    filter.write(text.data(), text.size());
    filter.flush();
  }
  COLsinkNull null;
  for (auto _ : state) {
    STMZIPfilterDecompress filter(&null);
    filter.write(packed.data(), packed.size());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_STMZIPdecompress)->Unit(benchmark::kMillisecond);

void BM_FMTmakeMessagePrintable(benchmark::State& state) {
  const std::string text = sampleMessages(100);
  for (auto _ : state) benchmark::DoNotOptimize(FMTmakeMessagePrintable(text, "\r\n"));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_FMTmakeMessagePrintable);

}  // namespace

BENCHMARK_MAIN();
