// DBdatabaseFactory: where the rest of the system gets a connection object.  It tries each
// client library once and then offers only the databases that can work on this machine, by
// their names ("MySQL", "ODBC - PostgreSQL", ...).  Its state is shared by every factory object
// of the process and guarded by one lock, so that connections may be made from any thread.
#pragma once

#include "COLstring.h"
#include "DBdatabase.h"

class COLostream;

class DBdatabaseFactory {
public:
  // Tries the client libraries (each is loaded once for the process) and rebuilds the list of
  // databases; what each load gave is written to the stream.  Never raises.
  void initialize(COLostream& stream);
  bool isInitialized() const;
  size_t countOfDatabase() const;
  COLstring databaseName(size_t DatabaseIndex) const;
  bool databaseSupported(const COLstring& name) const;
  // A new connection object; raises "'NAME' is not supported." for a name not in the list.
  DBdatabasePtr getDatabase(const COLstring& name) const;
  // A thread that uses a MySQL connection calls these around its use.
  static void initializeForThread();
  static void uninitializeForThread();
};

// The short names a user may type, with what each stands for, a line each.
void DBshowShortNames(COLostream& stream);
// The factory's name for a short name, compared in lower case; empty for an unknown one.
COLstring DBtranslateShortNameToFactory(const COLstring& shortName);

DBdatabase* DBcreateMySql();
DBdatabase* DBcreateOciOracle();
DBdatabase* DBcreateOdbcPostgresSql();
DBdatabase* DBcreateOdbcDb2();
DBdatabase* DBcreateOdbcFilemaker();
DBdatabase* DBcreateOdbcInterbase();
DBdatabase* DBcreateOdbcInformix();
DBdatabase* DBcreateOdbcOracle();
DBdatabase* DBcreateOdbcSybase();
DBdatabase* DBcreateOdbcSybaseASE();
DBdatabase* DBcreateOdbcAccess();
DBdatabase* DBcreateOdbcSqlServer();
