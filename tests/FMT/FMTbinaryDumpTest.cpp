#include <gtest/gtest.h>

#include <string>

#include "COLerror.h"
#include "COLostream.h"
#include "FMTbinaryDump.h"

#include "../support/TSTraised.h"

namespace {

std::string dump16(const std::string& bytes) {
  COLstring out;
  FMTbinaryDump16(out, bytes.data(), bytes.size());
  return out.str();
}

}  // namespace

TEST(FMTbinaryDump, FullLineHasTwoGroupsAndTheText) {
  EXPECT_EQ("4D 53 48 7C 5E 7E 5C 26   0D 50 49 44 7C 31 7C 7F   MSH|^~\\& .PID|1|\x7F",
            dump16("MSH|^~\\&\rPID|1|\x7F"));
  EXPECT_EQ(69u, dump16(std::string(16, 'x')).size());
}

TEST(FMTbinaryDump, ShortLinesArePaddedToTheTextColumn) {
  EXPECT_EQ("41 00 FF" + std::string(44, ' ') + "A.. ", dump16(std::string("A\0\xFF", 3)));
  EXPECT_EQ("30 31 32 33 34 35 36 37" + std::string(29, ' ') + "01234567 ", dump16("01234567"));
  EXPECT_EQ("30 31 32 33 34 35 36 37   38" + std::string(24, ' ') + "01234567 8", dump16("012345678"));
  EXPECT_EQ(std::string(52, ' ') + " ", dump16(""));
  // Control bytes and bytes from 128 up are dots.
  EXPECT_EQ("1F 20 80 ", dump16("\x1F \x80").substr(0, 9));
  EXPECT_EQ(". . ", dump16("\x1F \x80").substr(52));
}

TEST(FMTbinaryDump, MoreThanSixteenBytesIsRefused) {
  EXPECT_EQ(COLstring("Failed precondition: Length <= 16"),
            TSTraised([&] { dump16(std::string(17, 'x')); }).description());
}

TEST(FMTbinaryDump, DumpWritesALineForEverySixteenBytes) {
  const std::string bytes = "ABCDEFGHIJKLMNOPQ";
  COLstring out;
  FMTbinaryDump(out, bytes.data(), bytes.size(), "\n");
  EXPECT_EQ("41 42 43 44 45 46 47 48   49 4A 4B 4C 4D 4E 4F 50   ABCDEFGH IJKLMNOP\n"
            "51" + std::string(50, ' ') + "Q \n",
            out.str());

  COLstring empty;
  FMTbinaryDump(empty, "", 0, "\n");
  EXPECT_TRUE(empty.empty());

  COLstring viaStream;
  COLostream stream(viaStream);
  stream.setNewLine("\r\n");
  FMTbinaryDump(stream, bytes.data(), 16);
  EXPECT_EQ(dump16(bytes.substr(0, 16)) + "\r\n", viaStream.str());
}

TEST(FMTbinaryDebug, CollectsFullLinesAcrossWritesAndEndsTheLast) {
  const std::string bytes = "0123456789abcdefghijklmnopqrstuvwxyz";  // 36: two full lines and four
  auto bracket = [](unsigned char byte) { return COLstring("[") + static_cast<char>(byte) + "]"; };
  COLstring out;
  {
    FMTbinaryDebug debug(out);
    debug.write(bytes.data(), 5, bracket);
    EXPECT_TRUE(out.empty()) << "a short line waits";
    debug.write(bytes.data() + 5, 30, bracket);
    debug.write(bytes.data() + 35, 1, bracket);
    const std::string firstLine = dump16(bytes.substr(0, 16)) + " [0][1][2][3][4][5][6][7][8][9][a][b][c][d][e][f]\n";
    const std::string secondLine = dump16(bytes.substr(16, 16)) + " [g][h][i][j][k][l][m][n][o][p][q][r][s][t][u][v]\n";
    EXPECT_EQ(firstLine + secondLine, out.str());
  }
  EXPECT_NE(std::string::npos, out.str().find(dump16("wxyz") + " [w][x][y][z]\n")) << "the destructor ends the last line";

  COLstring exact;
  {
    FMTbinaryDebug debug(exact, "|");
    debug.write(bytes.data(), 32, nullptr);
  }
  EXPECT_EQ(dump16(bytes.substr(0, 16)) + " |" + dump16(bytes.substr(16, 16)) + " |", exact.str());
}
