// TREpath: the path language of references ("/a/b", "list[2]", "list[Name='x']", "../c",
// "name#", "$v"), parsed into steps with optional expressions, printed back, and bound to the
// instances of a tree.  A parsed path is a plain value; the id references that a file stores
// are TREreference's.
#pragma once

#include <memory>
#include <unordered_map>
#include <vector>

#include "TREinstance.h"

// Instances known by name to the expressions of one binding ("$name").
using TREvariableTable = std::unordered_map<COLstring, TREinstance*>;

struct TREpathExpression;

class TREpath {
public:
  enum StepKind { Root, Current, ComplexParent, Member, Global, Variable, ById, ExpressionOnly };
  struct Step {
    StepKind kind;
    COLstring name;     // member, global or variable name; the type name of ById
    uint32_t id = 0;    // ById
    std::shared_ptr<const TREpathExpression> expression;
  };

  // Raises on a malformed expression, with the texts below.
  static TREpath fromXPath(const COLstring& text);
  COLstring toXPath() const;
  // The instance the path leads to from `from`, or null when a step finds nothing.
  TREinstance* bind(TREinstance& from, const TREvariableTable* variables = nullptr) const;

  const std::vector<Step>& steps() const { return m_Steps; }
  void append(Step step) { m_Steps.push_back(std::move(step)); }

  // A global name that "name#" finds, for the life of the process or until removed.
  static void addGlobalReference(const COLstring& name, TREinstance* instance);
  static void removeGlobalReference(const COLstring& name);
  static bool hasGlobalReference(const COLstring& name);

private:
  std::vector<Step> m_Steps;
};

// The parent that a person sees: a complex or a collection, never the slot that holds it.
TREinstance* TREpathParent(TREinstance& instance);
