#include "QVPparseMessage.h"

#include "COLerror.h"
#include "COLostream.h"
#include "LAGenvironment.h"
#include "LAGexecute.h"
#include "QVMconfig.h"
#include "QVMengineInternal.h"
#include "QVMidentifyMessage.h"
#include "QVMlegacyFill.h"
#include "QVMmessageChecker.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMparser.h"
#include "QVMsegmentValidationRule.h"
#include "QVMtableInternal.h"
#include "QVMtypedMessageTree.h"
#include "QVMuntypedMessageTree.h"
#include "QVPparseContext.h"
#include "QVPvalidationRule.h"
#include "SGCunplacedValues.h"

void QVPengineInternalParseMessage(QVPparseContext& Context, const COLstring& Message, unsigned& MessageIndex,
                                   QVMtableInternal& Table, QVMsegmentAsStringFunction AsStringFunction,
                                   QVMcheckUntypedSegmentFunction CheckFunction) {
  COL_PRECONDITION_TEXT(CheckFunction != nullptr, "pCheckUntypedTreeSegmentFunction != 0");
  QVMengineInternal& Engine = *Context.schema();
  const QVMconfig& Config = static_cast<const QVMengineInternal&>(Engine).config();
  const unsigned Version = Config.parserVersion();
  if (Version != QVMparserLegacy && Version != QVMparserSegmentChecker3) {
    COLstring Text;
    COLostream(Text) << "Unknown/Invalid Parser Version : " << Version;
    throw COLerror(Text, COL_ERROR_PRECONDITION);
  }
  MessageIndex = QVPengineInternalStructureMessage(Context, Message, Version, AsStringFunction, CheckFunction);
  QVMmessageDefinitionInternal& Definition = *Engine.message(MessageIndex);
  COL_PRECONDITION_TEXT(Definition.messageGrammar() != nullptr, "NULL != pMessageDef->messageGrammar()");
  Table.makeEmptyTable(&Definition.tableGrammar());
  QVMengineInternalFillTable(Engine, Table, Definition.tableGrammar(), *Definition.messageGrammar(),
                             Context.structuredMessage(), nullptr, Context.pythonEnvironment());
}

unsigned QVPengineInternalStructureMessage(QVPparseContext& Context, const COLstring& Message, unsigned Version,
                                           QVMsegmentAsStringFunction AsStringFunction,
                                           QVMcheckUntypedSegmentFunction CheckFunction) {
  COL_PRECONDITION_TEXT(CheckFunction != nullptr, "pCheckUntypedTreeSegmentFunction != 0");
  QVMengineInternal& Engine = *Context.schema();
  const QVMconfig& Config = static_cast<const QVMengineInternal&>(Engine).config();
  if (Version != QVMparserLegacy) Version = QVMparserSegmentChecker3;
  LAGenvironment& Environment = Context.pythonEnvironment();
  QVMparser& Parser = Context.parser();
  QVMuntypedMessageTree& Raw = Context.rawSegmentList();
  QVMtypedMessageTree& Typed = Context.typedSegmentList();
  QVMrawParseMessage(Message, Parser, Context.escaper(), Raw);
  const unsigned MessageIndex = QVMengineInternalIdentifyMessage(Engine, Context);
  QVMmessageDefinitionInternal& Definition = *Engine.message(MessageIndex);
  Environment.resetCountOfSegmentInMessage(Raw.countOfSubNode());
  const bool Reject = Engine.rejectBadSegmentGrammar();
  if (Version == QVMparserLegacy)
    QVMengineInternalCheckSegments(Engine, Definition, Parser, Context.escaper(), Raw, Typed, Environment, Reject,
                                   AsStringFunction, CheckFunction);

  // Checker 3 types each segment once it has found its place.
  QVMmessageChecker3Hooks Hooks;
  struct Typing {
    QVPparseContext& context;
    const COLstring& message;
    const QVMconfig& config;
  } Here{Context, Definition.name(), Config};
  // One pointer captured: std::function keeps it without allocating.
  Hooks.CheckSegment = [&Here](const QVMsegmentGrammar& Grammar, QVMuntypedMessageTree& Segment,
                               QVMtypedMessageTree& TypedList) {
    QVPparseContext& Context = Here.context;
    SGCreportUnplacedValues(Here.message, Segment, Grammar, Here.config);
    QVMsegmentChecker().checkSegment(Context.schema()->LanguageEngine(), Segment, TypedList, Grammar,
                                     Context.escaper(), Context.rawSegmentList().getBuffer(),
                                     Context.pythonEnvironment());
  };
  Hooks.AsString = [&](QVMuntypedMessageTree& Segment) {
    return AsStringFunction ? AsStringFunction(Parser, Segment) : COLstring();
  };
  Hooks.Check = [&](QVMuntypedMessageTree& Segment, const QVMsegmentGrammar& Grammar, const COLstring& Text) {
    CheckFunction(Parser, Segment, Grammar, Text);
  };
  // A situational rule's on-error code, when the group it required is missing: it reads the
  // segment the rule last ran on, and no longer stands on the grammar, whose check is over.
  Hooks.RunRuleScript = [&](const LANfunction& Code, const void* Segment,
                            QVMsegmentValidationRuleSituationalPython& Rule) {
    if (!QVPruleScriptToRun(Code)) return;
    auto* Typed = static_cast<QVMtypedMessageTree*>(const_cast<void*>(Segment));
    LAGexecutePythonValidationRule(Code, Typed, Rule.fieldIndex(), nullptr, nullptr, &Rule, Environment);
  };
  unsigned Flags = 0;
  if (Reject) Flags |= QVMcheckerRejectBadSegmentGrammar;
  if (Config.countOfHeaderFieldsToSkip() > 2) Flags |= QVMcheckerHasHeaderEncodingChars;
  if (Config.disableUntypedTreeInException()) Flags |= QVMcheckerDisableUntypedTreeInException;
  QVMengineInternalValidateAndSortSegments(Version, Definition, Hooks, Flags, Raw, Typed, Context.structuredMessage());
  return MessageIndex;
}
