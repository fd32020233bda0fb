#include "XMLiosStream.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "COLerror.h"

class XMLiosStreamPrivate {
public:
  std::unique_ptr<XMLiosTagFilter> tagFilter;
  std::unique_ptr<XMLiosDataFilter> dataFilter;
  std::unique_ptr<XMLiosAttributeDataFilter> attributeFilter;
  COLsink* sink = nullptr;
  bool ownsSink = false;
  COLstring tagBuffer;
  XMLiosStream::State state = XMLiosStream::StateElementData;
  COLstring newLine = "\n";
  char delimiter = '.';
  char numberBuffer[64];

  ~XMLiosStreamPrivate() {
    if (ownsSink) delete sink;
  }
};

XMLiosStream::XMLiosStream(char delimiter, COLsink* sink, bool ownsSink)
    : pMember(std::make_unique<XMLiosStreamPrivate>()) {
  pMember->sink = sink;
  pMember->ownsSink = ownsSink;
  pMember->delimiter = delimiter;
  pMember->tagFilter = std::make_unique<XMLiosTagFilter>(&pMember->tagBuffer, delimiter);
  pMember->dataFilter = std::make_unique<XMLiosDataFilter>(sink);
  pMember->attributeFilter = std::make_unique<XMLiosAttributeDataFilter>(sink);
}

XMLiosStream::~XMLiosStream() = default;

XMLiosStream& XMLiosStream::operator<<(const char* text) {
  if (text) write(text, std::strlen(text));
  return *this;
}

XMLiosStream& XMLiosStream::operator<<(long long value) {
  const int Length = std::snprintf(pMember->numberBuffer, sizeof pMember->numberBuffer, "%lli", value);
  return write(pMember->numberBuffer, static_cast<size_t>(Length));
}

XMLiosStream& XMLiosStream::operator<<(unsigned long long value) {
  const int Length = std::snprintf(pMember->numberBuffer, sizeof pMember->numberBuffer, "%llu", value);
  return write(pMember->numberBuffer, static_cast<size_t>(Length));
}

XMLiosStream& XMLiosStream::operator<<(double value) {
  // "%f" of a huge value has over 300 digits: measure first, fall back to a string.
  const int Length = std::snprintf(pMember->numberBuffer, sizeof pMember->numberBuffer, "%f", value);
  if (Length < static_cast<int>(sizeof pMember->numberBuffer))
    return write(pMember->numberBuffer, static_cast<size_t>(Length));
  std::string Text(static_cast<size_t>(Length) + 1, '\0');
  std::snprintf(Text.data(), Text.size(), "%f", value);
  return write(Text.data(), static_cast<size_t>(Length));
}

XMLiosStream& XMLiosStream::write(const void* data, size_t size) {
  XMLiosStreamPrivate& Member = *pMember;
  switch (Member.state) {
    case StateStartTag:
    case StateEndTag:
    case StateEscapeTag:
      Member.tagFilter->write(data, size);
      break;
    case StateElementData:
      Member.dataFilter->write(data, size);
      break;
    case StateAttributeData:
      Member.attributeFilter->write(data, size);
      break;
    case StateUnescaped:
      COL_PRECONDITION(Member.sink != nullptr);
      Member.sink->write(data, size);
      break;
  }
  return *this;
}

void XMLiosStream::setTagFilter(XMLiosTagFilter* filter) {
  COL_PRECONDITION(filter != nullptr);
  pMember->tagFilter.reset(filter);
  filter->setSink(&pMember->tagBuffer);
  filter->setXmlDelimiter(pMember->delimiter);
}

void XMLiosStream::setDataFilter(XMLiosDataFilter* filter) {
  COL_PRECONDITION(filter != nullptr);
  pMember->dataFilter.reset(filter);
  filter->setSink(pMember->sink);
}

void XMLiosStream::setAttributeFilter(XMLiosAttributeDataFilter* filter) {
  COL_PRECONDITION(filter != nullptr);
  pMember->attributeFilter.reset(filter);
  filter->setSink(pMember->sink);
}

XMLiosTagFilter& XMLiosStream::tagFilter() const { return *pMember->tagFilter; }

void XMLiosStream::setSink(COLsink* sink, bool ownsSink) {
  clear();
  if (pMember->ownsSink && pMember->sink != sink) delete pMember->sink;
  pMember->sink = sink;
  pMember->ownsSink = ownsSink;
  pMember->dataFilter->setSink(sink);
  pMember->attributeFilter->setSink(sink);
}

COLsink* XMLiosStream::sink() const { return pMember->sink; }

void XMLiosStream::setNewLine(const char* text) { pMember->newLine = text; }

const COLstring& XMLiosStream::newLine() const { return pMember->newLine; }

void XMLiosStream::setXmlDelimiter(char delimiter) {
  pMember->tagFilter->setXmlDelimiter(delimiter);
  pMember->delimiter = delimiter;
}

char XMLiosStream::xmlDelimiter() const { return pMember->delimiter; }

void XMLiosStream::clear() {
  pMember->tagBuffer.clear();
  pMember->state = StateElementData;
}

XMLiosStream::State XMLiosStream::state() const { return pMember->state; }

void XMLiosStream::addAttribute(const char* name, const char* value) {
  addAttribute(std::string_view(name ? name : ""), std::string_view(value ? value : ""));
}

void XMLiosStream::addAttribute(std::string_view name, std::string_view value) {
  COL_PRECONDITION_TEXT(pMember->state == StateStartTag, "pMember->state == startTag");
  COLstring& Buffer = pMember->tagBuffer;
  Buffer += ' ';
  Buffer += name;
  Buffer += "=\"";
  // A filter of the stream's kind, fresh for each value, so that the blank rule starts anew.
  XMLiosAttributeDataFilter Filter(&Buffer, pMember->attributeFilter->passHighBytes());
  Filter.write(value.data(), value.size());
  Buffer += '"';
}

void XMLiosStream::flushTag() {
  XMLiosStreamPrivate& Member = *pMember;
  COLstring& Buffer = Member.tagBuffer;
  if (Buffer.empty()) return;
  // A name may not start with a digit.
  if (Buffer[0] >= '0' && Buffer[0] <= '9') Buffer[0] = '_';
  COL_PRECONDITION(Member.sink != nullptr);
  COLsink& Sink = *Member.sink;
  switch (Member.state) {
    case StateStartTag:
      Buffer += '>';
      Sink.write("<", 1);
      Sink.write(Buffer.data(), Buffer.size());
      break;
    case StateEndTag:
      Buffer += '>';
      Sink.write("</", 2);
      Sink.write(Buffer.data(), Buffer.size());
      break;
    case StateEscapeTag:
    case StateUnescaped:
      Sink.write(Buffer.data(), Buffer.size());
      break;
    default:
      throw COLerror("Invalid State", COL_ERROR_PRECONDITION);
  }
  Buffer.clear();
}

void XMLiosStream::setState(State state) { pMember->state = state; }

void XMLiosStream::appendDelimiter() {
  COL_PRECONDITION_TEXT(pMember->state != StateElementData && pMember->state != StateUnescaped,
                        "pMember->state != elementData && pMember->state != unescaped");
  pMember->tagBuffer += pMember->delimiter;
}

void XMLiosStream::writeNewLine() {
  COL_PRECONDITION(pMember->sink != nullptr);
  pMember->sink->write(pMember->newLine.data(), pMember->newLine.size());
}

void XMLiosStream::flushSink() {
  if (pMember->sink) pMember->sink->flush();
}

namespace {
XMLiosStream& switchTo(XMLiosStream& stream, XMLiosStream::State state) {
  stream.flushTag();
  stream.setState(state);
  return stream;
}
}  // namespace

XMLiosStream& startTag(XMLiosStream& stream) { return switchTo(stream, XMLiosStream::StateStartTag); }
XMLiosStream& endTag(XMLiosStream& stream) { return switchTo(stream, XMLiosStream::StateEndTag); }
XMLiosStream& escapeTag(XMLiosStream& stream) { return switchTo(stream, XMLiosStream::StateEscapeTag); }
XMLiosStream& elementData(XMLiosStream& stream) { return switchTo(stream, XMLiosStream::StateElementData); }
XMLiosStream& attributeData(XMLiosStream& stream) { return switchTo(stream, XMLiosStream::StateAttributeData); }
XMLiosStream& unescaped(XMLiosStream& stream) { return switchTo(stream, XMLiosStream::StateUnescaped); }

XMLiosStream& newline(XMLiosStream& stream) {
  stream.flushTag();
  stream.writeNewLine();
  stream.setState(XMLiosStream::StateElementData);
  return stream;
}

XMLiosStream& flush(XMLiosStream& stream) {
  stream.flushTag();
  stream.flushSink();
  return stream;
}

XMLiosStream& delimiter(XMLiosStream& stream) {
  stream.appendDelimiter();
  return stream;
}
