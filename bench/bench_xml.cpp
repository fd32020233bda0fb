// Costs of the XML layer in MB/s: writing message-shaped XML through XMLiosStream (escaping
// data and tags), escaping one long value, and building the document tree of the result.
#include <benchmark/benchmark.h>

#include <string>

#include "COLstring.h"
#include "SGXxmlDom.h"
#include "XMLiosStream.h"

namespace {

// One message as the tree dialects write it: a segment element, field elements with text.
void writeMessage(XMLiosStream& stream, unsigned number) {
  stream << startTag << "ORU_R01" << newline;
  for (unsigned Segment = 0; Segment < 20; ++Segment) {
    stream << "  " << startTag << "OBX" << newline;
    for (unsigned Field = 1; Field <= 8; ++Field) {
      stream << "    " << startTag << "OBX" << delimiter << Field << elementData << "Value " << number
             << " & <result> " << Field << endTag << "OBX" << delimiter << Field << newline;
    }
    stream << "  " << endTag << "OBX" << newline;
  }
  stream << endTag << "ORU_R01" << newline;
}

void BM_XMLiosStreamMessage(benchmark::State& state) {
  COLstring Out;
  XMLiosStream Stream('.', &Out, false);
  Stream.setNewLine("\r\n");
  unsigned Number = 0;
  for (auto _ : state) {
    Out.clear();
    writeMessage(Stream, Number++);
    benchmark::DoNotOptimize(Out.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(Out.size()));
}
BENCHMARK(BM_XMLiosStreamMessage);

void BM_XMLiosDataFilterLongValue(benchmark::State& state) {
  std::string Value;
  for (int Index = 0; Index < 4096; ++Index) Value += Index % 64 ? 'a' : '&';
  COLstring Out;
  XMLiosDataFilter Filter(&Out);
  for (auto _ : state) {
    Out.clear();
    Filter.write(Value.data(), Value.size());
    benchmark::DoNotOptimize(Out.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(Value.size()));
}
BENCHMARK(BM_XMLiosDataFilterLongValue);

void BM_SGXxmlDomParse(benchmark::State& state) {
  COLstring Xml;
  XMLiosStream Stream('.', &Xml, false);
  writeMessage(Stream, 1);
  SGXxmlDomParser Parser;
  SGXxmlDomNodeElement Root;
  for (auto _ : state) benchmark::DoNotOptimize(Parser.parse(Xml, Root));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(Xml.size()));
}
BENCHMARK(BM_SGXxmlDomParse);

}  // namespace

BENCHMARK_MAIN();
