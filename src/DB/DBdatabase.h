// DBdatabase: the abstract connection.  It writes the command trees of DBsqlCommand.h as SQL
// text and hands the text to its back end through executeSqlString.  Every word a dialect may
// change is a virtual operation, so a back end overrides a word and not a generator.
#pragma once

#include <memory>

#include "COLdateTime.h"
#include "COLreference.h"
#include "COLstring.h"
#include "DBresultSet.h"
#include "DBsqlCommand.h"

class COLostream;

// The parameters setParameter knows by name.
#define DB_PARAM_USE_UNICODE "UseUnicode"
#define DB_PARAM_TIMEOUT "Timeout"

enum DBdatabaseType : int {
  DB_MYSQL = 0,
  DB_ODBC_SQL_SERVER = 1,
  DB_OCI_ORACLE = 2,
  DB_ODBC_ORACLE = 3,
  DB_ODBC_ACCESS = 4,
  DB_ODBC_POSTGRESQL = 5,
  DB_ODBC_FILEMAKER = 6,
  DB_ODBC_INTERBASE = 7,
  DB_ODBC_INFORMIX = 8,
  DB_ODBC_DB2 = 9,
  DB_ODBC_SYBASE_ASA = 10,
  DB_ODBC_SYBASE_ASE = 11,
};

// "ODBC - PostgreSQL" and the like; raises "Database type N (enum) not supported." otherwise.
const char* DBdatabaseTypeName(int type);
// Whether a back end of that name takes the parameter (only SQL Server takes any).
bool DBdatabaseSupportsParam(const COLstring& databaseName, const COLstring& parameter);

class DBdatabase : public COLreference {
public:
  DBdatabase();
  ~DBdatabase() override;

  // --- life
  // A new connection object (with no reference yet) of the same back end and settings, for
  // another thread or a second session: a connection is never shared by handing out itself.
  // It is connected with the cached texts if this one has connected before.
  virtual DBdatabase* clone() override = 0;

  // --- connection
  virtual void connect(const COLstring& dataSource, const COLstring& user, const COLstring& password) = 0;
  virtual int databaseType() const = 0;
  virtual void disconnect() = 0;
  virtual bool isConnected() = 0;

  // --- generic
  virtual DBresultSetPtr executeSqlCommand(const DBsqlCommand& command, size_t first, size_t count);
  // The command as text with every value written in place; back ends that bind override it.
  virtual void createSqlCommandWithoutBinding(const DBsqlCommand& command, COLostream& stream);

  // --- generators
  virtual void createSqlCreateTable(const DBsqlCreateTable& command, COLostream& stream);
  virtual void createSqlDelete(const DBsqlDelete& command, COLostream& stream);
  virtual void createSqlDropTable(const DBsqlDropTable& command, COLostream& stream);
  virtual void createSqlInsert(const DBsqlInsert& command, COLostream& stream);
  virtual void createSqlSelect(const DBsqlSelect& command, COLostream& stream);
  virtual void createSqlSelectUnion(const DBsqlSelectUnion& command, COLostream& stream);
  virtual void createSqlUpdate(const DBsqlUpdate& command, COLostream& stream);

  // --- dialect words
  virtual const char* sqlStatementTerminator() const { return ";"; }
  virtual bool selectUnionSeparateOrderBySupported() const { return true; }
  virtual const char* dbKeyModifiers() const { return ""; }
  virtual const char* dbStringMaxKeyLength() const { return "255"; }
  virtual const char* dbStringType() const { return "VARCHAR"; }
  virtual const char* dbIntegerType() const { return "INTEGER"; }
  virtual const char* dbDoubleType() const { return "DOUBLE"; }
  virtual const char* dbDateTimeType() const { return "DATETIME"; }
  virtual const char* dbTextType() const { return "TEXT"; }

  // --- execution: each writes its command and runs the text
  virtual DBresultSetPtr executeSqlCreateTable(const DBsqlCreateTable& command);
  virtual DBresultSetPtr executeSqlDelete(const DBsqlDelete& command);
  virtual DBresultSetPtr executeSqlDropTable(const DBsqlDropTable& command);
  virtual DBresultSetPtr executeSqlInsert(const DBsqlInsert& command);
  virtual DBresultSetPtr executeSqlSelect(const DBsqlSelect& command, size_t first, size_t count);
  virtual DBresultSetPtr executeSqlSelectUnion(const DBsqlSelectUnion& command, size_t first, size_t count);
  virtual DBresultSetPtr executeSqlUpdate(const DBsqlUpdate& command);
  // Keeps the rows numbered from `first`, `count` of them (all when 0); null when the
  // statement returned no rows.
  virtual DBresultSetPtr executeSqlString(const COLstring& sql, size_t first, size_t count) = 0;

  // --- catalogue
  virtual DBresultSetPtr fetchDatabaseTables() = 0;
  virtual DBresultSetPtr fetchNonSystemDatabaseTables() = 0;
  virtual DBresultSetPtr fetchDatabaseTableColumns(const COLstring& tableName) = 0;
  virtual bool isSystemTable(const COLstring& tableName) = 0;

  // --- writing: the text between single quotes, each quote doubled
  virtual void addEscapedStringToStream(COLostream& stream, const COLstring& text);

  // --- transactions
  virtual void commitTransaction() = 0;
  virtual void rollbackTransaction() = 0;

  // --- settings
  virtual void setTimeout(unsigned seconds) = 0;
  // Raises "Parameter is unsupported: ..." for anything the back end does not take.
  virtual void setParameter(const COLstring& name, const COLstring& value);
  virtual void setAutocommitFlag(bool flag) = 0;

  // --- dialect
  virtual bool selectCastSupported() const { return true; }
  virtual const char* selectCastStringType() const { return "VARCHAR(255)"; }
  virtual void streamName(COLostream& stream, const COLstring& name, bool quote);
  virtual bool createTableDefaultConstraintSupported() const { return true; }
  virtual void streamCreateTableNotNull(COLostream& stream, const DBsqlCreateTableColumn& column);
  virtual void streamCreateTableNotNull2(COLostream&, const DBsqlCreateTableColumn&) {}
  virtual void streamCreateTableForeignKeyPrefix(COLostream&, const DBsqlCreateTableColumn&) {}
  virtual void streamCreateTableForeignKeySuffix(COLostream& stream, const DBsqlCreateTableColumn& column);
  virtual void streamCreateTableSuffix(COLostream&, const DBsqlCreateTable&) {}
  virtual void streamInsertUpdateValue(COLostream& stream, const DBsqlInsert& command, size_t column);
  virtual void streamDateTime(COLostream& stream, const COLdateTime& time);
  virtual void streamNullValue(COLostream& stream);
  virtual void streamOrderByColumn(COLostream& stream, const DBsqlSelectOrderBy& column, bool first);
  virtual bool supportsDefinePrimaryKey() const { return true; }
  virtual bool supportsDefault() const { return true; }

  // --- not virtual
  const char* databaseName() const { return DBdatabaseTypeName(databaseType()); }
  // Dispatches by commandType() to the generators.
  void createSqlCommand(const DBsqlCommand& command, COLostream& stream);
  // Runs each command in order; a failure leaves the rest unrun.
  void executeSqlCommandSequence(const DBsqlCommandSequence& sequence, DBresultSetSequence& results);

  void setCachedDataSourceName(const COLstring& name);
  const COLstring& cachedDataSourceName() const;
  void setCachedUserName(const COLstring& name);
  const COLstring& cachedUserName() const;
  void setCachedPassword(const COLstring& password);
  const COLstring& cachedPassword() const;

  bool transactionActive() const;
  void beginTransaction();
  void endTransaction();

  // A column name through streamName, or a value as SQL text (null, quoted string, date, number).
  void addVariantToStream(COLostream& stream, const DBvariant& value, bool isColumn, bool quote);
  void addWhereClauseToStream(COLostream& stream, const DBsqlWhere& where);
  void addWhereConditionToStream(COLostream& stream, const DBsqlWhereCondition& condition);
  void addJoinClauseToStream(COLostream& stream, const DBsqlSelectJoin& join);
  void addSelectCommandToStream(COLostream& stream, const DBsqlSelect& select, bool omitOrderBy);

private:
  // Oracle writes a table alias after a blank rather than " AS ".
  const char* aliasSeparator() const;
  void streamNameWithAlias(COLostream& stream, const COLstring& name, bool quoteName, const COLstring& alias,
                           bool quoteAlias);

  struct Private;
  std::unique_ptr<Private> m;
};

using DBdatabasePtr = COLreferencePtr<DBdatabase>;
