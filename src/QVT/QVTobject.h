// QVTobject: a handle on one complex instance of the reflected definition, with reads that
// give the schema's default for a member a file left unset, and writes that leave a value
// alone when it is already equal, so that configurations that agree keep sharing it.
#pragma once

#include <cstdint>

#include "QVTschema.h"

class QVTobject {
public:
  explicit QVTobject(TREinstanceComplex* node = nullptr) : m_Node(node) {}
  explicit operator bool() const { return m_Node != nullptr; }
  TREinstanceComplex& node() const { return *m_Node; }
  const TREtypeComplex* type() const { return m_Node->type(); }
  bool isA(const char* typeName) const;

  // True when the current configuration holds a value of its own or a file gave one.
  bool isSet(uint16_t member) const;
  COLstring text(uint16_t member) const;
  int64_t number(uint16_t member) const;
  bool flag(uint16_t member) const { return number(member) != 0; }
  QVTobject child(uint16_t member) const;
  size_t count(uint16_t member) const;
  QVTobject item(uint16_t member, size_t index) const;
  TREinstanceVector& list(uint16_t member) const;
  // The object a reference member names, or an empty handle.
  QVTobject target(uint16_t member) const;

  void setText(uint16_t member, const COLstring& value) const;
  void setNumber(uint16_t member, int64_t value) const;
  void setFlag(uint16_t member, bool value) const { setNumber(member, value); }
  void setTarget(uint16_t member, QVTobject target) const;
  // The item at `index` of a list, of `typeName`: a present item of another type is
  // replaced in the current configuration, so that others keep theirs.
  QVTobject itemOfType(uint16_t member, size_t index, const char* typeName) const;

private:
  const TREvariant& value(uint16_t member) const;

  TREinstanceComplex* m_Node;
};
