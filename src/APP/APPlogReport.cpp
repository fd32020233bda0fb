#include "APPlogReport.h"

#include <string>

#include "COLerror.h"
#include "QVMtableDefinitionInternal.h"
#include "QVMtableInternal.h"

APPlogReport::APPlogReport(COLostream& out, const MLGreader& reader, const COLstring& logPath, bool active)
    : m_Out(out), m_Reader(reader), m_Path(logPath), m_Active(active) {}

COLstring APPlogReport::place(uint64_t offset) {
  if (!m_Lines) m_Lines = std::make_unique<MLGlineCounter>(m_Path);
  return COLstring("offset " + std::to_string(offset) + " (line " + std::to_string(m_Lines->lineAt(offset)) + ")");
}

void APPlogReport::afterMessage(unsigned number, bool empty) {
  if (!m_Active) return;
  const MLGmessageNotes& notes = m_Reader.lastMessageNotes();
  // Most messages have nothing to report: the texts are built only for those that do.
  if (notes.DroppedHeaders.empty() && notes.InnerHeaders.empty() && !empty && !notes.Unterminated) return;
  const std::string name = "message " + std::to_string(number);
  const char* format = MLGfactoryFormatName(m_Reader.fileFormat());
  if (!notes.DroppedHeaders.empty()) {
    const size_t count = notes.DroppedHeaders.size();
    m_Out << "\nWarning: " << COLstring(std::to_string(count)) << (count == 1 ? " 'MSH' segment" : " 'MSH' segments")
          << " before the end of " << COLstring(name) << (count == 1 ? ", at " : ", the first at ")
          << place(notes.DroppedHeaders.front())
          << ", stood outside a batch (FHS ... BHS) and " << (count == 1 ? "was" : "were") << " dropped under "
          << format << "." << newline;
    ++m_Warnings;
    m_HeadersLost += count;
  }
  if (!notes.InnerHeaders.empty()) {
    const size_t count = notes.InnerHeaders.size();
    m_Out << "\nWarning: " << COLstring(name) << ", at " << place(notes.Start) << ", holds "
          << COLstring(std::to_string(count)) << (count == 1 ? " more 'MSH' segment" : " more 'MSH' segments")
          << (count == 1 ? ", at " : ", the first at ") << place(notes.InnerHeaders.front()) << ": under " << format
          << " a message starts only at an 'MSH' line behind " << notes.HeaderBreak << ", so "
          << (count == 1 ? "it was" : "they were") << " read into " << COLstring(name)
          << (count == 1 ? ", not as a message of its own." : ", not as messages of their own.") << " A line end of the log may be missing or damaged." << newline;
    ++m_Warnings;
    m_HeadersLost += count;
  }
  if (empty) {
    m_Out << "\nWarning: " << COLstring(name) << ", at " << place(notes.Start)
          << ", is empty: the log holds nothing but line ends or framing lines there." << newline;
    ++m_Warnings;
  }
  if (notes.Unterminated) {
    m_Out << "\nWarning: the log ends inside " << COLstring(name) << ", at " << place(notes.Start)
          << ": its last line has no line end, so the message may be cut short." << newline;
    ++m_Warnings;
  }
}

// " 'MSH' segments", or the header of the log's format.
COLstring APPlogReport::headerSegments(uint64_t count) const {
  return COLstring(" '") + m_Reader.headerSegmentName() + (count == 1 ? "' segment" : "' segments");
}

void APPlogReport::warnCut() {
  uint64_t at = 0;
  if (m_CutReported || !m_Reader.inputCutAt(at)) return;
  m_CutReported = true;
  const uint64_t headers = m_Reader.countHeadersFrom(m_Path, at + 1);
  m_Out << "\nWarning: a NUL byte at " << place(at) << " ends the log: what follows it was not read, "
        << COLstring(std::to_string(headers)) << headerSegments(headers)
        << " among it." << newline;
  ++m_Warnings;
  m_HeadersLost += headers;
}

void APPlogReport::afterLastMessage() {
  if (m_Active) warnCut();
}

void APPlogReport::MessageNotes::unreadableValue(const COLstring& message, const COLstring& place,
                                                   const COLstring& text, const COLstring& written) {
  COLstring line;
  COLostream stream(line);
  stream << "message " << m_Number << (message.empty() ? COLstring() : " (" + message + ")") << ": the value ";
  if (!text.empty()) stream << "'" << COLshownValue(text.view()) << "' ";
  stream << "of " << (place.empty() ? COLstring("a date-time field") : place)
         << " does not fit the field's date-time format and is written as '"
         << COLshownValue(written.view())
         << "' in the XML.";
  stream.flush();
  m_Texts.push_back(line);
}

void APPlogReport::MessageNotes::unwrittenValue(const QVMtableInternal& table, unsigned column, unsigned row,
                                                  const COLstring& text) {
  const COLstring shown = COLshownValue(text.view());
  const QVMtableDefinitionInternal* definition = table.tableDefinition();
  const COLstring message = QVMtableMessageName(table);
  COLstring line;
  COLostream(line) << "message " << m_Number << (message.empty() ? COLstring() : " (" + message + ")")
                   << ": the value '" << shown << "' of "
                   << (definition ? definition->tableName() + "." : COLstring()) << table.columnName(column)
                   << " (row " << row + 1 << ") does not fit the column's type ("
                   << table.columnTypeAsString(column) << ") and is left out of the XML.";
  m_Texts.push_back(line);
}

void APPlogReport::MessageNotes::skippedSegment(const COLstring& message, const COLstring& segment,
                                                  unsigned index) {
  COLstring line;
  COLostream(line) << "message " << m_Number << (message.empty() ? COLstring() : " (" + message + ")")
                   << ": segment " << COLshownValue(segment.view()) << " at position " << index + 1
                   << " has no place in the message grammar and is left out of the XML.";
  m_SkippedTexts.push_back(line);
}

void APPlogReport::MessageNotes::unplacedValue(const COLstring& message, const COLstring& place,
                                                 const COLstring& text, const COLstring& reason) {
  COLstring line;
  COLostream(line) << "message " << m_Number << (message.empty() ? COLstring() : " (" + message + ")")
                   << ": the value '" << COLshownValue(text.view()) << "' of " << place
                   << " has no place in the grammar (" << reason << ") and is left out of the XML.";
  m_Texts.push_back(line);
}

void APPlogReport::MessageNotes::missingRequired(const COLstring& message, const COLstring& grammar,
                                                   bool isSegment) {
  COLstring line;
  COLostream(line) << "message " << m_Number << (message.empty() ? COLstring() : " (" + message + ")")
                   << ": the required " << (isSegment ? "segment " : "group ") << grammar
                   << " is not in the message; it is translated without it.";
  m_MissingTexts.push_back(line);
}

void APPlogReport::MessageNotes::report() {
  for (const COLstring& text : m_MissingTexts) {
    m_Report.m_Out << "\nWarning: " << text << newline;
    ++m_Report.m_Warnings;
    ++m_Report.m_RequiredMissing;
  }
  m_MissingTexts.clear();
  for (const COLstring& text : m_SkippedTexts) {
    m_Report.m_Out << "\nWarning: " << text << newline;
    ++m_Report.m_Warnings;
    ++m_Report.m_SegmentsSkipped;
  }
  m_SkippedTexts.clear();
  for (const COLstring& text : m_Texts) {
    m_Report.m_Out << "\nWarning: " << text << newline;
    ++m_Report.m_Warnings;
    ++m_Report.m_ValuesLost;
  }
  m_Texts.clear();
}

bool APPlogReport::summary() {
  if (!m_Warnings) return false;
  m_Out << "\nWarnings: " << COLstring(std::to_string(m_Warnings));
  const char* open = " (";
  if (m_HeadersLost) {
    m_Out << open << COLstring(std::to_string(m_HeadersLost)) << headerSegments(m_HeadersLost)
          << " of the log not read as messages";
    open = ", ";
  }
  if (m_ValuesLost) {
    m_Out << open << COLstring(std::to_string(m_ValuesLost))
          << (m_ValuesLost == 1 ? " value" : " values") << " left out of the XML";
    open = ", ";
  }
  if (m_RequiredMissing) {
    m_Out << open << COLstring(std::to_string(m_RequiredMissing))
          << (m_RequiredMissing == 1 ? " required segment or group" : " required segments or groups")
          << " missing";
    open = ", ";
  }
  if (m_SegmentsSkipped) {
    m_Out << open << COLstring(std::to_string(m_SegmentsSkipped))
          << (m_SegmentsSkipped == 1 ? " segment" : " segments") << " skipped by the message grammar";
    open = ", ";
  }
  if (open[0] == ',') m_Out << ")";
  return true;
}

void APPlogReport::failed(unsigned number) noexcept {
  if (!m_Active) return;
  try {
    const MLGmessageNotes& notes = m_Reader.lastMessageNotes();
    m_Out << "\nMessage " << COLstring(std::to_string(number)) << " of the log, at " << place(notes.Start)
          << ", failed; ";
    uint64_t cut = 0;
    const uint64_t behind = m_Reader.inputCutAt(cut) ? 0 : m_Reader.countHeadersFrom(m_Path, m_Reader.position());
    if (behind)
      m_Out << "the run stops there, leaving " << COLstring(std::to_string(behind)) << headerSegments(behind)
            << " behind it unread.";
    else
      m_Out << "no '" << m_Reader.headerSegmentName() << "' segment follows it.";
    m_Out << newline;
    if (notes.ByteOrderMark)
      m_Out << "It starts with a UTF-8 byte order mark (EF BB BF), which is no part of a message: remove it, or "
               "leave out --forceformat so that the tool skips it."
            << newline;
    warnCut();
    m_Out << flush;
  } catch (...) {
    // The failure being reported is what matters; a place that cannot be found is left out.
  }
}
