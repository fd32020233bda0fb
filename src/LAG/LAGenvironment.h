// LAGenvironment: what a script sees of the work in progress.  One lives in each parse
// context and is pointed at the engine, the table or the field the caller is handling.
#pragma once

#include <cstdint>
#include <vector>

#include "COLstring.h"
#include "DBdatabase.h"

class QVMconfig;
class QVMdbInfo;
class SGMfieldRepeats;
class SGMstringPool;
class QVMengineInternal;
class QVMtableDefinitionInternal;
class QVMtableGrammarInternal;
class QVMtableInternal;
class QVMuntypedMessageTree;

// The kind of script being run.
enum LAGcontext : uint32_t {
  LAGglobalInbound = 0,
  LAGglobalInboundPostProcess = 1,
  LAGglobalOutbound = 2,
  LAGglobalOutboundPostProcess = 3,
  LAGtableEquation = 4,
  LAGsegmentEquation = 5,
  LAGtransformation = 6,
};

class LAGenvironment {
public:
  LAGenvironment() = default;
  // Each context has its own environment; a copy starts afresh.
  LAGenvironment(const LAGenvironment&) : LAGenvironment() {}
  LAGenvironment& operator=(const LAGenvironment&) { return *this; }

  LAGcontext context() const { return m_Context; }
  void setContext(uint32_t context) { m_Context = static_cast<LAGcontext>(context); }
  QVMengineInternal* engine() const { return m_Engine; }
  void setEngine(QVMengineInternal* engine) { m_Engine = engine; }
  // The present configuration of the engine.
  const QVMconfig& config() const;

  QVMtableGrammarInternal* tableGrammar() const { return m_TableGrammar; }
  void setTableGrammar(QVMtableGrammarInternal* grammar) { m_TableGrammar = grammar; }
  QVMtableDefinitionInternal* tableDefinition() const { return m_TableDefinition; }
  void setTableDefinition(QVMtableDefinitionInternal* table) { m_TableDefinition = table; }
  QVMtableInternal* resultTable() const { return m_ResultTable; }
  void setResultTable(QVMtableInternal* table) { m_ResultTable = table; }

  // The message's raw segments, one sub-node each, where the road has them.
  QVMuntypedMessageTree* segmentList() const { return m_SegmentList; }
  void setSegmentList(QVMuntypedMessageTree* list) { m_SegmentList = list; }

  // The field under a field equation of the current parser, and the pool its new values go to.
  SGMfieldRepeats* field() const { return m_Field; }
  SGMstringPool* stringPool() const { return m_StringPool; }
  void setIncomingField(SGMfieldRepeats* field, SGMstringPool* pool) {
    m_Field = field;
    m_StringPool = pool;
    m_TreeField = nullptr;
  }
  // The field under a field equation of the legacy parser, or of an outgoing segment function:
  // a raw tree node, whose repeats are the field's repeats and whose sub-nodes its sub fields.
  QVMuntypedMessageTree* treeField() const { return m_TreeField; }
  void setIncomingField(QVMuntypedMessageTree* field) { setTreeField(field); }
  void setOutgoingField(QVMuntypedMessageTree* field) { setTreeField(field); }

  // Field access for scripts, only under a field equation, on whichever kind of field is set.
  // Indices are zero-based: sub field 0 of a repeat holds its first value.
  unsigned countOfSubfield() const;
  unsigned countOfRepeat() const;
  COLstring subfield(unsigned index, unsigned repeat) const;
  void setSubField(unsigned index, unsigned repeat, const COLstring& text);
  void clearField();

  // Separators of the present configuration; `level` below countOfLevel().
  char separatorChar(unsigned level) const;
  void setSeparatorChar(unsigned level, char c);
  char escapeChar() const;
  void setEscapeChar(char c);
  char repeatChar() const;
  void setRepeatChar(char c);

  // Databases: the connections this environment opened, kept for the next scripts.
  size_t countOfDatabases() const { return m_Databases.size(); }
  DBdatabase* database(size_t index) const { return m_Databases.at(index).get(); }
  // The configuration's default connection, or null.
  const QVMdbInfo* defaultDatabase() const;
  // The open connection of those four texts (connected again if it was lost), or a new one
  // from the factory; the interpreter lock is given up while it connects.
  DBdatabase* getDatabaseObject(const COLstring& api, const COLstring& databaseName, const COLstring& userName,
                                const COLstring& password);

  unsigned countOfSegmentInMessage() const { return m_CountOfSegmentInMessage; }
  // Adds to the running count.
  void setCountOfSegmentInMessage(unsigned count) { m_CountOfSegmentInMessage += count; }
  void resetCountOfSegmentInMessage(unsigned count) { m_CountOfSegmentInMessage = count; }
  unsigned countOfGeneratedSegment() const { return m_CountOfGeneratedSegment; }
  void setCountOfGeneratedSegment(unsigned count) { m_CountOfGeneratedSegment = count; }

private:
  void setTreeField(QVMuntypedMessageTree* field) {
    m_TreeField = field;
    m_Field = nullptr;
    m_StringPool = nullptr;
  }

  LAGcontext m_Context = LAGglobalInbound;
  QVMengineInternal* m_Engine = nullptr;
  QVMtableGrammarInternal* m_TableGrammar = nullptr;
  QVMtableDefinitionInternal* m_TableDefinition = nullptr;
  QVMtableInternal* m_ResultTable = nullptr;
  QVMuntypedMessageTree* m_SegmentList = nullptr;
  SGMfieldRepeats* m_Field = nullptr;
  SGMstringPool* m_StringPool = nullptr;
  QVMuntypedMessageTree* m_TreeField = nullptr;
  unsigned m_CountOfSegmentInMessage = 0;
  unsigned m_CountOfGeneratedSegment = 0;
  std::vector<COLreferencePtr<DBdatabase>> m_Databases;
};

// Points an environment at the table a message fills or is generated from, for one scope; the
// table it pointed at before comes back at the end, so scopes may nest.
class LAGresultTableScope {
public:
  LAGresultTableScope(LAGenvironment& environment, QVMtableInternal& table)
      : m_Environment(environment), m_Previous(environment.resultTable()) {
    environment.setResultTable(&table);
  }
  ~LAGresultTableScope() { m_Environment.setResultTable(m_Previous); }
  LAGresultTableScope(const LAGresultTableScope&) = delete;
  LAGresultTableScope& operator=(const LAGresultTableScope&) = delete;

private:
  LAGenvironment& m_Environment;
  QVMtableInternal* m_Previous;
};
