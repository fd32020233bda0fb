#include "QVMidentifyMessage.h"

#include "COLerror.h"
#include "LAGexecute.h"
#include "LANfunction.h"
#include "QVMconfig.h"
#include "QVMengineInternal.h"
#include "QVMidentifier.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMmessageNodeAddress.h"
#include "QVMparser.h"
#include "QVMsegmentChecker.h"
#include "QVMsegmentGrammar.h"
#include "QVMuntypedMessageTree.h"
#include "QVPparseContext.h"
#include "SCCescaper.h"
#include "SGCcompleteParse.h"

namespace {

constexpr unsigned kNoMessage = 0xFFFFFFFF;

// The first segment named `Name`, or the first without a name, where the scan stops too.
const QVMuntypedMessageTree* QVMfindIdentifierSegment(const QVMuntypedMessageTree& RawList, const COLstring& Name) {
  for (unsigned Index = 0; Index < RawList.countOfSubNode(); ++Index) {
    const QVMuntypedMessageTree& Segment = *RawList.node(Index, 0);
    if (Segment.countOfSubNode() == 0 || Segment.node(0, 0)->isNull()) return &Segment;
    if (Name == Segment.node(0, 0)->getValue()) return &Segment;
  }
  return nullptr;
}

enum class QVMidentifierValue { NoPlace, Absent, Found };

// What an identifier reads of the raw tree: no such place (no match whatever the pattern), a
// value that is absent, or the value, unescaped.
QVMidentifierValue QVMidentifierReadValue(const QVMidentifier& Identifier, const QVMuntypedMessageTree& RawList,
                                          const SCCescaper& Escaper, COLstring& Plain) {
  const QVMuntypedMessageTree* Segment = QVMfindIdentifierSegment(RawList, Identifier.segment());
  const QVMmessageNodeAddress& Address = Identifier.nodeAddress();
  if (Segment == nullptr || Address.depth() == 0) return QVMidentifierValue::NoPlace;
  // Sub-node 0 of a raw segment is its name: field N is sub-node N + 1.
  const unsigned Field = Address.nodeIndex(0) + 1;
  if (Field >= Segment->countOfSubNode()) return QVMidentifierValue::NoPlace;
  const QVMuntypedMessageTree& FieldNode = *Segment->node(Field, 0);
  const unsigned Repeat = Address.repeatIndex(0);
  if (FieldNode.countOfRepeat() < Repeat) return QVMidentifierValue::NoPlace;
  COLstring Value;
  if (Repeat == FieldNode.countOfRepeat() ||
      !QVMmessageNodeAddressGetValue(Address, Value, *FieldNode.getRepeatedNode(Repeat), 1))
    return QVMidentifierValue::Absent;
  Escaper.unescapeString(Plain, Value.c_str(), true);
  return QVMidentifierValue::Found;
}

bool QVMidentifierMatches(const QVMidentifier& Identifier, const QVMuntypedMessageTree& RawList,
                          const SCCescaper& Escaper) {
  COLstring Plain;
  switch (QVMidentifierReadValue(Identifier, RawList, Escaper, Plain)) {
    case QVMidentifierValue::NoPlace: return false;
    case QVMidentifierValue::Absent: return Identifier.isNullMatchingValue();
    case QVMidentifierValue::Found: break;
  }
  return Identifier.doesMatch(Plain);
}

}  // namespace

bool QVMmessageDefinitionDoesMatch(const QVMmessageDefinitionInternal& Message, const QVMuntypedMessageTree& RawList,
                                   const SCCescaper& Escaper) {
  if (Message.countOfIdentifier() == 0) return false;
  for (unsigned Index = 0; Index < Message.countOfIdentifier(); ++Index)
    if (!QVMidentifierMatches(*Message.identifier(Index), RawList, Escaper)) return false;
  return true;
}

unsigned QVMengineInternalIdentifyMessageWithoutException(QVMengineInternal& Engine, QVPparseContext& Context,
                                                          const QVMuntypedMessageTree& RawList) {
  const SCCescaper& Escaper = Context.escaper();
  for (auto Position = Engine.firstMessage(); Position; Position = Engine.nextMessage(Position)) {
    const unsigned Index = Engine.matchIndexToMessageIndex(Position);
    if (QVMmessageDefinitionDoesMatch(*Engine.message(Index), RawList, Escaper)) return Index;
  }
  if (Engine.lastMessageMatchesAll() && Engine.lastMessage()) return Engine.matchIndexToMessageIndex(Engine.lastMessage());
  return kNoMessage;
}

unsigned QVMengineInternalIdentifyMessage(QVMengineInternal& Engine, QVPparseContext& Context) {
  const unsigned Index = QVMengineInternalIdentifyMessageWithoutException(Engine, Context, Context.rawSegmentList());
  if (Index == kNoMessage) {
    const QVMuntypedMessageTree& RawList = Context.rawSegmentList();
    const SCCescaper& Escaper = Context.escaper();
    throw COLerror(SGCunidentifiedMessageReport(Engine,
                                                [&](const QVMidentifier& Identifier, COLstring& Value) {
                                                  return QVMidentifierReadValue(Identifier, RawList, Escaper,
                                                                                Value) == QVMidentifierValue::Found;
                                                }),
                   COL_ERROR_NOT_IDENTIFIED);
  }
  return Index;
}

void QVMengineInternalSimpleParse(QVMengineInternal& Engine, QVPparseContext& Context, const COLstring& Message,
                                  QVMuntypedMessageTree& Result, unsigned& MessageIndex) {
  const QVMconfig& Config = static_cast<const QVMengineInternal&>(Engine).config();
  COLstring Working = Message;
  if (Config.mainFunction().isSet()) {
    bool IsNone = false;
    try {
      LAGexecuteScriptWithStringValue(Config.mainFunction(), Working, Config.disablePythonNone(), IsNone,
                                      LAGglobalInbound, Context.pythonEnvironment());
    } catch (const COLerror& Error) {
      throw COLerror("Global Inbound Script error: " + Error.description(), COL_ERROR_PRECONDITION);
    }
  }
  Result.clear();
  Context.initParser();
  Context.parser().parse(Working, Result, Context.escaper());
  for (unsigned Index = 0; Index < Result.countOfSubNode(); ++Index) {
    QVMuntypedMessageTree& Segment = *Result.node(Index, 0);
    if (Segment.countOfSubNode() == 0) {
      if (Segment.isNull()) break;
      continue;
    }
    if (Segment.node(0, 0)->isNull()) continue;
    const QVMsegmentGrammar* Grammar = QVMengineInternalFindSegmentGrammar(Engine, Segment);
    Segment.setSegment(Grammar);
    const COLstring Name = Segment.node(0, 0)->getValue();
    if (Grammar != nullptr || Engine.segmentByName(Name) != kNoMessage) Segment.setLabel(Name);
  }
  MessageIndex = QVMengineInternalIdentifyMessageWithoutException(Engine, Context, Result);
  if (MessageIndex == kNoMessage) MessageIndex = static_cast<unsigned>(Engine.countOfMessage());
}
