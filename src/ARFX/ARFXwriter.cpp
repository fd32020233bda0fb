#include "ARFXwriter.h"

#include <cstdio>

#include "COLerror.h"
#include "XMLiosFilter.h"

namespace {
// "config `default' / segment `PID' / field `PID-3'": the path of an item for error texts.
COLstring itemPath(const ARFobj* obj, const COLstring& last) {
  COLstring path = last;
  for (; obj; obj = obj->parent()) {
    COLstring step = obj->name();
    if (obj->key().isSet()) step += COLstring(" `") + obj->key().value + "'";
    path = path.empty() ? step : step + " / " + path;
  }
  return path;
}

void writeCharacterReference(COLostream& stream, unsigned char byte) {
  char text[8];
  std::snprintf(text, sizeof text, "&#x%02X;", byte);
  stream << text;
}
}  // namespace

COLstring ARFXmakeIndent(unsigned depth) { return COLstring(size_t{depth} * 3, ' '); }

void ARFXcheckStorable(const COLstring& text, const COLstring& where) {
  for (unsigned char byte : text.view()) {
    if (byte >= 0x20 || byte == '\t' || byte == '\n' || byte == '\r') continue;
    char hexText[8];
    std::snprintf(hexText, sizeof hexText, "0x%02X", byte);
    throw COLerror(COLstring("The definition cannot be saved: the text of ") + where + " holds the control character " +
                       hexText + ", which an XML file cannot store.",
                   COL_ERROR_PRECONDITION);
  }
}

void ARFXwriteData(COLostream& stream, const COLstring& text) {
  XMLiosDataFilter filter(stream.sink());
  filter.write(text.data(), text.size());
}

void ARFXwriteAttribute(COLostream& stream, const COLstring& text) {
  XMLiosAttributeDataFilter filter(stream.sink());
  filter.write(text.data(), text.size());
}

void ARFXwriteCdata(COLostream& stream, const COLstring& text) {
  const char* data = text.data();
  const size_t size = text.size();
  bool open = false;
  auto openSection = [&] {
    if (!open) stream << "<![CDATA[";
    open = true;
  };
  auto closeSection = [&] {
    if (open) stream << "]]>";
    open = false;
  };
  for (size_t i = 0; i < size; ++i) {
    unsigned char byte = static_cast<unsigned char>(data[i]);
    if (byte == '\r' && i + 1 < size && data[i + 1] == '\n') {
      // XML reads a line end as a line feed; script texts are kept with their own line ends.
      openSection();
      stream << "\n";
      ++i;
    } else if (byte == '\r' || byte >= 128) {
      closeSection();
      writeCharacterReference(stream, byte);
    } else if (byte == ']' && i + 2 < size && data[i + 1] == ']' && data[i + 2] == '>') {
      closeSection();
      stream << "]]&gt;";
      i += 2;
    } else {
      openSection();
      stream.write(data + i, 1);
    }
  }
  closeSection();
}

void ARFXwriter::setDepth(unsigned depth) {
  m_Depth = depth;
  m_Indent = ARFXmakeIndent(depth);
}

void ARFXwriter::objStartImpl(const ARFobj& obj) {
  m_Stream << m_Indent << "<" << obj.name();
  if (obj.key().isSet()) {
    ARFXcheckStorable(obj.key().value, itemPath(&obj, COLstring()));
    m_Stream << " " << obj.key().name << "=\"";
    ARFXwriteAttribute(m_Stream, obj.key().value);
    m_Stream << "\"";
  }
  m_Stream << ">" << newline;
  setDepth(m_Depth + 1);
}

void ARFXwriter::objEndImpl(const ARFobj& obj) {
  COL_PRECONDITION(m_Depth > 0);
  setDepth(m_Depth - 1);
  m_Stream << m_Indent << "</" << obj.name() << ">" << newline;
}

void ARFXwriter::objPropImpl(const ARFprop& prop, bool raw) {
  ARFXcheckStorable(prop.value, itemPath(&prop.obj, prop.name));
  m_Stream << m_Indent << "<" << prop.name << ">";
  if (raw) ARFXwriteCdata(m_Stream, prop.value);
  else ARFXwriteData(m_Stream, prop.value);
  m_Stream << "</" << prop.name << ">" << newline;
}
