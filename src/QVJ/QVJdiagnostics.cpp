#include "QVJdiagnostics.h"

#include "COLerror.h"
#include "COLostream.h"
#include "FMTbinaryDump.h"
#include "FMTprintable.h"
#include "QVMversion.h"

void QVJgenerateCompleteInfoOnException(const COLerror& Error, const COLstring& LineFeed, const COLstring& Message) {
  COLstring Report;
  {
    COLostream Stream(Report);
    Stream.setNewLine(LineFeed);
    Error.printOn(Stream);
    Stream << LineFeed;
    Stream << "Diagnostic info follows:";
    Stream.newline();
    Stream.newline();
    Stream << "Message with linefeeds added:";
    Stream.newline();
    Stream.newline();
    COLstring Printable;
    QVJmakePrintable(Printable, Message, LineFeed);
    Stream << Printable << LineFeed;
    Stream << "Hex Dump of message data:";
    Stream.newline();
    Stream.newline();
    Stream.flush();
    FMTbinaryDump(*Stream.sink(), Message.data(), Message.size(), "\n");
    COLstring Version;
    QVJversionString(Version);
    Stream << "Engine version: " << Version;
    Stream.newline();
    Stream.newline();
    Stream << "Please include all the diagnostic info above together with the message definition";
    Stream.newline();
    Stream << "file for any support inquiries.";
    Stream.newline();
    Stream.flush();
  }
  COLerror Enriched(Error);
  Enriched.setDescription(Report);
  Enriched.setParameter("PlainError", Error.description());
  throw Enriched;
}

void QVJmakePrintable(COLstring& Result, const COLstring& Message, const COLstring& LineFeed) {
  Result = FMTmakeMessagePrintable(Message, LineFeed, COLstring::npos);
}

void QVJmakeParseable(COLstring& Result, const COLstring& Text, const COLstring& LineFeed) {
  Result.clear();
  if (LineFeed.empty()) {
    Result = Text;
    return;
  }
  size_t Start = 0;
  for (size_t Found; (Found = Text.find(LineFeed, Start)) != COLstring::npos; Start = Found + LineFeed.size()) {
    Result += std::string_view(Text).substr(Start, Found - Start);
    Result += '\r';
  }
  Result += std::string_view(Text).substr(Start);
}

void QVJversionString(COLstring& Result) {
  COLstring Text;
  COLostream(Text) << QVM_MAJOR_VERSION << "." << QVM_MINOR_VERSION << " Build: " << QVM_BUILD_NUMBER;
  Result = Text;
}
