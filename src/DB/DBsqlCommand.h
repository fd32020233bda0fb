// The SQL command model: a statement built as a tree of plain objects, so that each back end
// can write it in its own dialect or bind its values.  Nothing here talks to a database.
#pragma once

#include <memory>
#include <vector>

#include "COLstring.h"
#include "DBsqlWhere.h"
#include "DBvariant.h"

class DBsqlCommand {
public:
  enum eCommandType {
    SELECT = 0,
    SELECT_UNION = 1,
    UPDATE = 2,
    INSERT = 3,
    DELETE = 4,
    DROP_TABLE = 5,
    CREATE_TABLE = 6,
  };
  virtual ~DBsqlCommand() = default;
  virtual int commandType() const = 0;
};

// A name that may be written through quoting, with an alias that may be too.
class DBsqlSelectNameAlias {
public:
  DBsqlSelectNameAlias() = default;
  DBsqlSelectNameAlias(const COLstring& name, bool quoteName, const COLstring& alias, bool quoteAlias)
      : m_Name(name), m_Alias(alias), m_QuoteName(quoteName), m_QuoteAlias(quoteAlias) {}
  const COLstring& name() const { return m_Name; }
  bool quoteName() const { return m_QuoteName; }
  const COLstring& alias() const { return m_Alias; }
  bool quoteAlias() const { return m_QuoteAlias; }

private:
  COLstring m_Name, m_Alias;
  bool m_QuoteName = false, m_QuoteAlias = false;
};

class DBsqlSelectColumn : public DBsqlSelectNameAlias {
public:
  DBsqlSelectColumn() = default;
  DBsqlSelectColumn(const COLstring& name, bool quoteName, const COLstring& alias, bool quoteAlias,
                    DBdataType castType)
      : DBsqlSelectNameAlias(name, quoteName, alias, quoteAlias), m_CastType(castType) {}
  // DB_NULL for no cast.
  DBdataType castType() const { return m_CastType; }

private:
  DBdataType m_CastType = DB_NULL;
};

class DBsqlSelectOrderBy {
public:
  DBsqlSelectOrderBy() = default;
  DBsqlSelectOrderBy(const COLstring& name, bool descending, bool quote)
      : m_ColumnName(name), m_Quote(quote), m_Descending(descending) {}
  const COLstring& columnName() const { return m_ColumnName; }
  bool quoteColumnName() const { return m_Quote; }
  bool descendingFlag() const { return m_Descending; }
  void setDescendingFlag(bool flag) { m_Descending = flag; }

private:
  COLstring m_ColumnName;
  bool m_Quote = false, m_Descending = false;
};

class DBsqlSelectJoin {
public:
  enum eJoinType { LEFT = 0, RIGHT = 1, FULL = 2, INNER = 3, CROSS = 4 };

  DBsqlSelectJoin();
  DBsqlSelectJoin(const DBsqlSelectJoin& other);
  DBsqlSelectJoin& operator=(const DBsqlSelectJoin& other);
  ~DBsqlSelectJoin();

  eJoinType joinType() const;
  void setJoinType(eJoinType type);
  void setLeftTable(const COLstring& name, const COLstring& alias = "", bool quoteName = false, bool quoteAlias = false);
  void setRightTable(const COLstring& name, const COLstring& alias = "", bool quoteName = false, bool quoteAlias = false);
  const COLstring& leftTableName() const;
  bool quoteLeftTableName() const;
  const COLstring& leftTableAlias() const;
  bool quoteLeftTableAlias() const;
  const COLstring& rightTableName() const;
  bool quoteRightTableName() const;
  const COLstring& rightTableAlias() const;
  bool quoteRightTableAlias() const;

  // Stands in for the right table.
  DBsqlSelectJoin& addNestedJoin();
  const DBsqlSelectJoin& nestedJoin() const;
  bool nestedJoinExists() const;
  DBsqlWhere& addOnExpression();
  const DBsqlWhere& onExpression() const;
  bool onExpressionExists() const;
  // Follows this join.
  DBsqlSelectJoin& addCascadedJoin();
  const DBsqlSelectJoin& cascadedJoin() const;
  bool cascadedJoinExists() const;

private:
  struct Private;
  std::unique_ptr<Private> m;
};

class DBsqlSelect : public DBsqlCommand {
public:
  DBsqlSelect();
  DBsqlSelect(const DBsqlSelect& other);
  DBsqlSelect& operator=(const DBsqlSelect& other);
  ~DBsqlSelect() override;
  int commandType() const override { return SELECT; }

  bool distinctFlag() const;
  void setDistinctFlag(bool flag);

  void addTable(const COLstring& name, const COLstring& alias = "", bool quoteName = false, bool quoteAlias = false);
  const COLstring& tableName(size_t index) const;
  bool quoteTableName(size_t index) const;
  const COLstring& tableAlias(size_t index) const;
  bool quoteTableAlias(size_t index) const;
  size_t countOfTableName() const;

  void addColumn(const COLstring& name, const COLstring& alias = "", DBdataType castType = DB_NULL,
                 bool quoteName = false, bool quoteAlias = false);
  void clearColumns();
  const COLstring& columnName(size_t index) const;
  bool quoteColumnName(size_t index) const;
  const COLstring& columnAlias(size_t index) const;
  bool quoteColumnAlias(size_t index) const;
  DBdataType columnCastType(size_t index) const;
  size_t countOfColumn() const;

  DBsqlWhere& addWhereClause();
  const DBsqlWhere& whereClause() const;
  DBsqlWhere& whereClause();
  bool whereClauseExists() const;

  DBsqlSelectJoin& addJoinClause();
  const DBsqlSelectJoin& joinClause() const;
  bool joinClauseExists() const;

  void addGroupByColumnName(const COLstring& name, bool quote = false);
  const COLstring& groupByColumnName(size_t index) const;
  bool quoteGroupByColumnName(size_t index) const;
  size_t countOfGroupByColumnName() const;

  DBsqlWhere& addHavingClause();
  const DBsqlWhere& havingClause() const;
  bool havingClauseExists() const;

  // At `position`, or at the end when it is past the last.
  void addOrderByColumn(const COLstring& name, bool descending = false, bool quote = false,
                        size_t position = static_cast<size_t>(-1));
  const DBsqlSelectOrderBy& orderByColumn(size_t index) const;
  const COLstring& orderByColumnName(size_t index) const;
  bool quoteOrderByColumnName(size_t index) const;
  void setOrderByDescendingFlag(size_t index, bool flag);
  bool orderByDescendingFlag(size_t index) const;
  size_t countOfOrderByColumn() const;
  void clearOrderByClause();

private:
  // The group-by names and their quote flags are kept the same length.
  void synchronizeGroupByVectors();

  struct Private;
  std::unique_ptr<Private> m;
};

class DBsqlSelectUnion : public DBsqlCommand {
public:
  DBsqlSelectUnion();
  DBsqlSelectUnion(const DBsqlSelectUnion& other);
  DBsqlSelectUnion& operator=(const DBsqlSelectUnion& other);
  ~DBsqlSelectUnion() override;
  int commandType() const override { return SELECT_UNION; }

  bool allFlag() const;
  void setAllFlag(bool flag);
  DBsqlSelect& addSelectQuery();
  const DBsqlSelect& selectQuery(size_t index) const;
  size_t countOfSelectQuery() const;
  void addOrderByColumn(const COLstring& name, bool descending = false, bool quote = false);
  const DBsqlSelectOrderBy& orderByColumn(size_t index) const;
  size_t countOfOrderByColumn() const;

private:
  struct Private;
  std::unique_ptr<Private> m;
};

class DBsqlInsertColumn {
public:
  DBsqlInsertColumn() = default;
  DBsqlInsertColumn(const COLstring& name, const DBvariant& value, bool valueIsColumn, bool quoteName)
      : m_Name(name), m_Value(value), m_ValueIsColumn(valueIsColumn), m_QuoteName(quoteName) {}
  const COLstring& name() const { return m_Name; }
  const DBvariant& value() const { return m_Value; }
  // The value's text is a column name (or any expression), written as it stands.
  bool valueIsColumnFlag() const { return m_ValueIsColumn; }
  bool quoteName() const { return m_QuoteName; }

private:
  COLstring m_Name;
  DBvariant m_Value;
  bool m_ValueIsColumn = false, m_QuoteName = false;
};

class DBsqlInsert : public DBsqlCommand {
public:
  DBsqlInsert();
  DBsqlInsert(const DBsqlInsert& other);
  DBsqlInsert& operator=(const DBsqlInsert& other);
  ~DBsqlInsert() override;
  int commandType() const override { return INSERT; }

  const COLstring& tableName() const;
  void setTableName(const COLstring& name, bool quote = false);
  bool quoteTableName() const;

  void addColumn(const COLstring& name, const DBvariant& value, bool valueIsColumn = false, bool quoteName = false);
  void removeColumn(size_t index);
  void resizeColumnVector(size_t count);
  void setColumn(size_t index, const COLstring& name, const DBvariant& value, bool valueIsColumn = false,
                 bool quoteName = false);
  const COLstring& columnName(size_t index) const;
  const DBvariant& columnValue(size_t index) const;
  bool columnValueIsColumnFlag(size_t index) const;
  bool quoteColumnName(size_t index) const;
  size_t countOfColumn() const;

  // The rows to insert, in place of the values.
  DBsqlSelect& addSelectQuery();
  const DBsqlSelect& selectQuery() const;
  bool selectQueryExists() const;

private:
  struct Private;
  std::unique_ptr<Private> m;
};

// An insert's columns with a WHERE; setMakeIntoInsert() turns the same object into an insert.
class DBsqlUpdate : public DBsqlInsert {
public:
  DBsqlUpdate();
  DBsqlUpdate(const DBsqlUpdate& other);
  DBsqlUpdate& operator=(const DBsqlUpdate& other);
  ~DBsqlUpdate() override;
  int commandType() const override;
  void setMakeIntoInsert();

  DBsqlWhere& addWhereClause();
  const DBsqlWhere& whereClause() const;
  bool whereClauseExists() const;

private:
  struct Private;
  std::unique_ptr<Private> m;
};

class DBsqlDropTable : public DBsqlCommand {
public:
  DBsqlDropTable();
  DBsqlDropTable(const DBsqlDropTable& other);
  DBsqlDropTable& operator=(const DBsqlDropTable& other);
  ~DBsqlDropTable() override;
  int commandType() const override { return DROP_TABLE; }

  const COLstring& tableName() const;
  void setTableName(const COLstring& name, bool quote = false);
  bool quoteTableName() const;

private:
  struct Private;
  std::unique_ptr<Private> m;
};

class DBsqlDelete : public DBsqlDropTable {
public:
  DBsqlDelete();
  DBsqlDelete(const DBsqlDelete& other);
  DBsqlDelete& operator=(const DBsqlDelete& other);
  ~DBsqlDelete() override;
  int commandType() const override { return DELETE; }

  DBsqlWhere& addWhereClause();
  void removeWhereClause();
  const DBsqlWhere& whereClause() const;
  bool whereClauseExists() const;

private:
  struct Private;
  std::unique_ptr<Private> m;
};

class DBsqlCreateTableColumnForeignKey {
public:
  enum eAction { RESTRICT = 0, CASCADE = 1 };
  COLstring TableName, ColumnName;
  bool QuoteTableName = false, QuoteColumnName = false;
  eAction OnDeleteAction = RESTRICT, OnUpdateAction = RESTRICT;
};

class DBsqlCreateTableColumn {
public:
  const COLstring& name() const { return m_Name; }
  void setName(const COLstring& name, bool quote = false) { m_Name = name, m_QuoteName = quote; }
  bool quoteName() const { return m_QuoteName; }
  DBdataType dataType() const { return m_DataType; }
  void setDataType(DBdataType type) { m_DataType = type; }
  const char* dataTypeAsString() const;
  const DBvariant& defaultValue() const { return m_DefaultValue; }
  void setDefaultValue(const DBvariant& value) { m_DefaultValue = value; }
  // 0 for the back end's default.
  unsigned length() const { return m_Length; }
  void setLength(unsigned length) { m_Length = length; }
  bool requiredFlag() const { return m_Required; }
  void setRequiredFlag(bool flag) { m_Required = flag; }
  bool primaryKeyFlag() const { return m_PrimaryKey; }
  void setPrimaryKeyFlag(bool flag) { m_PrimaryKey = flag; }

  void addForeignKey(const COLstring& table, const COLstring& column, bool quoteTable = false, bool quoteColumn = false,
                     DBsqlCreateTableColumnForeignKey::eAction onDelete = DBsqlCreateTableColumnForeignKey::RESTRICT,
                     DBsqlCreateTableColumnForeignKey::eAction onUpdate = DBsqlCreateTableColumnForeignKey::RESTRICT);
  void removeForeignKey();
  bool foreignKeyExists() const { return m_HasForeignKey; }
  const COLstring& foreignTableName() const;
  bool quoteForeignTableName() const;
  const COLstring& foreignColumnName() const;
  bool quoteForeignColumnName() const;
  DBsqlCreateTableColumnForeignKey::eAction foreignKeyOnDeleteAction() const;
  DBsqlCreateTableColumnForeignKey::eAction foreignKeyOnUpdateAction() const;

private:
  const DBsqlCreateTableColumnForeignKey& foreignKey() const;

  COLstring m_Name;
  DBvariant m_DefaultValue;
  DBsqlCreateTableColumnForeignKey m_ForeignKey;
  DBdataType m_DataType = DB_NULL;
  unsigned m_Length = 0;
  bool m_QuoteName = false, m_Required = false, m_PrimaryKey = false, m_HasForeignKey = false;
};

class DBsqlCreateTable : public DBsqlCommand {
public:
  DBsqlCreateTable();
  DBsqlCreateTable(const DBsqlCreateTable& other);
  DBsqlCreateTable& operator=(const DBsqlCreateTable& other);
  ~DBsqlCreateTable() override;
  int commandType() const override { return CREATE_TABLE; }

  const COLstring& tableName() const;
  void setTableName(const COLstring& name, bool quote = false);
  bool quoteTableName() const;
  DBsqlCreateTableColumn& addColumn();
  const DBsqlCreateTableColumn& column(size_t index) const;
  DBsqlCreateTableColumn& column(size_t index);
  size_t countOfColumn() const;

private:
  struct Private;
  std::unique_ptr<Private> m;
};

// Commands run one after another; the sequence owns what it is given.
class DBsqlCommandSequence {
public:
  void push_back(DBsqlCommand* command) { m_Commands.emplace_back(command); }
  size_t countOfSqlCommand() const { return m_Commands.size(); }
  DBsqlCommand& sqlCommand(size_t index) const;
  void clear() { m_Commands.clear(); }

private:
  std::vector<std::unique_ptr<DBsqlCommand>> m_Commands;
};
