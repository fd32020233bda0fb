// TREtype: the named types of the reflection layer (simple types over a base type, complex
// types with single inheritance and named members) and TREnamespace, the process-wide
// registry that holds them under one recursive lock.  Knows nothing of instances or files.
#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include "COLcriticalSection.h"
#include "COLstring.h"
#include "TREvariant.h"

class TREcppClass;
class TREtypeComplex;

class TREtype {
public:
  enum EClassType : uint8_t { eSimple = 0, eComplex = 8 };

  virtual ~TREtype() = default;
  virtual bool isCascadeLock() const { return false; }
  virtual const COLstring& name() const = 0;
  virtual EClassType classType() const = 0;

  // Raises 0x80000500 for a name nobody registered; getType_ gives null instead.
  static TREtype& getType(const COLstring& name);
  static TREtype* getType_(const COLstring& name);
};

class TREtypeSimple : public TREtype {
public:
  explicit TREtypeSimple(TREbaseType base) : m_Base(base), m_Name(TREvariant::typeName(base)) {}
  const COLstring& name() const override { return m_Name; }
  EClassType classType() const override { return eSimple; }
  TREbaseType baseType() const { return m_Base; }
  static TREtypeSimple& getType(TREbaseType base);

private:
  TREbaseType m_Base;
  COLstring m_Name;
};

struct TREtypeComplexMember {
  COLstring name;
  uint32_t minOccurs = 0;
  uint32_t maxOccurs = 1;
  COLstring typeName;
  bool identity = false;
  bool global = false;
  // The member type, found by name on first use.
  TREtype& type() const;
  bool isCollection() const { return maxOccurs >= 2; }

private:
  mutable TREtype* m_Type = nullptr;
};

using TREcreateCppClassFunction = TREcppClass* (*)();

class TREtypeComplex : public TREtype {
public:
  static constexpr uint16_t npos = 0xFFFF;

  explicit TREtypeComplex(const COLstring& name) : m_Name(name) {}
  const COLstring& name() const override { return m_Name; }
  const COLstring& stringName() const { return m_Name; }
  EClassType classType() const override { return eComplex; }
  bool isCascadeLock() const override { return m_CascadeLock; }
  void setCascadeLock(bool value) { m_CascadeLock = value; }
  const COLstring& description() const { return m_Description; }
  void setDescription(const COLstring& text) { m_Description = text; }

  // Finds or makes the complex type of that name; a given create function replaces the
  // stored one.  A name held by a simple type is refused.
  static TREtypeComplex& getType(const COLstring& name, TREcreateCppClassFunction create = nullptr,
                                 const char* description = nullptr);

  void addMember(const COLstring& name, uint32_t minOccurs, uint32_t maxOccurs, const TREtype& type, bool identity,
                 bool global);
  uint16_t countOfMember() const { return m_CountOfMember; }
  uint16_t countOfOwnMember() const { return uint16_t(m_Members.size()); }
  uint16_t countOfBaseMember() const { return m_CountOfBaseMember; }
  // A member by its index in the whole type (base members first).
  const TREtypeComplexMember& member(uint16_t index) const;
  const TREtypeComplexMember& ownMember(uint16_t index) const { return m_Members[index]; }
  // npos when neither this type nor a base has the name.
  uint16_t memberIndex(const COLstring& name) const;
  const TREtypeComplexMember* getMember(const COLstring& name) const;
  size_t countOfIdentity() const { return m_Identity.size(); }
  uint16_t identity(size_t i) const { return m_Identity[i]; }

  TREtypeComplex* baseType() const { return m_Base; }
  bool hasBaseType() const { return m_Base != nullptr; }
  // Only the first call counts.
  void setBaseType(TREtypeComplex& base);
  bool isDerivedFrom(const TREtypeComplex& type) const;
  size_t countOfDerivedType() const { return m_Derived.size(); }
  TREtypeComplex& derivedType(size_t i) const { return *m_Derived[i]; }

  bool hasCreateCppClass() const { return m_Create != nullptr; }
  TREcppClass* createCppClass() const;
  void setCreateCppClassFunction(TREcreateCppClassFunction create) { m_Create = create; }

private:
  COLstring m_Name;
  COLstring m_Description;
  bool m_CascadeLock = false;
  std::vector<TREtypeComplexMember> m_Members;
  TREtypeComplex* m_Base = nullptr;
  uint16_t m_CountOfBaseMember = 0;
  uint16_t m_CountOfMember = 0;
  std::unordered_map<COLstring, uint16_t> m_MemberMap;
  std::vector<uint16_t> m_Identity;
  std::vector<TREtypeComplex*> m_Derived;
  TREcreateCppClassFunction m_Create = nullptr;
};

// The registry.  Types live until shutdown(); every operation takes the one lock, which a
// file load holds for its whole length.
class TREnamespace {
public:
  static TREnamespace& instance();
  static void shutdown();

  COLcriticalSection& criticalSection() { return m_Lock; }
  TREtype* findType(const COLstring& name);
  bool hasType(const COLstring& name) { return findType(name) != nullptr; }
  TREtype& getType(const COLstring& name);
  TREtypeComplex& getComplexType(const COLstring& name, TREcreateCppClassFunction create, const char* description);
  TREtypeSimple& getSimpleType(TREbaseType base);
  size_t countOfComplexType() const { return m_Complex.size(); }
  TREtypeComplex& complexType(size_t i) const { return *m_Complex[i]; }

private:
  TREnamespace();
  void initAllSimpleTypes();

  COLcriticalSection m_Lock;
  std::unordered_map<COLstring, TREtype*> m_Names;
  std::unique_ptr<TREtypeSimple> m_Simple[TREcountOfBaseType];
  std::vector<std::unique_ptr<TREtypeComplex>> m_Complex;
};
