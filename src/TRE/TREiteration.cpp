#include "TREiteration.h"

namespace {
// The walks hand over what a slot holds (TREinstance::toInstance), never a holding slot, so
// the class number tells the three kinds apart.
enum class Node { Simple, Complex, Vector };
Node kindOf(TREinstance& instance) {
  if (instance.classType() == TREinstance::eSimple) return Node::Simple;
  return instance.classType() == TREinstance::eComplex ? Node::Complex : Node::Vector;
}

bool valueIsEmpty(const TREvariant& value) {
  return value.baseType() == TREbaseType::Null || value.isDefault();
}

bool slotIsEmpty(TREinstanceSimple& slot) {
  if (slot.complex() || slot.vector()) return TREisEmpty(TREinstance::toInstance(slot));
  if (!valueIsEmpty(slot.defaultValue())) return false;
  for (uint16_t i = 0; i < slot.countOfValue(); ++i)
    if (!valueIsEmpty(slot.value(i))) return false;
  return true;
}
}  // namespace

bool TREisEmpty(TREinstance& instance) {
  switch (instance.classType()) {
    case TREinstance::eComplex: {
      auto& complex = static_cast<TREinstanceComplex&>(instance);
      if (complex.objectId()) return false;
      for (uint16_t i = 0; i < complex.defaultCountOfMember(); ++i)
        if (!slotIsEmpty(complex.defaultChild(i))) return false;
      return true;
    }
    case TREinstance::eVector: {
      auto& vector = static_cast<TREinstanceVector&>(instance);
      for (uint16_t i = 0; i < vector.defaultSize(); ++i)
        if (!slotIsEmpty(vector.defaultChild(i))) return false;
      return true;
    }
    default: return slotIsEmpty(static_cast<TREinstanceSimple&>(instance));
  }
}

bool TREinstanceTask::apply(TREinstance& instance, const TREinstanceIterationParameters& p) {
  switch (kindOf(instance)) {
    case Node::Complex: return applyComplex(static_cast<TREinstanceComplex&>(instance), p);
    case Node::Vector: return applyVector(static_cast<TREinstanceVector&>(instance), p);
    default: return applySimple(static_cast<TREinstanceSimple&>(instance), p);
  }
}

bool TREinstanceTask::applyEnd(TREinstance& instance, const TREinstanceIterationParameters& p) {
  switch (kindOf(instance)) {
    case Node::Complex: return applyComplexEnd(static_cast<TREinstanceComplex&>(instance), p);
    case Node::Vector: return applyVectorEnd(static_cast<TREinstanceVector&>(instance), p);
    default: return true;
  }
}

bool TREinstanceIteration::iterate(TREinstance& instance, TREinstanceTask& task,
                                   const TREinstanceIterationParameters* parameters) {
  m_Abort = false;
  TREinstanceIterationParameters start;
  if (parameters) start = *parameters;
  start.iteration = this;
  return walk(instance, task, start);
}

bool TREinstanceIterationDepthFirst::walk(TREinstance& instance, TREinstanceTask& task,
                                          const TREinstanceIterationParameters& p) {
  if (m_Abort || !task.apply(instance, p)) return false;
  if (instance.classType() == TREinstance::eComplex) {
    auto& complex = static_cast<TREinstanceComplex&>(instance);
    TREinstanceComplexIterator members(complex);
    while (members.iterateNext()) {
      TREinstanceIterationParameters child{members.index(), &members.key(), this, &p};
      if (!walkSlot(members.value(), task, child)) return false;
    }
  } else if (instance.classType() == TREinstance::eVector) {
    auto& vector = static_cast<TREinstanceVector&>(instance);
    for (size_t i = 0; i < vector.size(); ++i) {
      TREinstanceIterationParameters child{ptrdiff_t(i), nullptr, this, &p};
      if (!walkSlot(vector[i], task, child)) return false;
    }
  }
  return !m_Abort && task.applyEnd(instance, p);
}

bool TREinstanceIterationDepthFirstDefault::walk(TREinstance& instance, TREinstanceTask& task,
                                                 const TREinstanceIterationParameters& p) {
  if (m_Abort) return false;
  if (!m_IncludeEmpty && TREisEmpty(instance)) return true;
  if (!task.apply(instance, p)) return false;
  if (instance.classType() == TREinstance::eComplex) {
    auto& complex = static_cast<TREinstanceComplex&>(instance);
    if (complex.countOfType() == 0) {
      const TREtypeComplex* type = complex.type();
      for (uint16_t i = 0; i < complex.defaultCountOfMember(); ++i) {
        const COLstring* name = type && i < type->countOfMember() ? &type->member(i).name : nullptr;
        TREinstanceIterationParameters child{i, name, this, &p};
        if (!walkSlot(complex.defaultChild(i), task, child)) return false;
      }
    } else {
      for (uint16_t t = 0; t < complex.countOfType(); ++t) {
        const TREtypeComplex& type = complex.type(t);
        for (uint16_t own = 0; own < type.countOfOwnMember(); ++own) {
          uint16_t index = uint16_t(type.countOfBaseMember() + own);
          TREinstanceIterationParameters child{index, &type.ownMember(own).name, this, &p};
          if (!walkSlot(complex.defaultChild(complex.valueIndexFromTypeIndex(t, own)), task, child)) return false;
        }
      }
    }
  } else if (instance.classType() == TREinstance::eVector) {
    auto& vector = static_cast<TREinstanceVector&>(instance);
    for (uint16_t i = 0; i < vector.defaultSize(); ++i) {
      TREinstanceIterationParameters child{i, nullptr, this, &p};
      if (!walkSlot(vector.defaultChild(i), task, child)) return false;
    }
  }
  return !m_Abort && task.applyEnd(instance, p);
}
