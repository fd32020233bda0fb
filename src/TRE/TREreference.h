// TREreference: references between objects of one instance tree, stored as reflected data
// (a "Reference" of "ReferenceElement"s, each a step and an optional expression) so that
// they travel with the tree.  A reference by id names the target's type and object id.
#pragma once

#include "TREinstance.h"

// Registers "Reference", "ReferenceElement", "ReferenceStep", "ReferenceStepId" and
// "ReferenceExpression" once per process.
void TREregisterReferenceTypes();

namespace TREreferenceMember {
enum : uint16_t { Element };
}
namespace TREreferenceElementMember {
enum : uint16_t { Step, Expression };
}
namespace TREreferenceStepIdMember {
enum : uint16_t { TypeName, ObjectId };
}

// Makes `slot`, a complex of type "Reference", name `target` by its type and object id; the
// target gets an id if it has none.  A null target empties the reference.
void TREreferenceSetById(TREinstanceComplex& reference, TREinstanceComplex* target);
// The object a reference by id names in the reference's own tree, or null when the reference
// is empty, is not by id, or names no object of the tree.
TREinstanceComplex* TREreferenceBind(TREinstanceComplex& reference);
