#include "DBdatabaseOdbcDialects.h"

#include <strings.h>

#include "COLerror.h"

#include "COLostream.h"
#include "DBoracleWords.h"

namespace {

const char* stateAt(std::initializer_list<const char*> states, size_t index) {
  COL_PRECONDITION(index < states.size());
  return states.begin()[index];
}

}  // namespace

void DBdatabaseOdbcAccess::streamDateTime(COLostream& stream, const COLdateTime& time) {
  if (time.isNull()) return streamNullValue(stream);
  stream << '#' << time.year() << '-' << time.month() << '-' << time.day() << ' ' << time.hour() << ':'
         << time.minute() << ':' << time.second() << '#';
}

void DBdatabaseOdbcAccess::buildPrimaryKeyList(const COLstring&, std::vector<COLstring>& keys) { keys.clear(); }

const char* DBdatabaseOdbcDb2::acceptableErrorString(size_t index) const { return stateAt({"00000", "42601"}, index); }
const char* DBdatabaseOdbcFilemaker::acceptableErrorString(size_t index) const {
  return stateAt({"00000", "42000", "HY000"}, index);
}
const char* DBdatabaseOdbcInformix::acceptableErrorString(size_t index) const {
  return stateAt({"00000", "42000"}, index);
}
const char* DBdatabaseOdbcInterbase::acceptableErrorString(size_t index) const {
  return stateAt({"00000", "42000", "HY000"}, index);
}

// --- Oracle

const char* DBdatabaseOdbcOracle::dbDoubleType() const { return DBoracleWords::dbDoubleType(); }
const char* DBdatabaseOdbcOracle::dbDateTimeType() const { return DBoracleWords::dbDateTimeType(); }
const char* DBdatabaseOdbcOracle::dbTextType() const { return DBoracleWords::dbTextType(); }
void DBdatabaseOdbcOracle::streamCreateTableForeignKeySuffix(COLostream& stream, const DBsqlCreateTableColumn& column) {
  DBoracleWords::streamCreateTableForeignKeySuffix(stream, column);
}
void DBdatabaseOdbcOracle::streamDateTime(COLostream& stream, const COLdateTime& time) {
  DBoracleWords::streamDateTime(stream, time);
}
void DBdatabaseOdbcOracle::streamNullValue(COLostream& stream) { DBoracleWords::streamNullValue(stream); }

DBresultSetPtr DBdatabaseOdbcOracle::fetchDatabaseTables() {
  DBsqlSelect select;
  select.addColumn("TABLE_NAME");
  select.addTable("USER_TABLES");
  return executeSqlSelect(select, 0, 0);
}

bool DBdatabaseOdbcOracle::isSystemTable(const COLstring& tableName) {
  COLstring upper = tableName;
  return DBdatabaseOdbc::isSystemTable(upper.toUpperCase());
}

DBresultSetPtr DBdatabaseOdbcOracle::fetchDatabaseTableColumns(const COLstring& tableName) {
  COLstring upper = tableName;
  return DBdatabaseOdbc::fetchDatabaseTableColumns(upper.toUpperCase());
}

// --- PostgreSQL

DBresultSetPtr DBdatabaseOdbcPostgreSql::fetchDatabaseTables() {
  return executeSqlString("SELECT table_name FROM information_schema.tables WHERE table_schema = 'public'", 0, 0);
}

bool DBdatabaseOdbcPostgreSql::isSystemTable(const COLstring& tableName) {
  COLstring sql;
  COLostream(sql) << "SELECT table_schema from information_schema.tables WHERE table_name = '" << tableName << "'";
  const DBresultSetPtr QueryResultSet = executeSqlString(sql, 0, 0);
  COL_PRECONDITION(QueryResultSet->countOfRow() == 1);
  return QueryResultSet->value(0, 0).toString() != "public";
}

// --- Sybase

bool DBdatabaseOdbcSybase::isReservedName(const COLstring& name) const {
  return strcasecmp(name.c_str(), "message") == 0;
}

void DBdatabaseOdbcSybase::streamName(COLostream& stream, const COLstring& name, bool quote) {
  if (quote || isReservedName(name))
    stream << '[' << name << ']';
  else
    stream << name;
}

bool DBdatabaseOdbcSybaseASE::isReservedName(const COLstring& name) const {
  return DBdatabaseOdbcSybase::isReservedName(name) || strcasecmp(name.c_str(), "count") == 0;
}

void DBdatabaseOdbcSybaseASE::streamCreateTableNotNull2(COLostream& stream, const DBsqlCreateTableColumn& column) {
  stream << (column.requiredFlag() ? " NOT NULL " : " NULL ");
}

void DBdatabaseOdbcSybaseASE::adjustEmptyString(COLstring& text) const {
  if (text == " ") text.clear();
}
