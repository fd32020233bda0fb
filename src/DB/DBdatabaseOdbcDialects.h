// One small class for each database product reached through ODBC: each changes only the words
// and catalogue queries in which its product differs from the plain ODBC back end.
#pragma once

#include "DBdatabaseOdbc.h"

class DBdatabaseOdbcSqlServer : public DBdatabaseOdbc {
public:
  DBdatabase* clone() override { return cloneInto(new DBdatabaseOdbcSqlServer); }
  int databaseType() const override { return DB_ODBC_SQL_SERVER; }
  const char* dbDoubleType() const override { return "FLOAT"; }
};

class DBdatabaseOdbcAccess : public DBdatabaseOdbc {
public:
  DBdatabase* clone() override { return cloneInto(new DBdatabaseOdbcAccess); }
  int databaseType() const override { return DB_ODBC_ACCESS; }
  const char* dbIntegerType() const override { return "LONG"; }
  const char* dbDoubleType() const override { return "FLOAT"; }
  const char* dbTextType() const override { return "MEMO"; }
  bool selectCastSupported() const override { return false; }
  bool createTableDefaultConstraintSupported() const override { return false; }
  bool supportsDescribeParam() const override { return false; }
  void streamDateTime(COLostream& stream, const COLdateTime& time) override;
  void buildPrimaryKeyList(const COLstring& tableName, std::vector<COLstring>& keys) override;
};

class DBdatabaseOdbcDb2 : public DBdatabaseOdbc {
public:
  DBdatabase* clone() override { return cloneInto(new DBdatabaseOdbcDb2); }
  int databaseType() const override { return DB_ODBC_DB2; }
  const char* dbKeyModifiers() const override { return " not null "; }
  size_t acceptableErrorStringSize() const override { return 2; }
  const char* acceptableErrorString(size_t index) const override;
};

class DBdatabaseOdbcFilemaker : public DBdatabaseOdbc {
public:
  DBdatabase* clone() override { return cloneInto(new DBdatabaseOdbcFilemaker); }
  int databaseType() const override { return DB_ODBC_FILEMAKER; }
  bool supportsDefinePrimaryKey() const override { return false; }
  bool supportsDescribeParam() const override { return false; }
  size_t acceptableErrorStringSize() const override { return 3; }
  const char* acceptableErrorString(size_t index) const override;
};

class DBdatabaseOdbcInformix : public DBdatabaseOdbc {
public:
  DBdatabase* clone() override { return cloneInto(new DBdatabaseOdbcInformix); }
  int databaseType() const override { return DB_ODBC_INFORMIX; }
  size_t acceptableErrorStringSize() const override { return 2; }
  const char* acceptableErrorString(size_t index) const override;
};

class DBdatabaseOdbcInterbase : public DBdatabaseOdbc {
public:
  DBdatabase* clone() override { return cloneInto(new DBdatabaseOdbcInterbase); }
  int databaseType() const override { return DB_ODBC_INTERBASE; }
  const char* dbDoubleType() const override { return "DOUBLE PRECISION"; }
  const char* dbDateTimeType() const override { return "DATE"; }
  const char* dbTextType() const override { return "BLOB"; }
  const char* dbStringMaxKeyLength() const override { return "252"; }
  const char* dbKeyModifiers() const override { return " not null "; }
  bool selectCastSupported() const override { return false; }
  bool supportsDefault() const override { return false; }
  size_t acceptableErrorStringSize() const override { return 3; }
  const char* acceptableErrorString(size_t index) const override;
};

class DBdatabaseOdbcOracle : public DBdatabaseOdbc {
public:
  DBdatabase* clone() override { return cloneInto(new DBdatabaseOdbcOracle); }
  int databaseType() const override { return DB_ODBC_ORACLE; }
  const char* dbDoubleType() const override;
  const char* dbDateTimeType() const override;
  const char* dbTextType() const override;
  const char* sqlPingCommand() const override { return "SELECT 0 FROM DUAL;"; }
  void streamCreateTableForeignKeySuffix(COLostream& stream, const DBsqlCreateTableColumn& column) override;
  void streamDateTime(COLostream& stream, const COLdateTime& time) override;
  void streamNullValue(COLostream& stream) override;
  DBresultSetPtr fetchDatabaseTables() override;
  DBresultSetPtr fetchNonSystemDatabaseTables() override { return fetchDatabaseTables(); }
  // Oracle keeps unquoted names in upper case.
  bool isSystemTable(const COLstring& tableName) override;
  DBresultSetPtr fetchDatabaseTableColumns(const COLstring& tableName) override;
};

class DBdatabaseOdbcPostgreSql : public DBdatabaseOdbc {
public:
  DBdatabase* clone() override { return cloneInto(new DBdatabaseOdbcPostgreSql); }
  int databaseType() const override { return DB_ODBC_POSTGRESQL; }
  const char* dbIntegerType() const override { return "INT4"; }
  const char* dbDoubleType() const override { return "FLOAT8"; }
  const char* dbDateTimeType() const override { return "TIMESTAMP"; }
  bool supportsDescribeParam() const override { return false; }
  DBresultSetPtr fetchDatabaseTables() override;
  DBresultSetPtr fetchNonSystemDatabaseTables() override { return fetchDatabaseTables(); }
  bool isSystemTable(const COLstring& tableName) override;
};

// Sybase SQL Anywhere.
class DBdatabaseOdbcSybase : public DBdatabaseOdbc {
public:
  DBdatabase* clone() override { return cloneInto(new DBdatabaseOdbcSybase); }
  int databaseType() const override { return DB_ODBC_SYBASE_ASA; }
  bool selectUnionSeparateOrderBySupported() const override { return false; }
  // Brackets rather than double quotes, and always around a name that is a reserved word.
  void streamName(COLostream& stream, const COLstring& name, bool quote) override;

protected:
  virtual bool isReservedName(const COLstring& name) const;
};

// Sybase Adaptive Server Enterprise.
class DBdatabaseOdbcSybaseASE : public DBdatabaseOdbcSybase {
public:
  DBdatabase* clone() override { return cloneInto(new DBdatabaseOdbcSybaseASE); }
  int databaseType() const override { return DB_ODBC_SYBASE_ASE; }
  bool selectUnionSeparateOrderBySupported() const override { return true; }
  const char* dbDoubleType() const override { return "DOUBLE PRECISION"; }
  void streamCreateTableNotNull(COLostream&, const DBsqlCreateTableColumn&) override {}
  // After the default: the server's own default nullability is not the standard's.
  void streamCreateTableNotNull2(COLostream& stream, const DBsqlCreateTableColumn& column) override;
  bool supportsDescribeParam() const override { return false; }
  // The server stores an empty text as one blank.
  void adjustEmptyString(COLstring& text) const override;

protected:
  bool isReservedName(const COLstring& name) const override;
};
