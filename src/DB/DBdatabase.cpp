#include "DBdatabase.h"

#include "COLerror.h"
#include "COLostream.h"

namespace {

[[noreturn]] void refuse(const char* text) { throw COLerror(text, COL_ERROR_PRECONDITION); }

const char* operatorText(DBsqlWhereCondition::eOperator op) {
  switch (op) {
    case DBsqlWhereCondition::EQUAL: return " = ";
    case DBsqlWhereCondition::NOT_EQUAL: return " <> ";
    case DBsqlWhereCondition::LESS_THAN: return " < ";
    case DBsqlWhereCondition::LESS_THAN_OR_EQUAL: return " <= ";
    case DBsqlWhereCondition::GREATER_THAN: return " > ";
    case DBsqlWhereCondition::GREATER_THAN_OR_EQUAL: return " >= ";
    case DBsqlWhereCondition::LIKE: return " LIKE ";
    case DBsqlWhereCondition::IS_NULL: return " IS NULL ";
    case DBsqlWhereCondition::BETWEEN: return " BETWEEN ";
    case DBsqlWhereCondition::IN: case DBsqlWhereCondition::IN_SELECT: return " IN ";
  }
  refuse("WHERE conditon operator not defined.");
}

const char* joinText(DBsqlSelectJoin::eJoinType type) {
  switch (type) {
    case DBsqlSelectJoin::LEFT: return " LEFT JOIN ";
    case DBsqlSelectJoin::RIGHT: return " RIGHT JOIN ";
    case DBsqlSelectJoin::FULL: return " FULL JOIN ";
    case DBsqlSelectJoin::INNER: return " INNER JOIN ";
    case DBsqlSelectJoin::CROSS: return " CROSS JOIN ";
  }
  refuse("Join type undefined.");
}

}  // namespace

const char* DBdatabaseTypeName(int type) {
  static const char* const names[] = {"MySQL",
                                      "ODBC - MS SQL Server",
                                      "OCI - Oracle",
                                      "ODBC - Oracle",
                                      "ODBC - MS Access",
                                      "ODBC - PostgreSQL",
                                      "ODBC - Filemaker",
                                      "ODBC - InterBase/Firebird",
                                      "ODBC - IBM Informix",
                                      "ODBC - IBM DB2",
                                      "ODBC - Sybase ASA",
                                      "ODBC - Sybase ASE"};
  if (type >= 0 && type < static_cast<int>(sizeof names / sizeof names[0])) return names[type];
  COLstring text;
  COLostream(text) << "Database type " << type << " (enum) not supported.";
  throw COLerror(text, COL_ERROR_PRECONDITION);
}

bool DBdatabaseSupportsParam(const COLstring& databaseName, const COLstring& parameter) {
  return databaseName == "ODBC - MS SQL Server" && (parameter == "UseUnicode" || parameter == "Timeout");
}

struct DBdatabase::Private {
  COLstring DataSourceName, UserName, Password;
  bool TransactionActive = false;
};

DBdatabase::DBdatabase() : m(std::make_unique<Private>()) {}
DBdatabase::~DBdatabase() = default;

void DBdatabase::setCachedDataSourceName(const COLstring& name) { m->DataSourceName = name; }
const COLstring& DBdatabase::cachedDataSourceName() const { return m->DataSourceName; }
void DBdatabase::setCachedUserName(const COLstring& name) { m->UserName = name; }
const COLstring& DBdatabase::cachedUserName() const { return m->UserName; }
void DBdatabase::setCachedPassword(const COLstring& password) { m->Password = password; }
const COLstring& DBdatabase::cachedPassword() const { return m->Password; }

bool DBdatabase::transactionActive() const { return m->TransactionActive; }
void DBdatabase::beginTransaction() {
  setAutocommitFlag(false);
  m->TransactionActive = true;
}
void DBdatabase::endTransaction() {
  if (isConnected()) setAutocommitFlag(true);
  m->TransactionActive = false;
}

void DBdatabase::setParameter(const COLstring& name, const COLstring& value) {
  throw COLerror("Parameter is unsupported: \"" + name + "\"=\"" + value + "\"", COL_ERROR_PRECONDITION);
}

// --- dispatch and execution

void DBdatabase::createSqlCommand(const DBsqlCommand& command, COLostream& stream) {
  switch (command.commandType()) {
    case DBsqlCommand::SELECT: return createSqlSelect(static_cast<const DBsqlSelect&>(command), stream);
    case DBsqlCommand::SELECT_UNION: return createSqlSelectUnion(static_cast<const DBsqlSelectUnion&>(command), stream);
    case DBsqlCommand::UPDATE: return createSqlUpdate(static_cast<const DBsqlUpdate&>(command), stream);
    case DBsqlCommand::INSERT: return createSqlInsert(static_cast<const DBsqlInsert&>(command), stream);
    case DBsqlCommand::DELETE: return createSqlDelete(static_cast<const DBsqlDelete&>(command), stream);
    case DBsqlCommand::DROP_TABLE: return createSqlDropTable(static_cast<const DBsqlDropTable&>(command), stream);
    case DBsqlCommand::CREATE_TABLE: return createSqlCreateTable(static_cast<const DBsqlCreateTable&>(command), stream);
    default: refuse("Specified SQL command not supported.");
  }
}

void DBdatabase::createSqlCommandWithoutBinding(const DBsqlCommand& command, COLostream& stream) {
  createSqlCommand(command, stream);
}

DBresultSetPtr DBdatabase::executeSqlCommand(const DBsqlCommand& command, size_t first, size_t count) {
  switch (command.commandType()) {
    case DBsqlCommand::SELECT: return executeSqlSelect(static_cast<const DBsqlSelect&>(command), first, count);
    case DBsqlCommand::SELECT_UNION:
      return executeSqlSelectUnion(static_cast<const DBsqlSelectUnion&>(command), first, count);
    case DBsqlCommand::UPDATE: return executeSqlUpdate(static_cast<const DBsqlUpdate&>(command));
    case DBsqlCommand::INSERT: return executeSqlInsert(static_cast<const DBsqlInsert&>(command));
    case DBsqlCommand::DELETE: return executeSqlDelete(static_cast<const DBsqlDelete&>(command));
    case DBsqlCommand::DROP_TABLE: return executeSqlDropTable(static_cast<const DBsqlDropTable&>(command));
    case DBsqlCommand::CREATE_TABLE: return executeSqlCreateTable(static_cast<const DBsqlCreateTable&>(command));
    default: refuse("Specified SQL command not supported.");
  }
}

namespace {
// The whole text is written before anything reaches the server.
template <class Command, class Generate>
COLstring generated(const Command& command, Generate generate) {
  COLstring sql;
  COLostream stream(sql);
  generate(command, stream);
  return sql;
}
}  // namespace

#define DB_EXECUTE_BY_GENERATOR(Name, Command)                                                      \
  DBresultSetPtr DBdatabase::executeSql##Name(const Command& command) {                             \
    return executeSqlString(                                                                        \
        generated(command, [this](const Command& c, COLostream& s) { createSql##Name(c, s); }), 0, 0); \
  }
DB_EXECUTE_BY_GENERATOR(CreateTable, DBsqlCreateTable)
DB_EXECUTE_BY_GENERATOR(Delete, DBsqlDelete)
DB_EXECUTE_BY_GENERATOR(DropTable, DBsqlDropTable)
DB_EXECUTE_BY_GENERATOR(Insert, DBsqlInsert)
DB_EXECUTE_BY_GENERATOR(Update, DBsqlUpdate)
#undef DB_EXECUTE_BY_GENERATOR

DBresultSetPtr DBdatabase::executeSqlSelect(const DBsqlSelect& command, size_t first, size_t count) {
  return executeSqlString(
      generated(command, [this](const DBsqlSelect& c, COLostream& s) { createSqlSelect(c, s); }), first, count);
}

DBresultSetPtr DBdatabase::executeSqlSelectUnion(const DBsqlSelectUnion& command, size_t first, size_t count) {
  return executeSqlString(
      generated(command, [this](const DBsqlSelectUnion& c, COLostream& s) { createSqlSelectUnion(c, s); }), first,
      count);
}

void DBdatabase::executeSqlCommandSequence(const DBsqlCommandSequence& sequence, DBresultSetSequence& results) {
  results = DBresultSetSequence();
  for (size_t index = 0; index < sequence.countOfSqlCommand(); ++index) {
    DBresultSetPtr result = executeSqlCommand(sequence.sqlCommand(index), 0, 0);
    if (result) results.push_back(result);
  }
}

// --- words and values

void DBdatabase::streamName(COLostream& stream, const COLstring& name, bool quote) {
  if (quote)
    stream << '"' << name << '"';
  else
    stream << name;
}

void DBdatabase::addEscapedStringToStream(COLostream& stream, const COLstring& text) {
  // Pieces go to the stream through a small buffer rather than one write per byte.
  char buffer[256];
  size_t used = 0;
  buffer[used++] = '\'';
  for (const char c : text.view()) {
    buffer[used++] = c;
    if (c == '\'') buffer[used++] = '\'';
    if (used >= 252) {
      stream.write(buffer, used);
      used = 0;
    }
  }
  buffer[used++] = '\'';
  stream.write(buffer, used);
}

void DBdatabase::streamDateTime(COLostream& stream, const COLdateTime& time) {
  if (time.isNull()) return streamNullValue(stream);
  stream << '\'' << time.year() << '-' << time.month() << '-' << time.day() << ' ' << time.hour() << ':'
         << time.minute() << ':' << time.second() << '\'';
}

void DBdatabase::streamNullValue(COLostream& stream) { stream << "NULL"; }

void DBdatabase::addVariantToStream(COLostream& stream, const DBvariant& value, bool isColumn, bool quote) {
  if (isColumn) return streamName(stream, value.toString(), quote);
  switch (value.type()) {
    case DB_NULL: return streamNullValue(stream);
    case DB_STRING: return addEscapedStringToStream(stream, value.string());
    case DB_DATETIME: return streamDateTime(stream, value.dateTime());
    default: stream << value.toString();
  }
}

// A value is written as NULL only when its type is null: an integer 0 or an empty string is a
// value of its own, even though isNull() counts it as zero-like.
void DBdatabase::streamInsertUpdateValue(COLostream& stream, const DBsqlInsert& command, size_t column) {
  addVariantToStream(stream, command.columnValue(column), command.columnValueIsColumnFlag(column), false);
}

void DBdatabase::streamOrderByColumn(COLostream& stream, const DBsqlSelectOrderBy& column, bool first) {
  stream << (first ? " ORDER BY " : ",");
  streamName(stream, column.columnName(), column.quoteColumnName());
  if (column.descendingFlag()) stream << " DESC ";
}

// --- where and join

void DBdatabase::addWhereClauseToStream(COLostream& stream, const DBsqlWhere& where) {
  if (where.negateFlag()) stream << " NOT ";
  stream << " (";
  for (size_t index = 0; index < where.countOfItem(); ++index) {
    const DBsqlWhereItem& item = where.item(index);
    switch (item.itemType()) {
      case DBsqlWhereItem::CONDITION: addWhereConditionToStream(stream, item.condition()); break;
      case DBsqlWhereItem::COMBINER: stream << (item.combiner() == DBsqlWhereItem::AND ? " AND " : " OR "); break;
      case DBsqlWhereItem::NESTED_WHERE: addWhereClauseToStream(stream, item.nestedWhere()); break;
      default: refuse("WHERE item type not defined.");
    }
  }
  stream << ") ";
}

void DBdatabase::addWhereConditionToStream(COLostream& stream, const DBsqlWhereCondition& condition) {
  if (condition.negateFlag()) stream << " NOT (";
  streamName(stream, condition.leftOperandColumnName(), condition.quoteLeftOperandColumnName());
  const DBsqlWhereCondition::eOperator op = condition.conditionOperator();
  stream << operatorText(op);
  const bool isColumn = condition.rightOperandIsColumnFlag();
  const bool quote = condition.quoteRightOperandColumnName();
  auto subSelect = [&] {
    stream << "(";
    addSelectCommandToStream(stream, condition.rightOperandselectQuery(), false);
    stream << ")";
  };
  switch (op) {
    case DBsqlWhereCondition::IS_NULL: break;
    case DBsqlWhereCondition::BETWEEN:
      if (condition.countOfRightOperandValue() != 2) refuse("BETWEEN condition requires two values for the right operand.");
      addVariantToStream(stream, condition.rightOperandValue(0), isColumn, quote);
      stream << " AND ";
      addVariantToStream(stream, condition.rightOperandValue(1), isColumn, quote);
      break;
    case DBsqlWhereCondition::IN:
      if (condition.rightOperandselectQueryExists()) {
        subSelect();
        break;
      }
      stream << "(";
      for (size_t index = 0; index < condition.countOfRightOperandValue(); ++index) {
        if (index > 0) stream << ",";
        addVariantToStream(stream, condition.rightOperandValue(index), isColumn, quote);
      }
      stream << ")";
      break;
    case DBsqlWhereCondition::IN_SELECT:
      if (!condition.rightOperandselectQueryExists())
        refuse("IN_SELECT condition requires a SELECT query to be the right operand.");
      subSelect();
      break;
    default:
      if (condition.rightOperandselectQueryExists())
        subSelect();
      else
        addVariantToStream(stream, condition.rightOperandValue(0), isColumn, quote);
  }
  if (condition.negateFlag()) stream << ") ";
}

const char* DBdatabase::aliasSeparator() const {
  const int type = databaseType();
  return type == DB_OCI_ORACLE || type == DB_ODBC_ORACLE ? " " : " AS ";
}

void DBdatabase::streamNameWithAlias(COLostream& stream, const COLstring& name, bool quoteName,
                                     const COLstring& alias, bool quoteAlias) {
  streamName(stream, name, quoteName);
  if (alias.empty()) return;
  stream << aliasSeparator();
  streamName(stream, alias, quoteAlias);
}

void DBdatabase::addJoinClauseToStream(COLostream& stream, const DBsqlSelectJoin& join) {
  const bool parenthesised = !join.leftTableName().empty();
  if (parenthesised) {
    stream << "(";
    streamNameWithAlias(stream, join.leftTableName(), join.quoteLeftTableName(), join.leftTableAlias(),
                        join.quoteLeftTableAlias());
  }
  stream << joinText(join.joinType());
  if (join.nestedJoinExists())
    addJoinClauseToStream(stream, join.nestedJoin());
  else
    streamNameWithAlias(stream, join.rightTableName(), join.quoteRightTableName(), join.rightTableAlias(),
                        join.quoteRightTableAlias());
  if (join.onExpressionExists()) {
    stream << " ON ";
    addWhereClauseToStream(stream, join.onExpression());
  }
  if (parenthesised) stream << ")";
  if (join.cascadedJoinExists()) addJoinClauseToStream(stream, join.cascadedJoin());
}

// --- generators

void DBdatabase::addSelectCommandToStream(COLostream& stream, const DBsqlSelect& select, bool omitOrderBy) {
  for (size_t index = 0; index < select.countOfColumn(); ++index) {
    if (index == 0)
      stream << "SELECT " << (select.distinctFlag() ? "DISTINCT " : "");
    else
      stream << ",";
    const COLstring& alias = select.columnAlias(index);
    if (selectCastSupported() && select.columnCastType(index) == DB_STRING) {
      stream << "CAST(";
      streamName(stream, select.columnName(index), select.quoteColumnName(index));
      stream << " AS " << selectCastStringType() << ")";
      // Without an alias the cast result would lose the column's name.
      if (alias.empty()) {
        stream << " AS ";
        streamName(stream, select.columnName(index), select.quoteColumnName(index));
      }
    } else {
      streamName(stream, select.columnName(index), select.quoteColumnName(index));
    }
    if (!alias.empty()) {
      stream << " AS ";
      streamName(stream, alias, select.quoteColumnAlias(index));
    }
  }
  for (size_t index = 0; index < select.countOfTableName(); ++index) {
    stream << (index == 0 ? " FROM " : ",");
    streamNameWithAlias(stream, select.tableName(index), select.quoteTableName(index), select.tableAlias(index),
                        select.quoteTableAlias(index));
  }
  if (select.joinClauseExists()) {
    stream << (select.countOfTableName() > 0 ? " , " : " FROM ");
    addJoinClauseToStream(stream, select.joinClause());
  }
  if (select.whereClauseExists()) {
    stream << " WHERE ";
    addWhereClauseToStream(stream, select.whereClause());
  }
  bool firstGroup = true;
  for (size_t index = 0; index < select.countOfGroupByColumnName(); ++index) {
    if (select.groupByColumnName(index).empty()) continue;
    stream << (firstGroup ? " GROUP BY " : ",");
    streamName(stream, select.groupByColumnName(index), select.quoteGroupByColumnName(index));
    firstGroup = false;
  }
  if (select.havingClauseExists()) {
    stream << " HAVING ";
    addWhereClauseToStream(stream, select.havingClause());
  }
  if (omitOrderBy) return;
  bool firstOrder = true;
  for (size_t index = 0; index < select.countOfOrderByColumn(); ++index) {
    if (select.orderByColumnName(index).empty()) continue;
    streamOrderByColumn(stream, select.orderByColumn(index), firstOrder);
    firstOrder = false;
  }
}

void DBdatabase::createSqlSelect(const DBsqlSelect& command, COLostream& stream) {
  addSelectCommandToStream(stream, command, false);
}

void DBdatabase::createSqlSelectUnion(const DBsqlSelectUnion& command, COLostream& stream) {
  const bool separateOrderBy = selectUnionSeparateOrderBySupported();
  for (size_t index = 0; index < command.countOfSelectQuery(); ++index) {
    if (index > 0) stream << " UNION " << (command.allFlag() ? "ALL " : "");
    stream << "(";
    if (separateOrderBy) {
      addSelectCommandToStream(stream, command.selectQuery(index), true);
    } else {
      // The union's order goes into each member, on a copy.
      DBsqlSelect member = command.selectQuery(index);
      for (size_t order = 0; order < command.countOfOrderByColumn(); ++order) {
        const DBsqlSelectOrderBy& column = command.orderByColumn(order);
        member.addOrderByColumn(column.columnName(), column.descendingFlag(), column.quoteColumnName());
      }
      addSelectCommandToStream(stream, member, false);
    }
    stream << ")";
  }
  if (!separateOrderBy) return;
  for (size_t order = 0; order < command.countOfOrderByColumn(); ++order)
    streamOrderByColumn(stream, command.orderByColumn(order), order == 0);
}

void DBdatabase::createSqlInsert(const DBsqlInsert& command, COLostream& stream) {
  stream << "INSERT INTO ";
  streamName(stream, command.tableName(), command.quoteTableName());
  stream << "(";
  for (size_t index = 0; index < command.countOfColumn(); ++index) {
    if (index > 0) stream << ",";
    streamName(stream, command.columnName(index), command.quoteColumnName(index));
  }
  stream << ") ";
  if (command.selectQueryExists()) return addSelectCommandToStream(stream, command.selectQuery(), false);
  stream << "VALUES(";
  for (size_t index = 0; index < command.countOfColumn(); ++index) {
    if (index > 0) stream << ",";
    streamInsertUpdateValue(stream, command, index);
  }
  stream << ")";
}

void DBdatabase::createSqlUpdate(const DBsqlUpdate& command, COLostream& stream) {
  stream << "UPDATE ";
  streamName(stream, command.tableName(), command.quoteTableName());
  stream << " SET ";
  for (size_t index = 0; index < command.countOfColumn(); ++index) {
    if (index > 0) stream << ",";
    streamName(stream, command.columnName(index), command.quoteColumnName(index));
    stream << "=";
    streamInsertUpdateValue(stream, command, index);
  }
  if (command.whereClauseExists()) {
    stream << " WHERE ";
    addWhereClauseToStream(stream, command.whereClause());
  }
}

void DBdatabase::createSqlDelete(const DBsqlDelete& command, COLostream& stream) {
  stream << "DELETE FROM ";
  streamName(stream, command.tableName(), command.quoteTableName());
  if (command.whereClauseExists()) {
    stream << " WHERE ";
    addWhereClauseToStream(stream, command.whereClause());
  }
}

void DBdatabase::createSqlDropTable(const DBsqlDropTable& command, COLostream& stream) {
  stream << "DROP TABLE ";
  streamName(stream, command.tableName(), command.quoteTableName());
}

void DBdatabase::streamCreateTableNotNull(COLostream& stream, const DBsqlCreateTableColumn& column) {
  if (column.requiredFlag()) stream << " NOT NULL ";
}

void DBdatabase::streamCreateTableForeignKeySuffix(COLostream& stream, const DBsqlCreateTableColumn& column) {
  auto action = [](DBsqlCreateTableColumnForeignKey::eAction value) {
    return value == DBsqlCreateTableColumnForeignKey::CASCADE ? " CASCADE " : " RESTRICT ";
  };
  stream << " ON DELETE " << action(column.foreignKeyOnDeleteAction()) << " ON UPDATE "
         << action(column.foreignKeyOnUpdateAction());
}

void DBdatabase::createSqlCreateTable(const DBsqlCreateTable& command, COLostream& stream) {
  COLstring keyNames;
  COLostream keys(keyNames);
  stream << "CREATE TABLE ";
  streamName(stream, command.tableName(), command.quoteTableName());
  stream << " (";
  for (size_t index = 0; index < command.countOfColumn(); ++index) {
    const DBsqlCreateTableColumn& column = command.column(index);
    if (index > 0) stream << ",";
    streamName(stream, column.name(), column.quoteName());
    stream << " ";
    switch (column.dataType()) {
      case DB_NULL: refuse("DBdataType not defined in create table statement.");
      case DB_STRING:
        stream << dbStringType() << "(";
        if (column.length() != 0)
          stream << column.length();
        else
          stream << (column.primaryKeyFlag() ? dbStringMaxKeyLength() : "255");
        stream << ")";
        break;
      case DB_TEXT: stream << dbTextType(); break;
      case DB_INTEGER:
        stream << dbIntegerType();
        if (column.length() != 0) stream << "(" << column.length() << ")";
        break;
      case DB_FLOAT: stream << dbDoubleType(); break;
      case DB_DATETIME: stream << dbDateTimeType(); break;
      default: refuse("Specified DBdataType not supported for create table statement.");
    }
    if (column.primaryKeyFlag()) {
      stream << dbKeyModifiers();
      if (!keyNames.empty()) keys << ",";
      streamName(keys, column.name(), column.quoteName());
    }
    streamCreateTableNotNull(stream, column);
    if (createTableDefaultConstraintSupported() && supportsDefault() && column.defaultValue().type() != DB_NULL) {
      stream << " DEFAULT ";
      addVariantToStream(stream, column.defaultValue(), false, false);
    }
    streamCreateTableNotNull2(stream, column);
    if (column.foreignKeyExists()) {
      streamCreateTableForeignKeyPrefix(stream, column);
      stream << ",FOREIGN KEY (";
      streamName(stream, column.name(), column.quoteName());
      stream << ") REFERENCES ";
      streamName(stream, column.foreignTableName(), column.quoteForeignTableName());
      stream << " (";
      streamName(stream, column.foreignColumnName(), column.quoteForeignColumnName());
      stream << ") ";
      streamCreateTableForeignKeySuffix(stream, column);
    }
  }
  if (!keyNames.empty() && supportsDefinePrimaryKey()) stream << ",PRIMARY KEY (" << keyNames << ")";
  stream << ")";
  streamCreateTableSuffix(stream, command);
}
