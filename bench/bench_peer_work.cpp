// The peers' work in compare.sh, done with msgbridge's own tokeniser: each message of a log cut
// into segments, fields, repeats and components, MSH-9, PID-3 and PID-5 read as text, and the
// message written back to text.  No identification, grammar, validation, tables or XML: the row
// it gives sets the engine's parse beside parsers that do no more than this.
//   bench_peer_work LOG   prints "messages seconds" for the loop alone
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "BENCHlog.h"
#include "COLostream.h"
#include "SGCmatch.h"
#include "SGMoutput.h"
#include "SGPparser.h"

namespace {

// The text of field NAME-`Number`, all its repeats, as the peers' toString gives it.  Field n
// is position n - 1 in every segment, MSH included (its positions 0 and 1 hold MSH-1 and MSH-2).
size_t fieldText(SGMsegmentList& List, const COLstring& Name, uint32_t Number, const SGMseparatorCharacters& Separators,
                 COLstring& Text) {
  Text.clear();
  const unsigned Index = SGCfindFirstNamedSegment(List, Name);
  if (Index >= List.countOfSegment() || Number - 1 >= List.segment(Index).countOfField()) return 0;
  COLostream Stream(Text);
  SGMoutputSegmentField(List.segment(Index), Number - 1, Separators, Stream);
  Stream.flush();
  return Text.size();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: bench_peer_work LOG\n");
    return 2;
  }
  std::vector<std::string> Messages = BENCHreadLog(argv[1]);
  // The peers are handed each message without its CR LF.
  for (std::string& Message : Messages)
    while (!Message.empty() && (Message.back() == '\n' || Message.back() == '\r')) Message.pop_back();
  SGPparser Parser;
  const SGPparserOptions Options;
  SGMsegmentList List;
  SGMseparatorCharacters Separators;
  COLstring Field, Written;
  const COLstring Msh("MSH"), Pid("PID");
  size_t Seen = 0;
  const auto Start = std::chrono::steady_clock::now();
  for (const std::string& Message : Messages) {
    if (Parser.parse(Message.data(), Message.size(), List, Separators, Options) != SGPparsed) continue;
    const size_t Read = fieldText(List, Msh, 9, Separators, Field) + fieldText(List, Pid, 3, Separators, Field) +
                        fieldText(List, Pid, 5, Separators, Field);
    Written.clear();
    SGMappendSegmentList(List, Separators, "\r", Written);
    if (Read > 0 && !Written.empty()) ++Seen;
  }
  const double Seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - Start).count();
  if (Seen != Messages.size()) {
    std::fprintf(stderr, "only %zu of %zu messages gave MSH-9, PID-3, PID-5 and their text\n", Seen, Messages.size());
    return 1;
  }
  // The text written back is the message itself, or the row would time something else.
  for (const std::string& Message : Messages) {
    Parser.parse(Message.data(), Message.size(), List, Separators, Options);
    Written.clear();
    SGMappendSegmentList(List, Separators, "\r", Written);
    std::string_view Back = Written.view(), Sent = Message;
    if (Back.ends_with('\r') && !Sent.ends_with('\r')) Back.remove_suffix(1);
    if (Back != Sent) {
      std::fprintf(stderr, "a message came back as other text\n");
      return 1;
    }
  }
  std::printf("%zu %.6f\n", Messages.size(), Seconds);
  return 0;
}
