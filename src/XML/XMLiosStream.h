// XMLiosStream: the writer of message and table XML.  Its state decides where written bytes
// go: tag names through the tag filter into a tag buffer, element text through the data
// filter, attribute values through the attribute filter, and unescaped text straight to the
// sink.  A manipulator first writes out a pending tag ("<name ...>", "</name>" or the name as
// it stands), then sets its state:
//
//   stream << startTag << "PID" << endTag << "PID" << newline;     // <PID></PID>\n
//   stream << startTag << "PID"; stream.addAttribute("n", "1");   // <PID n="1">...
//
// The stream appends to its sink and never buffers a document.  Message and table XML set
// the line end to "\r\n" with setNewLine.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "COLsink.h"
#include "COLstring.h"
#include "XMLiosFilter.h"

class XMLiosStream;
using XMLiosStreamManipulator = XMLiosStream& (*)(XMLiosStream&);

class XMLiosStreamPrivate;

class XMLiosStream {
public:
  // Where written bytes go; named like the manipulators that choose them.
  enum State : uint8_t {
    StateStartTag = 0,
    StateEndTag = 1,
    StateEscapeTag = 2,
    StateElementData = 3,
    StateAttributeData = 4,
    StateUnescaped = 5,
  };

  // `delimiter` is dropped from tag names written through the filter (see `delimiter`).
  explicit XMLiosStream(char delimiter = '.', COLsink* sink = nullptr, bool ownsSink = false);
  XMLiosStream(const XMLiosStream&) = delete;
  XMLiosStream& operator=(const XMLiosStream&) = delete;
  ~XMLiosStream();

  XMLiosStream& operator<<(XMLiosStreamManipulator manipulator) { return manipulator(*this); }
  XMLiosStream& operator<<(char c) { return write(&c, 1); }
  XMLiosStream& operator<<(signed char c) { return write(&c, 1); }
  XMLiosStream& operator<<(unsigned char c) { return write(&c, 1); }
  XMLiosStream& operator<<(const char* text);
  XMLiosStream& operator<<(char* text) { return *this << static_cast<const char*>(text); }
  XMLiosStream& operator<<(const COLstring& text) { return write(text.data(), text.size()); }
  XMLiosStream& operator<<(std::string_view text) { return write(text.data(), text.size()); }
  // Numbers as "%i" and "%f" would print them.
  XMLiosStream& operator<<(short value) { return *this << static_cast<long long>(value); }
  XMLiosStream& operator<<(unsigned short value) { return *this << static_cast<unsigned long long>(value); }
  XMLiosStream& operator<<(int value) { return *this << static_cast<long long>(value); }
  XMLiosStream& operator<<(unsigned value) { return *this << static_cast<unsigned long long>(value); }
  XMLiosStream& operator<<(long value) { return *this << static_cast<long long>(value); }
  XMLiosStream& operator<<(unsigned long value) { return *this << static_cast<unsigned long long>(value); }
  XMLiosStream& operator<<(long long value);
  XMLiosStream& operator<<(unsigned long long value);
  XMLiosStream& operator<<(double value);

  // Sends the bytes where the state says.
  XMLiosStream& write(const void* data, size_t size);

  // Take ownership and delete the previous filter.  The tag filter writes into the tag
  // buffer and is given the stream's delimiter; the others write into the sink.
  void setTagFilter(XMLiosTagFilter* filter);
  void setDataFilter(XMLiosDataFilter* filter);
  void setAttributeFilter(XMLiosAttributeDataFilter* filter);
  XMLiosTagFilter& tagFilter() const;

  // Clears the pending tag, deletes an owned old sink, points the filters at the new one.
  void setSink(COLsink* sink, bool ownsSink);
  COLsink* sink() const;
  void setNewLine(const char* text);
  const COLstring& newLine() const;
  void setXmlDelimiter(char delimiter);
  char xmlDelimiter() const;
  // Forgets a pending tag; the state becomes element data.
  void clear();
  State state() const;

  // Adds ` name="value"` to the pending start tag; the value goes through the attribute
  // filter, the name as it is.  Only in the start tag state.
  void addAttribute(const char* name, const char* value);
  void addAttribute(std::string_view name, std::string_view value);

  // --- the machinery of the manipulators
  // Writes out a pending tag and empties the tag buffer.
  void flushTag();
  void setState(State state);
  // Appends the delimiter to the pending tag name, past the filter.
  void appendDelimiter();
  // The line end, after the pending tag.
  void writeNewLine();
  void flushSink();

private:
  std::unique_ptr<XMLiosStreamPrivate> pMember;
};

// Manipulators: each writes out a pending tag, then sets its state.
XMLiosStream& startTag(XMLiosStream& stream);
XMLiosStream& endTag(XMLiosStream& stream);
XMLiosStream& escapeTag(XMLiosStream& stream);
XMLiosStream& elementData(XMLiosStream& stream);
XMLiosStream& attributeData(XMLiosStream& stream);
XMLiosStream& unescaped(XMLiosStream& stream);
// The line end; the state becomes element data.
XMLiosStream& newline(XMLiosStream& stream);
// Flushes the sink; the state stays.
XMLiosStream& flush(XMLiosStream& stream);
// The delimiter into the tag name, unfiltered: `startTag << "PID" << delimiter << 3` gives
// "<PID.3>" where "PID.3" through the filter would give "<PID3>".  Not in element data or
// unescaped state.
XMLiosStream& delimiter(XMLiosStream& stream);
