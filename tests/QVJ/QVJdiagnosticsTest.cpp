// The report of a failed message: everything a support request needs, in a fixed layout, with
// the short text kept apart for programs.
#include <gtest/gtest.h>

#include "COLerror.h"
#include "QVJdiagnostics.h"

#include "../support/TSTraised.h"

namespace {

TEST(QVJdiagnostics, ReportCarriesTheErrorTheMessageAsLinesAndBytesAndTheVersion) {
  COLerror Original("Message delimiters were not found.", 0x80001201);
  Original.setParameter("Where", "header");
  const COLerror Report = TSTraised([&] { QVJgenerateCompleteInfoOnException(Original, "\n", "MSH|x\rPID|1"); });
  EXPECT_EQ(Report.code(), 0x80001201u);
  EXPECT_EQ(COLerror(Report).parameter("Where"), "header");
  EXPECT_EQ(COLerror(Report).parameter("PlainError"), "Message delimiters were not found.");
  EXPECT_EQ(std::string(Report.description().c_str()),
            "Error Code: 0x80001201\n"
            "Description: Message delimiters were not found.\n"
            "Where: header\n"
            "\n"
            "Diagnostic info follows:\n\n"
            "Message with linefeeds added:\n\n"
            "MSH|x\nPID|1\n"
            "Hex Dump of message data:\n\n"
            "4D 53 48 7C 78 0D 50 49   44 7C 31                  MSH|x.PI D|1\n"
            "Engine version: 5.1 Build: 12\n\n"
            "Please include all the diagnostic info above together with the message definition\n"
            "file for any support inquiries.\n");
}

TEST(QVJdiagnostics, PrintableAndParseableAreInversesForLineEnds) {
  COLstring Printable;
  QVJmakePrintable(Printable, "MSH|1\rPID|2\rPV1", "\r\n");
  EXPECT_EQ(Printable, "MSH|1\r\nPID|2\r\nPV1");
  COLstring Parseable;
  QVJmakeParseable(Parseable, Printable, "\r\n");
  EXPECT_EQ(Parseable, "MSH|1\rPID|2\rPV1");
  QVJmakeParseable(Parseable, "a<br>b<br>", "<br>");
  EXPECT_EQ(Parseable, "a\rb\r");
  COLstring Version;
  QVJversionString(Version);
  EXPECT_EQ(Version, "5.1 Build: 12");
}

}  // namespace
