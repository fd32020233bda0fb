// FMTprintable: a message as a terminal shows it.  Segment terminators ("\r") and other line
// ends become one chosen line end each, so a message in an error report reads line by line.
#pragma once

#include <cstddef>
#include <string_view>

#include "COLstring.h"

class COLostream;

// Every "\r", "\n" and `lineFeed` of the message becomes exactly one `lineFeed` (so "\r\n"
// gives two, unless `lineFeed` is "\r\n").  With a `maxLength` below the message's length
// the message is cut there and a notice of the cut follows; npos means no limit.
COLstring FMTmakeMessagePrintable(std::string_view message, std::string_view lineFeed,
                                  size_t maxLength = COLstring::npos);

// Hands a message to a COLostream in its printable form:
//   stream << FMTlineFeedConvert(message, "\n");
class FMTlineFeedConvert {
public:
  FMTlineFeedConvert(const char* message, const COLstring& lineFeed) : m_Message(message), m_LineFeed(lineFeed) {}
  const char* message() const { return m_Message; }
  const COLstring& lineFeed() const { return m_LineFeed; }

private:
  const char* m_Message;
  COLstring m_LineFeed;
};

COLostream& operator<<(COLostream& stream, const FMTlineFeedConvert& convert);
