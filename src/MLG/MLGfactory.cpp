// The reader factory: the list of log formats by name and description, a reader made for a
// format or a name, and a file opened with the reader its first bytes call for (MLGreader.h).
#include <cstring>
#include <memory>
#include <string_view>

#include "COLerror.h"
#include "MLGhl7Reader.h"
#include "MLGreader.h"
#include "MLGx12Readers.h"

namespace {
MLGreader* createHl7Reader(MLGreaderFileFormat format) { return new MLGhl7Reader(format); }
MLGreader* createHl7BatchReader(MLGreaderFileFormat Format) {
  COL_PRECONDITION(Format == MLGhl7Batch);
  return new MLGhl7BatchReader();
}
MLGreader* createX12InterchangeReader(MLGreaderFileFormat) { return new MLGx12InterchangeReader(); }
MLGreader* createX12BatchReader(MLGreaderFileFormat) { return new MLGx12BatchReader(); }

struct FactoryEntry {
  MLGreaderFileFormat format;
  MLGreader* (*create)(MLGreaderFileFormat);
  const char* name;
  const char* description;
};

// Factory order: "SingleMessage" is listed last although its value is 5.
constexpr FactoryEntry kFactory[] = {
    {MLGhl7Standard, createHl7Reader, "HL7Standard", "HL7, with CR delimiting segments and CRLF delimiting messages."},
    {MLGhl7CRLF, createHl7Reader, "HL7CRLF", "HL7, with CRLF delimiting both segments and messages."},
    {MLGhl7CR, createHl7Reader, "HL7CR", "HL7, with CR delimiting both segments and messages."},
    {MLGhl7LF, createHl7Reader, "HL7LF", "HL7, with LF delimiting both segments and messages."},
    {MLGhl7Batch, createHl7BatchReader, "HL7Batch",
     "HL7, with standard delimiters, batched with FHS and BHS segments."},
    {MLGx12Interchange, createX12InterchangeReader, "X12Interchange",
     "X12, interchange format (ISA-IEA), CR as segment delimiter."},
    {MLGx12Batch, createX12BatchReader, "X12Batch",
     "X12, interchange (ISA-IEA) or transaction set (ST-SE), individual transaction sets extracted, CR as segment "
     "delimiter."},
    {MLGsingleMessage, createHl7Reader, "SingleMessage", "The entire file is treated as a message."},
    {MLGendOfFormats, nullptr, nullptr, nullptr},
};
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

MLGreader* MLGfactoryFromFormat(MLGreaderFileFormat format) {
  for (unsigned i = 0; i < MLGfactoryCountOfReader(); ++i)
    if (kFactory[i].format == format) return kFactory[i].create(format);
  return nullptr;
}

MLGreader* MLGfactoryFromName(const COLstring& name) {
  for (unsigned i = 0; i < MLGfactoryCountOfReader(); ++i)
    if (name.view() == std::string_view(kFactory[i].name)) return kFactory[i].create(kFactory[i].format);
  return nullptr;
}

MLGreader* MLGfactoryOpen(const COLstring& path) {
  using Checker = MLGreaderFileFormat (*)(const COLstring&);
  constexpr Checker kCheckers[] = {MLGhl7CheckFileFormat, MLGhl7BatchCheckFileFormat,
                                   MLGx12InterchangeCheckFileFormat, MLGx12BatchCheckFileFormat};
  MLGreaderFileFormat found = MLGendOfFormats;
  for (Checker check : kCheckers) {
    const MLGreaderFileFormat format = check(path);
    if (format != MLGendOfFormats) found = format;
  }
  if (found == MLGendOfFormats) return nullptr;
  std::unique_ptr<MLGreader> reader(MLGfactoryFromFormat(found));
  reader->open(path);
  return reader.release();
}
