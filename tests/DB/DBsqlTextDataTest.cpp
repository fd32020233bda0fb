// The SQL text of each dialect, as step cases of tests/data/DB/sql/*.test.  A case builds one
// command and asks for its text:
//
//   select | union [all] | insert T | update T | delete T | drop T | create T   a new command
//   member             (union) a new member select, entered
//   from               (insert) the select that gives the rows, entered
//   distinct | table NAME [ALIAS] | column NAME [ALIAS] [cast] | groupby NAME
//   orderby NAME [desc] [at N]          (the select or union being built)
//   where | having     entered; on (join) entered
//   cond [not] COLUMN OP VALUE...       OP: = <> < <= > >= LIKE ISNULL BETWEEN IN INSELECT
//   and | or | negate | nest [not]      combiners, negating the clause, a nested clause (entered)
//   sub                the sub-select of the last condition, entered
//   join TYPE [LEFT [ALIAS]] | right NAME [ALIAS] | nested TYPE [LEFT] | cascade TYPE [LEFT]
//   set NAME VALUE     (insert, update) a column
//   makeinsert         (update) written as an insert from now on
//   columndef NAME TYPE [length N] [required] [key] [default VALUE] [fk TABLE COLUMN [DEL UPD]]
//   end                leaves what was entered last
//   param NAME VALUE   a setting of the dialect's database
//   sql DIALECT -> [TEXT]      the command's text, between brackets so that its blanks show
//   plain DIALECT -> [TEXT]    the same with every value written in place of a binding
//
// A name in double quotes is written through quoting.  Values: 'text' (\x20 for a blank), 42,
// 42L (64 bits), 1.5, 1.5f, true, false, null, @2024-02-09T07:05:03 (a date), col:NAME (a column).
#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <variant>

#include "COLostream.h"
#include "DBdialects.h"

#include "../support/TSTsteps.h"

namespace {

struct Named {
  COLstring Name;
  bool Quote = false;
};

Named named(const std::string& Word) {
  if (Word.size() >= 2 && Word.front() == '"' && Word.back() == '"') return {Word.substr(1, Word.size() - 2), true};
  return {Word, false};
}

struct Value {
  DBvariant Variant;
  bool IsColumn = false;
  bool Quote = false;
};

Value valueOf(const std::string& Word) {
  if (Word == "null") return {};
  if (Word == "true" || Word == "false") return {DBvariant(Word == "true")};
  if (Word.rfind("col:", 0) == 0) {
    const Named Column = named(Word.substr(4));
    return {DBvariant(Column.Name), true, Column.Quote};
  }
  if (Word.size() >= 2 && Word.front() == '\'' && Word.back() == '\'') return {DBvariant(COLstring(Word.substr(1, Word.size() - 2)))};
  if (Word[0] == '@') {
    int Y, M, D, h, m, s;
    if (std::sscanf(Word.c_str(), "@%d-%d-%dT%d:%d:%d", &Y, &M, &D, &h, &m, &s) != 6) throw COLerror("bad date", 0);
    return {DBvariant(COLdateTime(Y, M, D, h, m, s))};
  }
  if (Word.back() == 'L') return {DBvariant(static_cast<int64_t>(std::stoll(Word)))};
  if (Word.back() == 'f') return {DBvariant(std::stof(Word))};
  if (Word.find('.') != std::string::npos) return {DBvariant(std::stod(Word))};
  return {DBvariant(std::stoi(Word))};
}

DBsqlWhereCondition::eOperator operatorOf(const std::string& Word) {
  static const std::map<std::string, DBsqlWhereCondition::eOperator> Operators{
      {"=", DBsqlWhereCondition::EQUAL},        {"<>", DBsqlWhereCondition::NOT_EQUAL},
      {"<", DBsqlWhereCondition::LESS_THAN},    {"<=", DBsqlWhereCondition::LESS_THAN_OR_EQUAL},
      {">", DBsqlWhereCondition::GREATER_THAN}, {">=", DBsqlWhereCondition::GREATER_THAN_OR_EQUAL},
      {"LIKE", DBsqlWhereCondition::LIKE},      {"ISNULL", DBsqlWhereCondition::IS_NULL},
      {"BETWEEN", DBsqlWhereCondition::BETWEEN}, {"IN", DBsqlWhereCondition::IN},
      {"INSELECT", DBsqlWhereCondition::IN_SELECT}};
  const auto Found = Operators.find(Word);
  // Out-of-range operators reach the generator's own refusal.
  return Found != Operators.end() ? Found->second : static_cast<DBsqlWhereCondition::eOperator>(std::stoi(Word));
}

DBsqlSelectJoin::eJoinType joinTypeOf(const std::string& Word) {
  static const std::map<std::string, DBsqlSelectJoin::eJoinType> Types{{"left", DBsqlSelectJoin::LEFT},
                                                                       {"right", DBsqlSelectJoin::RIGHT},
                                                                       {"full", DBsqlSelectJoin::FULL},
                                                                       {"inner", DBsqlSelectJoin::INNER},
                                                                       {"cross", DBsqlSelectJoin::CROSS}};
  const auto Found = Types.find(Word);
  return Found != Types.end() ? Found->second : static_cast<DBsqlSelectJoin::eJoinType>(std::stoi(Word));
}

DBdataType dataTypeOf(const std::string& Word) {
  static const std::map<std::string, DBdataType> Types{{"string", DB_STRING}, {"text", DB_TEXT},
                                                       {"integer", DB_INTEGER}, {"double", DB_FLOAT},
                                                       {"datetime", DB_DATETIME}, {"none", DB_NULL}};
  const auto Found = Types.find(Word);
  return Found != Types.end() ? Found->second : static_cast<DBdataType>(std::stoi(Word));
}

class SqlText : public TSTstepModel {
  // What the steps are building, innermost last.
  using Scope = std::variant<DBsqlSelect*, DBsqlSelectUnion*, DBsqlWhere*, DBsqlSelectJoin*, DBsqlInsert*,
                             DBsqlDelete*, DBsqlCreateTable*>;

  template <class T>
  T& nearest() {
    for (auto At = Scopes.rbegin(); At != Scopes.rend(); ++At)
      if (T* const* Found = std::get_if<T*>(&*At)) return **Found;
    throw COLerror("no such scope here", 0);
  }

  template <class T>
  T& start(T* Command) {
    Owned.reset(Command);
    Scopes.assign(1, Command);
    return *Command;
  }

  void setJoinTables(DBsqlSelectJoin& Join, size_t At) {
    if (Words.size() <= At) return;
    const Named Table = named(word(At)), Alias = named(Words.size() > At + 1 ? word(At + 1) : "");
    Join.setLeftTable(Table.Name, Alias.Name, Table.Quote, Alias.Quote);
  }

  DBdatabase& dialect(const std::string& Name) {
    auto& Found = Dialects[Name];
    if (!Found) Found = DBmakeTextDialect(Name);
    if (!Found) throw COLerror("no such dialect", 0);
    for (const auto& [Key, Text] : Parameters) Found->setParameter(Key.c_str(), Text.c_str());
    return *Found;
  }

  std::string text(const std::string& Name, bool WithBinding) {
    COLstring Sql;
    COLostream Stream(Sql);
    DBdatabase& Database = dialect(Name);
    if (WithBinding)
      Database.createSqlCommand(*Owned, Stream);
    else
      Database.createSqlCommandWithoutBinding(*Owned, Stream);
    return "[" + Sql.str() + "]";
  }

  void condition() {
    size_t At = 1;
    const bool Negate = word(At) == "not";
    if (Negate) ++At;
    const Named Column = named(word(At));
    DBsqlWhereCondition& Condition = nearest<DBsqlWhere>().addCondition(Column.Name, operatorOf(word(At + 1)));
    Condition.setQuoteLeftOperandColumnName(Column.Quote);
    Condition.setNegateFlag(Negate);
    for (size_t Index = At + 2; Index < Words.size(); ++Index) {
      const Value Right = valueOf(word(Index));
      Condition.addRightOperandValue(Right.Variant);
      Condition.setRightOperandIsColumnFlag(Right.IsColumn);
      Condition.setQuoteRightOperandColumnName(Right.Quote);
    }
    LastCondition = &Condition;
  }

  void columnDefinition() {
    DBsqlCreateTableColumn& Column = nearest<DBsqlCreateTable>().addColumn();
    const Named Name = named(word(1));
    Column.setName(Name.Name, Name.Quote);
    Column.setDataType(dataTypeOf(word(2)));
    for (size_t At = 3; At < Words.size(); ++At) {
      const std::string& Option = word(At);
      if (Option == "length") Column.setLength(index(++At));
      else if (Option == "required") Column.setRequiredFlag(true);
      else if (Option == "key") Column.setPrimaryKeyFlag(true);
      else if (Option == "default") Column.setDefaultValue(valueOf(word(++At)).Variant);
      else if (Option == "fk") {
        const Named Table = named(word(At + 1)), Key = named(word(At + 2));
        auto action = [](const std::string& Word) {
          return Word == "cascade" ? DBsqlCreateTableColumnForeignKey::CASCADE : DBsqlCreateTableColumnForeignKey::RESTRICT;
        };
        const bool Actions = Words.size() > At + 4;
        Column.addForeignKey(Table.Name, Key.Name, Table.Quote, Key.Quote, action(Actions ? word(At + 3) : ""),
                             action(Actions ? word(At + 4) : ""));
        At += Actions ? 4 : 2;
      } else unknown();
    }
  }

  std::string step() override {
    const std::string& Verb = word(0);
    if (Verb == "select") return start(new DBsqlSelect), "";
    if (Verb == "union") return start(new DBsqlSelectUnion).setAllFlag(Words.size() > 1 && word(1) == "all"), "";
    if (Verb == "insert" || Verb == "update") {
      DBsqlInsert& Insert = start<DBsqlInsert>(Verb == "insert" ? new DBsqlInsert : new DBsqlUpdate);
      const Named Table = named(word(1));
      return Insert.setTableName(Table.Name, Table.Quote), "";
    }
    if (Verb == "delete" || Verb == "drop") {
      DBsqlDropTable* Command = Verb == "delete" ? new DBsqlDelete : new DBsqlDropTable;
      const Named Table = named(word(1));
      Command->setTableName(Table.Name, Table.Quote);
      Owned.reset(Command);
      Scopes.clear();
      if (Verb == "delete") Scopes.push_back(static_cast<DBsqlDelete*>(Command));
      return "";
    }
    if (Verb == "create") {
      const Named Table = named(word(1));
      return start(new DBsqlCreateTable).setTableName(Table.Name, Table.Quote), "";
    }
    if (Verb == "member") return Scopes.push_back(&nearest<DBsqlSelectUnion>().addSelectQuery()), "";
    if (Verb == "from") return Scopes.push_back(&nearest<DBsqlInsert>().addSelectQuery()), "";
    if (Verb == "distinct") return nearest<DBsqlSelect>().setDistinctFlag(true), "";
    if (Verb == "table") {
      const Named Table = named(word(1)), Alias = named(Words.size() > 2 ? word(2) : "");
      return nearest<DBsqlSelect>().addTable(Table.Name, Alias.Name, Table.Quote, Alias.Quote), "";
    }
    if (Verb == "column") {
      const bool Cast = Words.back() == "cast";
      const size_t Count = Words.size() - (Cast ? 1 : 0);
      const Named Column = named(word(1)), Alias = named(Count > 2 ? word(2) : "");
      return nearest<DBsqlSelect>().addColumn(Column.Name, Alias.Name, Cast ? DB_STRING : DB_NULL, Column.Quote,
                                              Alias.Quote),
             "";
    }
    if (Verb == "groupby") {
      const Named Column = named(word(1));
      return nearest<DBsqlSelect>().addGroupByColumnName(Column.Name, Column.Quote), "";
    }
    if (Verb == "orderby") {
      const Named Column = named(word(1));
      const bool Descending = Words.size() > 2 && word(2) == "desc";
      if (std::holds_alternative<DBsqlSelectUnion*>(Scopes.back()))
        return nearest<DBsqlSelectUnion>().addOrderByColumn(Column.Name, Descending, Column.Quote), "";
      const size_t Position = Words.size() > 3 && word(Words.size() - 2) == "at" ? index(Words.size() - 1) : size_t(-1);
      return nearest<DBsqlSelect>().addOrderByColumn(Column.Name, Descending, Column.Quote, Position), "";
    }
    if (Verb == "where") {
      for (auto At = Scopes.rbegin(); At != Scopes.rend(); ++At) {
        if (auto* Select = std::get_if<DBsqlSelect*>(&*At)) return Scopes.push_back(&(*Select)->addWhereClause()), "";
        if (auto* Delete = std::get_if<DBsqlDelete*>(&*At)) return Scopes.push_back(&(*Delete)->addWhereClause()), "";
        if (auto* Insert = std::get_if<DBsqlInsert*>(&*At))
          return Scopes.push_back(&dynamic_cast<DBsqlUpdate&>(**Insert).addWhereClause()), "";
      }
      unknown();
    }
    if (Verb == "having") return Scopes.push_back(&nearest<DBsqlSelect>().addHavingClause()), "";
    if (Verb == "on") return Scopes.push_back(&nearest<DBsqlSelectJoin>().addOnExpression()), "";
    if (Verb == "cond") return condition(), "";
    if (Verb == "and") return nearest<DBsqlWhere>().addCombiner(DBsqlWhereItem::AND), "";
    if (Verb == "or") return nearest<DBsqlWhere>().addCombiner(DBsqlWhereItem::OR), "";
    if (Verb == "negate") return nearest<DBsqlWhere>().setNegateFlag(true), "";
    if (Verb == "nest") {
      DBsqlWhere& Nested = nearest<DBsqlWhere>().addItem().setItemAsNestedWhere();
      Nested.setNegateFlag(Words.size() > 1 && word(1) == "not");
      return Scopes.push_back(&Nested), "";
    }
    if (Verb == "sub") {
      if (!LastCondition) unknown();
      return Scopes.push_back(&LastCondition->addRightOperandSelectQuery()), "";
    }
    if (Verb == "join") {
      DBsqlSelectJoin& Join = nearest<DBsqlSelect>().addJoinClause();
      Join.setJoinType(joinTypeOf(word(1)));
      setJoinTables(Join, 2);
      return Scopes.push_back(&Join), "";
    }
    if (Verb == "nested" || Verb == "cascade") {
      DBsqlSelectJoin& Outer = nearest<DBsqlSelectJoin>();
      DBsqlSelectJoin& Join = Verb == "nested" ? Outer.addNestedJoin() : Outer.addCascadedJoin();
      Join.setJoinType(joinTypeOf(word(1)));
      setJoinTables(Join, 2);
      return Scopes.push_back(&Join), "";
    }
    if (Verb == "right") {
      const Named Table = named(word(1)), Alias = named(Words.size() > 2 ? word(2) : "");
      return nearest<DBsqlSelectJoin>().setRightTable(Table.Name, Alias.Name, Table.Quote, Alias.Quote), "";
    }
    if (Verb == "set") {
      const Named Column = named(word(1));
      const Value Right = valueOf(word(2));
      return nearest<DBsqlInsert>().addColumn(Column.Name, Right.Variant, Right.IsColumn, Column.Quote), "";
    }
    if (Verb == "makeinsert") return dynamic_cast<DBsqlUpdate&>(nearest<DBsqlInsert>()).setMakeIntoInsert(), "";
    if (Verb == "columndef") return columnDefinition(), "";
    if (Verb == "end") {
      if (Scopes.size() < 2) unknown();
      return Scopes.pop_back(), "";
    }
    if (Verb == "param") return Parameters.emplace_back(word(1), Words.size() > 2 ? word(2) : ""), "";
    if (Verb == "sql" || Verb == "plain") return text(word(1), Verb == "sql");
    unknown();
  }

  std::unique_ptr<DBsqlCommand> Owned;
  std::vector<Scope> Scopes;
  DBsqlWhereCondition* LastCondition = nullptr;
  std::map<std::string, std::unique_ptr<DBdatabase>> Dialects;
  std::vector<std::pair<std::string, std::string>> Parameters;
};

class DBsqlTextData : public ::testing::TestWithParam<TSTdataCase> {};

TEST_P(DBsqlTextData, Steps) {
  TSTrunSteps(GetParam(), [] { return std::make_unique<SqlText>(); });
}

INSTANTIATE_TEST_SUITE_P(Cases, DBsqlTextData, ::testing::ValuesIn(TSTreadDataArea("DB/sql")), TSTdataParamName);

}  // namespace
