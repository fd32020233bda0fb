// Private helpers of the model's sources: the one move rule of the grammar lists and the
// separator levels, and the word to the configuration that lists a grammar when its name changes.
#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "COLerror.h"
#include "COLstring.h"
#include "QVMengineConfig.h"

// The texts of the two bound checks of a move, in the words of the list's owner.
struct QVMmoveCheckTexts {
  const char* from = "FromIndex < countOfField()";
  const char* to = "ToIndex <= countOfField()";
};

// Moves element `from` so that it ends at `to` of the list after the removal.  `to` may
// equal the count before the removal, which then means "to the end".
template <class Element>
void QVMmoveElement(std::vector<Element>& list, size_t from, size_t to, const QVMmoveCheckTexts& texts = {}) {
  COL_PRECONDITION_TEXT(from < list.size(), texts.from);
  COL_PRECONDITION_TEXT(to <= list.size(), texts.to);
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
