// Checked indexing for the database layer's vectors, failing as the foundation's containers do,
// and the copy members of a class that keeps its state in a private block.
#pragma once

#include <memory>

#include "COLerror.h"

template <class Vector>
auto& DBitemAt(Vector& vector, size_t ItemIndex) {
  COL_PRECONDITION_TEXT(ItemIndex < vector.size(), "ItemIndex >= 0 && ItemIndex < this->size()");
  return vector[ItemIndex];
}

// Copying copies the whole private block, so a copied tree shares nothing with the first.
#define DB_PRIVATE_BLOCK_MEMBERS(Class, Base)                                                 \
  Class::Class() : m(std::make_unique<Private>()) {}                                          \
  Class::Class(const Class& other) : Base(other), m(std::make_unique<Private>(*other.m)) {}  \
  Class& Class::operator=(const Class& other) {                                               \
    if (this != &other) {                                                                     \
      Base::operator=(other);                                                                 \
      *m = *other.m;                                                                          \
    }                                                                                         \
    return *this;                                                                             \
  }                                                                                           \
  Class::~Class() = default;
