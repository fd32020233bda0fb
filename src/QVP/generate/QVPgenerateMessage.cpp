#include "QVPgenerateMessage.h"

#include <utility>

#include "COLerror.h"
#include "COLostream.h"
#include "QVPparseContext.h"
#include "QVMconfig.h"
#include "QVMoutgoingScripts.h"
#include "QVMengineInternal.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMmessageFill.h"
#include "QVMsegmentGenerator.h"
#include "QVMsegmentGrammar.h"
#include "QVMtableInternal.h"
#include "QVMtypedMessageTree.h"
#include "QVMuntypedMessageTree.h"

namespace {

QVMengineInternal& QVPschema(QVPparseContext& Context) {
  QVMengineInternal* Schema = Context.schema();
  COL_PRECONDITION_TEXT(Schema != nullptr, "pSchema != NULL");
  return *Schema;
}

void QVPreportFaults(const QVMuntypedMessageTree& Node, const COLstring& Address, COLostream& Stream) {
  for (unsigned Error = 0; Error < Node.countOfError(); ++Error)
    Stream << (Address.empty() ? COLstring("message") : Address) << ": " << Node.errorCode(Error) << ": "
           << Node.errorDescription(Error) << "\n";
  for (unsigned Index = 0; Index < Node.countOfSubNode(); ++Index) {
    const QVMuntypedMessageTree* Sub = Node.node(Index, 0);
    for (unsigned Repeat = 0; Repeat < Sub->countOfRepeat(); ++Repeat) {
      COLstring Inner = Address;
      COLostream InnerStream(Inner);
      if (!Address.empty()) InnerStream << ".";
      InnerStream << (Index + 1);
      if (Repeat > 0) InnerStream << "R" << Repeat;
      InnerStream.flush();
      QVPreportFaults(*Sub->getRepeatedNode(Repeat), Inner, Stream);
    }
  }
}

}  // namespace

void QVPgenerateMessageTree(QVPparseContext& Context, QVMmessageDefinitionInternal& Definition,
                            QVMtableInternal& Table, QVMuntypedMessageTree& Result, bool& Ok) {
  QVMengineInternal& Engine = QVPschema(Context);
  QVMconfig& Config = Engine.config();
  Result.fullClear();
  Ok = true;
  if (Table.tableGrammar() != &Definition.tableGrammar())
    throw COLerror("Table does not match required structure for this message.", COL_ERROR_PRECONDITION);
  LAGenvironment& Environment = Context.pythonEnvironment();
  LAGresultTableScope ScriptsSeeTheTable(Environment, Table);
  QVMconfigPreProcessOutgoingMessage(Config, Environment);

  const QVMmessageGrammar* Grammar = Definition.messageGrammar();
  COL_PRECONDITION_TEXT(Grammar != nullptr, "pMessageGrammar != NULL");
  COLreferencePtr<QVMtypedMessageTree> Structured = new QVMtypedMessageTree;
  QVMmakeEmptyMessageTree(*Grammar, *Structured);
  QVMfillMessageTree(Config.disablePythonNone(), Definition.tableGrammar(), *Grammar, Table, *Structured, Environment);

  QVMtypedSegmentList Segments;
  QVMmessagePostProcessor2 PostProcessor;
  PostProcessor.initRequiredNodes(*Grammar, *Structured);
  PostProcessor.postProcess(*Grammar, *Structured, Segments);
  const unsigned Count = static_cast<unsigned>(Segments.size());
  Environment.setCountOfSegmentInMessage(Count);
  Environment.setCountOfGeneratedSegment(Count);
  if (Segments.empty()) return;

  QVMmessageDefinitionSetNameFields(Definition, Config.headerSegment(), *Segments.front());
  const SCCescaper& Escaper = Context.escaper();
  for (QVMtypedMessageTree* Segment : Segments) {
    const QVMsegmentGrammar* SegmentGrammar = Segment->segmentGrammar();
    COL_PRECONDITION_TEXT(SegmentGrammar != nullptr, "pSegmentGrammar != NULL");
    QVMsegmentGenerator().generateSegment(SegmentGrammar->languageEngine(), *Segment, Result, *SegmentGrammar,
                                          Escaper, &Ok, Environment);
  }
}

const char* QVPgenerateMessage(QVPparseContext& Context, QVMmessageDefinitionInternal* Definition,
                               QVMtableInternal& Table) {
  Context.initParser();
  COL_PRECONDITION_TEXT(Definition != nullptr, "pMessageDef != NULL");
  Context.setLastFlatWire(COLstring());
  COLreferencePtr<QVMuntypedMessageTree> Untyped = new QVMuntypedMessageTree;
  // The post-process script may read the table the message came from.
  LAGresultTableScope ScriptsSeeTheTable(Context.pythonEnvironment(), Table);
  bool Ok = true;
  QVPgenerateMessageTree(Context, *Definition, Table, *Untyped, Ok);
  if (Untyped->countOfSubNode() == 0) return Context.lastFlatWire().c_str();
  QVMconfig& Config = QVPschema(Context).config();
  COLstring Text;
  Untyped->makeFlatWire(Text, Config, 0);
  QVMconfigPostProcessOutgoingMessage(Config, Text, Context.pythonEnvironment());
  Context.setLastFlatWire(std::move(Text));
  return Context.lastFlatWire().c_str();
}

const char* QVPgenerateMessage(QVPparseContext& Context, unsigned MessageIndex, QVMtableInternal& Table) {
  QVMengineInternal& Engine = QVPschema(Context);
  COL_PRECONDITION_TEXT(MessageIndex < Engine.countOfMessage(), "MessageIndex < CountOfMessage");
  return QVPgenerateMessage(Context, Engine.message(MessageIndex), Table);
}

COLstring QVPgenerateFaultReport(const QVMuntypedMessageTree& Tree) {
  COLstring Report;
  COLostream Stream(Report);
  QVPreportFaults(Tree, COLstring(), Stream);
  Stream.flush();
  return Report;
}
