// Private helpers of the grammar sources: the one move rule of all grammar lists, and the
// word to the configuration that lists a grammar when its name changes.
#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "COLerror.h"
#include "COLstring.h"
#include "QVMengineConfig.h"

// Moves element `from` so that it ends at `to` of the list after the removal.  `to` may
// equal the count before the removal, which then means "to the end".
template <class Element>
void QVMgrammarMoveElement(std::vector<Element>& list, uint32_t from, uint32_t to) {
  COL_PRECONDITION_TEXT(from < list.size(), "FromIndex < countOfField()");
  COL_PRECONDITION_TEXT(to <= list.size(), "ToIndex <= countOfField()");
  COL_PRECONDITION_TEXT(from != to, "FromIndex != ToIndex");
  Element moved = std::move(list[from]);
  list.erase(list.begin() + from);
  size_t target = std::min<size_t>(to, list.size());
  list.insert(list.begin() + target, std::move(moved));
}

// After `grammar` was renamed or assigned: its configuration's name lookups learn the new name.
template <class Grammar>
void QVMgrammarNameChanged(const Grammar& grammar, const COLstring& oldName) {
  QVMengineConfig* owner = grammar.ownerConfig();
  if (owner && grammar.name() != oldName) owner->noteGrammarRenamed(&grammar, oldName);
}
