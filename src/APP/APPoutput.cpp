#include "APPoutput.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "APPxmlFileName.h"
#include "COLerror.h"
#include "COLostream.h"
#include "FILbinaryFile.h"
#include "FILfilePath.h"
#include "FILpath.h"
#include "QVMengine.h"
#include "QVMerror.h"
#include "QVMhandle.h"

namespace {

// The temporary file being written, for the signal handler: the path is copied in before the
// flag is raised, so the handler never reads a half-copied name.
char s_Unfinished[4096];
volatile std::sig_atomic_t s_HasUnfinished = 0;

void removeUnfinishedAndEnd(int signalNumber) {
  if (s_HasUnfinished) ::unlink(s_Unfinished);
  std::signal(signalNumber, SIG_DFL);
  std::raise(signalNumber);
}

// Marks `path` as the file in progress for as long as it lives.
class APPunfinished {
public:
  explicit APPunfinished(const COLstring& path) {
    if (path.size() >= sizeof s_Unfinished) return;  // too long to keep: it just won't be removed
    std::memcpy(s_Unfinished, path.c_str(), path.size() + 1);
    std::atomic_signal_fence(std::memory_order_seq_cst);
    s_HasUnfinished = 1;
  }
  ~APPunfinished() { s_HasUnfinished = 0; }
  APPunfinished(const APPunfinished&) = delete;
  APPunfinished& operator=(const APPunfinished&) = delete;
};

COLstring temporaryNameFor(const COLstring& path) {
  const size_t slash = path.view().rfind('/');
  const size_t nameAt = slash == std::string_view::npos ? 0 : slash + 1;
  // Hidden, and no numbered name: a left-over temporary is never read as a message.
  COLstring temporary(std::string(path.view().substr(0, nameAt)));
  temporary += ".";
  temporary += COLstring(std::string(path.view().substr(nameAt)));
  temporary += "." + COLstring(std::to_string(::getpid())) + ".part";
  return temporary;
}

}  // namespace

void APPmakeOutputDirectory(const COLstring& directory) {
  if (directory.empty()) return;
  FILmakeFullDir(directory, 0700, nullptr);
}

void APPwriteWholeFile(const COLstring& path, const COLstring& text) {
  const COLstring temporary = temporaryNameFor(path);
  APPunfinished inProgress(temporary);
  const int descriptor = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (descriptor < 0) FILthrowErrno("Open file '", path, "' failed. ", errno);
  int error = 0;
  for (size_t done = 0; done < text.size() && error == 0;) {
    const ssize_t n = ::write(descriptor, text.data() + done, text.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) error = n < 0 ? errno : EIO;
    else done += static_cast<size_t>(n);
  }
  if (::close(descriptor) != 0 && error == 0) error = errno;
  if (error == 0 && ::rename(temporary.c_str(), path.c_str()) != 0) {
    error = errno;
    ::unlink(temporary.c_str());
    FILthrowErrno("Rename to '", path, "' failed. ", error);
  }
  if (error != 0) {
    ::unlink(temporary.c_str());
    FILthrowErrno("write failed on '", path, "'. ", error);
  }
}

void APPremoveUnfinishedOutputOnSignal() {
  struct sigaction action {};
  action.sa_handler = removeUnfinishedAndEnd;
  sigemptyset(&action.sa_mask);
  for (int signalNumber : {SIGINT, SIGTERM}) {
    struct sigaction previous {};
    // A signal the caller chose to ignore stays ignored.
    if (::sigaction(signalNumber, nullptr, &previous) == 0 && previous.sa_handler == SIG_IGN) continue;
    ::sigaction(signalNumber, &action, nullptr);
  }
}

std::vector<unsigned> APPnumberedFiles(const COLstring& directory, const COLstring& name) {
  std::vector<unsigned> numbers;
  DIR* listing = ::opendir(directory.empty() ? "." : directory.c_str());
  if (listing == nullptr) return numbers;
  const std::string_view suffix = name.view();
  while (const dirent* entry = ::readdir(listing)) {
    const std::string_view entryName(entry->d_name);
    if (entryName.size() < suffix.size() + 5 || entryName.substr(entryName.size() - suffix.size()) != suffix) continue;
    const std::string_view digits = entryName.substr(0, entryName.size() - suffix.size());
    if (digits.size() > 9 || digits.find_first_not_of("0123456789") != std::string_view::npos) continue;
    const unsigned number = static_cast<unsigned>(std::stoul(std::string(digits)));
    // Only the spelling the tool writes: "000001name" is not file 1.
    if (number == 0 || APPxmlFileName(number, COLstring(), name).view() != entryName) continue;
    numbers.push_back(number);
  }
  ::closedir(listing);
  std::sort(numbers.begin(), numbers.end());
  return numbers;
}

void APPwriteSchema(QVMengine& engine, const COLstring& path) {
  const char* schema = nullptr;
  QVM_CHECK_CALL(_QVMengineGetTibcoSchema(engine.EngineHandle(), &schema));
  const COLstring text(schema ? schema : "");
  APPmakeOutputDirectory(FILfilePath(path).fullDirectory());
  APPwriteWholeFile(path, text);
}

void APPremoveEarlierNumberedFiles(const COLstring& directory, const COLstring& name, COLostream& out) {
  const std::vector<unsigned> numbers = APPnumberedFiles(directory, name);
  if (numbers.empty()) return;
  for (unsigned number : numbers) FILremove(APPxmlFileName(number, directory, name));
  out << "Removed " << static_cast<unsigned>(numbers.size()) << " numbered file(s) of an earlier run, "
      << APPxmlFileName(numbers.front(), COLstring(), name) << " to " << APPxmlFileName(numbers.back(), COLstring(), name)
      << ", from '" << directory << "'." << newline << flush;
}

void APPstopOverrunningScript(unsigned seconds) {
  char text[320];
  const int length = std::snprintf(text, sizeof text,
                                   "\nError Code: 0x%08X\nDescription: A script has run for more than %u seconds, the "
                                   "limit of one script run; the run is stopped. --scripttimelimit SECONDS sets "
                                   "another limit (0: none).\n",
                                   static_cast<unsigned>(COL_ERROR_RESOURCE), seconds);
  if (length > 0) (void)!::write(STDOUT_FILENO, text, static_cast<size_t>(std::min<int>(length, sizeof text - 1)));
  if (s_HasUnfinished) ::unlink(s_Unfinished);
  ::_exit(1);
}
