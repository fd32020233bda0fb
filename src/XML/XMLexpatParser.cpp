#include "XMLexpatParser.h"

#include <expat.h>

#include <climits>
#include <exception>

#include "COLostream.h"

// The open Expat handle and what a failed handler left behind.  The callbacks are C functions,
// so no exception may cross them: a COLerror is kept as the stored error, anything else as an
// exception_ptr, and both are rethrown once XML_Parse has returned.
class XMLexpatParserPrivate {
public:
  explicit XMLexpatParserPrivate(XMLexpatParser& owner) : m_Owner(owner) {}

  bool hasFailed() const { return m_StoredError || m_StoredException; }
  void forget() {
    m_StoredError.reset();
    m_StoredException = nullptr;
  }

  template <class Event>
  static void dispatch(void* userData, Event&& event) {
    auto& self = *static_cast<XMLexpatParserPrivate*>(userData);
    if (self.hasFailed()) return;
    try {
      event(self.m_Owner);
    } catch (const COLerror& error) {
      self.m_StoredError = std::make_unique<COLerror>(error);
    } catch (...) {
      self.m_StoredException = std::current_exception();
    }
  }

  static void XMLCALL startElement(void* userData, const XML_Char* name, const XML_Char** attributes) {
    dispatch(userData, [&](XMLexpatParser& owner) { owner.onStartElement(name, attributes); });
  }
  static void XMLCALL endElement(void* userData, const XML_Char* name) {
    dispatch(userData, [&](XMLexpatParser& owner) { owner.onEndElement(name); });
  }
  static void XMLCALL characterData(void* userData, const XML_Char* text, int length) {
    dispatch(userData, [&](XMLexpatParser& owner) { owner.onCharacterData(text, length); });
  }
  static void XMLCALL comment(void* userData, const XML_Char* text) {
    dispatch(userData, [&](XMLexpatParser& owner) { owner.onComment(text); });
  }
  static void XMLCALL startCdata(void* userData) {
    dispatch(userData, [&](XMLexpatParser& owner) { owner.onStartCdataSection(); });
  }
  static void XMLCALL endCdata(void* userData) {
    dispatch(userData, [&](XMLexpatParser& owner) { owner.onEndCdataSection(); });
  }

  XMLexpatParser& m_Owner;
  XML_Parser parser = nullptr;
  std::unique_ptr<COLerror> m_StoredError;
  std::exception_ptr m_StoredException;
};

XMLexpatParser::XMLexpatParser() : pMember(std::make_unique<XMLexpatParserPrivate>(*this)) {}

XMLexpatParser::~XMLexpatParser() { destroy(); }

void XMLexpatParser::onComment(const char*) {}
void XMLexpatParser::onStartCdataSection() {}
void XMLexpatParser::onEndCdataSection() {}

COLerror XMLexpatParser::onError(const COLstring& message, unsigned line, unsigned column) {
  COLstring text;
  COLostream(text) << "xml error on line " << line << " column " << column + 1 << ". " << message;
  return COLerror(text, COL_ERROR_RESOURCE);
}

void XMLexpatParser::parse(const COLstring& xml) { parse(xml.data(), xml.size()); }

void XMLexpatParser::parse(const char* data, size_t length) {
  COL_PRECONDITION_TEXT(pMember->parser == nullptr, "parser == NULL");
  init();
  try {
    // XML_Parse takes an int length: larger documents go in pieces.
    constexpr size_t Piece = static_cast<size_t>(INT_MAX / 2);
    while (length > Piece) {
      parseBuffer(data, static_cast<unsigned>(Piece), false);
      data += Piece;
      length -= Piece;
    }
    parseBuffer(data, static_cast<unsigned>(length), true);
  } catch (...) {
    destroy();
    throw;
  }
  destroy();
}

void XMLexpatParser::init() {
  if (pMember->parser) return;
  pMember->forget();
  XML_Parser Parser = XML_ParserCreate(nullptr);
  if (!Parser) throw COLerror("Unable to create the XML parser", COL_ERROR_RESOURCE);
  XML_SetUserData(Parser, pMember.get());
  XML_SetElementHandler(Parser, &XMLexpatParserPrivate::startElement, &XMLexpatParserPrivate::endElement);
  XML_SetCharacterDataHandler(Parser, &XMLexpatParserPrivate::characterData);
  XML_SetCommentHandler(Parser, &XMLexpatParserPrivate::comment);
  XML_SetCdataSectionHandler(Parser, &XMLexpatParserPrivate::startCdata, &XMLexpatParserPrivate::endCdata);
  pMember->parser = Parser;
}

void XMLexpatParser::destroy() {
  if (!pMember->parser) return;
  XML_ParserFree(pMember->parser);
  pMember->parser = nullptr;
}

bool XMLexpatParser::isOpen() const { return pMember->parser != nullptr; }

void XMLexpatParser::parseBuffer(const char* data, unsigned length, bool isFinal) {
  COL_PRECONDITION_TEXT(pMember->parser != nullptr, "pMember->parser != NULL");
  // A length past INT_MAX would turn negative on the way into Expat.
  while (length > static_cast<unsigned>(INT_MAX)) {
    const unsigned Piece = static_cast<unsigned>(INT_MAX / 2);
    parseBuffer(data, Piece, false);
    data += Piece;
    length -= Piece;
  }
  if (XML_Parse(pMember->parser, data, static_cast<int>(length), isFinal ? 1 : 0) == XML_STATUS_ERROR) {
    const XML_LChar* Message = XML_ErrorString(XML_GetErrorCode(pMember->parser));
    throw onError(Message ? Message : "unknown error", currentLineNumber(), currentColumnNumber());
  }
  if (pMember->m_StoredException) std::rethrow_exception(pMember->m_StoredException);
  if (pMember->m_StoredError) throw COLerror(*pMember->m_StoredError);
}

void XMLexpatParser::flush() { parseBuffer(nullptr, 0, true); }

unsigned XMLexpatParser::currentLineNumber() const {
  COL_PRECONDITION_TEXT(pMember->parser != nullptr, "pMember->parser != NULL");
  return static_cast<unsigned>(XML_GetCurrentLineNumber(pMember->parser));
}

size_t XMLexpatParser::currentByteIndex() const {
  COL_PRECONDITION_TEXT(pMember->parser != nullptr, "pMember->parser != NULL");
  const XML_Index Index = XML_GetCurrentByteIndex(pMember->parser);
  return Index < 0 ? 0 : static_cast<size_t>(Index);
}

unsigned XMLexpatParser::currentColumnNumber() const {
  COL_PRECONDITION_TEXT(pMember->parser != nullptr, "pMember->parser != NULL");
  return static_cast<unsigned>(XML_GetCurrentColumnNumber(pMember->parser));
}
