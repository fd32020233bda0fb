#include "QVMtableXmlFormatter.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <memory>
#include <vector>

#include "COLdateTime.h"
#include "COLerror.h"
#include "COLstring.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMtableDefinitionInternal.h"
#include "QVMtableGrammarInternal.h"
#include "QVMtableInternal.h"

COLstring QVMtableXmlName(const COLstring& Name) {
  static const XMLiosTagFilterNoDelimiter Filter;
  std::string_view Text(Name);
  size_t Kept = 0;
  while (Kept < Text.size() && Filter.translate(static_cast<unsigned char>(Text[Kept])) == Text[Kept]) ++Kept;
  const auto LeadingDigit = [](const std::string_view Tag) { return !Tag.empty() && Tag[0] >= '0' && Tag[0] <= '9'; };
  if (Kept == Text.size() && !LeadingDigit(Text)) return Name;
  std::string Out(Text.substr(0, Kept));
  for (const char Byte : Text.substr(Kept))
    if (const char Translated = Filter.translate(static_cast<unsigned char>(Byte))) Out += Translated;
  // As the writer prints it: a name may not start with a digit.
  if (LeadingDigit(Out)) Out[0] = '_';
  return COLstring(Out);
}

COLstring QVMtableXmlTag(const QVMtableGrammarInternal& Grammar) {
  if (Grammar.parent() && !Grammar.isNode()) {
    const QVMmessageDefinitionInternal* Message = Grammar.message();
    return QVMtableXmlName((Message ? Message->name() : COLstring()) + "." + Grammar.name());
  }
  return QVMtableXmlName(Grammar.name());
}

namespace {

const XMLiosTagFilterNoDelimiter& QVMtagFilter() {
  static const XMLiosTagFilterNoDelimiter Filter;
  return Filter;
}

constexpr std::string_view kNewLine = "\r\n";

}  // namespace

COLstring QVMtableMessageName(const QVMtableInternal& Table) {
  const QVMtableGrammarInternal* Grammar = Table.tableGrammar();
  const QVMmessageDefinitionInternal* Message = Grammar ? Grammar->message() : nullptr;
  return Message ? Message->name() : COLstring();
}

// Values are 8-bit text: the document comes out as UTF-8, readable without a declaration.
QVMtableXmlFormatter::QVMtableXmlFormatter() = default;
QVMtableXmlFormatter::~QVMtableXmlFormatter() = default;

void QVMtableXmlFormatter::appendTag(const char* Open, std::string_view First, std::string_view Second,
                                     std::string_view Third) {
  const XMLiosTagFilter& Filter = QVMtagFilter();
  m_Tag.clear();
  for (const std::string_view Part : {First, Second, Third})
    for (const char Byte : Part)
      if (const char Kept = Filter.translate(static_cast<unsigned char>(Byte))) m_Tag += Kept;
  if (m_Tag.empty()) return;
  // A name may not start with a digit.
  if (m_Tag[0] >= '0' && m_Tag[0] <= '9') m_Tag[0] = '_';
  std::string& Out = m_Out->str();
  Out += Open;
  Out += m_Tag;
  Out += '>';
}

COLstring& QVMtableXmlFormatter::outputTableInXml(COLstring& Out, const QVMtableInternal& Table, bool LongTags) {
  Out.clear();
  m_Out = &Out;
  m_Values.setSink(&Out);
  appendTag("<", "Quovane_Import");
  Out.str() += kNewLine;
  // Reading a cell may bring its date-time item in line with its object; the values stay.
  outputTable(0, const_cast<QVMtableInternal&>(Table), LongTags, true);
  appendTag("</", "Quovane_Import");
  Out.str() += kNewLine;
  m_Values.setSink(nullptr);
  m_Out = nullptr;
  return Out;
}

namespace {

// The text of a cell that is not a string: a date-time is printed into `DateText` (its text is
// longer than a short string holds, so a COLstring would be made on the heap for each), any other
// type is converted into `Converted`.
std::string_view QVMcolumnText(QVMtableInternal& Table, unsigned Column, unsigned Row, char (&DateText)[64],
                               COLstring& Converted) {
  if (Table.columnType(Column) == QVMdateTimeType) {
    // The year has four digits even before 1000, so that the reader takes the text back.
    const QVMdateTimeInternal& Value = Table.getDateTime(Column, Row);
    // A date the calendar cannot show (out of its range) has no text, like an invalid one.
    if (Value.status() != COLdateTime::valid) return {};
    // The calendar fields once, not once per field, and written digit by digit: this runs for
    // every date cell of every message.
    struct tm Fields;
    if (!_COLTmFromOleDate(static_cast<double>(Value), Fields)) return {};
    const int Year = Fields.tm_year;
    if (Year < 0 || Year > 9999) {
      const int Length = std::snprintf(DateText, sizeof DateText, "%04d-%02d-%02dT%02d:%02d:%02d", Year,
                                       Fields.tm_mon, Fields.tm_mday, Fields.tm_hour, Fields.tm_min, Fields.tm_sec);
      if (Length <= 0) return {};
      return std::string_view(DateText, std::min(static_cast<size_t>(Length), sizeof DateText - 1));
    }
    char* At = DateText;
    const auto Put = [&At](int Number, int Digits, char After) {
      for (int Place = Digits - 1; Place >= 0; --Place, Number /= 10) At[Place] = static_cast<char>('0' + Number % 10);
      At += Digits;
      if (After) *At++ = After;
    };
    Put(Year, 4, '-');
    Put(Fields.tm_mon, 2, '-');
    Put(Fields.tm_mday, 2, 'T');
    Put(Fields.tm_hour, 2, ':');
    Put(Fields.tm_min, 2, ':');
    Put(Fields.tm_sec, 2, 0);
    return std::string_view(DateText, static_cast<size_t>(At - DateText));
  }
  Converted = Table.getStringValue(Column, Row);
  return Converted.view();
}

// The refusal of a value that holds a byte XML cannot carry, with the cell it came from and
// the value shown with its control bytes by number (printed raw they would garble the report).
[[noreturn]] void QVMrefuseValue(const QVMtableInternal& Table, unsigned Column, unsigned Row, const COLstring& Text,
                                 const COLerror& Cause) {
  const auto Bytes = Text.view();
  const auto First = std::find_if(Bytes.begin(), Bytes.end(),
                                  [](char C) { return !XMLiosLatin1DataFilter::isWritable(static_cast<unsigned char>(C)); });
  if (First == Bytes.end()) throw Cause;
  const auto Refused = static_cast<unsigned char>(*First);
  const COLstring Shown = COLshownValue(Bytes, std::string_view::npos, XMLiosLatin1DataFilter::isWritable);
  const QVMtableDefinitionInternal* Definition = Table.tableDefinition();
  char Detail[160];
  std::snprintf(Detail, sizeof Detail,
                " (row %u) cannot be written as XML: it holds the control byte 0x%02X, which XML 1.0 cannot carry.",
                Row + 1, Refused);
  throw COLerror("The value '" + Shown + "' of column " + (Definition ? Definition->tableName() + "." : COLstring()) +
                     Table.columnName(Column) + Detail,
                 COL_ERROR_PRECONDITION);
}

}  // namespace

namespace {

// The column tags of one table in both forms, "<name>" and "</name>\r\n" (nothing for a name the
// filter leaves empty), and the row tag of its node tables, "<table>" and "</table>" (both empty
// for a name the filter leaves empty); kept on the table definition until a name changes.
struct QVMcolumnTags {
  std::vector<std::string> open[2], close[2];  // [0] short, [1] long
  std::string rowOpen, rowClose;
};

std::string QVMfilteredTag(std::string_view Prefix, std::string_view Name) {
  std::string Tag;
  const XMLiosTagFilter& Filter = QVMtagFilter();
  for (const std::string_view Part : {Prefix, Name})
    for (const char Byte : Part)
      if (const char Kept = Filter.translate(static_cast<unsigned char>(Byte))) Tag += Kept;
  // A name may not start with a digit.
  if (!Tag.empty() && Tag[0] >= '0' && Tag[0] <= '9') Tag[0] = '_';
  return Tag;
}

const QVMcolumnTags& QVMtagsOf(const QVMtableDefinitionInternal& Definition) {
  if (const void* Known = Definition.namesInPlace()) return *static_cast<const QVMcolumnTags*>(Known);
  std::shared_ptr<const void> Cache = Definition.namesCache();
  if (!Cache) {
    auto Tags = std::make_shared<QVMcolumnTags>();
    const std::string LongPrefix = Definition.tableName().str() + ".";
    if (const std::string Row = QVMfilteredTag({}, Definition.tableName().view()); !Row.empty()) {
      Tags->rowOpen = "<" + Row + ">";
      Tags->rowClose = "</" + Row + ">";
    }
    for (size_t Column = 0; Column < Definition.countOfColumn(); ++Column) {
      for (const bool Long : {false, true}) {
        const std::string Tag =
            QVMfilteredTag(Long ? std::string_view(LongPrefix) : std::string_view(), Definition.columnName(Column).view());
        Tags->open[Long].push_back(Tag.empty() ? std::string() : "<" + Tag + ">");
        Tags->close[Long].push_back(Tag.empty() ? std::string(kNewLine) : "</" + Tag + ">" + std::string(kNewLine));
      }
    }
    Definition.setNamesCache(Tags);
    Cache = Definition.namesCache();  // another thread's, when it published first
  }
  // The definition keeps its cache alive while this table is written: no edit happens meanwhile.
  return *static_cast<const QVMcolumnTags*>(Cache.get());
}

}  // namespace

void QVMtableXmlFormatter::outputTable(unsigned Indent, QVMtableInternal& Table, bool LongTags, bool IsRoot) {
  if (Table.countOfRow() == 0 || !Table.tableGrammar()) return;
  if (Table.countOfColumn() == 0 && Table.countOfSubTable() == 0 && !IsRoot) return;
  std::string& Out = m_Out->str();
  // The row tag in the pieces QVMtableXmlTag joins; appendTag filters them as it does, so the
  // name is never made as a string of its own.
  const QVMtableGrammarInternal& Grammar = *Table.tableGrammar();
  std::string_view TagFirst = Grammar.name().view(), TagDot, TagSecond;
  if (Grammar.parent() && !Grammar.isNode()) {
    const QVMmessageDefinitionInternal* Message = Grammar.message();
    TagFirst = Message ? Message->name().view() : std::string_view();
    TagDot = ".";
    TagSecond = Grammar.name().view();
  }
  const unsigned ColumnIndent = Indent + 3;
  const QVMtableDefinitionInternal* Definition = Table.tableDefinition();
  // The tag filter keeps ".", so a long tag is the two names joined.
  const bool Long = LongTags && Definition;
  const std::string_view Prefix = Long ? Definition->tableName().view() : std::string_view();
  const std::string_view Dot = Long ? "." : "";
  const QVMcolumnTags* Tags = Definition ? &QVMtagsOf(*Definition) : nullptr;
  // A node table's row tag is its table's name, kept with the column tags.  A group's is filtered
  // once per table: later rows and every closing tag copy it from where the first row's opening
  // tag was written.
  size_t TagAt = 0, TagLength = 0;
  for (unsigned Row = 0; Row < Table.countOfRow(); ++Row) {
    Out.append(Indent, ' ');
    if (Tags) {
      Out += Tags->rowOpen;
    } else if (Row == 0) {
      TagAt = Out.size();
      appendTag("<", TagFirst, TagDot, TagSecond);
      TagLength = Out.size() - TagAt;
    } else {
      Out.append(Out, TagAt, TagLength);
    }
    Out += kNewLine;
    // Most cells of a wide table hold nothing: the table knows which may, and the rest are
    // never looked at.
    const unsigned Columns = Table.countOfColumn();
    for (unsigned Column = Table.nextFilledColumn(Row, 0); Column < Columns;
         Column = Table.nextFilledColumn(Row, Column + 1)) {
      COLstring Converted;
      char DateText[64];
      std::string_view Text;
      const QVMtableCell& Cell = Table.cellAt(Column, Row);
      const QVMdataType Type = Definition->columnType(Column);
      if (Type == QVMstringType && Cell.kind() == QVMtableCell::Text && !Cell.dateTimeObject()) {
        // The common case, read in place: text in a string column, a value or the explicit null.
        Text = Cell.valueAsString().view();
      } else {
        // Null and invalid cells have no element; an invalid one is told to whoever listens, as
        // the writer is the last to see its text.
        const QVMtableInternalState State = Table.state(Column, Row);
        if (State == QVMtableStateNull) continue;
        if (State == QVMtableStateInvalid) {
          if (QVMtableXmlUnwrittenValues* Listener = QVMtableXmlUnwrittenScope::current())
            Listener->unwrittenValue(Table, Column, Row, Table.invalidText(Column, Row));
          continue;
        }
        Text = Type == QVMstringType ? Table.getString(Column, Row).view()
                                     : QVMcolumnText(Table, Column, Row, DateText, Converted);
      }
      if (Text.empty()) continue;
      const bool Cached = Tags && Column < Tags->open[Long].size();
      Out.append(ColumnIndent, ' ');
      if (Cached) {
        Out += Tags->open[Long][Column];
      } else {
        appendTag("<", Prefix, Dot, Table.columnName(Column).view());
      }
      try {
        m_Values.write(Text.data(), Text.size());
      } catch (const COLerror& Cause) {
        QVMrefuseValue(Table, Column, Row, COLstring(Text), Cause);
      }
      if (Cached) {
        Out += Tags->close[Long][Column];
      } else {
        appendTag("</", Prefix, Dot, Table.columnName(Column).view());
        Out += kNewLine;
      }
    }
    for (unsigned Sub = 0; Sub < Table.countOfRowSubTable(Row); ++Sub)
      outputTable(ColumnIndent, Table.rowSubTable(Row, Sub), LongTags, false);
    Out.append(Indent, ' ');
    if (Tags) {
      Out += Tags->rowClose;
    } else if (TagLength) {
      Out += "</";
      Out.append(Out, TagAt + 1, TagLength - 1);
    }
    Out += kNewLine;
  }
}
