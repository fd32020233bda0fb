// QVMparser: the legacy tokeniser. Cuts one message into a QVMuntypedMessageTree in place:
// the text is copied once into the root's buffer, delimiters become NULs, nodes point at the
// pieces. Owns the delimiters of one message; knows nothing of grammars.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "COLstring.h"

class QVMconfig;
class QVMparserPrivate;
class QVMuntypedMessageTree;
class SCCescaper;

class QVMparser {
public:
  explicit QVMparser(const QVMconfig& Config);
  ~QVMparser();
  QVMparser(const QVMparser&) = delete;
  QVMparser& operator=(const QVMparser&) = delete;

  // Back to the configured delimiters, as a parser just made: for a parser kept between messages.
  void useConfiguredDelimiters();
  // `Result` must be empty. With delimiters read from the message, `Escaper` is taught them.
  void parse(const COLstring& Message, QVMuntypedMessageTree& Result, SCCescaper& Escaper);

  // The delimiters of the last parse (or the configured ones before any).
  unsigned countOfDelimiter() const;
  char delimiter(unsigned Level) const;
  // 0: the level has no repeat character.
  char repeat(unsigned Level) const;
  char escape() const;
  const QVMconfig& config() const;

private:
  std::unique_ptr<QVMparserPrivate> pMember;
};

// Splits a text at the delimiters of the levels it was given. A byte's level comes from one
// look-up; the text is single-byte, so no byte is skipped as part of a wider character.
class QVMtokeniser {
public:
  // `Text` must be NUL-terminated and stay writable while tokens are taken.
  void tokenise(char* Text, const std::vector<char>& SepChar, const std::vector<char>& RepChar);
  // The next token, NUL-terminated in place, and the delimiter that ended it. At the end of the
  // text gives the rest and returns false, leaving `IsRepeat` and `Level` as they were.
  bool getNextField(char*& Token, bool& IsRepeat, unsigned& Level);
  unsigned maxLevel() const { return m_MaxLevel; }

private:
  // repeatLevel and separatorLevel side by side: 0 for no delimiter, else level + 1. A byte
  // that is both is a repeat.
  struct Class {
    uint8_t repeatLevel;
    uint8_t separatorLevel;
  };
  Class m_Class[256] = {};
  unsigned m_MaxLevel = 0;
  char* m_Position = nullptr;
};

// Clears `Result` and tokenises `Message` into it.
void QVMrawParseMessage(const COLstring& Message, QVMparser& Parser, SCCescaper& Escaper,
                        QVMuntypedMessageTree& Result);
