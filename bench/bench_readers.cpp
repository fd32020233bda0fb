// Log reader throughput: a ~100 MB log per family (HL7, HL7 batch, X12), written once to a
// temporary directory, read in each framing.  Reports bytes/s and messages/s, beside a
// plain block read of the same file (the floor) and a format sniff.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <string>

#include "MLGreader.h"

namespace {

constexpr size_t kTargetSize = 100u << 20;

std::string hl7Message(std::mt19937& random, unsigned number) {
  std::string message = "MSH|^~\\&|LAB|HOSP|EHR|HOSP|20240101120000||ORU^R01|" + std::to_string(number) + "|P|2.5\r";
  message += "PID|1||" + std::to_string(100000 + number) + "^^^HOSP||DOE^JANE^Q||19700101|F|||1 MAIN ST^^TOWN^ST^12345\r";
  const unsigned results = 3 + random() % 10;
  for (unsigned i = 0; i < results; ++i)
    message += "OBX|" + std::to_string(i + 1) + "|NM|2345-7^GLUCOSE^LN||" + std::to_string(random() % 300) +
               "|mg/dL|70-99|N|||F\r";
  return message;
}

std::string x12Transaction(std::mt19937& random, unsigned number) {
  std::string set = "ST*837*" + std::to_string(number) + "\rBHT*0019*00*" + std::to_string(number) + "*20240101*1200*CH\r";
  const unsigned lines = 5 + random() % 10;
  for (unsigned i = 0; i < lines; ++i)
    set += "SV1*HC:99213*" + std::to_string(random() % 500) + "*UN*1***1\rDTP*472*D8*20240101\r";
  return set + "SE*" + std::to_string(lines * 2 + 3) + "*" + std::to_string(number) + "\r";
}

enum Family { Hl7, Hl7Batch, X12 };

std::string generate(Family family) {
  std::mt19937 random(2024);
  std::string data;
  data.reserve(kTargetSize + (1 << 16));
  unsigned number = 0;
  while (data.size() < kTargetSize) {
    switch (family) {
      case Hl7:
        data += hl7Message(random, ++number) + "\n";  // CR then LF: the message break
        break;
      case Hl7Batch:
        data += "FHS|^~\\&|LAB\r\nBHS|^~\\&|LAB\r\n";
        for (int i = 0; i < 1000; ++i) data += hl7Message(random, ++number) + "\n";
        data += "BTS|1000\r\nFTS|1\r\n";
        break;
      case X12:
        data += "ISA*00*          *00*          *ZZ*SENDER         *ZZ*RECEIVER       *240101*1200*^*00501*"
                "000000001*0*P*:\rGS*HC*SENDER*RECEIVER*20240101*1200*1*X*005010X222A1\r";
        for (int i = 0; i < 50; ++i) data += x12Transaction(random, ++number);
        data += "GE*50*1\rIEA*1*000000001\r";
        break;
    }
  }
  return data;
}

// The generated logs, removed when the program ends.
class LogFiles {
public:
  static LogFiles& instance() {
    static LogFiles files;
    return files;
  }
  const std::string& path(Family family) {
    std::string& path = m_Paths[family];
    if (path.empty()) {
      path = (m_Dir / ("log" + std::to_string(family))).string();
      const std::string data = generate(family);
      std::ofstream(path, std::ios::binary).write(data.data(), static_cast<std::streamsize>(data.size()));
      m_Sizes[family] = data.size();
    }
    return path;
  }
  size_t size(Family family) {
    path(family);
    return m_Sizes[family];
  }
  ~LogFiles() {
    std::error_code ignored;
    std::filesystem::remove_all(m_Dir, ignored);
  }

private:
  LogFiles() {
    std::string pattern = (std::filesystem::temp_directory_path() / "mlgbench-XXXXXX").string();
    if (!::mkdtemp(pattern.data())) std::abort();
    m_Dir = pattern;
  }
  std::filesystem::path m_Dir;
  std::string m_Paths[3];
  size_t m_Sizes[3] = {};
};

void readAll(benchmark::State& state, MLGreaderFileFormat format, Family family) {
  const COLstring path = LogFiles::instance().path(family);
  const size_t size = LogFiles::instance().size(family);
  size_t messages = 0;
  for (auto _ : state) {
    std::unique_ptr<MLGreader> reader(MLGfactoryFromFormat(format));
    reader->open(path);
    while (reader->hasNextMessage()) {
      COLstring message = reader->nextMessage();
      benchmark::DoNotOptimize(message.data());
      ++messages;
    }
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * size));
  state.counters["messages/s"] = benchmark::Counter(static_cast<double>(messages), benchmark::Counter::kIsRate);
}

// The floor: what reading the file in 256 KiB blocks costs, as `cat file > /dev/null` does.
void BM_PlainRead(benchmark::State& state) {
  const std::string& path = LogFiles::instance().path(Hl7);
  std::unique_ptr<char[]> block(new char[256 * 1024]);
  int64_t total = 0;
  for (auto _ : state) {
    const int descriptor = ::open(path.c_str(), O_RDONLY);
    ssize_t count;
    while ((count = ::read(descriptor, block.get(), 256 * 1024)) > 0) {
      benchmark::DoNotOptimize(block.get()[count - 1]);
      total += count;
    }
    ::close(descriptor);
  }
  if (total != static_cast<int64_t>(state.iterations() * LogFiles::instance().size(Hl7)))
    state.SkipWithError("short read");
  state.SetBytesProcessed(total);
}

void BM_Sniff(benchmark::State& state) {
  const COLstring path = LogFiles::instance().path(Hl7);
  for (auto _ : state) {
    std::unique_ptr<MLGreader> reader(MLGfactoryOpen(path));
    if (!reader || reader->fileFormat() != MLGhl7Standard) state.SkipWithError("log not recognised");
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * LogFiles::instance().size(Hl7)));
}

}  // namespace

BENCHMARK(BM_PlainRead)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readAll, HL7Standard, MLGhl7Standard, Hl7)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readAll, HL7CRLF, MLGhl7CRLF, Hl7)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readAll, HL7CR, MLGhl7CR, Hl7)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readAll, HL7LF, MLGhl7LF, Hl7)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readAll, SingleMessage, MLGsingleMessage, Hl7)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readAll, HL7Batch, MLGhl7Batch, Hl7Batch)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readAll, X12Interchange, MLGx12Interchange, X12)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readAll, X12Batch, MLGx12Batch, X12)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Sniff)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
