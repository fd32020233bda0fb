// The whole road (message text -> table XML in memory) over every message of a log, by 1 and
// by 2 threads that share one loaded engine, each thread with its own parse context.  Each
// thread translates the whole log, so with no shared state in the way 2 threads give twice
// the messages per second of one.  Each setting runs ROUNDS times and keeps its best round,
// since the machine is shared.  A thread whose XML differs from that of the single thread
// fails the run: the threads must not see each other's state.
//   bench_threads DEFINITION.vmd LOG [ROUNDS, default 3]
// Prints one line "threads N messages M seconds S rate R cpu_us_per_message C" per setting,
// then "scaling F cpu_scaling G".
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <cstdlib>
#include <functional>
#include <memory>
#include <latch>
#include <thread>
#include <vector>

#include "BENCHlog.h"
#include "QVJparse.h"
#include "QVJparseContext.h"

namespace {

// Enough messages to make every context's buffers their working size before the clock starts.
constexpr size_t WarmMessages = 200;

struct Pass {
  size_t XmlBytes = 0;
  double CpuSeconds = 0;
  COLstring Failure;
};

double threadCpuSeconds() {
  timespec Now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &Now);
  return static_cast<double>(Now.tv_sec) + static_cast<double>(Now.tv_nsec) / 1e9;
}

void translate(QVJparseContext& Context, const std::vector<std::string>& Messages, size_t Count, Pass& Result) {
  const double Start = threadCpuSeconds();
  try {
    for (size_t Index = 0; Index < Count; ++Index)
      Result.XmlBytes += std::char_traits<char>::length(QVJhl7ToXml(Context, Messages[Index].c_str()));
  } catch (const COLerror& Error) {
    Result.Failure = Error.description();
  }
  Result.CpuSeconds = threadCpuSeconds() - Start;
}

struct Timing {
  double Wall = 0;
  double CpuPerMessage = 0;  // the mean over the threads
};

// One round of THREADS threads, each over the whole log: the wall time from the first start
// to the last finish.  Each thread makes and warms its own context first, as a host's worker
// would: its buffers then come from its own thread's heap, not interleaved with another's.
Timing runRound(QVMengineInternal& Engine, const std::vector<std::string>& Messages, unsigned Threads,
                size_t ExpectedXmlBytes) {
  std::vector<std::unique_ptr<QVJparseContext>> Contexts(Threads);
  std::vector<Pass> Passes(Threads);
  std::latch Ready(Threads), Go(1);
  std::vector<std::thread> Workers;
  for (unsigned Thread = 0; Thread < Threads; ++Thread)
    Workers.emplace_back([&, Thread] {
      Contexts[Thread] = std::make_unique<QVJparseContext>(&Engine);
      Pass Warm;
      translate(*Contexts[Thread], Messages, std::min(WarmMessages, Messages.size()), Warm);
      Ready.count_down();
      Go.wait();
      translate(*Contexts[Thread], Messages, Messages.size(), Passes[Thread]);
    });
  Ready.wait();
  const auto Start = std::chrono::steady_clock::now();
  Go.count_down();
  for (std::thread& Worker : Workers) Worker.join();
  Timing Result;
  Result.Wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - Start).count();
  for (const Pass& Done : Passes) {
    Result.CpuPerMessage += Done.CpuSeconds / static_cast<double>(Messages.size() * Threads);
    if (!Done.Failure.empty()) {
      std::fprintf(stderr, "bench_threads: %s\n", Done.Failure.c_str());
      std::exit(1);
    }
    if (ExpectedXmlBytes != 0 && Done.XmlBytes != ExpectedXmlBytes) {
      std::fprintf(stderr, "bench_threads: a thread of %u wrote %zu bytes of XML, one thread alone %zu\n", Threads,
                   Done.XmlBytes, ExpectedXmlBytes);
      std::exit(1);
    }
  }
  return Result;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: bench_threads DEFINITION.vmd LOG [ROUNDS]\n");
    return 2;
  }
  const int Rounds = argc > 3 ? std::max(1, std::atoi(argv[3])) : 3;
  try {
    const std::vector<std::string> Messages = BENCHreadLog(argv[2]);
    COLreferencePtr<QVMengineInternal> Engine = BENCHloadEngine(argv[1]);
    // The single thread's XML is the reference for the threads that run together.
    size_t ExpectedXmlBytes = 0;
    {
      QVJparseContext Context(Engine.get());
      Pass Reference;
      translate(Context, Messages, Messages.size(), Reference);
      if (!Reference.Failure.empty()) {
        std::fprintf(stderr, "bench_threads: %s\n", Reference.Failure.c_str());
        return 1;
      }
      ExpectedXmlBytes = Reference.XmlBytes;
    }
    double Rate[3] = {0, 0, 0};
    double Cpu[3] = {1e9, 1e9, 1e9};
    const uint64_t GenerationBefore = Engine->planGeneration();
    // The settings take turns, so a burst of load from elsewhere hits both alike.
    for (int Round = 0; Round < Rounds; ++Round)
      for (unsigned Threads = 1; Threads <= 2; ++Threads) {
        const Timing Took = runRound(*Engine, Messages, Threads, ExpectedXmlBytes);
        Rate[Threads] = std::max(Rate[Threads], static_cast<double>(Threads * Messages.size()) / Took.Wall);
        Cpu[Threads] = std::min(Cpu[Threads], Took.CpuPerMessage);
      }
    for (unsigned Threads = 1; Threads <= 2; ++Threads)
      std::printf("threads %u messages %zu seconds %.6f rate %.0f cpu_us_per_message %.2f\n", Threads,
                  Threads * Messages.size(), static_cast<double>(Threads * Messages.size()) / Rate[Threads],
                  Rate[Threads], Cpu[Threads] * 1e6);
    // The wall-clock factor needs two idle cores; the CPU-time factor is what two idle cores
    // would give, and falls below 2 only when the threads slow each other down.
    std::printf("scaling %.2f cpu_scaling %.2f\n", Rate[2] / Rate[1], 2 * Cpu[1] / Cpu[2]);
    // Parsing must leave the definitions alone: an edit makes every thread build its table
    // plans and the identification index again, the index under the engine's lock.
    if (Engine->planGeneration() != GenerationBefore)
      std::printf("generation_changes %llu\n",
                  static_cast<unsigned long long>(Engine->planGeneration() - GenerationBefore));
  } catch (const COLerror& Error) {
    std::fprintf(stderr, "bench_threads: %s\n", Error.description().c_str());
    return 1;
  }
  return 0;
}
