#include "APPxmlInput.h"

#include <expat.h>

#include <string>
#include <vector>

#include "APPengine.h"
#include "APPoutput.h"
#include "APPxmlFileName.h"
#include "COLerror.h"
#include "COLostream.h"
#include "FILpath.h"
#include "QVMerror.h"

namespace {

[[noreturn]] void refuse(const COLstring& text) { throw COLerror(text, COL_ERROR_PRECONDITION); }

COLstring numberedName(unsigned number, const COLstring& name) { return APPxmlFileName(number, COLstring(), name); }

// --- what a file holds

struct APPxmlScan {
  XML_Parser parser = nullptr;
  unsigned depth = 0;
  bool tableRoot = false;
  unsigned messages = 0;
  COLstring problem;

  void stop(const COLstring& text) {
    if (problem.empty()) problem = text;
    XML_StopParser(parser, XML_FALSE);
  }
};

void XMLCALL onStart(void* data, const XML_Char* name, const XML_Char**) {
  auto& scan = *static_cast<APPxmlScan*>(data);
  if (++scan.depth == 1) scan.tableRoot = std::string_view(name) == "Quovane_Import";
  if (scan.depth == 2 && scan.tableRoot) ++scan.messages;
}

void XMLCALL onEnd(void* data, const XML_Char*) { --static_cast<APPxmlScan*>(data)->depth; }

void XMLCALL onDoctype(void* data, const XML_Char*, const XML_Char* systemId, const XML_Char*, int) {
  if (systemId != nullptr)
    static_cast<APPxmlScan*>(data)->stop(COLstring("refers to the external document type '") + systemId +
                                         "', which is not read");
}

void XMLCALL onEntity(void* data, const XML_Char* name, int, const XML_Char*, int, const XML_Char*,
                      const XML_Char* systemId, const XML_Char*, const XML_Char*) {
  if (systemId != nullptr)
    static_cast<APPxmlScan*>(data)->stop(COLstring("declares the external entity '") + name + "' ('" + systemId +
                                         "'), which is not read");
}

void XMLCALL onSkipped(void* data, const XML_Char* name, int) {
  static_cast<APPxmlScan*>(data)->stop(COLstring("refers to the entity '&") + name + ";', which it does not declare");
}

int XMLCALL onExternal(XML_Parser parser, const XML_Char*, const XML_Char*, const XML_Char* systemId,
                       const XML_Char*) {
  static_cast<APPxmlScan*>(XML_GetUserData(parser))
      ->stop(COLstring("refers to the external entity '") + (systemId ? systemId : "") + "', which is not read");
  return XML_STATUS_ERROR;
}

}  // namespace

COLstring APPcheckNumberedInputs(const COLstring& directory, const COLstring& name) {
  const std::vector<unsigned> numbers = APPnumberedFiles(directory, name);
  unsigned run = 0;
  while (run < numbers.size() && numbers[run] == run + 1) ++run;
  if (run < numbers.size()) {
    COLstring text;
    COLostream stream(text);
    stream << "The numbered files of '" << directory << name << "' have a gap: ";
    if (run == 0)
      stream << "there is no " << numberedName(1, name);
    else
      stream << numberedName(run, name) << " is followed by " << numberedName(numbers[run], name);
    stream << ", so " << static_cast<unsigned>(numbers.size() - run)
           << " file(s) would not be read; nothing was written. Number the files from 1 without a gap.";
    refuse(text);
  }
  if (!numbers.empty()) return COLstring();
  if (!directory.empty() && !FILfileExists(directory))
    return "Warning: the directory '" + directory + "' does not exist; no message was read.";
  return "Warning: there is no file " + directory + numberedName(1, name) + "; no message was read.";
}

void APPcheckAllInputsRead(const COLstring& directory, const COLstring& name, unsigned count) {
  const std::vector<unsigned> numbers = APPnumberedFiles(directory, name);
  if (numbers.empty() || numbers.back() <= count) return;
  COLstring text;
  COLostream(text) << "The run read " << count << " numbered file(s) of '" << directory << name << "', but "
                   << numberedName(numbers.back(), name) << " is there too: the files after the first gap were not read.";
  refuse(text);
}

COLstring APPxmlMessageText(const COLstring& fileName, const COLstring& bytes) {
  APPxmlScan scan;
  scan.parser = XML_ParserCreate(nullptr);
  if (scan.parser == nullptr) throw COLerror("Out of memory for an XML parser", COL_ERROR_RESOURCE);
  XML_SetUserData(scan.parser, &scan);
  XML_SetElementHandler(scan.parser, onStart, onEnd);
  XML_SetStartDoctypeDeclHandler(scan.parser, onDoctype);
  XML_SetEntityDeclHandler(scan.parser, onEntity);
  XML_SetSkippedEntityHandler(scan.parser, onSkipped);
  XML_SetExternalEntityRefHandler(scan.parser, onExternal);
  XML_Parse(scan.parser, bytes.data(), static_cast<int>(bytes.size()), XML_TRUE);
  XML_ParserFree(scan.parser);
  // Malformed XML is left to the reader of the dialect, which reports where.
  if (!scan.problem.empty()) refuse("The XML file '" + fileName + "' " + scan.problem + "; nothing of it was written.");
  if (scan.messages > 1) {
    COLstring text;
    COLostream(text) << "The XML file '" << fileName << "' holds " << scan.messages
                     << " messages; a numbered file holds one message, and reading it would keep only the last.";
    refuse(text);
  }
  // UTF-16 goes on as it is: the engine takes the whole text and Expat reads that encoding.
  return bytes;
}

COLstring APPtranslateXmlFile(APPengine& engine, const COLstring& fileName, const COLstring& xml) {
  try {
    return engine.translateXmlToMessage(xml);
  } catch (const QVMerror& error) {
    throw COLerror("The XML file '" + fileName + "' could not be made a message: " + error.Description(),
                   error.Code());
  } catch (const COLerror& error) {
    throw COLerror("The XML file '" + fileName + "' could not be made a message: " + error.description(),
                   error.code());
  }
}
