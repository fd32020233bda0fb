#include "QVTobject.h"

#include "COLerror.h"
#include "TREreference.h"

namespace {
[[noreturn]] void wrongKind(const TREtypeComplex& type, uint16_t member, const char* what) {
  throw COLerror(COLstring("The member ") + type.member(member).name + " of " + type.name() + " holds " + what + ".",
                 COL_ERROR_PRECONDITION);
}
}  // namespace

bool QVTobject::isA(const char* typeName) const {
  const TREtypeComplex* current = type();
  return current && current->isDerivedFrom(QVTtype(typeName));
}

const TREvariant& QVTobject::value(uint16_t member) const {
  const TREvariant& stored = m_Node->member(member).value();
  return stored.baseType() == TREbaseType::Null ? QVTdefault(*type(), member) : stored;
}

bool QVTobject::isSet(uint16_t member) const {
  return m_Node->member(member).value().baseType() != TREbaseType::Null;
}

COLstring QVTobject::text(uint16_t member) const {
  const TREvariant& stored = value(member);
  if (stored.baseType() == TREbaseType::String) return stored.string();
  if (stored.complex() || stored.vector()) wrongKind(*type(), member, "an object where a text belongs");
  return stored.toString();
}

int64_t QVTobject::number(uint16_t member) const {
  const TREvariant& stored = value(member);
  int64_t result = 0;
  if (stored.getNumericValue(result)) return result;
  if (stored.baseType() == TREbaseType::Boolean) return stored.boolean();
  if (stored.baseType() == TREbaseType::Null) return 0;
  wrongKind(*type(), member, (COLstring("a ") + stored.typeName() + " where a number belongs").c_str());
}

QVTobject QVTobject::child(uint16_t member) const {
  TREinstanceComplex* complex = m_Node->member(member).complex();
  if (!complex) wrongKind(*type(), member, "no object");
  return QVTobject(complex);
}

TREinstanceVector& QVTobject::list(uint16_t member) const {
  TREinstanceVector* vector = m_Node->member(member).vector();
  if (!vector) wrongKind(*type(), member, "no list");
  return *vector;
}

size_t QVTobject::count(uint16_t member) const { return list(member).size(); }

QVTobject QVTobject::item(uint16_t member, size_t index) const {
  TREinstanceComplex* complex = list(member)[index].complex();
  if (!complex) wrongKind(*type(), member, "items that are no objects");
  return QVTobject(complex);
}

QVTobject QVTobject::target(uint16_t member) const {
  // Found once: a large definition binds tens of thousands of references.
  static const TREtypeComplex& Reference = QVTtype("Reference");
  QVTobject reference = child(member);
  const TREtypeComplex* type = reference.type();
  if (!type || !type->isDerivedFrom(Reference)) return QVTobject();
  return QVTobject(TREreferenceBind(reference.node()));
}

void QVTobject::setText(uint16_t member, const COLstring& value) const { m_Node->member(member).assign(value); }

void QVTobject::setNumber(uint16_t member, int64_t value) const {
  const TREtype& declared = type()->member(member).type();
  TREbaseType base = declared.classType() == TREtype::eSimple ? static_cast<const TREtypeSimple&>(declared).baseType()
                                                               : TREbaseType::Null;
  switch (base) {
    case TREbaseType::Boolean: m_Node->member(member).assign(value != 0); break;
    case TREbaseType::TinyInteger: m_Node->member(member).assign(int8_t(value)); break;
    case TREbaseType::SmallInteger: m_Node->member(member).assign(int16_t(value)); break;
    case TREbaseType::Integer: m_Node->member(member).assign(int32_t(value)); break;
    case TREbaseType::LargeInteger: m_Node->member(member).assign(int64_t(value)); break;
    default: wrongKind(*type(), member, "no number");
  }
}

void QVTobject::setTarget(uint16_t member, QVTobject target) const {
  TREreferenceSetById(child(member).node(), target ? &target.node() : nullptr);
}

QVTobject QVTobject::itemOfType(uint16_t member, size_t index, const char* typeName) const {
  TREinstanceVector& items = list(member);
  TREtypeComplex& wanted = QVTtype(typeName);
  if (index < items.size()) {
    QVTobject present(items[index].complex());
    if (present && present.type() == &wanted) return present;
    items.remove(index);
  }
  TREinstanceComplex& made = *items.insert(index).complex();
  made.setType(wanted);
  return QVTobject(&made);
}
