// Private helpers of the grammar sources: index checks that name their bound in the
// system's own words, the one move rule of all grammar lists, and the road to the script
// host (the real one when it is built, else the model's stand-in).
#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "COLerror.h"

#if __has_include("LANfunction.h") && __has_include("LANengine.h")
#include "LANengine.h"
#include "LANfunction.h"
#elif __has_include("QVMlanguage.h")
#include "QVMlanguage.h"
#else
#include "QVMgrammarScriptStandIn.h"
#endif

// A failed precondition whose text is given rather than taken from the expression, so
// that it reads the same whatever the member is called here.
#define QVM_GRAMMAR_CHECK(expr, text)                                                  \
  do {                                                                                 \
    if (!(expr)) COLfailCheck("Failed precondition: ", text, __FILE__, __LINE__, 0x80000100); \
  } while (0)

// Moves element `from` so that it ends at `to` of the list after the removal.  `to` may
// equal the count before the removal, which then means "to the end".
template <class Element>
void QVMgrammarMoveElement(std::vector<Element>& list, uint32_t from, uint32_t to) {
  QVM_GRAMMAR_CHECK(from < list.size(), "FromIndex < countOfField()");
  QVM_GRAMMAR_CHECK(to <= list.size(), "ToIndex <= countOfField()");
  QVM_GRAMMAR_CHECK(from != to, "FromIndex != ToIndex");
  Element moved = std::move(list[from]);
  list.erase(list.begin() + from);
  size_t target = std::min<size_t>(to, list.size());
  list.insert(list.begin() + target, std::move(moved));
}
