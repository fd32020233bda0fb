#include "TREreference.h"

#include <mutex>

#include "COLerror.h"

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
  });
}

void TREreferenceSetById(TREinstanceComplex& reference, TREinstanceComplex* target) {
  TREregisterReferenceTypes();
  COL_PRECONDITION_TEXT(reference.type() == &TREtypeComplex::getType("Reference"), "Reference.type() == Reference");
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
  step.setType(TREtypeComplex::getType("ReferenceStepId"));
  step.member(TREreferenceStepIdMember::TypeName).assign(typeName);
  step.member(TREreferenceStepIdMember::ObjectId).assign(int32_t(id));
}

TREinstanceComplex* TREreferenceBind(TREinstanceComplex& reference) {
  TREregisterReferenceTypes();
  if (!reference.hasType() || !reference.root()) return nullptr;
  TREinstanceSimple* elementsSlot = reference.member("Element");
  if (!elementsSlot || !elementsSlot->vector()) return nullptr;
  TREinstanceVector& elements = *elementsSlot->vector();
  if (elements.size() != 1 || !elements[0].complex()) return nullptr;
  TREinstanceSimple* stepSlot = elements.complexItem(0).member("Step");
  TREinstanceComplex* step = stepSlot ? stepSlot->complex() : nullptr;
  if (!step || step->type() != &TREtypeComplex::getType("ReferenceStepId")) return nullptr;
  const TREvariant& typeName = step->member(TREreferenceStepIdMember::TypeName).value();
  const TREvariant& id = step->member(TREreferenceStepIdMember::ObjectId).value();
  if (typeName.baseType() != TREbaseType::String || id.baseType() != TREbaseType::Integer) return nullptr;
  return reference.root()->instanceGlobal(typeName.string(), uint32_t(id.integerValue()));
}
