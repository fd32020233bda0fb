// The table XML roads of one typical ADT message against the example definition, both tag
// forms: flat -> table -> XML (the whole --toxml road) and XML -> table -> flat (the whole
// --fromxml road).  Items are messages: the time per item is the time per message.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "BENCHmessages.h"
#include "COLerror.h"
#include "QVJparse.h"
#include "QVJparseContext.h"
#include "QVLvmdFile.h"
#include "QVMconfig.h"
#include "QVMengineInternal.h"

namespace {

const std::filesystem::path Root = MSGBRIDGE_SOURCE_DIR;

QVFengine& engine(const char* Dialect) {
  static COLreferencePtr<QVFengine> Engine;
  if (!Engine) {
    Engine = new QVFengine;
    QVLloadEngine(Engine->schema(), (Root / "examples/adt_oru.vmd").string().c_str());
    Engine->schema().setRejectBadSegmentGrammar(false);
  }
  Engine->schema().config().setXmlTranslationType(Dialect);
  return *Engine;
}

void runToXml(benchmark::State& State, const char* Dialect) {
  QVFengine& Engine = engine(Dialect);
  size_t Bytes = 0;
  for (auto _ : State) {
    const char* Xml = QVJhl7ToXml(Engine.parseContext(), AdtA01.c_str());
    benchmark::DoNotOptimize(Xml);
    Bytes += AdtA01.size();
  }
  State.SetItemsProcessed(State.iterations());
  State.SetBytesProcessed(static_cast<int64_t>(Bytes));
}

void runFromXml(benchmark::State& State, const char* Dialect) {
  QVFengine& Engine = engine(Dialect);
  const std::string Xml = QVJhl7ToXml(Engine.parseContext(), AdtA01.c_str());
  for (auto _ : State) benchmark::DoNotOptimize(QVJxmlToHl7(Engine.parseContext(), Xml));
  State.SetItemsProcessed(State.iterations());
  State.SetBytesProcessed(State.iterations() * static_cast<int64_t>(Xml.size()));
}

void BM_FlatToTableXmlShortTags(benchmark::State& State) { runToXml(State, "TABLE - Short Tags"); }
void BM_FlatToTableXmlLongTags(benchmark::State& State) { runToXml(State, "TABLE - Long Tags"); }
void BM_TableXmlToFlatShortTags(benchmark::State& State) { runFromXml(State, "TABLE - Short Tags"); }
void BM_TableXmlToFlatLongTags(benchmark::State& State) { runFromXml(State, "TABLE - Long Tags"); }

}  // namespace

BENCHMARK(BM_FlatToTableXmlShortTags);
BENCHMARK(BM_FlatToTableXmlLongTags);
BENCHMARK(BM_TableXmlToFlatShortTags);
BENCHMARK(BM_TableXmlToFlatLongTags);
int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  try {
    benchmark::RunSpecifiedBenchmarks();
  } catch (const COLerror& Error) {
    std::fprintf(stderr, "%s\n", Error.description().c_str());
    return 1;
  }
  return 0;
}
