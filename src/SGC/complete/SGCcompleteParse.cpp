#include "SGCcompleteParse.h"

#include <algorithm>
#include <vector>

#include "COLerror.h"
#include "COLostream.h"
#include "QVMengineInternal.h"
#include "QVMidentifier.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMmessageNodeAddress.h"
#include "LAGenvironment.h"
#include "LANfunction.h"
#include "QVMsegmentGrammar.h"
#include "QVMtableInternal.h"
#include "SGCconfig.h"
#include "SGCmap.h"
#include "SGCsegmentPass.h"
#include "SGCvalidationRule.h"
#include "SGMstringPool.h"
#include "SGCmatch.h"
#include "SGCparsedErrorPrepare.h"
#include "SGCskippedSegments.h"
#include "SGCunplacedValues.h"
#include "SGPparser.h"

namespace {

[[noreturn]] void SGCthrowTokeniserResult(SGPparseResult Result, const SGPparserOptions& Options) {
  switch (Result) {
    case SGPduplicateDelimiter:
      throw COLerror("Some delimiters in the message were repeated.", COL_ERROR_DELIMITERS);
    case SGPmessageTooShort:
      throw COLerror("The message is too short. Each message must include the " + Options.headerSegmentName() +
                         " segment and encoding characters.",
                     COL_ERROR_MESSAGE_TOO_SHORT);
    case SGPinterchangeHeaderInvalid:
      throw COLerror("The interchange header 'ISA' could not be read: it needs its 16 elements, each behind the "
                     "element separator that follows 'ISA', then the component separator (ISA-16) and the segment "
                     "terminator.",
                     COL_ERROR_DELIMITERS);
    case SGPfieldDelimitersNotFound:
      throw COLerror("Message delimiters were not found.", COL_ERROR_DELIMITERS);
    case SGPheaderNotFound:
      throw COLerror("The header segment '" + Options.headerSegmentName() + "' was not found.",
                     COL_ERROR_HEADER_NOT_FOUND);
    default: {
      COLstring Text;
      COLostream(Text) << "Unknown Raw Parse Result from SGPparse: " << static_cast<unsigned>(Result);
      throw COLerror(Text, COL_ERROR_PRECONDITION);
    }
  }
}

// The encoding characters sit 4 bytes behind the start of the name; a header cut short in
// front of them keeps what the tokeniser found.
void SGCfixMshSegments(SGMsegmentList& List, const COLstring& Text) {
  const char* End = Text.data() + Text.size();
  for (uint32_t Index = 0; Index < List.countOfSegment(); ++Index) {
    SGMsegment& Segment = List.segment(Index);
    const SGMvalue& Name = Segment.name();
    if (Name.view() != "MSH") continue;
    if (Name.data() + 8 > End) continue;
    QVJdoSpecialMshHack(Segment);
  }
}

}  // namespace

void SGCstripMessage(COLstring& Text) {
  // The passes narrow one window; the text is copied once at the end, if at all.
  size_t Begin = 0;
  size_t End = Text.size();
  for (char C : {' ', '\t', '\r', '\n'}) {
    while (Begin < End && Text[Begin] == C) ++Begin;
    while (End > Begin && Text[End - 1] == C) --End;
  }
  // Cut in place: the text keeps its buffer for the next message.
  std::string& Bytes = Text.str();
  Bytes.erase(End);
  Bytes.erase(0, Begin);
}

void QVJdoSpecialMshHack(SGMsegment& Segment) {
  if (Segment.countOfField() < 2 || Segment.countOfFieldRepeat(1) == 0) return;
  SGMfield& Field = Segment.field(1, 0);
  if (Field.countOfSubField() == 0 || Field.countOfSubSubField(0) == 0) return;
  Field.value(0, 0).set(Segment.name().data() + 4, 4);
}

const COLstring& SGCunidentifiedMessageText() {
  static const COLstring Text = COLstring("Message type is unidentified.   Often this means that a ") +
                                "new message needs to be defined or that the identifier fields were in the wrong "
                                "place or that the values " +
                                "were different from what was expected i.e. wrong case or a zero character instead "
                                "of the letter 'O' " +
                                "you can add a default message handler in the option screen which will be invoked "
                                "every time an " +
                                "unidentified message is encountered.  See the manual for details.";
  return Text;
}

namespace {

// "MSH-9.1": fields and their parts counted from 1, the first field of a segment being 1 (for
// MSH the field delimiter), so that the place reads the way HL7 people write it.
COLstring SGCidentifierPlace(const QVMidentifier& Identifier) {
  const QVMmessageNodeAddress& Address = Identifier.nodeAddress();
  COLstring Place;
  COLostream Out(Place);
  Out << Identifier.segment();
  for (uint32_t Step = 0; Step < Address.depth() && Step < 3; ++Step) {
    Out << (Step == 0 ? "-" : ".") << Address.nodeIndex(Step) + 1;
    if (Step == 0 && Address.repeatIndex(0) != 0) Out << "(repeat " << Address.repeatIndex(0) + 1 << ")";
  }
  Out.flush();
  return Place;
}

}  // namespace

COLstring SGCunidentifiedMessageReport(const QVMengineInternal& Engine,
                                       const std::function<bool(const QVMidentifier&, COLstring&)>& ValueOf) {
  // Each place once, in the order the definitions are tried.
  constexpr size_t kMostPlaces = 8;
  std::vector<COLstring> Places;
  std::vector<COLstring> Shown;
  bool More = false;
  for (auto Position = Engine.firstMessage(); Position; Position = Engine.nextMessage(Position)) {
    const QVMmessageDefinitionInternal& Message = *Engine.message(Engine.matchIndexToMessageIndex(Position));
    for (uint32_t Index = 0; Index < Message.countOfIdentifier(); ++Index) {
      const QVMidentifier& Identifier = *Message.identifier(Index);
      if (Identifier.nodeAddress().depth() == 0) continue;
      const COLstring Place = SGCidentifierPlace(Identifier);
      if (std::find(Places.begin(), Places.end(), Place) != Places.end()) continue;
      if (Places.size() == kMostPlaces) {
        More = true;
        continue;
      }
      COLstring Value;
      Places.push_back(Place);
      // A value is shown as far as a line allows.
      Shown.push_back(ValueOf(Identifier, Value) ? Place + " '" + COLshownValue(Value.view(), 40) + "'"
                                                 : Place + " absent");
    }
  }
  COLstring Text = SGCunidentifiedMessageText();
  COLostream Out(Text);
  if (Places.empty()) {
    Out << "  No definition of configuration '" << Engine.engineConfig().configName() << "' has an identifier.";
  } else {
    Out << "  Looked up: ";
    for (size_t Index = 0; Index < Shown.size(); ++Index) Out << (Index ? ", " : "") << Shown[Index];
    if (More) Out << " and more";
    Out << " in configuration '" << Engine.engineConfig().configName() << "'.";
  }
  Out.flush();
  return Text;
}

COLstring SGCunidentifiedMessageReport(const QVMengineInternal& Engine, SGMsegmentList& List) {
  return SGCunidentifiedMessageReport(Engine, [&List](const QVMidentifier& Identifier, COLstring& Value) {
    const unsigned Index = SGCfindFirstNamedSegment(List, Identifier.segment());
    if (Index >= List.countOfSegment()) return false;
    const SGMvalue* Found = SGCfindField(List.segment(Index), Identifier.nodeAddress());
    if (!Found) return false;
    Value = Found->asString();
    return true;
  });
}

unsigned SGCparseStructure(const COLstring& Message, QVMengineInternal& Engine, SGMsegmentList& List,
                           SGCmessageStructure& Result) {
  const QVMengineInternal& Reader = Engine;
  SGPparser& Parser = Result.tokeniser;
  SGPparserOptions Options;
  SGCcopyConfig(Reader.config(), Options);
  Result.text = Message;
  SGCstripMessage(Result.text);
  Result.separators = SGMseparatorCharacters();
  const SGPparseResult Tokenised =
      Parser.parse(Result.text.data(), Result.text.size(), List, Result.separators, Options);
  if (Tokenised != SGPparsed) SGCthrowTokeniserResult(Tokenised, Options);
  if (Options.hl7Mode()) SGCfixMshSegments(List, Result.text);
  // An interchange read by the separators it declares is checked as one: its trailers count
  // what they close and repeat the control numbers.
  if (SGPreadsInterchangeHeader(Options)) {
    COLstring Problem;
    if (!SGPcheckInterchangeEnvelope(List, Problem)) throw COLerror(Problem, COL_ERROR_MESSAGE_GRAMMAR);
  }

  const unsigned MessageIndex = SGCmatchMessage(List, Engine);
  if (MessageIndex >= Reader.countOfMessage())
    throw COLerror(SGCunidentifiedMessageReport(Reader, List), COL_ERROR_NOT_IDENTIFIED);
  Result.messageIndex = MessageIndex;
  QVMmessageDefinitionInternal& Definition = *Reader.message(MessageIndex);
  QVMmessageGrammar* Grammar = Definition.messageGrammar();
  COL_PRECONDITION(Grammar != nullptr);
  Result.context.clearErrors();
  if (!Result.context.parse(*Grammar, List)) {
    SGCmissingRequired* Lenient = SGCmissingRequiredListener();
    for (const auto& Error : Result.context.errorList()) {
      if (!Error->isFatal()) continue;
      if (Lenient && Error->errorCode() == SGCparsedError::RequiredItemMissing) continue;
      COLerror Report("", COL_ERROR_PRECONDITION);
      SGCparsedErrorPrepareError(Definition.name(), Error.get(), Report);
      throw Report;
    }
    // Only missing items are left: the listener hears each, and the message goes on without them.
    for (const auto& Error : Result.context.errorList())
      if (Error->errorCode() == SGCparsedError::RequiredItemMissing) {
        const QVMmessageGrammar& Missing = *Error->errorParsed()->rule();
        Lenient->missingRequired(Definition.name(), Missing.fullGrammarName(), Missing.isNode());
      }
  }
  // What is left in the list now is what "ignore unknown segments" let pass.
  if (SGCskippedSegmentsHeard())
    for (const auto& Error : Result.context.errorList())
      if (Error->errorCode() == SGCparsedError::SegmentNotInGrammar && Error->segment())
        SGCreportSkippedSegment(Definition, Error->segment()->name().asString(), Error->segmentIndex());
  return MessageIndex;
}

// --- the whole road

namespace {

// The name of the message definition a grammar belongs to.
const COLstring& SGCmessageName(const QVMmessageGrammar& Grammar) {
  static const COLstring None;
  const QVMmessageGrammar* Root = &Grammar;
  while (Root->parent()) Root = Root->parent();
  return Root->message() ? Root->message()->name() : None;
}

}  // namespace

void QVJcheckParsedSegments(QVMengineInternal& Engine, bool Hl7Mode, LAGenvironment& Environment,
                            SGMsegmentList& SegmentList,
                            SGMstringPool& StringPool, SGCparsed* Tree, bool Reject,
                            const SGMseparatorCharacters& Separators) {
  SCCescaperSettings Settings;
  QVJcheckParsedSegments(Engine, Hl7Mode, Environment, SegmentList, StringPool, Tree, Reject, Separators, Settings);
}

namespace {

// Whether the message text holds the escape character anywhere a value may: in HL7 the header's
// encoding characters hold it too (the second field of the first segment, never unescaped).
bool SGCmayHoldEscapes(std::string_view Text, char Escape, bool Hl7Mode) {
  size_t From = 0;
  if (Hl7Mode && Text.size() > 3) From = std::min(Text.find(Text[3], 4), Text.size());
  return Text.find(Escape, From) != std::string_view::npos;
}

}  // namespace

void QVJcheckParsedSegments(QVMengineInternal& Engine, bool Hl7Mode, LAGenvironment& Environment,
                            SGMsegmentList& SegmentList, SGMstringPool& StringPool, SGCparsed* Tree, bool Reject,
                            const SGMseparatorCharacters& Separators, SCCescaperSettings& Settings,
                            std::string_view Text) {
  const QVMconfig& Config = static_cast<const QVMengineInternal&>(Engine).config();
  SGCescaperSettings(Config, Settings);
  SCCescaper Escaper(Settings);
  SGCcopyEscaper(Config, Separators, Escaper);
  // Most messages have no escape sequence.  An equation may write one into any segment, so from
  // the first equation on every segment is searched.
  bool Unescape = !Text.data() || SGCmayHoldEscapes(Text, Escaper.unescapeEscapeCharacter(), Hl7Mode);
  for (SGCparsed* Node = Tree; Node; Node = SGCparsedGetNextPreOrder(Node)) {
    SGCparsedSegment* Placed = Node->segment();
    if (!Placed) continue;
    const QVMsegmentGrammar* Grammar = Node->rule()->segment();
    COL_PRECONDITION(Grammar != nullptr);
    SGMsegment& Segment = *Placed->segmentPointer();
    const unsigned Index = Placed->index();
    // Most segments have neither equations nor rules: what the grammar holds of them is derived once.
    const QVMsegmentScripts* Scripts = &Grammar->currentScripts();
    for (const uint32_t Field : Scripts->equationFields) {
      const QVMsegmentSubField& Definition = *Grammar->field(Field);
      // An equation that did not compile is run too, so that its error is reported.
      SGCexecuteOneSegmentEquation(Definition.incomingFunction(), &StringPool, &SegmentList, Index, Field, Environment,
                                   Grammar->name() + "." + Definition.name());
      Unescape = true;
    }
    SGCcheckAndReport(*Grammar, Segment, Index, Node, Escaper, Hl7Mode, StringPool, Separators, Reject, Unescape);
    if (SGCunplacedValuesHeard()) SGCreportUnplacedValues(SGCmessageName(*Node->rule()), Segment, *Grammar);
    if (!Scripts->hasRules) continue;
    for (uint32_t Field = 0; Field < Grammar->countOfField(); ++Field) {
      const QVMsegmentSubField& Definition = *Grammar->field(Field);
      for (uint32_t Rule = 0; Rule < Definition.countOfValidationRule(); ++Rule)
        // The parse holds the pool and the segment; the counted pointers only add a reference.
        SGCdoSegmentValidationRule(*Definition.validationRule(Rule), &StringPool, &Segment, Engine);
    }
  }
}

unsigned SGCcompleteParse(const COLstring& Message, QVMengineInternal& Engine,
                          COLreferencePtr<SGMsegmentList> SegmentList, LAGenvironment& Environment,
                          QVMtableInternal& ResultTable) {
  SGCroad Road;
  return SGCcompleteParse(Message, Engine, *SegmentList, Environment, ResultTable, Road);
}

unsigned SGCcompleteParse(const COLstring& Message, QVMengineInternal& Engine, SGMsegmentList& SegmentList,
                          LAGenvironment& Environment, QVMtableInternal& ResultTable, SGCroad& Road) {
  if (Road.inUse) {
    SGCroad Own;
    return SGCcompleteParse(Message, Engine, SegmentList, Environment, ResultTable, Own);
  }
  // The parsed tree goes back to this thread's node cache when the message is done, as it
  // did when the structure was the parse's own: a road kept past the thread (a static
  // engine's context) must not hold nodes the cache has to take back after it is gone.
  struct InUse {
    SGCroad& road;
    explicit InUse(SGCroad& Road) : road(Road) { road.inUse = true; }
    ~InUse() {
      road.structure.context.setTree(nullptr);
      road.structure.context.clearErrors();
      road.inUse = false;
    }
  } Busy(Road);
  SGCmessageStructure& Structure = Road.structure;
  const unsigned MessageIndex = SGCparseStructure(Message, Engine, SegmentList, Structure);
  // The previous message's unescaped values go; their buffers stay for this one.
  SGMstringPool& Pool = *Road.pool;
  Pool.clear();
  Environment.resetCountOfSegmentInMessage(SegmentList.countOfSegment());
  // HL7 mode as the tokeniser's options take it from the configuration.
  const bool Hl7Mode = static_cast<const QVMengineInternal&>(Engine).config().countOfHeaderFieldsToSkip() > 2;
  QVJcheckParsedSegments(Engine, Hl7Mode, Environment, SegmentList, Pool, Structure.context.tree(),
                         Engine.rejectBadSegmentGrammar(), Structure.separators, Road.escaperSettings,
                         Structure.text.view());
  SGCmap(Structure.context.tree(), ResultTable);
  COL_PRECONDITION(!ResultTable.isNode());
  COL_PRECONDITION(ResultTable.countOfRow() <= 1);
  SGCexecuteInboundTableEquations(Engine, ResultTable, Environment);
  return MessageIndex;
}
