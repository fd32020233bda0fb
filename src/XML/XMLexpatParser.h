// XMLexpatParser: the event parser every XML reader of the system derives from.  It feeds text
// to Expat and turns its callbacks into virtual operations; it owns nothing else.  Errors come
// out as COLerror with the line and column where Expat stopped.
//
// Positions: currentLineNumber() counts from 1 and currentColumnNumber() from 0, as Expat
// gives them; the text of the default onError shows the column counted from 1.
#pragma once

#include <memory>

#include "COLerror.h"
#include "COLstring.h"

class XMLexpatParserPrivate;

class XMLexpatParser {
public:
  XMLexpatParser();
  XMLexpatParser(const XMLexpatParser&) = delete;
  XMLexpatParser& operator=(const XMLexpatParser&) = delete;
  virtual ~XMLexpatParser();

  // Events.  `attributes` is name, value, name, value, ..., null.  Text arrives in UTF-8 and
  // in chunks: one run of character data may come in several calls.  A COLerror thrown here
  // is kept, the rest of the document reaches no handler, and parseBuffer() rethrows it.
  virtual void onStartElement(const char* name, const char** attributes) = 0;
  virtual void onEndElement(const char* name) = 0;
  virtual void onCharacterData(const char* text, int length) = 0;
  virtual void onComment(const char* text);
  virtual void onStartCdataSection();
  virtual void onEndCdataSection();
  // The error to throw for malformed XML.  The default gives "xml error on line <line>
  // column <column + 1>. <message>" with code 0x80000500.
  virtual COLerror onError(const COLstring& message, unsigned line, unsigned column);

  // Opens a parser, feeds the whole text as the final buffer, closes the parser (also when
  // it throws).  A parser may not be open already ("parser == NULL").
  void parse(const COLstring& xml);
  void parse(const char* data, size_t length);

  // Opens a parser unless one is open; forgets any error kept from an earlier parse.
  void init();
  // Closes the open parser, if any.
  void destroy();
  bool isOpen() const;
  // One piece of the document; the last one has `isFinal` set.  Throws the error of
  // onError for malformed XML, or the error a handler threw.
  void parseBuffer(const char* data, unsigned length, bool isFinal);
  // Ends the document: parseBuffer with no data and isFinal.
  void flush();

  unsigned currentLineNumber() const;
  unsigned currentColumnNumber() const;
  // Bytes of the document before the event being handled: cheap, unlike line and column.
  size_t currentByteIndex() const;

private:
  friend class XMLexpatParserPrivate;
  std::unique_ptr<XMLexpatParserPrivate> pMember;
};
