#include "DBdatabaseFactory.h"

#include <cctype>
#include <map>
#include <vector>

#include "COLcriticalSection.h"
#include "COLerror.h"
#include "COLostream.h"
#include "DBdatabaseMySql.h"
#include "DBdatabaseOciOracle.h"
#include "DBdatabaseOdbcDialects.h"

namespace {

using Creator = DBdatabase* (*)();

struct FactoryState {
  COLcriticalSection Lock;
  std::map<COLstring, Creator> Lookup;
  std::vector<COLstring> DatabaseVector;
  bool Initialized = false;
};

FactoryState& state() {
  static auto* const shared = new FactoryState;  // used from any thread until the process ends
  return *shared;
}

void add(FactoryState& factory, const char* name, Creator creator) {
  factory.Lookup[name] = creator;
  factory.DatabaseVector.emplace_back(name);
}

}  // namespace

DBdatabase* DBcreateMySql() { return new DBdatabaseMySql; }
DBdatabase* DBcreateOciOracle() { return new DBdatabaseOciOracle; }
DBdatabase* DBcreateOdbcPostgresSql() { return new DBdatabaseOdbcPostgreSql; }
DBdatabase* DBcreateOdbcDb2() { return new DBdatabaseOdbcDb2; }
DBdatabase* DBcreateOdbcFilemaker() { return new DBdatabaseOdbcFilemaker; }
DBdatabase* DBcreateOdbcInterbase() { return new DBdatabaseOdbcInterbase; }
DBdatabase* DBcreateOdbcInformix() { return new DBdatabaseOdbcInformix; }
DBdatabase* DBcreateOdbcOracle() { return new DBdatabaseOdbcOracle; }
DBdatabase* DBcreateOdbcSybase() { return new DBdatabaseOdbcSybase; }
DBdatabase* DBcreateOdbcSybaseASE() { return new DBdatabaseOdbcSybaseASE; }
DBdatabase* DBcreateOdbcAccess() { return new DBdatabaseOdbcAccess; }
DBdatabase* DBcreateOdbcSqlServer() { return new DBdatabaseOdbcSqlServer; }

void DBdatabaseFactory::initialize(COLostream& stream) {
  FactoryState& factory = state();
  COLcriticalSectionLocker lock(factory.Lock);
  factory.Lookup.clear();
  factory.DatabaseVector.clear();
  if (DBdatabaseMySql::initialize(stream, nullptr)) add(factory, "MySQL", DBcreateMySql);
  if (DBdatabaseOciOracle::initialize(stream, nullptr)) add(factory, "OCI - Oracle", DBcreateOciOracle);
  DBdatabaseOdbc::initialize(stream);
  if (DBdatabaseOdbc::isInitialized()) {
    add(factory, "ODBC - PostgreSQL", DBcreateOdbcPostgresSql);
    add(factory, "ODBC - IBM DB2", DBcreateOdbcDb2);
    add(factory, "ODBC - Filemaker", DBcreateOdbcFilemaker);
    add(factory, "ODBC - InterBase/Firebird", DBcreateOdbcInterbase);
    add(factory, "ODBC - IBM Informix", DBcreateOdbcInformix);
    add(factory, "ODBC - Oracle", DBcreateOdbcOracle);
    add(factory, "ODBC - Sybase ASA", DBcreateOdbcSybase);
    add(factory, "ODBC - Sybase ASE", DBcreateOdbcSybaseASE);
    add(factory, "ODBC - MS Access", DBcreateOdbcAccess);
    add(factory, "ODBC - MS SQL Server", DBcreateOdbcSqlServer);
  }
  factory.Initialized = true;
}

bool DBdatabaseFactory::isInitialized() const {
  FactoryState& factory = state();
  COLcriticalSectionLocker lock(factory.Lock);
  return factory.Initialized;
}

size_t DBdatabaseFactory::countOfDatabase() const {
  FactoryState& factory = state();
  COLcriticalSectionLocker lock(factory.Lock);
  return factory.DatabaseVector.size();
}

COLstring DBdatabaseFactory::databaseName(size_t DatabaseIndex) const {
  FactoryState& factory = state();
  COLcriticalSectionLocker lock(factory.Lock);
  COL_PRECONDITION_TEXT(DatabaseIndex < factory.DatabaseVector.size(),
                        "DatabaseIndex < pMember->DatabaseVector.size()");
  return factory.DatabaseVector[DatabaseIndex];
}

bool DBdatabaseFactory::databaseSupported(const COLstring& name) const {
  FactoryState& factory = state();
  COLcriticalSectionLocker lock(factory.Lock);
  return factory.Lookup.count(name) != 0;
}

DBdatabasePtr DBdatabaseFactory::getDatabase(const COLstring& name) const {
  Creator creator = nullptr;
  {
    FactoryState& factory = state();
    COLcriticalSectionLocker lock(factory.Lock);
    const auto found = factory.Lookup.find(name);
    if (found != factory.Lookup.end()) creator = found->second;
  }
  if (!creator) throw COLerror("'" + name + "' is not supported.", __LINE__, __FILE__, COL_ERROR_PRECONDITION);
  return DBdatabasePtr(creator());
}

// Only the MySQL client keeps state per thread; without it a thread has nothing to set up.
void DBdatabaseFactory::initializeForThread() {
  if (DBdatabaseMySql::isInitialized()) DBdatabaseMySql::initializeForThread();
}
void DBdatabaseFactory::uninitializeForThread() {
  if (DBdatabaseMySql::isInitialized()) DBdatabaseMySql::uninitializeForThread();
}

void DBshowShortNames(COLostream& stream) {
  stream << "oracle_oci  - Oracle via native OCI interface" << newline
         << "oracle_odbc - Oracle via ODBC interface" << newline << "mysql       - Mysql via native interface" << newline
         << "postgres    - Postgres SQL via ODBC" << newline << "sybase_asa  - Sybase ASA via ODBC" << newline
         << "sybase_ase  - Sybase ASE via ODBC" << newline << "access      - Microsoft Access via ODBC" << newline
         << "sql_server  - Microsoft SQL Server via ODBC" << newline;
}

COLstring DBtranslateShortNameToFactory(const COLstring& shortName) {
  COLstring lower;
  for (const char c : shortName.view()) lower += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  static const std::map<COLstring, const char*> names{
      {"oracle_oci", "OCI - Oracle"},   {"oracle_odbc", "ODBC - Oracle"},    {"postgres", "ODBC - PostgreSQL"},
      {"sybase_asa", "ODBC - Sybase ASA"}, {"sybase_ase", "ODBC - Sybase ASE"}, {"mysql", "MySQL"},
      {"access", "ODBC - MS Access"},   {"sql_server", "ODBC - MS SQL Server"},
  };
  const auto found = names.find(lower);
  return found == names.end() ? COLstring() : COLstring(found->second);
}
