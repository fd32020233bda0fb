// The shapes of composite that segment checks and their error texts treat specially: a leaf
// (a sub field that is not itself a composite) and a simple composite (exactly one sub field,
// a leaf), which wraps one primitive value and lends it its length and type rules.
#pragma once

#include "QVMcompositeGrammar.h"

// True if sub field `index` is not a composite.
bool SGCisFieldLeaf(const QVMcompositeGrammar& composite, unsigned index);
// True if the composite has exactly one sub field and that one is a leaf.
bool SGCisFieldNmOrStType(const QVMcompositeGrammar& composite);
// The same asked of the composite nested at `index`; false for a leaf.
bool SGCisFieldNmOrStType(const QVMcompositeGrammar& composite, unsigned index);
// The composite itself if simple, else the simple composite found by following first sub
// fields that are composites; null if there is none.
const QVMcompositeGrammar* SGCcheckFieldNmOrStType(const QVMcompositeGrammar& composite);
// The composite nested at `index`, null for a leaf or an index beyond the composite.
const QVMcompositeGrammar* SGCnestedComposite(const QVMcompositeGrammar* composite, unsigned index);
