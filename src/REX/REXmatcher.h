// REXmatcher: the one road to regular expressions (message and segment identifiers,
// validation rules, field patterns).  It owns a compiled pattern and keeps the pattern
// text and its compile error even when it does not compile, because a definition file may
// hold such a pattern and must still store, show and save it.  Matching never changes the
// object, so several threads may search with one compiled matcher.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

#include "COLstring.h"

class COLostream;

// Compile options.  The bit values are the classic ones that stored definitions and
// callers use; the matcher translates them for the library.  Callers mostly give 0.
using REXoption = uint32_t;
enum : REXoption {
  REX_CASELESS = 0x00000001,
  REX_MULTILINE = 0x00000002,
  REX_DOTALL = 0x00000004,
  REX_EXTENDED = 0x00000008,
  REX_ANCHORED = 0x00000010,
  REX_DOLLAR_ENDONLY = 0x00000020,
  REX_EXTRA = 0x00000040,  // an unknown escape such as "\y" is an error, not the letter
  REX_UNGREEDY = 0x00000200,
  REX_UTF8 = 0x00000800,
  REX_NO_AUTO_CAPTURE = 0x00001000,
  REX_NO_UTF8_CHECK = 0x00002000,
  REX_FIRSTLINE = 0x00040000,
  REX_DUPNAMES = 0x00080000,
  REX_NEWLINE_CR = 0x00100000,
  REX_NEWLINE_LF = 0x00200000,
  REX_NEWLINE_CRLF = 0x00300000,
  REX_NEWLINE_ANY = 0x00400000,
  REX_NEWLINE_ANYCRLF = 0x00500000,
  REX_BSR_ANYCRLF = 0x00800000,
  REX_BSR_UNICODE = 0x01000000,
  REX_NO_START_OPTIMIZE = 0x04000000,
  REX_UCP = 0x20000000,
};

struct REXmatcherPrivate;

class REXmatcher {
public:
  // Maps a piece of text to its replacement; used by regexReplace.
  using Function = std::function<COLstring(const COLstring&)>;

  REXmatcher();
  // A bad pattern does not raise: it is kept with its error.
  explicit REXmatcher(const COLstring& pattern, REXoption options = 0);
  REXmatcher(const REXmatcher& other);
  REXmatcher(REXmatcher&& other) noexcept;
  REXmatcher& operator=(const REXmatcher& other);
  REXmatcher& operator=(REXmatcher&& other) noexcept;
  virtual ~REXmatcher();

  // True when the NUL-terminated text holds a match somewhere.
  virtual bool doesMatch(const char* pData) const;

  // Empty on success, else the compile error (also kept in lastCompileError()).
  COLstring init(const COLstring& pattern, REXoption options = 0);

  bool isExpressionValid() const;
  const COLstring& lastCompileError() const;
  uint32_t errorOffset() const;
  const COLstring& pattern() const;
  REXoption options() const;

  // doesMatch over a counted block, which may hold NUL bytes.
  bool doesMatchWithLength(const char* pData, size_t length) const;
  // Searches the NUL-terminated text from byte offset `start`.  `first` is the offset of
  // the match's first byte, `last` of its last byte (so an empty match at 3 gives 3 and 2).
  // Without a match both are COLstring::npos.
  bool findMatch(const char* pString, size_t start, size_t& first, size_t& last) const;
  // Replaces every match by `replacement`, in which "$0" to "$9" stand for the whole match
  // and its groups.  With a function, the text between matches and the groups put in go
  // through it (the replacement's own text does not).  Returns how many matches were
  // replaced; on an error the text is left as it was.
  size_t regexReplace(COLstring& text, const COLstring& replacement, const Function& function = nullptr) const;

  bool operator==(const REXmatcher& other) const { return pattern() == other.pattern(); }
  bool operator!=(const REXmatcher& other) const { return pattern() != other.pattern(); }
  bool operator==(const COLstring& text) const { return pattern() == text; }
  bool operator!=(const COLstring& text) const { return pattern() != text; }
  bool operator==(const char* text) const { return pattern() == text; }
  bool operator!=(const char* text) const { return pattern() != text; }

private:
  void requireCompiled() const;
  void reset();

  REXmatcherPrivate* pMember;
};

// "Regex: '<pattern>'"
COLostream& operator<<(COLostream& stream, const REXmatcher& matcher);
