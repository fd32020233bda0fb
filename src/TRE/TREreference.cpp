#include "TREreference.h"

#include <mutex>

#include "COLerror.h"

namespace {
// The reference types, found once: binding runs for every reference of a large definition,
// and a lookup by name under the registry's lock each time would cost more than the bind.
struct ReferenceTypes {
  TREtypeComplex* reference = nullptr;
  TREtypeComplex* element = nullptr;
  TREtypeComplex* stepId = nullptr;
};
ReferenceTypes Types;
}  // namespace

void TREregisterReferenceTypes() {
  static std::once_flag once;
  std::call_once(once, [] {
    std::lock_guard<COLcriticalSection> guard(TREnamespace::instance().criticalSection());
    TREtypeComplex& step = TREtypeComplex::getType("ReferenceStep");
    TREtypeComplex& expression = TREtypeComplex::getType("ReferenceExpression");
    TREtypeComplex& element = TREtypeComplex::getType("ReferenceElement");
    if (element.countOfMember() == 0) {
      element.addMember("Step", 0, 1, step, false, false);
      element.addMember("Expression", 0, 1, expression, false, false);
    }
    TREtypeComplex& reference = TREtypeComplex::getType("Reference");
    if (reference.countOfMember() == 0) reference.addMember("Element", 0, 0xFFFFFFFF, element, false, false);
    TREtypeComplex& byId = TREtypeComplex::getType("ReferenceStepId");
    if (!byId.hasBaseType() && byId.countOfOwnMember() == 0) byId.setBaseType(step);
    if (byId.countOfOwnMember() == 0) {
      byId.addMember("TypeName", 0, 1, TREtypeSimple::getType(TREbaseType::String), false, false);
      byId.addMember("ObjectId", 0, 1, TREtypeSimple::getType(TREbaseType::Integer), false, false);
    }
    if (byId.baseType() != &step || byId.memberIndex("TypeName") != TREreferenceStepIdMember::TypeName ||
        byId.memberIndex("ObjectId") != TREreferenceStepIdMember::ObjectId ||
        reference.memberIndex("Element") != TREreferenceMember::Element ||
        element.memberIndex("Step") != TREreferenceElementMember::Step)
      throw COLerror("The reference types were declared differently before.", COL_ERROR_PRECONDITION);
    Types = ReferenceTypes{&reference, &element, &byId};
  });
}

void TREreferenceSetById(TREinstanceComplex& reference, TREinstanceComplex* target) {
  TREregisterReferenceTypes();
  COL_PRECONDITION_TEXT(reference.type() == Types.reference, "Reference.type() == Reference");
  TREinstanceVector& elements = reference.vectorMember(TREreferenceMember::Element);
  if (!target) {
    elements.clear();
    return;
  }
  COL_PRECONDITION_TEXT(target->classType() == TREinstance::eComplex, "To.classType() == eComplex");
  uint32_t id = target->ensureHasObjectId();
  const COLstring& typeName = target->type()->name();
  // An equal reference is left alone, so that configurations that agree keep sharing it.
  if (TREreferenceBind(reference) == target) return;
  elements.resize(1);
  TREinstanceSimple& stepSlot = elements.complexItem(0).member(TREreferenceElementMember::Step);
  TREinstanceComplex& step = *stepSlot.complex();
  step.setType(*Types.stepId);
  step.member(TREreferenceStepIdMember::TypeName).assign(typeName);
  step.member(TREreferenceStepIdMember::ObjectId).assign(int32_t(id));
}

TREinstanceComplex* TREreferenceBind(TREinstanceComplex& reference) {
  TREregisterReferenceTypes();
  TREtypeComplex* type = reference.type();
  if (!type || !reference.root()) return nullptr;
  // The declared types by index; a type of another name that has the members by name.
  TREinstanceSimple* elementsSlot =
      type == Types.reference ? &reference.member(TREreferenceMember::Element) : reference.member("Element");
  if (!elementsSlot || !elementsSlot->vector()) return nullptr;
  TREinstanceVector& elements = *elementsSlot->vector();
  if (elements.size() != 1 || !elements[0].complex()) return nullptr;
  TREinstanceComplex& element = elements.complexItem(0);
  TREinstanceSimple* stepSlot = element.type() == Types.element ? &element.member(TREreferenceElementMember::Step)
                                                                : element.member("Step");
  TREinstanceComplex* step = stepSlot ? stepSlot->complex() : nullptr;
  if (!step || step->type() != Types.stepId) return nullptr;
  const TREvariant& typeName = step->member(TREreferenceStepIdMember::TypeName).value();
  const TREvariant& id = step->member(TREreferenceStepIdMember::ObjectId).value();
  if (typeName.baseType() != TREbaseType::String || id.baseType() != TREbaseType::Integer) return nullptr;
  return reference.root()->instanceGlobal(typeName.string(), uint32_t(id.integerValue()));
}
