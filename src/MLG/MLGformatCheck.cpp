// Format sniffing: the start bytes of a file, then the kinds of line end it uses.  The line
// end scan stops as soon as the rest of the file can no longer change the answer.
#include <algorithm>
#include <cstring>

#include "MLGblockFile.h"
#include "MLGreader.h"

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
  if (!startsWithThenScan(path, "MSH", hl7Decided, mask)) return MLGendOfFormats;
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

MLGreaderFileFormat MLGx12InterchangeCheckFileFormat(const COLstring& path) {
  unsigned mask = 0;
  if (!startsWithThenScan(path, "ISA", notCROnly, mask)) return MLGendOfFormats;
  return mask == MLGnewlineCR ? MLGx12Interchange : MLGendOfFormats;
}

MLGreaderFileFormat MLGx12BatchCheckFileFormat(const COLstring& path) {
  unsigned mask = 0;
  if (!startsWithThenScan(path, "ST", notCROnly, mask)) return MLGendOfFormats;
  return mask == MLGnewlineCR ? MLGx12Batch : MLGendOfFormats;
}
