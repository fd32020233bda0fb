// Fuzz target: the log readers of every framing and the format sniffers, on any file.  The
// first byte picks the framing, a small block size and an end-of-file character; the rest is
// the file.  Besides not crashing or hanging, it checks that
// - a reader with a tiny block (every line crossing block boundaries) hands out exactly the
//   messages of a reader with the default block;
// - every call makes progress, every message ends with the message terminator and holds no
//   line end other than the terminators;
// - going back to the start gives the first message again;
// - the sniffer either recognises nothing or opens a reader of the format it recognised.
#include <fcntl.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

#include "COLerror.h"
#include "FUZZsupport.h"
#include "MLGfileReader.h"
#include "MLGreader.h"

namespace {

const COLstring& scratchPath() {
  static const COLstring Path = [] {
    const char* Dir = getenv("TMPDIR");
    return COLstring(std::string(Dir ? Dir : "/tmp") + "/fuzz_readers." + std::to_string(getpid()));
  }();
  static const bool Cleanup = [] { return std::atexit([] { ::unlink(Path.c_str()); }) == 0; }();
  (void)Cleanup;
  return Path;
}

void writeScratch(const uint8_t* data, size_t size) {
  const int Descriptor = ::open(scratchPath().c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  check(Descriptor != -1, "scratch file opens");
  for (size_t Done = 0; Done < size;) {
    const ssize_t Written = ::write(Descriptor, data + Done, size - Done);
    check(Written > 0, "scratch file takes the input");
    Done += static_cast<size_t>(Written);
  }
  ::close(Descriptor);
}

std::unique_ptr<MLGreader> makeReader(MLGreaderFileFormat format, size_t blockSize, char endCharacter) {
  std::unique_ptr<MLGreader> Reader(MLGfactoryFromFormat(format));
  check(Reader != nullptr, "factory builds every format");
  if (blockSize) static_cast<MLGfileReader&>(*Reader).setBlockSize(blockSize);
  Reader->setEndOfFileCharacter(endCharacter);
  Reader->open(scratchPath());
  return Reader;
}

std::vector<COLstring> readAll(MLGreader& reader, size_t fileSize) {
  std::vector<COLstring> Messages;
  uint64_t Before = reader.position();
  while (reader.hasNextMessage()) {
    Messages.push_back(reader.nextMessage());
    const uint64_t After = reader.position();
    check(After > Before, "every message moves the reader on");
    check(After <= fileSize, "position stays inside the file");
    Before = After;
  }
  return Messages;
}

void checkMessage(const COLstring& message, const MLGreader& reader, char endCharacter) {
  if (message.empty()) return;
  const std::string_view Text = message.view();
  const std::string_view End = reader.messageTerminator().view();
  check(Text.size() >= End.size() && Text.substr(Text.size() - End.size()) == End, "message terminator at the end");
  const std::string_view Body = Text.substr(0, Text.size() - End.size());
  // Where LF ends a line, none survives inside a message.
  const MLGreaderFileFormat Format = reader.fileFormat();
  if (Format == MLGhl7LF || Format == MLGsingleMessage) {
    check(Body.find('\n') == std::string_view::npos, "no LF inside a message");
  }
  check(Body.find(endCharacter) == std::string_view::npos, "nothing behind the end character");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  static constexpr size_t BlockSizes[] = {1, 2, 3, 7};
  const auto Format = static_cast<MLGreaderFileFormat>(data[0] & 7);
  const size_t SmallBlock = BlockSizes[(data[0] >> 3) & 3];
  const char EndCharacter = (data[0] & 0x20) ? '\x1a' : 0;
  writeScratch(data + 1, size - 1);

  auto Large = makeReader(Format, 0, EndCharacter);
  const std::vector<COLstring> Expected = readAll(*Large, size - 1);
  auto Small = makeReader(Format, SmallBlock, EndCharacter);
  const std::vector<COLstring> Got = readAll(*Small, size - 1);
  check(Got.size() == Expected.size(), "block size does not change the number of messages");
  for (size_t i = 0; i < Got.size(); ++i) {
    check(Got[i].view() == Expected[i].view(), "block size does not change a message");
    checkMessage(Got[i], *Large, EndCharacter);
  }
  if (!Expected.empty()) {
    Large->setPosition(0);
    check(Large->nextMessage().view() == Expected[0].view(), "back at the start, the first message again");
  }

  try {
    std::unique_ptr<MLGreader> Sniffed(MLGfactoryOpen(scratchPath()));
    if (Sniffed) {
      const MLGreaderFileFormat Found = Sniffed->fileFormat();
      check(Found != MLGsingleMessage && Found != MLGendOfFormats, "sniffer opens a framed format");
      readAll(*Sniffed, size - 1);
    }
  } catch (const COLerror&) {
    check(false, "sniffing a readable file raises no error");
  }
  return 0;
}
