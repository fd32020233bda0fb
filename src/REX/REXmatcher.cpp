#include "REXmatcher.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <array>
#include <cstring>
#include <memory>
#include <optional>
#include <utility>

#include "COLerror.h"
#include "COLostream.h"

struct REXmatcherPrivate {
  pcre2_code* pCompiledExpression = nullptr;
  COLstring pattern;
  COLstring lastCompileError;
  uint32_t errorOffset = 0;
  REXoption options = 0;
  bool valid = false;
  uint32_t countOfPair = 1;  // the whole match plus each capture group

  REXmatcherPrivate() = default;
  REXmatcherPrivate(const REXmatcherPrivate&) = delete;
  REXmatcherPrivate& operator=(const REXmatcherPrivate&) = delete;
  ~REXmatcherPrivate() { freeCode(); }

  void freeCode() {
    if (pCompiledExpression) pcre2_code_free(pCompiledExpression);
    pCompiledExpression = nullptr;
  }
};

namespace {

// What a moved-from matcher reports: nothing compiled.
const REXmatcherPrivate& REXemptyPrivate() {
  static const REXmatcherPrivate Empty;
  return Empty;
}

// Match data is per thread and reused, so matching allocates nothing once it has grown
// to the largest pattern a thread uses, and a shared matcher stays read-only.
struct REXmatchScratch {
  pcre2_match_data* pData = nullptr;
  uint32_t countOfPair = 0;
  // Made on the first search that outgrows the machine code's small default stack.
  pcre2_jit_stack* pLargeStack = nullptr;
  pcre2_match_context* pLargeStackContext = nullptr;

  REXmatchScratch() = default;
  REXmatchScratch(const REXmatchScratch&) = delete;
  REXmatchScratch& operator=(const REXmatchScratch&) = delete;
  ~REXmatchScratch() {
    if (pData) pcre2_match_data_free(pData);
    if (pLargeStackContext) pcre2_match_context_free(pLargeStackContext);
    if (pLargeStack) pcre2_jit_stack_free(pLargeStack);
  }

  // Null when the memory cannot be had; the interpreter serves then.
  pcre2_match_context* largeStackContext() {
    if (!pLargeStackContext) {
      constexpr size_t StartSize = 64 * 1024;
      constexpr size_t MaxSize = 8 * 1024 * 1024;
      pLargeStack = pcre2_jit_stack_create(StartSize, MaxSize, nullptr);
      if (!pLargeStack) return nullptr;
      pLargeStackContext = pcre2_match_context_create(nullptr);
      if (!pLargeStackContext) return nullptr;
      pcre2_jit_stack_assign(pLargeStackContext, nullptr, pLargeStack);
    }
    return pLargeStackContext;
  }
};

REXmatchScratch& REXscratch() {
  thread_local REXmatchScratch Scratch;
  return Scratch;
}

pcre2_match_data* REXscratchFor(uint32_t countOfPair) {
  REXmatchScratch& Scratch = REXscratch();
  if (Scratch.countOfPair < countOfPair) {
    pcre2_match_data* pNew = pcre2_match_data_create(countOfPair, nullptr);
    if (!pNew) throw COLerror("Out of memory for regular expression match data", COL_ERROR_RESOURCE);
    if (Scratch.pData) pcre2_match_data_free(Scratch.pData);
    Scratch.pData = pNew;
    Scratch.countOfPair = countOfPair;
  }
  return Scratch.pData;
}

// Options other than these made the classic compile call refuse the pattern.
constexpr REXoption REXknownOptions =
    REX_CASELESS | REX_MULTILINE | REX_DOTALL | REX_EXTENDED | REX_ANCHORED | REX_DOLLAR_ENDONLY | REX_EXTRA |
    REX_UNGREEDY | REX_UTF8 | REX_NO_AUTO_CAPTURE | REX_NO_UTF8_CHECK | REX_FIRSTLINE | REX_DUPNAMES |
    REX_NEWLINE_ANYCRLF | REX_NEWLINE_ANY | REX_BSR_ANYCRLF | REX_BSR_UNICODE | REX_NO_START_OPTIMIZE | REX_UCP;

uint32_t REXcompileOptions(REXoption Options) {
  static constexpr std::pair<REXoption, uint32_t> Map[] = {
      {REX_CASELESS, PCRE2_CASELESS},
      {REX_MULTILINE, PCRE2_MULTILINE},
      {REX_DOTALL, PCRE2_DOTALL},
      {REX_EXTENDED, PCRE2_EXTENDED},
      {REX_ANCHORED, PCRE2_ANCHORED},
      {REX_DOLLAR_ENDONLY, PCRE2_DOLLAR_ENDONLY},
      {REX_UNGREEDY, PCRE2_UNGREEDY},
      {REX_UTF8, PCRE2_UTF},
      {REX_NO_AUTO_CAPTURE, PCRE2_NO_AUTO_CAPTURE},
      {REX_NO_UTF8_CHECK, PCRE2_NO_UTF_CHECK},
      {REX_FIRSTLINE, PCRE2_FIRSTLINE},
      {REX_DUPNAMES, PCRE2_DUPNAMES},
      {REX_NO_START_OPTIMIZE, PCRE2_NO_START_OPTIMIZE},
      {REX_UCP, PCRE2_UCP},
  };
  uint32_t Result = 0;
  for (const auto& [From, To] : Map)
    if (Options & From) Result |= To;
  return Result;
}

// Newline and \R settings; false when the bits contradict each other.
bool REXsetLineConventions(pcre2_compile_context* pContext, REXoption Options) {
  switch (Options & 0x00700000) {
    case 0: break;
    case REX_NEWLINE_CR: pcre2_set_newline(pContext, PCRE2_NEWLINE_CR); break;
    case REX_NEWLINE_LF: pcre2_set_newline(pContext, PCRE2_NEWLINE_LF); break;
    case REX_NEWLINE_CRLF: pcre2_set_newline(pContext, PCRE2_NEWLINE_CRLF); break;
    case REX_NEWLINE_ANY: pcre2_set_newline(pContext, PCRE2_NEWLINE_ANY); break;
    case REX_NEWLINE_ANYCRLF: pcre2_set_newline(pContext, PCRE2_NEWLINE_ANYCRLF); break;
    default: return false;
  }
  const REXoption Bsr = Options & (REX_BSR_ANYCRLF | REX_BSR_UNICODE);
  if (Bsr == (REX_BSR_ANYCRLF | REX_BSR_UNICODE)) return false;
  if (Bsr) pcre2_set_bsr(pContext, Bsr == REX_BSR_ANYCRLF ? PCRE2_BSR_ANYCRLF : PCRE2_BSR_UNICODE);
  return true;
}

// Runs one search; returns the library's code: >= 0 for a match, -1 for none.  Any other
// code (bad offset, match limit, bad UTF-8) is a failed postcondition.
int REXexecute(const REXmatcherPrivate& Member, const char* pSubject, size_t Length, size_t Start,
               pcre2_match_data* pMatchData) {
  const auto* pBytes = reinterpret_cast<PCRE2_SPTR>(pSubject);
  const uint32_t MatchOptions = (Member.options & REX_NO_UTF8_CHECK) ? PCRE2_NO_UTF_CHECK : 0;
  int ReturnCode = pcre2_match(Member.pCompiledExpression, pBytes, Length, Start, MatchOptions, pMatchData, nullptr);
  // The machine code runs on a small stack by default.  Deep backtracking over a long value
  // gets a larger one, and past that the interpreter, which keeps its frames on the heap.
  if (ReturnCode == PCRE2_ERROR_JIT_STACKLIMIT) {
    if (pcre2_match_context* pContext = REXscratch().largeStackContext())
      ReturnCode = pcre2_match(Member.pCompiledExpression, pBytes, Length, Start, MatchOptions, pMatchData, pContext);
  }
  if (ReturnCode == PCRE2_ERROR_JIT_STACKLIMIT)
    ReturnCode = pcre2_match(Member.pCompiledExpression, pBytes, Length, Start, MatchOptions | PCRE2_NO_JIT,
                             pMatchData, nullptr);
  COL_POSTCONDITION(ReturnCode >= -1);
  return ReturnCode;
}

// The offsets of one match, copied out of the shared match data so that a replacement
// function may itself use regular expressions.  Back references are single digits.
struct REXgroups {
  static constexpr unsigned MaxGroup = 10;
  std::array<PCRE2_SIZE, 2 * MaxGroup> offsets{};
  unsigned count = 0;  // as the library counts: highest group that took part, plus one
};

bool REXsearch(const REXmatcherPrivate& Member, const COLstring& Text, size_t Start, REXgroups& Groups) {
  pcre2_match_data* pMatchData = REXscratchFor(Member.countOfPair);
  const int ReturnCode = REXexecute(Member, Text.data(), Text.size(), Start, pMatchData);
  if (ReturnCode < 0) return false;
  const PCRE2_SIZE* pVector = pcre2_get_ovector_pointer(pMatchData);
  Groups.count = static_cast<unsigned>(ReturnCode);
  const unsigned Copied = std::min(Groups.count, REXgroups::MaxGroup);
  std::copy(pVector, pVector + 2 * Copied, Groups.offsets.begin());
  return true;
}

// Builds the replacement of one match: "$" and a digit stand for that group, "$" before
// anything else stays.  Each group goes through the function once, however often it is
// used.  A group past the last one that took part in the match does not exist, as the
// classic library reported it; a group inside that range that did not take part is empty.
void REXexpandBackReferences(const COLstring& Replacement, const COLstring& Subject, const REXgroups& Groups,
                             const REXmatcher::Function& Function, COLstring& Result) {
  std::array<std::optional<COLstring>, REXgroups::MaxGroup> GroupText;
  const std::string_view Template = Replacement.view();
  Result.clear();
  size_t Position = 0;
  for (;;) {
    const size_t Dollar = Template.find('$', Position);
    if (Dollar == std::string_view::npos || Dollar + 1 >= Template.size()) break;
    const char Digit = Template[Dollar + 1];
    if (Digit < '0' || Digit > '9') {
      Result += Template.substr(Position, Dollar + 1 - Position);
      Position = Dollar + 1;
      continue;
    }
    const unsigned Group = static_cast<unsigned>(Digit - '0');
    if (Group >= Groups.count) throw COLerror("Error finding back reference", COL_ERROR_POSTCONDITION);
    if (!GroupText[Group]) {
      const PCRE2_SIZE First = Groups.offsets[2 * Group];
      const PCRE2_SIZE End = Groups.offsets[2 * Group + 1];
      COLstring Captured;
      if (First != PCRE2_UNSET && End > First) Captured = Subject.view().substr(First, End - First);
      GroupText[Group] = Function ? Function(Captured) : std::move(Captured);
    }
    Result += Template.substr(Position, Dollar - Position);
    Result += *GroupText[Group];
    Position = Dollar + 2;
  }
  Result += Template.substr(Position);
}

}  // namespace

// --- construction and compilation

REXmatcher::REXmatcher() : pMember(new REXmatcherPrivate) {}

REXmatcher::REXmatcher(const COLstring& pattern, REXoption options) : pMember(new REXmatcherPrivate) {
  init(pattern, options);
}

REXmatcher::REXmatcher(const REXmatcher& other) : pMember(new REXmatcherPrivate) { *this = other; }

REXmatcher::REXmatcher(REXmatcher&& other) noexcept : pMember(std::exchange(other.pMember, nullptr)) {}

REXmatcher& REXmatcher::operator=(const REXmatcher& other) {
  if (this == &other) return *this;
  const REXmatcherPrivate& Other = other.pMember ? *other.pMember : REXemptyPrivate();
  // A matcher that was never given a pattern stays that way; anything else compiles anew,
  // which gives a good pattern its code and a bad one its error again.
  if (Other.pCompiledExpression || !Other.lastCompileError.empty()) {
    init(Other.pattern, Other.options);
  } else {
    reset();
    pMember->pattern = Other.pattern;
    pMember->options = Other.options;
  }
  return *this;
}

REXmatcher& REXmatcher::operator=(REXmatcher&& other) noexcept {
  if (this != &other) {
    delete pMember;
    pMember = std::exchange(other.pMember, nullptr);
  }
  return *this;
}

REXmatcher::~REXmatcher() { delete pMember; }

void REXmatcher::reset() {
  if (!pMember) pMember = new REXmatcherPrivate;
  pMember->freeCode();
  pMember->valid = false;
  pMember->lastCompileError.clear();
  pMember->errorOffset = 0;
  pMember->countOfPair = 1;
}

COLstring REXmatcher::init(const COLstring& pattern, REXoption options) {
  reset();
  REXmatcherPrivate& Member = *pMember;
  Member.pattern = pattern;
  Member.options = options;

  std::unique_ptr<pcre2_compile_context, void (*)(pcre2_compile_context*)> Context(
      pcre2_compile_context_create(nullptr), pcre2_compile_context_free);
  if ((options & ~REXknownOptions) != 0) {
    Member.lastCompileError = "unknown option bit(s) set";
    return Member.lastCompileError;
  }
  if (!Context || !REXsetLineConventions(Context.get(), options)) {
    Member.lastCompileError = Context ? "inconsistent NEWLINE options" : "failed to get memory";
    return Member.lastCompileError;
  }
  // Classic behaviour: an escaped letter without a meaning is that letter, unless asked.
  if (!(options & REX_EXTRA)) pcre2_set_compile_extra_options(Context.get(), PCRE2_EXTRA_BAD_ESCAPE_IS_LITERAL);

  int ErrorCode = 0;
  PCRE2_SIZE ErrorOffset = 0;
  Member.pCompiledExpression = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern.data()), pattern.size(),
                                             REXcompileOptions(options), &ErrorCode, &ErrorOffset, Context.get());
  if (!Member.pCompiledExpression) {
    PCRE2_UCHAR ErrorMessage[256];
    const int MessageLength = pcre2_get_error_message(ErrorCode, ErrorMessage, sizeof ErrorMessage);
    COL_POSTCONDITION(MessageLength > 0);
    Member.lastCompileError = COLstring(std::string_view(reinterpret_cast<const char*>(ErrorMessage),
                                                         static_cast<size_t>(MessageLength)));
    Member.errorOffset = static_cast<uint32_t>(ErrorOffset);
    return Member.lastCompileError;
  }
  // Machine code where the platform has it; the interpreter serves otherwise.
  pcre2_jit_compile(Member.pCompiledExpression, PCRE2_JIT_COMPLETE);
  uint32_t CountOfCapture = 0;
  pcre2_pattern_info(Member.pCompiledExpression, PCRE2_INFO_CAPTURECOUNT, &CountOfCapture);
  Member.countOfPair = CountOfCapture + 1;
  Member.valid = true;
  return COLstring();
}

// --- accessors

bool REXmatcher::isExpressionValid() const { return pMember && pMember->valid; }
const COLstring& REXmatcher::lastCompileError() const { return (pMember ? *pMember : REXemptyPrivate()).lastCompileError; }
uint32_t REXmatcher::errorOffset() const { return pMember ? pMember->errorOffset : 0; }
const COLstring& REXmatcher::pattern() const { return (pMember ? *pMember : REXemptyPrivate()).pattern; }
REXoption REXmatcher::options() const { return pMember ? pMember->options : 0; }

// --- matching

// A moved-from matcher counts as one without code.
void REXmatcher::requireCompiled() const {
  if (!pMember || !pMember->pCompiledExpression)
    COLfailCheck("Failed precondition: ", "pMember->pCompiledExpression != NULL", __FILE__, __LINE__,
                 COL_ERROR_PRECONDITION);
}

bool REXmatcher::doesMatch(const char* pData) const {
  requireCompiled();
  COL_PRECONDITION(pData != NULL);
  return doesMatchWithLength(pData, std::strlen(pData));
}

bool REXmatcher::doesMatchWithLength(const char* pData, size_t length) const {
  requireCompiled();
  COL_PRECONDITION(pData != NULL);
  return REXexecute(*pMember, pData, length, 0, REXscratchFor(pMember->countOfPair)) >= 0;
}

bool REXmatcher::findMatch(const char* pString, size_t start, size_t& first, size_t& last) const {
  requireCompiled();
  COL_PRECONDITION(pString != NULL);
  first = last = COLstring::npos;
  pcre2_match_data* pMatchData = REXscratchFor(pMember->countOfPair);
  if (REXexecute(*pMember, pString, std::strlen(pString), start, pMatchData) < 0) return false;
  const PCRE2_SIZE* pVector = pcre2_get_ovector_pointer(pMatchData);
  first = pVector[0];
  last = pVector[1] - 1;  // the last byte, so an empty match ends one before it starts
  return true;
}

size_t REXmatcher::regexReplace(COLstring& text, const COLstring& replacement, const Function& function) const {
  requireCompiled();
  if (text.empty()) return 0;
  COLstring Work(text);
  COLstring Expanded;
  REXgroups Groups;
  size_t CountOfReplaced = 0;
  size_t Offset = 0;      // start of the text that has not been through the function yet
  size_t SearchFrom = 0;  // moves one byte past an empty match, so the search always ends
  while (SearchFrom <= Work.size() && REXsearch(*pMember, Work, SearchFrom, Groups)) {
    const size_t MatchStart = Groups.offsets[0];
    const size_t MatchEnd = std::max(Groups.offsets[1], MatchStart);
    REXexpandBackReferences(replacement, Work, Groups, function, Expanded);
    Work.str().replace(MatchStart, MatchEnd - MatchStart, Expanded.str());
    ++CountOfReplaced;
    if (function) {
      const COLstring Mapped = function(Work.substr(Offset, MatchStart - Offset));
      Work.str().replace(Offset, MatchStart - Offset, Mapped.str());
      Offset += Mapped.size() + Expanded.size();
    } else {
      Offset = MatchStart + Expanded.size();
    }
    SearchFrom = Offset;
    if (MatchStart == MatchEnd) {
      // Step over one character; in UTF-8 mode a search may not start inside one.
      ++SearchFrom;
      if (pMember->options & REX_UTF8)
        while (SearchFrom < Work.size() && (static_cast<unsigned char>(Work[SearchFrom]) & 0xC0) == 0x80) ++SearchFrom;
    }
  }
  if (function && Offset <= Work.size()) {
    const COLstring Mapped = function(Work.substr(Offset));
    Work.str().replace(Offset, std::string::npos, Mapped.str());
  }
  text = std::move(Work);
  return CountOfReplaced;
}

COLostream& operator<<(COLostream& stream, const REXmatcher& matcher) {
  return stream << "Regex: '" << matcher.pattern() << "'";
}
