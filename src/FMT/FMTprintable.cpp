#include "FMTprintable.h"

#include "COLostream.h"

namespace {

// One pass: a line end found where `lineFeed` starts is kept whole, any other "\r" or "\n"
// becomes `lineFeed`.  This is what replacing through a byte that occurs in neither text
// gives, without having to find such a byte.
void FMTconvertLineEnds(std::string_view Text, std::string_view LineFeed, std::string& Out) {
  const char Stops[3] = {'\r', '\n', LineFeed.empty() ? '\r' : LineFeed.front()};
  const std::string_view StopSet(Stops, sizeof Stops);
  Out.reserve(Out.size() + Text.size() + Text.size() / 16 * LineFeed.size());
  size_t Position = 0;
  while (Position < Text.size()) {
    const size_t Stop = Text.find_first_of(StopSet, Position);
    if (Stop == std::string_view::npos) {
      Out += Text.substr(Position);
      break;
    }
    Out += Text.substr(Position, Stop - Position);
    if (!LineFeed.empty() && Text.compare(Stop, LineFeed.size(), LineFeed) == 0) {
      Out += LineFeed;
      Position = Stop + LineFeed.size();
    } else {
      if (Text[Stop] == '\r' || Text[Stop] == '\n') Out += LineFeed;
      else Out += Text[Stop];
      Position = Stop + 1;
    }
  }
}

}  // namespace

COLstring FMTmakeMessagePrintable(std::string_view message, std::string_view lineFeed, size_t maxLength) {
  std::string Text;
  if (maxLength != COLstring::npos && maxLength < message.size()) {
    std::string Cut(message.substr(0, maxLength));
    COLstring Notice;
    COLostream NoticeStream(Notice);
    NoticeStream << "<message output is truncated to " << static_cast<unsigned long long>(maxLength)
                 << " bytes from original length of " << static_cast<unsigned long long>(message.size())
                 << " bytes>\n";
    Cut += Notice.str();
    FMTconvertLineEnds(Cut, lineFeed, Text);
  } else {
    FMTconvertLineEnds(message, lineFeed, Text);
  }
  return COLstring(std::move(Text));
}

COLostream& operator<<(COLostream& stream, const FMTlineFeedConvert& convert) {
  const char* pMessage = convert.message();
  return stream << FMTmakeMessagePrintable(pMessage ? std::string_view(pMessage) : std::string_view(),
                                           convert.lineFeed().view());
}
