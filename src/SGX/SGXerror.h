// SGXerror: one positioned fault found while reading message XML: a code, a text for the
// user, the line and column in the XML, and whether it stops the conversion.
#pragma once

#include <cstdint>
#include <vector>

#include "COLreference.h"
#include "COLstring.h"

class SGXerror : public COLreference {
public:
  enum ErrorCode : uint32_t {
    XmlParseFailed = 0,         // "XML00001": the XML reader failed, or another fault
    XmlMalformed = 1,           // "XML00002": the XML is not well-formed
    MessageNotDefined = 2,      // "XML00003"
    UnexpectedElement = 3,      // "XML00004"
    RequiredMissing = 4,        // "XML00005"
    TooManyRepeats = 5,         // "XML00006"
    SegmentCheckFailed = 6,     // "XML00007"
  };

  // Lines count from 1, columns from 0 as the XML reader gives them; 0 and 0 when unknown.
  SGXerror(ErrorCode code, const COLstring& description, unsigned lineNumber = 0, unsigned colNumber = 0)
      : m_ErrorCode(code), m_Description(description), m_LineNumber(lineNumber), m_ColNumber(colNumber) {}

  ErrorCode errorCode() const { return m_ErrorCode; }
  bool fatal() const { return m_Fatal; }
  void setFatal(bool value) { m_Fatal = value; }
  const COLstring& description() const { return m_Description; }
  void setDescription(const COLstring& text) { m_Description = text; }
  unsigned lineNumber() const { return m_LineNumber; }
  unsigned colNumber() const { return m_ColNumber; }
  void setPosition(unsigned lineNumber, unsigned colNumber) {
    m_LineNumber = lineNumber;
    m_ColNumber = colNumber;
  }

protected:
  COLreference* copyForClone() const override { return new SGXerror(*this); }

private:
  ErrorCode m_ErrorCode;
  bool m_Fatal = true;
  COLstring m_Description;
  unsigned m_LineNumber;
  unsigned m_ColNumber;
};

// "XML00001" to "XML00007"; any other code raises "Unknown SGXerror::ErrorCode " and the
// number (0x80000100).
COLstring SGXerrorPrintableCode(uint32_t code);

using SGXerrorList = std::vector<COLreferencePtr<SGXerror>>;
// Ascending line numbers; errors of one line keep their order.
void SGXerrorListSortByLineNumber(SGXerrorList& list);
