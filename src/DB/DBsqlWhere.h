// The condition tree of WHERE, HAVING and ON: a DBsqlWhere is a list of items, each a
// condition, a combiner (AND, OR) or a nested DBsqlWhere.  Plain values: copying copies the tree.
#pragma once

#include <memory>

#include "COLstring.h"
#include "DBvariant.h"

class DBsqlSelect;
class DBsqlWhere;

class DBsqlWhereCondition {
public:
  enum eOperator {
    EQUAL = 1,
    NOT_EQUAL = 2,
    LESS_THAN = 3,
    LESS_THAN_OR_EQUAL = 4,
    GREATER_THAN = 5,
    GREATER_THAN_OR_EQUAL = 6,
    LIKE = 7,
    IS_NULL = 8,
    BETWEEN = 9,  // exactly two right values
    IN = 10,      // a list of right values, or a sub-select
    IN_SELECT = 11,
  };

  DBsqlWhereCondition();
  DBsqlWhereCondition(const DBsqlWhereCondition& other);
  DBsqlWhereCondition& operator=(const DBsqlWhereCondition& other);
  ~DBsqlWhereCondition();

  bool negateFlag() const;
  void setNegateFlag(bool flag);
  const COLstring& leftOperandColumnName() const;
  void setLeftOperandColumnName(const COLstring& name);
  bool quoteLeftOperandColumnName() const;
  void setQuoteLeftOperandColumnName(bool flag);
  eOperator conditionOperator() const;
  void setConditionOperator(eOperator value);

  void addRightOperandValue(const DBvariant& value);
  const DBvariant& rightOperandValue(size_t index) const;
  size_t countOfRightOperandValue() const;
  // The right value names a column rather than holding a value.
  bool rightOperandIsColumnFlag() const;
  void setRightOperandIsColumnFlag(bool flag);
  bool quoteRightOperandColumnName() const;
  void setQuoteRightOperandColumnName(bool flag);

  DBsqlSelect& addRightOperandSelectQuery();
  const DBsqlSelect& rightOperandselectQuery() const;
  DBsqlSelect& rightOperandselectQuery();
  bool rightOperandselectQueryExists() const;

private:
  struct Private;
  std::unique_ptr<Private> m;
};

class DBsqlWhereItem {
public:
  enum eWhereItemType { CONDITION = 0, COMBINER = 1, NESTED_WHERE = 2 };
  enum eWhereItemCombiner { AND = 0, OR = 1 };

  DBsqlWhereItem();
  DBsqlWhereItem(const DBsqlWhereItem& other);
  DBsqlWhereItem& operator=(const DBsqlWhereItem& other);
  ~DBsqlWhereItem();

  eWhereItemType itemType() const;
  // Each setter drops what the item held before.
  DBsqlWhereCondition& setItemAsCondition();
  void setItemAsCombiner(eWhereItemCombiner combiner);
  DBsqlWhere& setItemAsNestedWhere();

  const DBsqlWhereCondition& condition() const;
  DBsqlWhereCondition& condition();
  eWhereItemCombiner combiner() const;
  const DBsqlWhere& nestedWhere() const;
  DBsqlWhere& nestedWhere();

private:
  struct Private;
  std::unique_ptr<Private> m;
};

class DBsqlWhere {
public:
  DBsqlWhere();
  DBsqlWhere(const DBsqlWhere& other);
  DBsqlWhere& operator=(const DBsqlWhere& other);
  ~DBsqlWhere();

  bool negateFlag() const;
  void setNegateFlag(bool flag);
  // Items are written in their order: a caller places combiners between conditions itself.
  DBsqlWhereItem& addItem();
  const DBsqlWhereItem& item(size_t index) const;
  DBsqlWhereItem& item(size_t index);
  size_t countOfItem() const;

  // Shorthands for the common shapes: a condition item, and a combiner item.
  DBsqlWhereCondition& addCondition(const COLstring& column, DBsqlWhereCondition::eOperator op);
  void addCombiner(DBsqlWhereItem::eWhereItemCombiner combiner) { addItem().setItemAsCombiner(combiner); }

private:
  struct Private;
  std::unique_ptr<Private> m;
};
