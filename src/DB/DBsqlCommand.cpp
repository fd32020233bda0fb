#include "DBsqlCommand.h"

#include <optional>

#include "DBindex.h"

// --- join

struct DBsqlSelectJoin::Private {
  eJoinType JoinType = INNER;
  DBsqlSelectNameAlias LeftTable, RightTable;
  std::optional<DBsqlSelectJoin> NestedJoin, CascadedJoin;
  std::optional<DBsqlWhere> OnExpression;
};

DBsqlSelectJoin::DBsqlSelectJoin() : m(std::make_unique<Private>()) {}
DBsqlSelectJoin::DBsqlSelectJoin(const DBsqlSelectJoin& other) : m(std::make_unique<Private>(*other.m)) {}
DBsqlSelectJoin& DBsqlSelectJoin::operator=(const DBsqlSelectJoin& other) {
  if (this != &other) *m = *other.m;
  return *this;
}
DBsqlSelectJoin::~DBsqlSelectJoin() = default;

DBsqlSelectJoin::eJoinType DBsqlSelectJoin::joinType() const { return m->JoinType; }
void DBsqlSelectJoin::setJoinType(eJoinType type) { m->JoinType = type; }
void DBsqlSelectJoin::setLeftTable(const COLstring& name, const COLstring& alias, bool quoteName, bool quoteAlias) {
  m->LeftTable = DBsqlSelectNameAlias(name, quoteName, alias, quoteAlias);
}
void DBsqlSelectJoin::setRightTable(const COLstring& name, const COLstring& alias, bool quoteName, bool quoteAlias) {
  m->RightTable = DBsqlSelectNameAlias(name, quoteName, alias, quoteAlias);
}
const COLstring& DBsqlSelectJoin::leftTableName() const { return m->LeftTable.name(); }
bool DBsqlSelectJoin::quoteLeftTableName() const { return m->LeftTable.quoteName(); }
const COLstring& DBsqlSelectJoin::leftTableAlias() const { return m->LeftTable.alias(); }
bool DBsqlSelectJoin::quoteLeftTableAlias() const { return m->LeftTable.quoteAlias(); }
const COLstring& DBsqlSelectJoin::rightTableName() const { return m->RightTable.name(); }
bool DBsqlSelectJoin::quoteRightTableName() const { return m->RightTable.quoteName(); }
const COLstring& DBsqlSelectJoin::rightTableAlias() const { return m->RightTable.alias(); }
bool DBsqlSelectJoin::quoteRightTableAlias() const { return m->RightTable.quoteAlias(); }

DBsqlSelectJoin& DBsqlSelectJoin::addNestedJoin() {
  COL_PRECONDITION(!nestedJoinExists());
  return m->NestedJoin.emplace();
}
const DBsqlSelectJoin& DBsqlSelectJoin::nestedJoin() const {
  COL_PRECONDITION(nestedJoinExists());
  return *m->NestedJoin;
}
bool DBsqlSelectJoin::nestedJoinExists() const { return m->NestedJoin.has_value(); }
DBsqlWhere& DBsqlSelectJoin::addOnExpression() {
  COL_PRECONDITION(!onExpressionExists());
  return m->OnExpression.emplace();
}
const DBsqlWhere& DBsqlSelectJoin::onExpression() const {
  COL_PRECONDITION(onExpressionExists());
  return *m->OnExpression;
}
bool DBsqlSelectJoin::onExpressionExists() const { return m->OnExpression.has_value(); }
DBsqlSelectJoin& DBsqlSelectJoin::addCascadedJoin() {
  COL_PRECONDITION(!cascadedJoinExists());
  return m->CascadedJoin.emplace();
}
const DBsqlSelectJoin& DBsqlSelectJoin::cascadedJoin() const {
  COL_PRECONDITION(cascadedJoinExists());
  return *m->CascadedJoin;
}
bool DBsqlSelectJoin::cascadedJoinExists() const { return m->CascadedJoin.has_value(); }

// --- select

struct DBsqlSelect::Private {
  std::vector<DBsqlSelectNameAlias> Tables;
  std::vector<DBsqlSelectColumn> Columns;
  std::optional<DBsqlWhere> Where, Having;
  std::optional<DBsqlSelectJoin> Join;
  std::vector<COLstring> GroupByNames;
  std::vector<char> GroupByQuotes;  // not vector<bool>: its elements have no address
  std::vector<DBsqlSelectOrderBy> OrderBy;
  bool DistinctFlag = false;
};

DB_PRIVATE_BLOCK_MEMBERS(DBsqlSelect, DBsqlCommand)

bool DBsqlSelect::distinctFlag() const { return m->DistinctFlag; }
void DBsqlSelect::setDistinctFlag(bool flag) { m->DistinctFlag = flag; }

void DBsqlSelect::addTable(const COLstring& name, const COLstring& alias, bool quoteName, bool quoteAlias) {
  m->Tables.emplace_back(name, quoteName, alias, quoteAlias);
}
const COLstring& DBsqlSelect::tableName(size_t index) const { return DBitemAt(m->Tables, index).name(); }
bool DBsqlSelect::quoteTableName(size_t index) const { return DBitemAt(m->Tables, index).quoteName(); }
const COLstring& DBsqlSelect::tableAlias(size_t index) const { return DBitemAt(m->Tables, index).alias(); }
bool DBsqlSelect::quoteTableAlias(size_t index) const { return DBitemAt(m->Tables, index).quoteAlias(); }
size_t DBsqlSelect::countOfTableName() const { return m->Tables.size(); }

void DBsqlSelect::addColumn(const COLstring& name, const COLstring& alias, DBdataType castType, bool quoteName,
                            bool quoteAlias) {
  m->Columns.emplace_back(name, quoteName, alias, quoteAlias, castType);
}
void DBsqlSelect::clearColumns() { m->Columns.clear(); }
const COLstring& DBsqlSelect::columnName(size_t index) const { return DBitemAt(m->Columns, index).name(); }
bool DBsqlSelect::quoteColumnName(size_t index) const { return DBitemAt(m->Columns, index).quoteName(); }
const COLstring& DBsqlSelect::columnAlias(size_t index) const { return DBitemAt(m->Columns, index).alias(); }
bool DBsqlSelect::quoteColumnAlias(size_t index) const { return DBitemAt(m->Columns, index).quoteAlias(); }
DBdataType DBsqlSelect::columnCastType(size_t index) const { return DBitemAt(m->Columns, index).castType(); }
size_t DBsqlSelect::countOfColumn() const { return m->Columns.size(); }

DBsqlWhere& DBsqlSelect::addWhereClause() {
  COL_PRECONDITION(!whereClauseExists());
  return m->Where.emplace();
}
const DBsqlWhere& DBsqlSelect::whereClause() const {
  COL_PRECONDITION(whereClauseExists());
  return *m->Where;
}
DBsqlWhere& DBsqlSelect::whereClause() {
  COL_PRECONDITION(whereClauseExists());
  return *m->Where;
}
bool DBsqlSelect::whereClauseExists() const { return m->Where.has_value(); }

DBsqlSelectJoin& DBsqlSelect::addJoinClause() {
  COL_PRECONDITION(!joinClauseExists());
  return m->Join.emplace();
}
const DBsqlSelectJoin& DBsqlSelect::joinClause() const {
  COL_PRECONDITION(joinClauseExists());
  return *m->Join;
}
bool DBsqlSelect::joinClauseExists() const { return m->Join.has_value(); }

void DBsqlSelect::synchronizeGroupByVectors() { m->GroupByQuotes.resize(m->GroupByNames.size(), false); }
void DBsqlSelect::addGroupByColumnName(const COLstring& name, bool quote) {
  synchronizeGroupByVectors();
  m->GroupByNames.push_back(name);
  m->GroupByQuotes.push_back(quote);
}
const COLstring& DBsqlSelect::groupByColumnName(size_t index) const { return DBitemAt(m->GroupByNames, index); }
bool DBsqlSelect::quoteGroupByColumnName(size_t index) const { return DBitemAt(m->GroupByQuotes, index) != 0; }
size_t DBsqlSelect::countOfGroupByColumnName() const { return m->GroupByNames.size(); }

DBsqlWhere& DBsqlSelect::addHavingClause() {
  COL_PRECONDITION(!havingClauseExists());
  return m->Having.emplace();
}
const DBsqlWhere& DBsqlSelect::havingClause() const {
  COL_PRECONDITION(havingClauseExists());
  return *m->Having;
}
bool DBsqlSelect::havingClauseExists() const { return m->Having.has_value(); }

void DBsqlSelect::addOrderByColumn(const COLstring& name, bool descending, bool quote, size_t position) {
  const size_t at = position < m->OrderBy.size() ? position : m->OrderBy.size();
  m->OrderBy.insert(m->OrderBy.begin() + at, DBsqlSelectOrderBy(name, descending, quote));
}
const DBsqlSelectOrderBy& DBsqlSelect::orderByColumn(size_t index) const { return DBitemAt(m->OrderBy, index); }
const COLstring& DBsqlSelect::orderByColumnName(size_t index) const { return orderByColumn(index).columnName(); }
bool DBsqlSelect::quoteOrderByColumnName(size_t index) const { return orderByColumn(index).quoteColumnName(); }
void DBsqlSelect::setOrderByDescendingFlag(size_t index, bool flag) {
  DBitemAt(m->OrderBy, index).setDescendingFlag(flag);
}
bool DBsqlSelect::orderByDescendingFlag(size_t index) const { return orderByColumn(index).descendingFlag(); }
size_t DBsqlSelect::countOfOrderByColumn() const { return m->OrderBy.size(); }
void DBsqlSelect::clearOrderByClause() { m->OrderBy.clear(); }

// --- union

struct DBsqlSelectUnion::Private {
  std::vector<DBsqlSelect> Selects;
  std::vector<DBsqlSelectOrderBy> OrderBy;
  bool AllFlag = false;
};

DB_PRIVATE_BLOCK_MEMBERS(DBsqlSelectUnion, DBsqlCommand)

bool DBsqlSelectUnion::allFlag() const { return m->AllFlag; }
void DBsqlSelectUnion::setAllFlag(bool flag) { m->AllFlag = flag; }
DBsqlSelect& DBsqlSelectUnion::addSelectQuery() { return m->Selects.emplace_back(); }
const DBsqlSelect& DBsqlSelectUnion::selectQuery(size_t index) const { return DBitemAt(m->Selects, index); }
size_t DBsqlSelectUnion::countOfSelectQuery() const { return m->Selects.size(); }
void DBsqlSelectUnion::addOrderByColumn(const COLstring& name, bool descending, bool quote) {
  m->OrderBy.emplace_back(name, descending, quote);
}
const DBsqlSelectOrderBy& DBsqlSelectUnion::orderByColumn(size_t index) const { return DBitemAt(m->OrderBy, index); }
size_t DBsqlSelectUnion::countOfOrderByColumn() const { return m->OrderBy.size(); }

// --- insert and update

struct DBsqlInsert::Private {
  COLstring TableName;
  bool QuoteTableName = false;
  std::vector<DBsqlInsertColumn> Columns;
  std::optional<DBsqlSelect> SelectQuery;
};

DB_PRIVATE_BLOCK_MEMBERS(DBsqlInsert, DBsqlCommand)

const COLstring& DBsqlInsert::tableName() const { return m->TableName; }
void DBsqlInsert::setTableName(const COLstring& name, bool quote) {
  m->TableName = name;
  m->QuoteTableName = quote;
}
bool DBsqlInsert::quoteTableName() const { return m->QuoteTableName; }
void DBsqlInsert::addColumn(const COLstring& name, const DBvariant& value, bool valueIsColumn, bool quoteName) {
  m->Columns.emplace_back(name, value, valueIsColumn, quoteName);
}
void DBsqlInsert::removeColumn(size_t index) {
  DBitemAt(m->Columns, index);
  m->Columns.erase(m->Columns.begin() + index);
}
void DBsqlInsert::resizeColumnVector(size_t count) { m->Columns.resize(count); }
void DBsqlInsert::setColumn(size_t index, const COLstring& name, const DBvariant& value, bool valueIsColumn,
                            bool quoteName) {
  DBitemAt(m->Columns, index) = DBsqlInsertColumn(name, value, valueIsColumn, quoteName);
}
const COLstring& DBsqlInsert::columnName(size_t index) const { return DBitemAt(m->Columns, index).name(); }
const DBvariant& DBsqlInsert::columnValue(size_t index) const { return DBitemAt(m->Columns, index).value(); }
bool DBsqlInsert::columnValueIsColumnFlag(size_t index) const {
  return DBitemAt(m->Columns, index).valueIsColumnFlag();
}
bool DBsqlInsert::quoteColumnName(size_t index) const { return DBitemAt(m->Columns, index).quoteName(); }
size_t DBsqlInsert::countOfColumn() const { return m->Columns.size(); }
DBsqlSelect& DBsqlInsert::addSelectQuery() {
  COL_PRECONDITION(!selectQueryExists());
  return m->SelectQuery.emplace();
}
const DBsqlSelect& DBsqlInsert::selectQuery() const {
  COL_PRECONDITION(selectQueryExists());
  return *m->SelectQuery;
}
bool DBsqlInsert::selectQueryExists() const { return m->SelectQuery.has_value(); }

struct DBsqlUpdate::Private {
  int CommandType = UPDATE;
  std::optional<DBsqlWhere> Where;
};

DB_PRIVATE_BLOCK_MEMBERS(DBsqlUpdate, DBsqlInsert)

int DBsqlUpdate::commandType() const { return m->CommandType; }
void DBsqlUpdate::setMakeIntoInsert() { m->CommandType = INSERT; }
DBsqlWhere& DBsqlUpdate::addWhereClause() {
  COL_PRECONDITION(!whereClauseExists());
  return m->Where.emplace();
}
const DBsqlWhere& DBsqlUpdate::whereClause() const {
  COL_PRECONDITION(whereClauseExists());
  return *m->Where;
}
bool DBsqlUpdate::whereClauseExists() const { return m->Where.has_value(); }

// --- drop and delete

struct DBsqlDropTable::Private {
  COLstring TableName;
  bool QuoteTableName = false;
};

DB_PRIVATE_BLOCK_MEMBERS(DBsqlDropTable, DBsqlCommand)

const COLstring& DBsqlDropTable::tableName() const { return m->TableName; }
void DBsqlDropTable::setTableName(const COLstring& name, bool quote) {
  m->TableName = name;
  m->QuoteTableName = quote;
}
bool DBsqlDropTable::quoteTableName() const { return m->QuoteTableName; }

struct DBsqlDelete::Private {
  std::optional<DBsqlWhere> Where;
};

DB_PRIVATE_BLOCK_MEMBERS(DBsqlDelete, DBsqlDropTable)

DBsqlWhere& DBsqlDelete::addWhereClause() {
  COL_PRECONDITION_TEXT(!m->Where, "pMember->HasWhereClause == false");
  return m->Where.emplace();
}
void DBsqlDelete::removeWhereClause() {
  COL_PRECONDITION_TEXT(m->Where, "pMember->HasWhereClause == true");
  m->Where.reset();
}
const DBsqlWhere& DBsqlDelete::whereClause() const {
  COL_PRECONDITION_TEXT(m->Where, "pMember->HasWhereClause == true");
  return *m->Where;
}
bool DBsqlDelete::whereClauseExists() const { return m->Where.has_value(); }

// --- create table

const char* DBsqlCreateTableColumn::dataTypeAsString() const {
  return m_DataType == DB_TEXT ? "Text" : DBvariantTypeName(m_DataType);
}

void DBsqlCreateTableColumn::addForeignKey(const COLstring& table, const COLstring& column, bool quoteTable,
                                           bool quoteColumn, DBsqlCreateTableColumnForeignKey::eAction onDelete,
                                           DBsqlCreateTableColumnForeignKey::eAction onUpdate) {
  m_ForeignKey = DBsqlCreateTableColumnForeignKey{table, column, quoteTable, quoteColumn, onDelete, onUpdate};
  m_HasForeignKey = true;
}
void DBsqlCreateTableColumn::removeForeignKey() {
  m_ForeignKey = DBsqlCreateTableColumnForeignKey();
  m_HasForeignKey = false;
}
const DBsqlCreateTableColumnForeignKey& DBsqlCreateTableColumn::foreignKey() const {
  COL_PRECONDITION(foreignKeyExists());
  return m_ForeignKey;
}
const COLstring& DBsqlCreateTableColumn::foreignTableName() const { return foreignKey().TableName; }
bool DBsqlCreateTableColumn::quoteForeignTableName() const { return foreignKey().QuoteTableName; }
const COLstring& DBsqlCreateTableColumn::foreignColumnName() const { return foreignKey().ColumnName; }
bool DBsqlCreateTableColumn::quoteForeignColumnName() const { return foreignKey().QuoteColumnName; }
DBsqlCreateTableColumnForeignKey::eAction DBsqlCreateTableColumn::foreignKeyOnDeleteAction() const {
  return foreignKey().OnDeleteAction;
}
DBsqlCreateTableColumnForeignKey::eAction DBsqlCreateTableColumn::foreignKeyOnUpdateAction() const {
  return foreignKey().OnUpdateAction;
}

struct DBsqlCreateTable::Private {
  COLstring TableName;
  bool QuoteTableName = false;
  std::vector<DBsqlCreateTableColumn> Columns;
};

DB_PRIVATE_BLOCK_MEMBERS(DBsqlCreateTable, DBsqlCommand)

const COLstring& DBsqlCreateTable::tableName() const { return m->TableName; }
void DBsqlCreateTable::setTableName(const COLstring& name, bool quote) {
  m->TableName = name;
  m->QuoteTableName = quote;
}
bool DBsqlCreateTable::quoteTableName() const { return m->QuoteTableName; }
DBsqlCreateTableColumn& DBsqlCreateTable::addColumn() { return m->Columns.emplace_back(); }
const DBsqlCreateTableColumn& DBsqlCreateTable::column(size_t index) const { return DBitemAt(m->Columns, index); }
DBsqlCreateTableColumn& DBsqlCreateTable::column(size_t index) { return DBitemAt(m->Columns, index); }
size_t DBsqlCreateTable::countOfColumn() const { return m->Columns.size(); }

DBsqlCommand& DBsqlCommandSequence::sqlCommand(size_t index) const { return *DBitemAt(m_Commands, index); }
