#include "DBdialects.h"

#include <functional>
#include <map>

#include "DBdatabaseMySql.h"
#include "DBdatabaseOdbcDialects.h"

std::unique_ptr<DBdatabase> DBmakeTextDialect(const std::string& name) {
  static const std::map<std::string, std::function<DBdatabase*()>> makers{
      {"generic", [] { return new DBtextOnlyDatabase; }},
      {"odbc", [] { return new DBdatabaseOdbc; }},
      {"mysql", [] { return new DBdatabaseMySql; }},
      {"sqlserver", [] { return new DBdatabaseOdbcSqlServer; }},
      {"access", [] { return new DBdatabaseOdbcAccess; }},
      {"db2", [] { return new DBdatabaseOdbcDb2; }},
      {"filemaker", [] { return new DBdatabaseOdbcFilemaker; }},
      {"informix", [] { return new DBdatabaseOdbcInformix; }},
      {"interbase", [] { return new DBdatabaseOdbcInterbase; }},
      {"oracle", [] { return new DBdatabaseOdbcOracle; }},
      {"postgresql", [] { return new DBdatabaseOdbcPostgreSql; }},
      {"sybase", [] { return new DBdatabaseOdbcSybase; }},
      {"sybasease", [] { return new DBdatabaseOdbcSybaseASE; }},
  };
  const auto found = makers.find(name);
  return found == makers.end() ? nullptr : std::unique_ptr<DBdatabase>(found->second());
}
