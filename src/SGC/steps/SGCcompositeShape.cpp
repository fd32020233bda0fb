#include "SGCcompositeShape.h"

bool SGCisFieldLeaf(const QVMcompositeGrammar& composite, unsigned index) {
  return composite.fieldDataType(index) != QVMcompositeType;
}

bool SGCisFieldNmOrStType(const QVMcompositeGrammar& composite) {
  return composite.countOfField() == 1 && SGCisFieldLeaf(composite, 0);
}

bool SGCisFieldNmOrStType(const QVMcompositeGrammar& composite, unsigned index) {
  const QVMcompositeGrammar* Nested = SGCnestedComposite(&composite, index);
  return Nested != nullptr && SGCisFieldNmOrStType(*Nested);
}

const QVMcompositeGrammar* SGCcheckFieldNmOrStType(const QVMcompositeGrammar& composite) {
  // A definition may nest a composite in itself; the walk gives up rather than loop.
  const QVMcompositeGrammar* Current = &composite;
  for (unsigned Depth = 0; Current != nullptr && Depth < 64; ++Depth) {
    if (SGCisFieldNmOrStType(*Current)) return Current;
    if (Current->countOfField() == 0) return nullptr;
    Current = SGCnestedComposite(Current, 0);
  }
  return nullptr;
}

const QVMcompositeGrammar* SGCnestedComposite(const QVMcompositeGrammar* composite, unsigned index) {
  if (composite == nullptr || index >= composite->countOfField()) return nullptr;
  if (composite->fieldDataType(index) != QVMcompositeType) return nullptr;
  return composite->fieldCompositeType(index);
}
