// Fuzz target: the escaper in both directions.  The first byte picks HL7's delimiters or a set
// read from the next bytes, and the character locale; the rest is the text.  Besides not
// crashing, it checks that
// - escaping any text and strictly unescaping the wire form gives the text back, for every
//   set of distinct delimiters whose codes are not "H" or "N" (which keep their meaning);
// - with HL7's delimiters the wire form holds no delimiter at all;
// - unescaping never grows a text, lenient unescaping never throws, and strict unescaping
//   either agrees with it or throws the escape error;
// - the NUL-terminated and the sized entry points agree.
#include <cctype>
#include <clocale>
#include <cstring>
#include <string_view>

#include "COLerror.h"
#include "FUZZsupport.h"
#include "SCCescaper.h"

namespace {

// Code letters a definition may give its delimiters, without the two that keep a meaning.
constexpr char CodeLetters[] = "ABDEFGIJKLOPQRSTUVWXYZ";

bool distinctAndSet(const char* chars, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    if (chars[i] == 0) return false;
    for (size_t j = i + 1; j < count; ++j) {
      if (chars[i] == chars[j]) return false;
    }
  }
  return true;
}

// Reads a delimiter set from 8 bytes; false when they do not make a usable set.  Delimiters are
// ASCII: a multibyte character passes unescaped, so a lead byte as escape character could not
// come back.
bool customSettings(const uint8_t* data, SCCescaperSettings& settings) {
  char Chars[5];
  for (size_t i = 0; i < 5; ++i) Chars[i] = char(data[i] & 0x7F);
  if (!distinctAndSet(Chars, 5)) return false;
  // A letter or digit as escape character would collide with the hex sequences it opens.
  if (!std::ispunct(static_cast<unsigned char>(Chars[4]))) return false;
  char Codes[5];
  for (size_t i = 0; i < 5; ++i) Codes[i] = CodeLetters[(data[7] + i * 5) % (sizeof CodeLetters - 1)];
  if (!distinctAndSet(Codes, 5)) return false;
  settings.levels[1].sepCharDefault = Chars[0];
  settings.levels[1].repeatCharDefault = Chars[3];
  settings.levels[2].sepCharDefault = Chars[1];
  settings.levels[3].sepCharDefault = Chars[2];
  settings.escapeDefault = Chars[4];
  settings.levels[1].sepCharEscape = Codes[0];
  settings.levels[2].sepCharEscape = Codes[1];
  settings.levels[3].sepCharEscape = Codes[2];
  settings.levels[1].repeatCharEscape = Codes[3];
  settings.escapeEscapeChar = Codes[4];
  settings.lowestNonEscapedChar = data[5];
  settings.highestNonEscapedChar = data[6];
  return true;
}

void useLocale(bool utf8) {
  static int Current = -1;
  if (Current == int(utf8)) return;
  Current = int(utf8);
  std::setlocale(LC_CTYPE, utf8 ? "C.UTF-8" : "C");
}

void checkUnescape(const SCCescaper& escaper, std::string_view text) {
  COLstring Lenient, Strict;
  escaper.unescapeStringWithSize(Lenient, text.data(), text.size(), false);
  check(Lenient.size() <= text.size(), "unescaping never grows a text");
  if (text.find(escaper.unescapeEscapeCharacter()) == std::string_view::npos) {
    check(Lenient.empty(), "no escape character, nothing copied");
  }
  try {
    escaper.unescapeStringWithSize(Strict, text.data(), text.size(), true);
    check(Strict.view() == Lenient.view(), "strict and lenient agree on a good text");
  } catch (const COLerror& Error) {
    check(Error.code() == 0x80000100, "escape error code");
    check(Error.description().view().starts_with("This character sequence "), "escape error text");
  }
  // The NUL-terminated form reads up to the first NUL and always gives the plain text.
  const COLstring Terminated(text.substr(0, text.find('\0')));
  COLstring Whole, Sized;
  escaper.unescapeString(Whole, Terminated.c_str(), false);
  escaper.unescapeStringWithSize(Sized, Terminated.data(), Terminated.size(), false);
  check(Whole.view() == (Sized.empty() ? Terminated.view() : Sized.view()), "both entry points agree");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const uint8_t Flags = data[0];
  ++data, --size;
  useLocale(Flags & 2);
  SCCescaperSettings Settings;
  const bool Custom = Flags & 1;
  if (Custom) {
    if (size < 8 || !customSettings(data, Settings)) return 0;
    data += 8, size -= 8;
  }
  const SCCescaper Escaper(Settings);
  const COLstring Text = FUZZtext(data, size);

  COLstring Wire, Back;
  Escaper.escapeChar(Wire, Text);
  if (!Custom) {
    check(Wire.view().find_first_of("|^&~\r") == std::string_view::npos, "no delimiter on the wire");
  }
  try {
    Escaper.unescapeStringWithSize(Back, Wire.data(), Wire.size(), true);
  } catch (const COLerror& Error) {
    __builtin_fprintf(stderr, "%s\n", Error.description().c_str());
    check(false, "the wire form unescapes strictly");
  }
  check((Back.empty() ? Wire.view() : Back.view()) == Text.view(), "escape then unescape gives the text back");
  checkUnescape(Escaper, Text.view());
  return 0;
}
