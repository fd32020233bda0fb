#include "QVPreply.h"

#include <utility>

#include "COLcriticalSection.h"
#include "COLerror.h"
#include "LAGexecute.h"
#include "LANfunction.h"
#include "QVMconfig.h"
#include "QVMengineInternal.h"
#include "QVMidentifyMessage.h"
#include "QVMmessageFill.h"
#include "QVMparser.h"
#include "QVMsegmentGrammar.h"
#include "QVMtableInternal.h"
#include "QVMuntypedMessageTree.h"
#include "QVPgenerateMessage.h"
#include "QVPparseContext.h"

namespace {

QVMengineInternal& QVPschema(QVPparseContext& Context) {
  QVMengineInternal* Schema = Context.schema();
  COL_PRECONDITION(Schema != nullptr);
  return *Schema;
}

// Puts back the environment's table and segment list when a road that points it elsewhere ends.
class QVPenvironmentScope {
public:
  explicit QVPenvironmentScope(LAGenvironment& Environment)
      : m_Environment(Environment), m_Table(Environment.resultTable()), m_List(Environment.segmentList()) {}
  ~QVPenvironmentScope() {
    m_Environment.setResultTable(m_Table);
    m_Environment.setSegmentList(m_List);
    m_Environment.setIncomingField(nullptr);
  }
  QVPenvironmentScope(const QVPenvironmentScope&) = delete;
  QVPenvironmentScope& operator=(const QVPenvironmentScope&) = delete;

private:
  LAGenvironment& m_Environment;
  QVMtableInternal* m_Table;
  QVMuntypedMessageTree* m_List;
};

}  // namespace

const char* QVPautoAck(QVPparseContext& Context, const char* Text) {
  QVMengineInternal& Engine = QVPschema(Context);
  LAGenvironment& Environment = Context.pythonEnvironment();
  QVPenvironmentScope Restore(Environment);
  Context.initParser();
  Context.setLastFlatWire(Text);
  QVMuntypedMessageTree& Raw = Context.rawSegmentList();
  QVMrawParseMessage(Context.lastFlatWire(), Context.parser(), Context.escaper(), Raw);
  // The header's functions may walk the raw segments, as on the legacy road.
  Environment.setSegmentList(&Raw);
  const uint32_t MshGrammarIndex = Engine.segmentByName("MSH");
  COL_POSTCONDITION_TEXT(MshGrammarIndex != QVMengineInternal::npos, "MshGrammarIndex != -1");
  const QVMsegmentGrammar& Header = *Engine.segment(MshGrammarIndex);
  // Raw field 0 is the segment name: raw field I is grammar field I - 1. Asking for a field
  // past the end of a short header grows the segment, so its function gets an empty field.
  QVMuntypedMessageTree& HeaderSegment = *Raw.node(0, 0);
  for (unsigned Field = 1; Field < Header.countOfField(); ++Field) {
    const LANfunction& Function = Header.fieldIncomingFunction(Field - 1);
    if (!Function.isSet()) continue;
    QVMuntypedMessageTree* Node = HeaderSegment.node(Field, 0);
    Environment.setIncomingField(Node);
    LAGexecuteSegmentEquation(Function, Node, Environment);
  }
  QVMtableInternal Table;
  const uint32_t AckIndex = Engine.ackMessageIndexS();
  QVMcreateEmptyMessageTable(Engine, AckIndex, Table);
  QVPgenerateMessage(Context, AckIndex, Table);
  return Context.lastFlatWire().c_str();
}

const char* QVPtransformMessageViaScript(QVPparseContext& Context, const char* Message, unsigned& MessageIndex,
                                         QVMtableInternal* Table) {
  QVMengineInternal& Engine = QVPschema(Context);
  // The environment is pointed at this message, and the script may run in a shared interpreter.
  COLlocker Lock(Engine.criticalSection());
  LAGenvironment& Environment = Context.pythonEnvironment();
  QVPenvironmentScope Restore(Environment);
  Context.setLastFlatWire(Message);
  QVMuntypedMessageTree& Raw = Context.rawSegmentList();
  QVMrawParseMessage(Context.lastFlatWire(), Context.parser(), Context.escaper(), Raw);
  MessageIndex = QVMengineInternalIdentifyMessage(Engine, Context);
  QVMmessageDefinitionInternal& Definition = *Engine.message(MessageIndex);
  try {
    if (Table) Table->makeEmptyTable(&Definition.tableGrammar());
    Environment.setEngine(&Engine);
    Environment.setSegmentList(&Raw);
    Environment.setResultTable(Table);
    const LANfunction& Function = Definition.outgoingFunction();
    if (Function.isSet()) {
      COLstring Text = Context.lastFlatWire();
      bool IsNone = false;
      LAGexecuteScriptWithStringValue(Function, Text, Engine.config().disablePythonNone(), IsNone, LAGtransformation,
                                      Environment);
      Context.setLastFlatWire(std::move(Text));
    }
  } catch (const COLerror& Error) {
    COLerror Named(Error);
    Named.setDescription(Error.description() + " when invoking the python function for message '" +
                         Definition.name() + "'");
    throw Named;
  }
  return Context.lastFlatWire().c_str();
}
