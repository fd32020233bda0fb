#include <cstring>

#include "COLerror.h"
#include "MLGreader.h"

namespace {
struct FactoryEntry {
  MLGreaderFileFormat format;
  const char* name;
  const char* description;
};

// Factory order: "SingleMessage" is listed last although its value is 5.
constexpr FactoryEntry kFactory[] = {
    {MLGhl7Standard, "HL7Standard", "HL7, with CR delimiting segments and CRLF delimiting messages."},
    {MLGhl7CRLF, "HL7CRLF", "HL7, with CRLF delimiting both segments and messages."},
    {MLGhl7CR, "HL7CR", "HL7, with CR delimiting both segments and messages."},
    {MLGhl7LF, "HL7LF", "HL7, with LF delimiting both segments and messages."},
    {MLGhl7Batch, "HL7Batch", "HL7, with standard delimiters, batched with FHS and BHS segments."},
    {MLGx12Interchange, "X12Interchange", "X12, interchange format (ISA-IEA), CR as segment delimiter."},
    {MLGx12Batch, "X12Batch",
     "X12, interchange (ISA-IEA) or transaction set (ST-SE), individual transaction sets extracted, CR as segment "
     "delimiter."},
    {MLGsingleMessage, "SingleMessage", "The entire file is treated as a message."},
    {MLGendOfFormats, nullptr, nullptr},
};

[[noreturn]] void readersMissing() {
  throw COLerror("Message log readers are not available yet in this build.", COL_ERROR_PRECONDITION);
}
}  // namespace

unsigned MLGfactoryCountOfReader() {
  static const unsigned count = [] {
    unsigned n = 0;
    while (kFactory[n].format != MLGendOfFormats) ++n;
    return n;
  }();
  return count;
}

const char* MLGfactoryName(unsigned ReaderIndex) {
  COL_PRECONDITION(ReaderIndex < MLGfactoryCountOfReader());
  return kFactory[ReaderIndex].name;
}

const char* MLGfactoryDescription(unsigned ReaderIndex) {
  COL_PRECONDITION(ReaderIndex < MLGfactoryCountOfReader());
  return kFactory[ReaderIndex].description;
}

const char* MLGfactoryFormatName(MLGreaderFileFormat format) {
  for (unsigned i = 0; i < MLGfactoryCountOfReader(); ++i)
    if (kFactory[i].format == format) return kFactory[i].name;
  return "Unknown";
}

MLGreader* MLGfactoryFromFormat(MLGreaderFileFormat) { readersMissing(); }
MLGreader* MLGfactoryFromName(const COLstring&) { readersMissing(); }
MLGreader* MLGfactoryOpen(const COLstring&) { readersMissing(); }
