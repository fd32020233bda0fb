#include "XMLiosFilter.h"

#include <array>
#include <cstring>

#include "COLerror.h"
#include "FMThex.h"

namespace {

// Gathers the small pieces that escaping produces, so that a value costs a few sink writes
// rather than one per entity.  Runs that do not fit go straight through.
// Callers flush() at the end; nothing is written on the way out of an exception.
class XMLiosCoalescer {
public:
  explicit XMLiosCoalescer(COLsink& sink) : m_Sink(sink) {}
  XMLiosCoalescer(const XMLiosCoalescer&) = delete;
  XMLiosCoalescer& operator=(const XMLiosCoalescer&) = delete;

  void put(const void* data, size_t size) {
    if (m_Size + size > sizeof m_Buffer) {
      flush();
      if (size >= sizeof m_Buffer) {
        m_Sink.write(data, size);
        return;
      }
    }
    std::memcpy(m_Buffer + m_Size, data, size);
    m_Size += size;
  }
  void put(std::string_view text) { put(text.data(), text.size()); }
  void putByte(char c) { put(&c, 1); }
  void putHex(unsigned char byte) {
    const char Text[6] = {'&', '#', 'x', FMThexDigits[byte >> 4], FMThexDigits[byte & 15], ';'};
    put(Text, sizeof Text);
  }
  // A byte from 128 up as the two-byte UTF-8 form of the Latin-1 character of its code.
  void putUtf8(unsigned char byte) {
    const char Text[2] = {static_cast<char>(0xC0 | (byte >> 6)), static_cast<char>(0x80 | (byte & 0x3F))};
    put(Text, sizeof Text);
  }
  void flush() {
    if (m_Size) m_Sink.write(m_Buffer, m_Size);
    m_Size = 0;
  }

private:
  COLsink& m_Sink;
  char m_Buffer[512];
  size_t m_Size = 0;
};

// Byte classes of the data and attribute tables.
enum : uint8_t {
  ClassPass = 0,
  ClassQuot,
  ClassApos,
  ClassLt,
  ClassGt,
  ClassAmp,
  ClassDefault,  // data: the default escape; attribute: "&#xHH;"
  ClassHex,      // data: "&#xHH;" without a call
  ClassBlank,    // attribute only
  ClassUtf8,     // data: a Latin-1 byte as UTF-8
  ClassRefuse,   // data: a control byte that XML cannot hold
};

[[noreturn]] void refuseControlByte(unsigned char byte) {
  const char Text[] = {'0', 'x', FMThexDigits[byte >> 4], FMThexDigits[byte & 15], 0};
  throw COLerror(COLstring("The byte ") + Text +
                     " cannot be written as XML: XML 1.0 holds no control character but tab, line feed and "
                     "carriage return, not even as a character reference.",
                 COL_ERROR_PRECONDITION);
}

std::string_view entityOf(uint8_t byteClass) {
  switch (byteClass) {
    case ClassQuot: return "&quot;";
    case ClassApos: return "&apos;";
    case ClassLt: return "&lt;";
    case ClassGt: return "&gt;";
    default: return "&amp;";
  }
}

using ClassTable = std::array<uint8_t, 256>;

void setEntityClasses(ClassTable& table) {
  table['"'] = ClassQuot;
  table['\''] = ClassApos;
  table['<'] = ClassLt;
  table['&'] = ClassAmp;
}

ClassTable makeDataTable(uint8_t controlClass, uint8_t highClass) {
  ClassTable Table{};
  for (unsigned Byte = 0; Byte < 32; ++Byte) Table[Byte] = controlClass;
  for (unsigned Byte = 127; Byte < 256; ++Byte) Table[Byte] = highClass;
  setEntityClasses(Table);
  Table['>'] = ClassGt;
  return Table;
}

ClassTable makeLatin1DataTable() {
  ClassTable Table = makeDataTable(ClassRefuse, ClassUtf8);
  Table['\t'] = Table['\n'] = Table['\r'] = Table[127] = ClassPass;
  return Table;
}

ClassTable makeAttributeTable(bool passHighBytes) {
  ClassTable Table{};
  setEntityClasses(Table);
  Table['\t'] = Table['\n'] = Table['\r'] = ClassDefault;
  for (unsigned Byte = 128; Byte < 256; ++Byte) Table[Byte] = passHighBytes ? ClassPass : ClassDefault;
  Table[' '] = ClassBlank;
  return Table;
}

// Built on first use and only read afterwards.
const ClassTable& dataTable(int mode) {
  static const ClassTable Tables[4] = {
      makeDataTable(ClassDefault, ClassDefault),  // Virtual
      makeDataTable(ClassPass, ClassPass),        // Pass
      makeDataTable(ClassHex, ClassPass),         // ControlHexRest
      makeLatin1DataTable(),                      // Latin1ToUtf8
  };
  return Tables[mode];
}

const ClassTable& attributeTable(bool passHighBytes) {
  static const ClassTable Plain = makeAttributeTable(false);
  static const ClassTable High = makeAttributeTable(true);
  return passHighBytes ? High : Plain;
}

}  // namespace

// --- XMLiosFilter

void XMLiosFilter::flush() {
  if (m_Sink) m_Sink->flush();
}

COLsink& XMLiosFilter::target() const {
  COL_PRECONDITION(m_Sink != nullptr);
  return *m_Sink;
}

// --- tag filters

char XMLiosTagFilter::ordinaryTranslation(unsigned char byte) {
  if ((byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9') || byte == '_' ||
      byte == '.')
    return static_cast<char>(byte);
  if (byte == ':' || byte == ';') return '_';
  return 0;
}

XMLiosTagFilter::XMLiosTagFilter(COLsink* sink, char delimiter) : XMLiosFilter(sink), m_Delimiter(delimiter) {
  // Every translation made has its filter built once per converter and thus per message:
  // the ordinary table is worked out once and copied.
  static const std::array<char, 256> Ordinary = [] {
    std::array<char, 256> Table{};
    for (unsigned Byte = 0; Byte < 256; ++Byte) Table[Byte] = ordinaryTranslation(static_cast<unsigned char>(Byte));
    return Table;
  }();
  std::memcpy(m_Translation, Ordinary.data(), sizeof m_Translation);
  m_Translation[static_cast<unsigned char>(delimiter)] = 0;
}

void XMLiosTagFilter::setXmlDelimiter(char delimiter) {
  const auto Old = static_cast<unsigned char>(m_Delimiter);
  m_Translation[Old] = ordinaryTranslation(Old);
  m_Translation[static_cast<unsigned char>(delimiter)] = 0;
  m_Delimiter = delimiter;
}

size_t XMLiosTagFilter::write(const void* data, size_t size) {
  const auto* Byte = static_cast<const unsigned char*>(data);
  const auto* End = Byte + size;
  XMLiosCoalescer Out(target());
  while (Byte < End) {
    const auto* Run = Byte;
    while (Byte < End && m_Translation[*Byte] == static_cast<char>(*Byte)) ++Byte;
    if (Byte > Run) Out.put(Run, static_cast<size_t>(Byte - Run));
    if (Byte == End) break;
    if (const char Result = m_Translation[*Byte]) Out.putByte(Result);
    ++Byte;
  }
  Out.flush();
  return size;
}

XMLiosTagFilterNoDelimiter::XMLiosTagFilterNoDelimiter(COLsink* sink) : XMLiosTagFilter(sink, '.') {
  setTranslation('.', '.');
}

XMLiosTagFilterXmlName::XMLiosTagFilterXmlName(COLsink* sink) : XMLiosTagFilter(sink, '.') {
  setTranslation('.', '.');
  setTranslation('-', '-');
  setTranslation(':', ':');
  for (unsigned Byte = 128; Byte < 256; ++Byte) setTranslation(static_cast<unsigned char>(Byte), static_cast<char>(Byte));
}

// --- data filters

XMLiosDataFilter::XMLiosDataFilter(COLsink* sink) : XMLiosDataFilter(sink, DefaultEscape::Virtual) {}

XMLiosDataFilter::XMLiosDataFilter(COLsink* sink, DefaultEscape mode)
    : XMLiosFilter(sink), m_Classes(dataTable(static_cast<int>(mode)).data()) {}

void XMLiosDataFilter::onDefaultEscape(char byte, COLsink& sink) {
  const auto Value = static_cast<unsigned char>(byte);
  const char Text[6] = {'&', '#', 'x', FMThexDigits[Value >> 4], FMThexDigits[Value & 15], ';'};
  sink.write(Text, sizeof Text);
}

size_t XMLiosDataFilter::write(const void* data, size_t size) {
  const auto* Byte = static_cast<const unsigned char*>(data);
  const auto* End = Byte + size;
  COLsink& Sink = target();
  XMLiosCoalescer Out(Sink);
  while (Byte < End) {
    const auto* Run = Byte;
    while (Byte < End && m_Classes[*Byte] == ClassPass) ++Byte;
    if (Byte > Run) Out.put(Run, static_cast<size_t>(Byte - Run));
    if (Byte == End) break;
    const uint8_t Class = m_Classes[*Byte];
    if (Class == ClassUtf8) {
      Out.putUtf8(*Byte);
    } else if (Class == ClassHex) {
      Out.putHex(*Byte);
    } else if (Class == ClassRefuse) {
      refuseControlByte(*Byte);
    } else if (Class == ClassDefault) {
      Out.flush();
      onDefaultEscape(static_cast<char>(*Byte), Sink);
    } else {
      Out.put(entityOf(Class));
    }
    ++Byte;
  }
  Out.flush();
  return size;
}

XMLiosNullDataFilter::XMLiosNullDataFilter(COLsink* sink) : XMLiosDataFilter(sink, DefaultEscape::Pass) {}

void XMLiosNullDataFilter::onDefaultEscape(char byte, COLsink& sink) { sink.write(&byte, 1); }

XMLiosUtf8DataFilter::XMLiosUtf8DataFilter(COLsink* sink) : XMLiosDataFilter(sink, DefaultEscape::ControlHexRest) {}

void XMLiosUtf8DataFilter::onDefaultEscape(char byte, COLsink& sink) {
  if (static_cast<unsigned char>(byte) < 32)
    XMLiosDataFilter::onDefaultEscape(byte, sink);
  else
    sink.write(&byte, 1);
}

XMLiosLatin1DataFilter::XMLiosLatin1DataFilter(COLsink* sink) : XMLiosDataFilter(sink, DefaultEscape::Latin1ToUtf8) {}

void XMLiosLatin1DataFilter::onDefaultEscape(char byte, COLsink& sink) {
  const auto Value = static_cast<unsigned char>(byte);
  if (!isWritable(Value)) refuseControlByte(Value);
  if (Value < 128) {
    sink.write(&byte, 1);
    return;
  }
  XMLiosCoalescer Out(sink);
  Out.putUtf8(Value);
  Out.flush();
}

// --- attribute filter

const uint8_t* XMLiosAttributeDataFilter::defaultClasses() { return attributeTable(false).data(); }

XMLiosAttributeDataFilter::XMLiosAttributeDataFilter(COLsink* sink, bool passHighBytes)
    : XMLiosFilter(sink), m_Classes(attributeTable(passHighBytes).data()) {}

size_t XMLiosAttributeDataFilter::write(const void* data, size_t size) {
  const auto* Byte = static_cast<const unsigned char*>(data);
  const auto* End = Byte + size;
  XMLiosCoalescer Out(target());
  while (Byte < End) {
    const auto* Run = Byte;
    while (Byte < End && m_Classes[*Byte] == ClassPass) ++Byte;
    if (Byte > Run) {
      Out.put(Run, static_cast<size_t>(Byte - Run));
      m_SpaceSeen = false;
    }
    if (Byte == End) break;
    const uint8_t Class = m_Classes[*Byte];
    if (Class == ClassBlank) {
      // A second blank in a row is written by number, so that no reader folds the two.
      Out.put(m_SpaceSeen ? std::string_view("&#x20;") : std::string_view(" "));
      m_SpaceSeen = true;
    } else if (Class == ClassDefault) {
      Out.putHex(*Byte);
    } else {
      Out.put(entityOf(Class));
    }
    ++Byte;
  }
  Out.flush();
  return size;
}
