// Format sniffing: the start bytes of a file, then the kinds of line end it uses.  The line
// end scan stops as soon as the rest of the file can no longer change the answer.
#include <algorithm>
#include <cstring>

#include <memory>

#include "MLGblockFile.h"
#include "MLGhl7Reader.h"
#include "MLGreader.h"
#include "MLGx12Header.h"

namespace {

// The checkers need far less than a reader: the start bytes, then one pass.
constexpr size_t kSniffBlockSize = 1 << 20;

bool fileStartsWith(MLGblockFile& file, const char* prefix) {
  const size_t length = std::strlen(prefix);
  size_t matched = 0;
  const char* data = nullptr;
  file.setPosition(0);
  while (matched < length) {
    const size_t count = file.readChunk(data);
    if (count == 0) return false;
    const size_t compare = std::min(count, length - matched);
    if (std::memcmp(data, prefix + matched, compare) != 0) return false;
    matched += compare;
  }
  return true;
}

bool wholeFile(unsigned mask) { return mask == (MLGnewlineCR | MLGnewlineLF | MLGnewlineCRLF); }
// HL7 fails once LF is seen beside CR or CR LF; any other mask needs the whole file.
bool hl7Decided(unsigned mask) {
  return (mask & MLGnewlineLF) && (mask & (MLGnewlineCR | MLGnewlineCRLF));
}
bool lfSeen(unsigned mask) { return (mask & MLGnewlineLF) != 0; }
bool notCROnly(unsigned mask) { return (mask & (MLGnewlineLF | MLGnewlineCRLF)) != 0; }

// Opens the file (raising the open error), and scans its line ends if it starts with `prefix`.
bool startsWithThenScan(const COLstring& path, const char* prefix, bool (*decided)(unsigned), unsigned& mask) {
  MLGblockFile file(kSniffBlockSize);
  file.open(path);
  if (!fileStartsWith(file, prefix)) return false;
  mask = MLGnewlineTypes(file, decided);
  return true;
}

}  // namespace

unsigned MLGnewlineTypes(const COLstring& path) {
  MLGblockFile file(kSniffBlockSize);
  file.open(path);
  return MLGnewlineTypes(file, wholeFile);
}

MLGreaderFileFormat MLGhl7CheckFileFormat(const COLstring& path) {
  unsigned mask = 0;
  // Editors that save UTF-8 put a byte order mark in front; the reader steps over it.
  if (!startsWithThenScan(path, "MSH", hl7Decided, mask) &&
      !startsWithThenScan(path, "\xEF\xBB\xBFMSH", hl7Decided, mask))
    return MLGendOfFormats;
  const bool cr = mask & MLGnewlineCR, lf = mask & MLGnewlineLF, crlf = mask & MLGnewlineCRLF;
  if (lf) return cr || crlf ? MLGendOfFormats : MLGhl7LF;
  if (!cr && !crlf) return MLGendOfFormats;
  if (!crlf) return MLGhl7CR;
  if (!cr) return MLGhl7CRLF;
  return MLGhl7Standard;
}

MLGreaderFileFormat MLGhl7BatchCheckFileFormat(const COLstring& path) {
  unsigned mask = 0;
  if (!startsWithThenScan(path, "FHS", lfSeen, mask)) return MLGendOfFormats;
  return mask == (MLGnewlineCR | MLGnewlineCRLF) ? MLGhl7Batch : MLGendOfFormats;
}

namespace {

// An interchange header that declares its terminator, behind blanks or a byte order mark:
// the log is read by that terminator whatever line ends it has.  A plain CR declares
// nothing new; such logs are told by their line ends as before.
bool startsWithDeclaredInterchange(const COLstring& path) {
  MLGblockFile file(kSniffBlockSize);
  file.open(path);
  std::string head;
  file.peek(head, 1024, '\0');
  std::string_view bytes(head);
  if (bytes.substr(0, 3) == "\xEF\xBB\xBF") bytes.remove_prefix(3);
  const size_t skip = bytes.find_first_not_of(" \t\r\n");
  if (skip == std::string_view::npos) return false;
  bytes.remove_prefix(skip);
  MLGx12Declared declared;
  if (!MLGreadX12Header(bytes, declared) || declared.length + 1 > bytes.size()) return false;
  return declared.segment != '\r' || (declared.length + 1 < bytes.size() && bytes[declared.length + 1] == '\n');
}

}  // namespace

MLGreaderFileFormat MLGx12InterchangeCheckFileFormat(const COLstring& path) {
  if (startsWithDeclaredInterchange(path)) return MLGx12Interchange;
  unsigned mask = 0;
  if (!startsWithThenScan(path, "ISA", notCROnly, mask)) return MLGendOfFormats;
  return mask == MLGnewlineCR ? MLGx12Interchange : MLGendOfFormats;
}

MLGreaderFileFormat MLGx12BatchCheckFileFormat(const COLstring& path) {
  unsigned mask = 0;
  if (!startsWithThenScan(path, "ST", notCROnly, mask)) return MLGendOfFormats;
  return mask == MLGnewlineCR ? MLGx12Batch : MLGendOfFormats;
}

// --- logs the checkers leave out

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

const char* lineEndsText(unsigned mask) {
  switch (mask) {
    case 0: return "no line end at all";
    case MLGnewlineCR: return "CR line ends";
    case MLGnewlineLF: return "LF line ends";
    case MLGnewlineCRLF: return "CR LF line ends";
    case MLGnewlineCR | MLGnewlineCRLF: return "CR and CR LF line ends";
    default: return "LF mixed with CR or CR LF line ends";
  }
}

// The HL7 and X12 formats by start text and line ends, as the checkers decide them.
MLGreaderFileFormat formatOf(std::string_view start, unsigned mask) {
  const bool cr = mask & MLGnewlineCR, lf = mask & MLGnewlineLF, crlf = mask & MLGnewlineCRLF;
  if (start.substr(0, 3) == "MSH") {
    if (lf) return cr || crlf ? MLGendOfFormats : MLGhl7LF;
    if (!cr && !crlf) return MLGendOfFormats;
    return !crlf ? MLGhl7CR : !cr ? MLGhl7CRLF : MLGhl7Standard;
  }
  if (mask != MLGnewlineCR) return MLGendOfFormats;
  if (start.substr(0, 3) == "ISA") return MLGx12Interchange;
  if (start.substr(0, 2) == "ST") return MLGx12Batch;
  return MLGendOfFormats;
}

}  // namespace

MLGreader* MLGfactoryOpenUnrecognised(const COLstring& path, COLstring& note, COLstring& why) {
  note = COLstring();
  why = COLstring();
  MLGblockFile file(kSniffBlockSize);
  file.open(path);
  std::string head;
  const char* data = nullptr;
  while (head.size() < 8)
    if (const size_t count = file.readChunk(data)) head.append(data, std::min<size_t>(count, 8 - head.size()));
    else break;
  if (head.empty()) {
    why = "is empty";
    return nullptr;
  }
  const unsigned mask = MLGnewlineTypes(file, wholeFile);
  size_t skip = 0;
  if (std::string_view(head).substr(0, 3) == kByteOrderMark) {
    skip = kByteOrderMark.size();
    note = "The log starts with a UTF-8 byte order mark (EF BB BF); it is skipped.";
  }
  const std::string_view start = std::string_view(head).substr(skip);
  std::unique_ptr<MLGreader> reader;
  if (start.substr(0, 3) == "FHS" || start.substr(0, 3) == "BHS") {
    if (mask & MLGnewlineLF) {
      why = "starts with '" + COLstring(start.substr(0, 3)) + "' as an HL7 batch does, but has " + lineEndsText(mask) +
            "; a batch has CR or CR LF line ends";
      return nullptr;
    }
    auto batch = std::make_unique<MLGhl7BatchReader>();
    if (start.substr(0, 3) == "BHS") {
      batch->setStartsInFile(true);
      if (!note.empty()) note += "\n";
      note += "The batch has no file header (FHS): it starts at its BHS.";
    }
    if (mask == MLGnewlineCR) {
      batch->setMessageBreak(MLGnewlineCR);
      if (!note.empty()) note += "\n";
      note += "The batch has CR between all its lines: every 'MSH' line starts a message.";
    }
    reader = std::move(batch);
  } else {
    const MLGreaderFileFormat format = formatOf(start, mask);
    if (format == MLGendOfFormats || skip == 0) {
      COLstring text;
      for (const char c : start.substr(0, 3)) text += c >= ' ' && c < 0x7f ? COLstring(1, c) : COLstring("?");
      why = (skip ? COLstring("starts with a UTF-8 byte order mark (EF BB BF), then with '")
                  : COLstring("starts with '")) +
            text + "', and has " + lineEndsText(mask);
      return nullptr;
    }
    reader.reset(MLGfactoryFromFormat(format));
  }
  static_cast<MLGfileReader&>(*reader).openAt(path, skip);
  return reader.release();
}
