#include "DBsqlWhere.h"

#include <optional>
#include <vector>

#include "DBindex.h"
#include "DBsqlCommand.h"

struct DBsqlWhereCondition::Private {
  COLstring LeftOperandColumnName;
  std::vector<DBvariant> RightOperandValues;
  std::optional<DBsqlSelect> RightOperandSelectQuery;
  eOperator ConditionOperator = EQUAL;
  bool NegateFlag = false, QuoteLeftOperandColumnName = false;
  bool RightOperandIsColumnFlag = false, QuoteRightOperandColumnName = false;
};

DBsqlWhereCondition::DBsqlWhereCondition() : m(std::make_unique<Private>()) {}
DBsqlWhereCondition::DBsqlWhereCondition(const DBsqlWhereCondition& other) : m(std::make_unique<Private>(*other.m)) {}
DBsqlWhereCondition& DBsqlWhereCondition::operator=(const DBsqlWhereCondition& other) {
  if (this != &other) *m = *other.m;
  return *this;
}
DBsqlWhereCondition::~DBsqlWhereCondition() = default;

bool DBsqlWhereCondition::negateFlag() const { return m->NegateFlag; }
void DBsqlWhereCondition::setNegateFlag(bool flag) { m->NegateFlag = flag; }
const COLstring& DBsqlWhereCondition::leftOperandColumnName() const { return m->LeftOperandColumnName; }
void DBsqlWhereCondition::setLeftOperandColumnName(const COLstring& name) { m->LeftOperandColumnName = name; }
bool DBsqlWhereCondition::quoteLeftOperandColumnName() const { return m->QuoteLeftOperandColumnName; }
void DBsqlWhereCondition::setQuoteLeftOperandColumnName(bool flag) { m->QuoteLeftOperandColumnName = flag; }
DBsqlWhereCondition::eOperator DBsqlWhereCondition::conditionOperator() const { return m->ConditionOperator; }
void DBsqlWhereCondition::setConditionOperator(eOperator value) { m->ConditionOperator = value; }
void DBsqlWhereCondition::addRightOperandValue(const DBvariant& value) { m->RightOperandValues.push_back(value); }
const DBvariant& DBsqlWhereCondition::rightOperandValue(size_t index) const {
  return DBitemAt(m->RightOperandValues, index);
}
size_t DBsqlWhereCondition::countOfRightOperandValue() const { return m->RightOperandValues.size(); }
bool DBsqlWhereCondition::rightOperandIsColumnFlag() const { return m->RightOperandIsColumnFlag; }
void DBsqlWhereCondition::setRightOperandIsColumnFlag(bool flag) { m->RightOperandIsColumnFlag = flag; }
bool DBsqlWhereCondition::quoteRightOperandColumnName() const { return m->QuoteRightOperandColumnName; }
void DBsqlWhereCondition::setQuoteRightOperandColumnName(bool flag) { m->QuoteRightOperandColumnName = flag; }

DBsqlSelect& DBsqlWhereCondition::addRightOperandSelectQuery() {
  COL_PRECONDITION(!rightOperandselectQueryExists());
  return m->RightOperandSelectQuery.emplace();
}
const DBsqlSelect& DBsqlWhereCondition::rightOperandselectQuery() const {
  COL_PRECONDITION(rightOperandselectQueryExists());
  return *m->RightOperandSelectQuery;
}
DBsqlSelect& DBsqlWhereCondition::rightOperandselectQuery() {
  COL_PRECONDITION(rightOperandselectQueryExists());
  return *m->RightOperandSelectQuery;
}
bool DBsqlWhereCondition::rightOperandselectQueryExists() const { return m->RightOperandSelectQuery.has_value(); }

struct DBsqlWhereItem::Private {
  eWhereItemType ItemType = CONDITION;
  eWhereItemCombiner Combiner = AND;
  std::optional<DBsqlWhereCondition> Condition;
  std::optional<DBsqlWhere> NestedWhere;
};

DBsqlWhereItem::DBsqlWhereItem() : m(std::make_unique<Private>()) { m->Condition.emplace(); }
DBsqlWhereItem::DBsqlWhereItem(const DBsqlWhereItem& other) : m(std::make_unique<Private>(*other.m)) {}
DBsqlWhereItem& DBsqlWhereItem::operator=(const DBsqlWhereItem& other) {
  if (this != &other) *m = *other.m;
  return *this;
}
DBsqlWhereItem::~DBsqlWhereItem() = default;

DBsqlWhereItem::eWhereItemType DBsqlWhereItem::itemType() const { return m->ItemType; }

DBsqlWhereCondition& DBsqlWhereItem::setItemAsCondition() {
  m->NestedWhere.reset();
  m->ItemType = CONDITION;
  return m->Condition.emplace();
}

void DBsqlWhereItem::setItemAsCombiner(eWhereItemCombiner combiner) {
  m->NestedWhere.reset();
  m->Condition.reset();
  m->ItemType = COMBINER;
  m->Combiner = combiner;
}

DBsqlWhere& DBsqlWhereItem::setItemAsNestedWhere() {
  m->Condition.reset();
  m->ItemType = NESTED_WHERE;
  return m->NestedWhere.emplace();
}

const DBsqlWhereCondition& DBsqlWhereItem::condition() const {
  COL_PRECONDITION(m->Condition.has_value());
  return *m->Condition;
}
DBsqlWhereCondition& DBsqlWhereItem::condition() {
  COL_PRECONDITION(m->Condition.has_value());
  return *m->Condition;
}
DBsqlWhereItem::eWhereItemCombiner DBsqlWhereItem::combiner() const {
  COL_PRECONDITION(m->ItemType == COMBINER);
  return m->Combiner;
}
const DBsqlWhere& DBsqlWhereItem::nestedWhere() const {
  COL_PRECONDITION(m->NestedWhere.has_value());
  return *m->NestedWhere;
}
DBsqlWhere& DBsqlWhereItem::nestedWhere() {
  COL_PRECONDITION(m->NestedWhere.has_value());
  return *m->NestedWhere;
}

struct DBsqlWhere::Private {
  std::vector<DBsqlWhereItem> Items;
  bool NegateFlag = false;
};

DBsqlWhere::DBsqlWhere() : m(std::make_unique<Private>()) {}
DBsqlWhere::DBsqlWhere(const DBsqlWhere& other) : m(std::make_unique<Private>(*other.m)) {}
DBsqlWhere& DBsqlWhere::operator=(const DBsqlWhere& other) {
  if (this != &other) *m = *other.m;
  return *this;
}
DBsqlWhere::~DBsqlWhere() = default;

bool DBsqlWhere::negateFlag() const { return m->NegateFlag; }
void DBsqlWhere::setNegateFlag(bool flag) { m->NegateFlag = flag; }
DBsqlWhereItem& DBsqlWhere::addItem() { return m->Items.emplace_back(); }
const DBsqlWhereItem& DBsqlWhere::item(size_t index) const { return DBitemAt(m->Items, index); }
DBsqlWhereItem& DBsqlWhere::item(size_t index) { return DBitemAt(m->Items, index); }
size_t DBsqlWhere::countOfItem() const { return m->Items.size(); }

DBsqlWhereCondition& DBsqlWhere::addCondition(const COLstring& column, DBsqlWhereCondition::eOperator op) {
  DBsqlWhereCondition& condition = addItem().setItemAsCondition();
  condition.setLeftOperandColumnName(column);
  condition.setConditionOperator(op);
  return condition;
}
