#include "QVJparse.h"

#include <cstring>
#include <utility>

#include "COLerror.h"
#include "COLostream.h"
#include "LAGexecute.h"
#include "LANfunction.h"
#include "QVJdiagnostics.h"
#include "QVJlegacySegment.h"
#include "QVJparseContext.h"
#include "QVMconfig.h"
#include "QVMoutgoingScripts.h"
#include "QVMengineInternal.h"
#include "QVMidentifyMessage.h"
#include "QVMparser.h"
#include "QVMverifySegment.h"
#include "QVMtableInternal.h"
#include "QVMuntypedMessageTree.h"
#include "QVMxmlHl7Converter.h"
#include "QVPgenerateMessage.h"
#include "QVPparseMessage.h"
#include "SGCcompleteParse.h"
#include "SGXfromXmlFullTreeValidation.h"

namespace {

// A global script on the message text, its failure under the heading that names the script.
void QVJrunGlobalScript(const LANfunction& Function, COLstring& Text, const QVMconfig& Config, uint32_t Context,
                        LAGenvironment& Environment, const char* Heading) {
  bool IsNone = false;
  try {
    LAGexecuteScriptWithStringValue(Function, Text, Config.disablePythonNone(), IsNone, Context, Environment);
  } catch (const COLerror& Error) {
    throw COLerror(COLstring(Heading) + Error.description(), COL_ERROR_PRECONDITION);
  }
}

QVMengineInternal& QVJschema(QVJparseContext& Context) {
  QVMengineInternal* Schema = Context.qvpParseContext().schema();
  COL_PRECONDITION(Schema != nullptr);
  return *Schema;
}

}  // namespace

void QVJconfigPreProcessMessage(const QVMconfig& Config, const COLstring& Message, COLstring& Result,
                                LAGenvironment& Environment) {
  Result = Message;
  if (Config.mainFunction().isSet())
    QVJrunGlobalScript(Config.mainFunction(), Result, Config, LAGglobalInbound, Environment,
                       "Global Inbound Script error: ");
}

void QVJenginePostProcessMessage(QVJparseContext& Context, const COLstring& Message) {
  const QVMconfig& Config = static_cast<const QVMengineInternal&>(QVJschema(Context)).config();
  if (!Config.postProcessFunction().isSet()) return;
  // The post-process script sees the message; what it leaves in `value` goes nowhere.
  COLstring Text = Message;
  QVJrunGlobalScript(Config.postProcessFunction(), Text, Config, LAGglobalInboundPostProcess,
                     Context.qvpParseContext().pythonEnvironment(), "Global Inbound Post Process Script error: ");
}

void QVJengineInternalParseMessageNoPostProcess(QVJparseContext& Context, const COLstring& Message,
                                                unsigned& MessageIndex, QVMtableInternal& ResultTable) {
  QVPparseContext& Shared = Context.qvpParseContext();
  QVMengineInternal& Engine = QVJschema(Context);
  LAGenvironment& Environment = Shared.pythonEnvironment();
  LAGresultTableScope ScriptsSeeTheTable(Environment, ResultTable);
  try {
    Shared.initParser();
    Shared.setLastFlatWire(Message);
    COLstring Working;
    const QVMconfig& Config = static_cast<const QVMengineInternal&>(Engine).config();
    // Only the legacy parser builds a list of raw segments for the segment iterator of scripts; on
    // the current road a script asking for one is told so rather than handed an empty list.
    Environment.setSegmentList(Config.parserVersion() == QVMparserCurrent ? nullptr : &Shared.rawSegmentList());
    // Without a pre-process script the message is parsed as it came, with no copy.
    const COLstring* Text = &Message;
    if (Config.mainFunction().isSet()) {
      QVJconfigPreProcessMessage(Config, Message, Working, Environment);
      Text = &Working;
    }
    switch (Config.parserVersion()) {
      case QVMparserCurrent:
        MessageIndex =
            SGCcompleteParse(*Text, Engine, *Context.currentSegmentList(), Environment, ResultTable, Context.road());
        break;
      case QVMparserLegacy:
      case QVMparserSegmentChecker3:
        QVPengineInternalParseMessage(Shared, *Text, MessageIndex, ResultTable, QVJuntypedTreeSegmentCopyChecked,
                                      QVJcheckUntypedTreeSegment);
        break;
      default: {
        COLstring Text;
        COLostream(Text) << "Unknown Parser Version : " << static_cast<unsigned>(Config.parserVersion());
        throw COLerror(Text, COL_ERROR_PRECONDITION);
      }
    }
  } catch (const COLerror& Error) {
    QVJgenerateCompleteInfoOnException(Error, Engine.lineFeed(), Message);
  }
}

void QVJengineInternalParseMessage(QVJparseContext& Context, const COLstring& Message, unsigned& MessageIndex,
                                   QVMtableInternal& ResultTable) {
  // The post-process script may read the table the parse filled.
  LAGresultTableScope ScriptsSeeTheTable(Context.qvpParseContext().pythonEnvironment(), ResultTable);
  QVJengineInternalParseMessageNoPostProcess(Context, Message, MessageIndex, ResultTable);
  QVJenginePostProcessMessage(Context, Message);
}

void QVJengineInternalParseMessage(QVJparseContext& Context, const char* Message, unsigned& MessageIndex,
                                   QVMtableInternal& ResultTable) {
  QVJparseContext::MessageText Text(Context, Message);
  QVJengineInternalParseMessage(Context, Text.text(), MessageIndex, ResultTable);
}

const char* QVJhl7ToXmlLegacyTableFormat(QVJparseContext& Context, const char* Message) {
  std::unique_ptr<QVMxmlHl7Converter> Converter = QVMxmlHl7Converter::getConverter("TABLE - Long Tags");
  COL_PRECONDITION_TEXT(Converter.get() != NULL, "pTableConvertor.get() != NULL");
  QVMtableInternal Table;
  unsigned MessageIndex = 0;
  QVJengineInternalParseMessage(Context, Message, MessageIndex, Table);
  QVPparseContext& Shared = Context.qvpParseContext();
  COLstring Xml;
  Converter->outputTableInXml(Xml, Table);
  Shared.setLastFlatWire(Xml);
  return Shared.lastFlatWire().c_str();
}

namespace {

// The tree dialects: the legacy tokeniser and checker lay the message onto its grammar (or,
// for a dialect that wants no definitions, only give each raw segment its grammar), whatever
// the parser version, and the converter prints the tree.
void QVJtreeToXml(QVJparseContext& Context, QVMxmlHl7Converter& Converter, const char* Message, COLstring& Xml) {
  QVPparseContext& Shared = Context.qvpParseContext();
  QVMengineInternal& Engine = QVJschema(Context);
  QVMconfig& Config = Engine.config();
  LAGenvironment& Environment = Shared.pythonEnvironment();
  Environment.setSegmentList(&Shared.rawSegmentList());
  // Without a pre-process script the message is parsed from the context's buffer, with no copy.
  QVJparseContext::MessageText Text(Context, Message);
  const COLstring* Input = &Text.text();
  COLstring Working;
  if (Config.mainFunction().isSet()) {
    QVJconfigPreProcessMessage(Config, *Input, Working, Environment);
    Input = &Working;
  }
  Converter.setConfig(&Config);
  if (Converter.isStandard()) {
    const unsigned MessageIndex =
        QVPengineInternalStructureMessage(Shared, *Input, Config.parserVersion(), QVJuntypedTreeSegmentCopyChecked,
                                          QVJcheckUntypedTreeSegment);
    Converter.setRawSegments(&Shared.rawSegmentList());
    Converter.treeInXml(Shared.structuredMessage(), Engine.message(MessageIndex), Engine.currentConfig(), Xml,
                        Config.xmlDelimiter());
    return;
  }
  QVMuntypedMessageTree& Raw = Shared.rawSegmentList();
  QVMrawParseMessage(*Input, Shared.parser(), Shared.escaper(), Raw);
  for (unsigned Index = 0; Index < Raw.countOfSubNode(); ++Index) {
    QVMuntypedMessageTree& Segment = *Raw.node(Index, 0);
    if (Segment.countOfSubNode() == 0 && Segment.isNull()) break;
    QVMengineInternalAddSegmentGrammarAndVerify(Engine, Segment);
  }
  const unsigned MessageIndex = QVMengineInternalIdentifyMessage(Engine, Shared);
  Converter.setCurrentMessageDefinition(Engine.message(MessageIndex));
  // The header's encoding characters are no data to unescape: they are kept aside meanwhile.
  const bool HasEncodingCharacters = Config.countOfHeaderFieldsToSkip() > 2 && Raw.countOfSubNode() > 0 &&
                                     Raw.node(0, 0)->countOfSubNode() > 2 && !Raw.node(0, 0)->node(2, 0)->isNull();
  COLstring EncodingCharacters;
  if (HasEncodingCharacters) {
    EncodingCharacters = Raw.node(0, 0)->node(2, 0)->getValue();
    Raw.node(0, 0)->node(2, 0)->setStringValue(COLstring());
  }
  Raw.unescapeValues(Shared.escaper(), Engine.rejectBadSegmentGrammar());
  if (HasEncodingCharacters) Raw.node(0, 0)->node(2, 0)->setStringValue(EncodingCharacters);
  Converter.treeInXml(static_cast<const QVMuntypedMessageTree&>(Raw), Xml, Shared.escaper(), Config.xmlDelimiter());
}

}  // namespace

const char* QVJhl7ToXml(QVJparseContext& Context, const char* Message) {
  QVPparseContext& Shared = Context.qvpParseContext();
  QVMengineInternal& Engine = QVJschema(Context);
  try {
    Shared.initParser();
    Shared.setLastFlatWire(Message);
    QVMconfig& Config = Engine.config();
    QVMxmlHl7Converter* Converter = &Context.converter(Config.xmlTranslationType());
    // Written into the buffer the previous document left, so a steady stream of messages
    // needs no new one.
    COLstring Xml;
    Xml.str().swap(Context.spareText().str());
    if (Converter->isStandard() && Converter->isTable()) {
      QVMtableInternal& Table = Context.messageTable();
      Table.clear();
      unsigned MessageIndex = 0;
      QVJengineInternalParseMessage(Context, Message, MessageIndex, Table);
      // Asked again: a script of the parse may have used this context with another dialect.
      Converter = &Context.converter(Config.xmlTranslationType());
      Converter->setConfig(&Config);
      Converter->outputTableInXml(Xml, Table);
    } else {
      QVJtreeToXml(Context, *Converter, Message, Xml);
    }
    QVMconfigPostProcessOutgoingMessage(Config, Xml, Shared.pythonEnvironment());
    // The document is written once, straight into this string, and handed over without a copy;
    // the text it replaces becomes the next document's buffer.
    Shared.swapLastFlatWire(Xml);
    Context.spareText().str().swap(Xml.str());
    Context.spareText().clear();
    return Shared.lastFlatWire().c_str();
  } catch (const COLerror& Error) {
    // A parse failure arrives with its report made already.
    if (Error.hasParameter("PlainError")) throw;
    QVJgenerateCompleteInfoOnException(Error, Engine.lineFeed(), Shared.lastFlatWire());
  }
}

namespace {

const char* QVJtableXmlToHl7(QVJparseContext& Context, QVMxmlHl7Converter& Converter, const COLstring& Xml) {
  QVPparseContext& Shared = Context.qvpParseContext();
  QVMengineInternal& Engine = QVJschema(Context);
  QVMtableInternal Table;
  unsigned MessageIndex = 0;
  Converter.tableInXml(Xml, Engine, MessageIndex, Table);
  return QVPgenerateMessage(Shared, MessageIndex, Table);
}

}  // namespace

const char* QVJxmlToHl7validate(QVJparseContext& Context, const COLstring& Xml, bool Validate) {
  QVPparseContext& Shared = Context.qvpParseContext();
  QVMengineInternal& Engine = QVJschema(Context);
  Shared.initParser();
  QVMconfig& Config = Engine.config();
  // Kept by the context with its reader, for the next document of the same dialect.
  QVMxmlHl7Converter* Converter = &Context.converter(Config.xmlTranslationType());
  Converter->setConfig(&Config);
  if (Converter->isTable()) return QVJtableXmlToHl7(Context, *Converter, Xml);
  Shared.setLastFlatWire(COLstring());
  COLstring Message;
  if (Validate && std::strcmp(Converter->name(), "Full Tree Validation") == 0) {
    SGXfromXmlFullTreeValidation Reader;
    Reader.xmlToHl7(Xml, Engine, Message);
    // Any fault rejects the document here, fatal or not: nothing is half converted.
    if (!Reader.errorList().empty()) {
      COLstring Text("Some errors were encountered during conversion: ");
      COLostream Stream(Text);
      Stream << newline;
      for (const COLreferencePtr<SGXerror>& Error : Reader.errorList())
        Stream << " [" << Error->lineNumber() << ":" << Error->colNumber() << "] : " << Error->description()
               << newline;
      Stream << flush;
      throw COLerror(Text, COL_ERROR_RESOURCE);
    }
  } else {
    QVMuntypedMessageTree Tree;
    unsigned MessageIndex = 0;
    Converter->getTree(Xml, Engine, Shared, MessageIndex, Tree);
    Tree.makeFlatWire(Message, Config, 0);
  }
  QVMconfigPostProcessOutgoingMessage(Config, Message, Shared.pythonEnvironment());
  Shared.setLastFlatWire(std::move(Message));
  return Shared.lastFlatWire().c_str();
}

const char* QVJxmlToHl7(QVJparseContext& Context, const COLstring& Xml) {
  QVMengineInternal& Engine = QVJschema(Context);
  return QVJxmlToHl7validate(Context, Xml, Engine.config().validateDataForXmlToHL7());
}

const char* QVJxmlToHl7LegacyTableFormat(QVJparseContext& Context, const COLstring& Xml) {
  QVJschema(Context);
  Context.qvpParseContext().initParser();
  std::unique_ptr<QVMxmlHl7Converter> Converter = QVMxmlHl7Converter::getConverter("TABLE - Long Tags");
  Converter->setConfig(&QVJschema(Context).config());
  return QVJtableXmlToHl7(Context, *Converter, Xml);
}
