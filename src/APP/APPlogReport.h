// What the tool tells about the log besides its messages: where each message stands (number,
// byte offset, line), the header segments that did not come out as messages of their own,
// the end of the input, and a summary.  Warnings make the run's exit status 1.
#pragma once

#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <vector>

#include "COLostream.h"
#include "COLstring.h"
#include "MLGlogInput.h"
#include "MLGreader.h"
#include "QVMtableXmlFormatter.h"
#include "QVMtreeXmlFormatter.h"
#include "SGCskippedSegments.h"
#include "SGCunplacedValues.h"

class APPlogReport {
public:
  // `logPath` is the file the reader reads; an inactive report (numbered XML files) says nothing.
  APPlogReport(COLostream& out, const MLGreader& reader, const COLstring& logPath, bool active);

  // After nextMessage handed out message `number`: warnings about it.
  void afterMessage(unsigned number, bool empty);

  // Names the message being worked on if a failure unwinds through it.
  class Guard {
  public:
    Guard(APPlogReport& report, unsigned number)
        : m_Report(report), m_Number(number), m_Exceptions(std::uncaught_exceptions()) {}
    ~Guard() {
      if (!m_Done && std::uncaught_exceptions() > m_Exceptions) m_Report.failed(m_Number);
    }
    // The message went through; what fails after this is not its fault.
    void done() { m_Done = true; }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

  private:
    APPlogReport& m_Report;
    unsigned m_Number;
    int m_Exceptions;
    bool m_Done = false;
  };

  // Listens, while it lives, for the values that the XML of message `number` leaves out
  // because they do not fit their column's type or have no place in the grammar, and for the
  // defined segments the parse skipped, and warns of each one once the message is written.
  // When `lenient`, it also takes the message's missing required segments and groups, which
  // then do not fail it.
  class MessageNotes : public QVMtableXmlUnwrittenValues,
                       public QVMtreeXmlUnreadableValues,
                       public SGCskippedSegments,
                       public SGCunplacedValues,
                       public SGCmissingRequired {
  public:
    MessageNotes(APPlogReport& report, unsigned number, bool lenient)
        : m_Report(report),
          m_Number(number),
          m_Scope(*this),
          m_TreeScope(*this),
          m_SkippedScope(*this),
          m_UnplacedScope(*this) {
      if (lenient) m_MissingScope.emplace(*this);
    }
    void unwrittenValue(const QVMtableInternal& table, unsigned column, unsigned row, const COLstring& text) override;
    // A date-time of a tree dialect that its mask could not read.
    void unreadableValue(const COLstring& message, const COLstring& place, const COLstring& text,
                         const COLstring& written) override;
    void skippedSegment(const COLstring& message, const COLstring& segment, unsigned index) override;
    void missingRequired(const COLstring& message, const COLstring& grammar, bool isSegment) override;
    void unplacedValue(const COLstring& message, const COLstring& place, const COLstring& text,
                       const COLstring& reason) override;
    // The warnings, once the message's file is written.
    void report();

  private:
    APPlogReport& m_Report;
    unsigned m_Number;
    std::vector<COLstring> m_Texts;
    std::vector<COLstring> m_SkippedTexts;
    std::vector<COLstring> m_MissingTexts;
    QVMtableXmlUnwrittenScope m_Scope;
    QVMtreeXmlUnreadableScope m_TreeScope;
    SGCskippedSegmentsScope m_SkippedScope;
    SGCunplacedValuesScope m_UnplacedScope;
    std::optional<SGCmissingRequiredScope> m_MissingScope;
  };

  // After the last message, before the statistics: a warning if the input was cut short.
  void afterLastMessage();
  // After the statistics: the count of warnings and of header segments not read as
  // messages.  True when there was anything to warn about.
  bool summary();

private:
  void failed(unsigned number) noexcept;
  COLstring place(uint64_t offset);
  void warnCut();
  COLstring headerSegments(uint64_t count) const;

  COLostream& m_Out;
  const MLGreader& m_Reader;
  COLstring m_Path;
  bool m_Active;
  std::unique_ptr<MLGlineCounter> m_Lines;
  unsigned m_Warnings = 0;
  uint64_t m_HeadersLost = 0;
  uint64_t m_ValuesLost = 0;
  uint64_t m_SegmentsSkipped = 0;
  uint64_t m_RequiredMissing = 0;
  bool m_CutReported = false;
};
