// References by path for bound members: the path from one object to another is kept as
// reflected steps ("ReferenceStepRoot", "ReferenceStepMember", "TREreferenceStepComplexParent")
// with an index or an identity expression per collection, so that it travels with the tree;
// following it turns the steps back into a path text and binds that.
#include <algorithm>
#include <mutex>

#include "COLerror.h"
#include "TREcppMember.h"
#include "TREpath.h"
#include "TREreference.h"

namespace {
struct PathTypes {
  TREtypeComplex* element;
  TREtypeComplex* current;
  TREtypeComplex* root;
  TREtypeComplex* member;
  TREtypeComplex* parent;
  TREtypeComplex* index;
  TREtypeComplex* equal;
  TREtypeComplex* path;
  TREtypeComplex* string;
};

struct MemberDecl {
  const char* name;
  TREtype* type;
};

// Keeps what a file declared first; a type with members of its own is taken as it is.
TREtypeComplex& declare(const char* name, TREtypeComplex& base, std::initializer_list<MemberDecl> members) {
  TREtypeComplex& type = TREtypeComplex::getType(name);
  if (!type.hasBaseType() && type.countOfOwnMember() == 0) type.setBaseType(base);
  if (type.countOfOwnMember() == 0)
    for (const MemberDecl& member : members) type.addMember(member.name, 0, 1, *member.type, false, false);
  for (const MemberDecl& member : members)
    if (!type.getMember(member.name))
      throw COLerror(COLstring("The type ") + name + " was declared before with other members.",
                     COL_ERROR_PRECONDITION);
  return type;
}

const PathTypes& pathTypes() {
  static const PathTypes Types = [] {
    TREregisterReferenceTypes();
    std::lock_guard<COLcriticalSection> guard(TREnamespace::instance().criticalSection());
    TREtypeComplex& step = TREtypeComplex::getType("ReferenceStep");
    TREtypeComplex& expression = TREtypeComplex::getType("ReferenceExpression");
    TREtype& text = TREtypeSimple::getType(TREbaseType::String);
    TREtype& number = TREtypeSimple::getType(TREbaseType::Integer);
    TREtypeComplex& binary = declare("ReferenceExpressionBinaryOperator", expression,
                                     {{"RightHandSide", &expression}, {"LeftHandSide", &expression}});
    return PathTypes{&TREtypeComplex::getType("ReferenceElement"),
                     &declare("TREreferenceStepCurrent", step, {}),
                     &declare("ReferenceStepRoot", step, {}),
                     &declare("ReferenceStepMember", step, {{"Name", &text}}),
                     &declare("TREreferenceStepComplexParent", step, {}),
                     &declare("ReferenceExpressionIndex", expression, {{"Index", &number}}),
                     &declare("ReferenceExpressionEqual", binary, {}),
                     &declare("TREreferenceExpressionPath", expression, {{"Path", &TREtypeComplex::getType("Reference")}}),
                     &declare("TREreferenceExpressionString", expression, {{"String", &text}})};
  }();
  return Types;
}

struct PathStep {
  enum Kind { Root, Current, Parent, Member } kind;
  COLstring name;
  uint32_t position = 0;  // 1-based item of a collection; 0 for none
  COLstring keyMember, keyValue;
};

COLstring memberNameOf(TREinstanceComplex& owner, const TREinstance* slot) {
  for (uint16_t i = 0; i < owner.countOfMember(); ++i)
    if (&owner.member(i) == slot) return owner.type()->member(i).name;
  throw COLerror("The node is no member of its parent in this version.", COL_ERROR_PRECONDITION);
}

// The item's first identity member, when it is a text that a path can quote.
bool identityKey(TREinstanceComplex& item, PathStep& step) {
  COL_PRECONDITION_TEXT(item.hasType(), "pComplexChild->hasType()");
  const TREtypeComplex& type = *item.type();
  if (type.countOfIdentity() == 0) return false;
  uint16_t index = type.identity(0);
  TREinstanceSimple& slot = item.member(index);
  if (slot.complex() || slot.vector()) return false;
  COLstring value = slot.value().toString();
  if (value.str().find('\'') != std::string::npos) return false;
  step.keyMember = type.member(index).name;
  step.keyValue = value;
  return true;
}

// The complex one level up, over a collection, and the step that leads down from it to `node`.
TREinstanceComplex* stepUp(TREinstanceComplex& node, bool named, PathStep& step) {
  TREinstance* slot = node.parent();
  if (!slot || !slot->parent()) return nullptr;
  TREinstance* up = slot->parent();
  step = PathStep{PathStep::Member, {}, 0, {}, {}};
  if (up->classType() != TREinstance::eVector) {
    auto& owner = static_cast<TREinstanceComplex&>(*up);
    step.name = memberNameOf(owner, slot);
    return &owner;
  }
  auto& items = static_cast<TREinstanceVector&>(*up);
  size_t position = 0;
  while (position < items.size() && &items[position] != slot) ++position;
  COL_PRECONDITION_TEXT(position < items.size(), "the item is in its collection in this version");
  TREinstance* itemsSlot = items.parent();
  auto& owner = static_cast<TREinstanceComplex&>(*itemsSlot->parent());
  step.name = memberNameOf(owner, itemsSlot);
  if (!named || !identityKey(node, step)) step.position = uint32_t(position + 1);
  return &owner;
}

std::vector<PathStep> pathSteps(TREinstanceComplex& to, TREinstanceComplex& from, bool relative, bool named) {
  // Every complex above `to`, with the step down to the one below it.
  std::vector<TREinstanceComplex*> above{&to};
  std::vector<PathStep> down;
  for (TREinstanceComplex* node = &to;;) {
    PathStep step;
    TREinstanceComplex* up = stepUp(*node, named, step);
    if (!up) break;
    down.push_back(step);
    above.push_back(node = up);
  }
  std::vector<PathStep> steps;
  size_t common = above.size() - 1;  // the root
  if (relative) {
    TREinstanceComplex* ancestor = &from;
    for (;;) {
      auto found = std::find(above.begin(), above.end(), ancestor);
      if (found != above.end()) {
        common = size_t(found - above.begin());
        break;
      }
      PathStep ignored;
      ancestor = stepUp(*ancestor, false, ignored);
      COL_PRECONDITION_TEXT(ancestor != nullptr, "To.root() == From.root()");
      steps.push_back(PathStep{PathStep::Parent, {}, 0, {}, {}});
    }
  } else {
    COL_PRECONDITION_TEXT(to.root() && to.root() == from.root(), "To.root() == From.root()");
    steps.push_back(PathStep{PathStep::Root, {}, 0, {}, {}});
  }
  for (size_t i = common; i-- > 0;) steps.push_back(down[i]);
  // An object that names itself.
  if (steps.empty()) steps.push_back(PathStep{PathStep::Current, {}, 0, {}, {}});
  return steps;
}

COLstring pathText(const std::vector<PathStep>& steps) {
  COLstring text;
  for (size_t i = 0; i < steps.size(); ++i) {
    const PathStep& step = steps[i];
    if (i) text += "/";
    if (step.kind == PathStep::Parent) text += "..";
    if (step.kind == PathStep::Current) text += ".";
    if (step.kind != PathStep::Member) continue;
    text += step.name;
    if (step.position) text += COLstring("[") + std::to_string(step.position) + "]";
    if (!step.keyMember.empty()) text += COLstring("[") + step.keyMember + "='" + step.keyValue + "']";
  }
  if (steps.size() == 1 && steps[0].kind == PathStep::Root) text = "/";
  return text;
}

TREinstanceComplex& typedChild(TREinstanceComplex& node, const char* member, TREtypeComplex& type) {
  TREinstanceSimple* slot = node.member(member);
  COL_PRECONDITION_TEXT(slot && slot->complex(), "Member.classType() == eComplex");
  TREinstanceComplex& child = *slot->complex();
  if (child.type() != &type) child.setType(type);
  return child;
}

void appendElement(TREinstanceComplex& reference, const PathStep& step) {
  const PathTypes& types = pathTypes();
  TREinstanceComplex& element = *reference.member("Element")->vector()->push_back().complex();
  if (element.type() != types.element) element.setType(*types.element);
  TREtypeComplex* stepType = step.kind == PathStep::Root      ? types.root
                             : step.kind == PathStep::Current ? types.current
                             : step.kind == PathStep::Parent  ? types.parent
                                                              : types.member;
  TREinstanceComplex& stepNode = typedChild(element, "Step", *stepType);
  if (step.kind == PathStep::Member) stepNode.member("Name")->assign(step.name);
  if (step.position) {
    typedChild(element, "Expression", *types.index).member("Index")->assign(int32_t(step.position));
  } else if (!step.keyMember.empty()) {
    TREinstanceComplex& equal = typedChild(element, "Expression", *types.equal);
    TREinstanceComplex& path = typedChild(equal, "LeftHandSide", *types.path);
    TREinstanceComplex& inner = typedChild(path, "Path", TREcppRelationshipReference::type());
    appendElement(inner, PathStep{PathStep::Member, step.keyMember, 0, {}, {}});
    typedChild(equal, "RightHandSide", *types.string).member("String")->assign(step.keyValue);
  }
}

COLstring referenceText(TREinstanceComplex& reference, unsigned depth);

COLstring expressionText(TREinstanceComplex& expression, unsigned depth) {
  const PathTypes& types = pathTypes();
  const TREtypeComplex* type = expression.type();
  auto child = [&](const char* member) -> TREinstanceComplex& { return *expression.member(member)->complex(); };
  if (type == types.index) return COLstring(std::to_string(expression.member("Index")->value().integerValue()));
  if (type == types.string) return COLstring("'") + expression.member("String")->value().toString() + "'";
  if (type == types.path) return referenceText(child("Path"), depth + 1);
  if (type == types.equal)
    return expressionText(child("LeftHandSide"), depth + 1) + "=" + expressionText(child("RightHandSide"), depth + 1);
  throw COLerror(COLstring("A path reference can't hold the expression ") + (type ? type->name() : COLstring("(none)")) +
                     ".",
                 COL_ERROR_PRECONDITION);
}

COLstring referenceText(TREinstanceComplex& reference, unsigned depth) {
  COL_PRECONDITION_TEXT(depth < 16, "Depth < 16");
  const PathTypes& types = pathTypes();
  TREinstanceSimple* elements = reference.member("Element");
  if (!elements || !elements->vector()) return COLstring();
  TREinstanceVector& list = *elements->vector();
  COLstring text;
  for (size_t i = 0; i < list.size(); ++i) {
    TREinstanceComplex& element = list.complexItem(i);
    TREinstanceComplex* step = element.member("Step")->complex();
    const TREtypeComplex* stepType = step ? step->type() : nullptr;
    if (i) text += "/";
    if (stepType == types.parent)
      text += "..";
    else if (stepType == types.current)
      text += ".";
    else if (stepType == types.member)
      text += step->member("Name")->value().toString();
    else if (stepType != types.root)
      throw COLerror(COLstring("A path reference can't hold the step ") +
                         (stepType ? stepType->name() : COLstring("(none)")) + ".",
                     COL_ERROR_PRECONDITION);
    TREinstanceComplex* expression = element.member("Expression")->complex();
    if (expression && expression->type() && expression->type() != &TREtypeComplex::getType("ReferenceExpression"))
      text += COLstring("[") + expressionText(*expression, depth) + "]";
  }
  if (list.size() == 1 && text.empty()) text = "/";
  return text;
}
}  // namespace

COLstring TREcppReferencePathFrom(TREinstanceComplex& to, TREinstanceComplex& from, bool relative, bool named) {
  return pathText(pathSteps(to, from, relative, named));
}

void TREcppReferenceCreatePath(TREinstanceComplex& to, TREinstanceComplex& reference, TREinstanceComplex& from,
                               bool relative, bool named) {
  pathTypes();
  COL_PRECONDITION_TEXT(reference.type() && reference.type()->isDerivedFrom(TREcppRelationshipReference::type()),
                        "Reference.type() == Reference");
  std::vector<PathStep> steps = pathSteps(to, from, relative, named);
  // An equal path is left alone, so that versions that agree keep sharing it.  A reference
  // of another kind (by id) is simply replaced.
  COLstring present;
  try {
    present = referenceText(reference, 0);
  } catch (const COLerror&) {
  }
  if (present == pathText(steps)) return;
  reference.member("Element")->vector()->clear();
  for (const PathStep& step : steps) appendElement(reference, step);
}

TREinstanceComplex* TREcppReferenceBindPath(TREinstanceComplex& reference, TREinstanceComplex& from) {
  COLstring text = referenceText(reference, 0);
  if (text.empty()) return nullptr;
  TREinstance* target = TREpath::fromXPath(text).bind(from);
  return target && target->classType() == TREinstance::eComplex ? static_cast<TREinstanceComplex*>(target) : nullptr;
}
