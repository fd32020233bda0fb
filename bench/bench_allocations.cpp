// Heap allocations per message of the whole road (message text -> table XML in memory) once
// warm: the first messages of the log make the parse context's buffers their working size,
// every message after them is counted.  operator new is counted by the tests' counting
// operator new; malloc, calloc and realloc by hooks in front of the C library's own, so the
// calls that bypass operator new (C strings, C libraries) count too.
//   bench_allocations DEFINITION.vmd LOG [WARM_MESSAGES, default 500] [PARSER_VERSIONS, default 21]
// Each parser version named (a digit each, e.g. "21": the current road, then the legacy one) is
// set on a freshly loaded engine and measured in turn.  Prints per version "messages N new A
// malloc B per_message C version V" for the counted messages (B holds A: every operator new is
// one malloc), then one line per message type ("type ADT^A01 messages N per_message C version V").
// A version whose road fails prints "failed version V: REASON" and the others still run.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "BENCHlog.h"
#include "QVJparse.h"
#include "QVJparseContext.h"
#include "QVMconfig.h"

#include "../tests/support/TSTcountingNew.h"

// glibc's allocator under its second name: the hooks forward to it.
extern "C" void* __libc_malloc(size_t);
extern "C" void* __libc_calloc(size_t, size_t);
extern "C" void* __libc_realloc(void*, size_t);

namespace {
// Every operator new above goes through malloc as well: the malloc count holds both.
std::atomic<long> CountOfMalloc{0};
}  // namespace

extern "C" void* malloc(size_t Size) {
  CountOfMalloc.fetch_add(1, std::memory_order_relaxed);
  return __libc_malloc(Size);
}
extern "C" void* calloc(size_t Count, size_t Size) {
  CountOfMalloc.fetch_add(1, std::memory_order_relaxed);
  return __libc_calloc(Count, Size);
}
extern "C" void* realloc(void* Block, size_t Size) {
  CountOfMalloc.fetch_add(1, std::memory_order_relaxed);
  return __libc_realloc(Block, Size);
}

namespace {

// The message type as MSH-9 gives it, for the breakdown.
std::string messageType(const std::string& Text) {
  size_t At = 0;
  for (int Field = 0; Field < 8 && At != std::string::npos; ++Field) At = Text.find('|', At + 1);
  if (At == std::string::npos) return "?";
  const size_t End = Text.find_first_of("|\r", At + 1);
  return Text.substr(At + 1, End == std::string::npos ? std::string::npos : End - At - 1);
}

// Counts one version's road over the log; false if it failed.
bool measure(const char* Definition, const std::vector<std::string>& Messages, size_t Warm, unsigned Version) {
  try {
    COLreferencePtr<QVMengineInternal> Engine = BENCHloadEngine(Definition);
    Engine->config().setParserVersion(static_cast<QVMparserVersion>(Version));
    QVJparseContext Context(Engine.get());
    for (size_t Index = 0; Index < Warm; ++Index) QVJhl7ToXml(Context, Messages[Index].c_str());

    // Made before the count starts, so the loop itself allocates nothing.
    std::vector<long> Mallocs(Messages.size(), 0);
    const long NewBefore = CountOfAllocation.load();
    for (size_t Index = Warm; Index < Messages.size(); ++Index) {
      const long Before = CountOfMalloc.load();
      QVJhl7ToXml(Context, Messages[Index].c_str());
      Mallocs[Index] = CountOfMalloc.load() - Before;
    }
    const long News = CountOfAllocation.load() - NewBefore;

    struct Tally {
      long Messages = 0;
      long Mallocs = 0;
    };
    std::map<std::string, Tally> ByType;
    long Total = 0;
    for (size_t Index = Warm; Index < Messages.size(); ++Index) {
      Tally& Type = ByType[messageType(Messages[Index])];
      ++Type.Messages;
      Type.Mallocs += Mallocs[Index];
      Total += Mallocs[Index];
    }
    const long Counted = static_cast<long>(Messages.size() - Warm);
    std::printf("messages %ld new %ld malloc %ld per_message %.1f version %u\n", Counted, News, Total,
                static_cast<double>(Total) / static_cast<double>(Counted), Version);
    for (const auto& [Name, Type] : ByType)
      std::printf("type %s messages %ld per_message %.1f version %u\n", Name.c_str(), Type.Messages,
                  static_cast<double>(Type.Mallocs) / static_cast<double>(Type.Messages), Version);
    return true;
  } catch (const COLerror& Error) {
    std::printf("failed version %u: %s\n", Version, Error.description().c_str());
    std::fprintf(stderr, "bench_allocations: version %u: %s\n", Version, Error.description().c_str());
    return false;
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: bench_allocations DEFINITION.vmd LOG [WARM_MESSAGES] [PARSER_VERSIONS]\n");
    return 2;
  }
  const size_t Warm = argc > 3 ? std::strtoul(argv[3], nullptr, 10) : 500;
  const std::string Versions = argc > 4 ? argv[4] : "21";
  for (const char Version : Versions)
    if (Version < '0' || Version > '2') {
      std::fprintf(stderr, "bench_allocations: parser versions are 0, 1 and 2, not '%c'\n", Version);
      return 2;
    }
  const std::vector<std::string> Messages = BENCHreadLog(argv[2]);
  if (Messages.size() <= Warm) {
    std::fprintf(stderr, "bench_allocations: the log has %zu messages, not more than the %zu warming ones\n",
                 Messages.size(), Warm);
    return 1;
  }
  bool Ok = true;
  for (const char Version : Versions)
    Ok = measure(argv[1], Messages, Warm, static_cast<unsigned>(Version - '0')) && Ok;
  return Ok ? 0 : 1;
}
