// The whole road (message text -> table XML in memory) over every message of a log, by 1 and
// by 2 threads that share one loaded engine, each thread with its own parse context.  Each
// thread translates the whole log, so with no shared state in the way 2 threads give twice
// the messages per second of one.  Each setting runs ROUNDS times and keeps its best round,
// since the machine is shared.  A thread whose XML differs from that of the single thread
// fails the run: the threads must not see each other's state.
//   bench_threads DEFINITION.vmd LOG [ROUNDS, default 3]
// Prints one line "threads N messages M seconds S rate R" per setting, then "scaling F".
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
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
  COLstring Failure;
};

void translate(QVJparseContext& Context, const std::vector<std::string>& Messages, size_t Count, Pass& Result) {
  try {
    for (size_t Index = 0; Index < Count; ++Index)
      Result.XmlBytes += std::char_traits<char>::length(QVJhl7ToXml(Context, Messages[Index].c_str()));
  } catch (const COLerror& Error) {
    Result.Failure = Error.description();
  }
}

// One round of THREADS threads, each over the whole log: the wall time from the first start
// to the last finish.
double runRound(QVMengineInternal& Engine, const std::vector<std::string>& Messages, unsigned Threads,
             size_t ExpectedXmlBytes) {
  std::vector<std::unique_ptr<QVJparseContext>> Contexts;
  std::vector<Pass> Passes(Threads);
  for (unsigned Thread = 0; Thread < Threads; ++Thread) {
    Contexts.push_back(std::make_unique<QVJparseContext>(&Engine));
    Pass Warm;
    translate(*Contexts.back(), Messages, std::min(WarmMessages, Messages.size()), Warm);
  }
  const auto Start = std::chrono::steady_clock::now();
  std::vector<std::thread> Workers;
  for (unsigned Thread = 0; Thread < Threads; ++Thread)
    Workers.emplace_back(translate, std::ref(*Contexts[Thread]), std::cref(Messages), Messages.size(),
                         std::ref(Passes[Thread]));
  for (std::thread& Worker : Workers) Worker.join();
  const double Seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - Start).count();
  for (const Pass& Done : Passes) {
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
  return Seconds;
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
    // The settings take turns, so a burst of load from elsewhere hits both alike.
    for (int Round = 0; Round < Rounds; ++Round)
      for (unsigned Threads = 1; Threads <= 2; ++Threads) {
        const double Seconds = runRound(*Engine, Messages, Threads, ExpectedXmlBytes);
        Rate[Threads] = std::max(Rate[Threads], static_cast<double>(Threads * Messages.size()) / Seconds);
      }
    for (unsigned Threads = 1; Threads <= 2; ++Threads)
      std::printf("threads %u messages %zu seconds %.6f rate %.0f\n", Threads, Threads * Messages.size(),
                  static_cast<double>(Threads * Messages.size()) / Rate[Threads], Rate[Threads]);
    std::printf("scaling %.2f\n", Rate[2] / Rate[1]);
  } catch (const COLerror& Error) {
    std::fprintf(stderr, "bench_threads: %s\n", Error.description().c_str());
    return 1;
  }
  return 0;
}
