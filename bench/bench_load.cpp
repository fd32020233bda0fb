// Time to load each generated standard HL7 v2 definition with QVLloadEngine, from the file
// to a model ready for parsing. Each must stay well under 100 ms.  The largest, 2.7.1, is
// also loaded as a reflected binary file that the writer made from it, to compare with its
// version-one twin: about half of that load is bzip2 undoing the compression of its
// 2.6 MB stream.
#include <benchmark/benchmark.h>

#include <stdlib.h>
#include <unistd.h>

#include <string>

#include "CTTcopy.h"
#include "QVLvmdFile.h"
#include "QVMengineInternal.h"
#include "QVTengineInternal.h"

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

// The reflected binary twin of a definition, written once into a directory of its own that
// goes when the program ends.
class ReflectedTwin {
public:
  explicit ReflectedTwin(const char* file) {
    char pattern[] = "/tmp/bench_load_XXXXXX";
    if (mkdtemp(pattern)) m_Directory = pattern;
    m_Path = m_Directory + "/" + file;
    QVMengineInternal engine;
    QVLloadEngine(engine, definitionPath(file).c_str());
    QVTengineInternal reflected;
    CTTcopy(engine, reflected);
    QVTsaveTreBinVmdFile(reflected, m_Path.c_str());
  }
  ~ReflectedTwin() {
    unlink(m_Path.c_str());
    rmdir(m_Directory.c_str());
  }
  const std::string& path() const { return m_Path; }

private:
  std::string m_Directory;
  std::string m_Path;
};

void BM_LoadReflectedBinaryDefinition(benchmark::State& state, const char* file) {
  static ReflectedTwin Twin(file);
  QVMengineInternal engine;
  for (auto _ : state) {
    if (QVLloadEngine(engine, Twin.path().c_str()) != QVLvmdTypeTreBin) state.SkipWithError("not loaded");
    benchmark::DoNotOptimize(engine.countOfMessage());
  }
}

BENCHMARK_CAPTURE(BM_LoadStandardDefinition, v2_3_1, "hl7v2.3.1.vmd")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_LoadStandardDefinition, v2_4, "hl7v2.4.vmd")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_LoadStandardDefinition, v2_5_1, "hl7v2.5.1.vmd")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_LoadStandardDefinition, v2_7_1, "hl7v2.7.1.vmd")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_LoadReflectedBinaryDefinition, v2_7_1, "hl7v2.7.1.vmd")->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
