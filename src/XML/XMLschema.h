// XMLschema: a small model of an XML schema (elements, references, sequences, choices,
// simple, enumeration and collection types) that the schema formatters print.  It knows
// nothing of messages; schema generation fills it from a definition.  Nodes and types are
// owned by whatever they are attached to, unless attached as a reference.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "COLstring.h"

// A pointer that deletes its object only when it owns it: an element owns an inline type
// but merely names a shared one.
template <class T>
class XMLschemaPointer {
public:
  XMLschemaPointer() = default;
  XMLschemaPointer(T* object, bool owned) : m_Object(object), m_Owned(owned) {}
  XMLschemaPointer(const XMLschemaPointer&) = delete;
  XMLschemaPointer& operator=(const XMLschemaPointer&) = delete;
  XMLschemaPointer(XMLschemaPointer&& other) noexcept
      : m_Object(std::exchange(other.m_Object, nullptr)), m_Owned(std::exchange(other.m_Owned, false)) {}
  XMLschemaPointer& operator=(XMLschemaPointer&& other) noexcept {
    if (this != &other) {
      release();
      m_Object = std::exchange(other.m_Object, nullptr);
      m_Owned = std::exchange(other.m_Owned, false);
    }
    return *this;
  }
  ~XMLschemaPointer() { release(); }

  T* get() const { return m_Object; }
  T* operator->() const { return m_Object; }
  T& operator*() const { return *m_Object; }
  explicit operator bool() const { return m_Object != nullptr; }
  bool owned() const { return m_Owned; }

private:
  void release() {
    if (m_Owned) delete m_Object;
    m_Object = nullptr;
    m_Owned = false;
  }

  T* m_Object = nullptr;
  bool m_Owned = false;
};

// The name-space settings printed on the root of an XSD; empty ones are left out.
class XMLschemaProperties {
public:
  const COLstring& xmlNamespace() const { return m_XmlNamespace; }
  void setXmlNamespace(const COLstring& value) { m_XmlNamespace = value; }
  const COLstring& targetNamespace() const { return m_TargetNamespace; }
  void setTargetNamespace(const COLstring& value) { m_TargetNamespace = value; }
  const COLstring& elementFormDefault() const { return m_ElementFormDefault; }
  void setElementFormDefault(const COLstring& value) { m_ElementFormDefault = value; }

private:
  COLstring m_XmlNamespace;
  COLstring m_TargetNamespace;
  COLstring m_ElementFormDefault;
};

// --- types

class XMLschemaType {
public:
  enum ETypeKind : unsigned { KindSimple = 0, KindEnumeration = 1, KindCollection = 2 };

  explicit XMLschemaType(const COLstring& name) : m_Name(name) {}
  XMLschemaType(const XMLschemaType&) = delete;
  XMLschemaType& operator=(const XMLschemaType&) = delete;
  virtual ~XMLschemaType() = default;

  virtual unsigned typeKind() const = 0;
  const COLstring& name() const { return m_Name; }

private:
  COLstring m_Name;
};

class XMLschemaSimple : public XMLschemaType {
public:
  enum ESimpleKind : unsigned { SimpleString = 0, SimpleInteger = 1, SimpleDouble = 2, SimpleDateTime = 3 };

  // The shared simple types; elements name them with isTypeReference true.
  static XMLschemaSimple String;
  static XMLschemaSimple Integer;
  static XMLschemaSimple Double;
  static XMLschemaSimple DateTime;

  XMLschemaSimple(const COLstring& name, ESimpleKind kind) : XMLschemaType(name), m_SimpleKind(kind) {}
  unsigned typeKind() const override { return KindSimple; }
  ESimpleKind simpleKind() const { return m_SimpleKind; }

private:
  ESimpleKind m_SimpleKind;
};

class XMLschemaEnumeration : public XMLschemaType {
public:
  explicit XMLschemaEnumeration(const COLstring& name = COLstring()) : XMLschemaType(name) {}
  unsigned typeKind() const override { return KindEnumeration; }

  void addValue(const COLstring& value) { m_Values.push_back(value); }
  // An index beyond the count is a failed precondition.
  const COLstring& valueAt(size_t index) const;
  size_t countOfValues() const { return m_Values.size(); }

private:
  std::vector<COLstring> m_Values;
};

// --- nodes

class XMLschemaChoice;
class XMLschemaElement;
class XMLschemaReference;
class XMLschemaSequence;

class XMLschemaNode {
public:
  enum ENodeType : unsigned { NodeElement = 0, NodeReference = 1, NodeSequence = 2, NodeChoice = 3, NodeWildcard = 4 };
  static constexpr unsigned OccursUnbounded = 0xFFFFFFFF;

  XMLschemaNode() = default;
  XMLschemaNode(const XMLschemaNode&) = delete;
  XMLschemaNode& operator=(const XMLschemaNode&) = delete;
  virtual ~XMLschemaNode() = default;

  virtual unsigned nodeType() const = 0;
  unsigned minOccurs() const { return m_MinOccurs; }
  void setMinOccurs(unsigned value) { m_MinOccurs = value; }
  unsigned maxOccurs() const { return m_MaxOccurs; }
  void setMaxOccurs(unsigned value) { m_MaxOccurs = value; }

private:
  unsigned m_MinOccurs = 1;
  unsigned m_MaxOccurs = 1;
};

class XMLschemaElement : public XMLschemaNode {
public:
  // Owns `type` unless `isTypeReference`: then the type lives in the schema's type list or
  // is one of the static simple types.  A null type is a failed precondition.
  XMLschemaElement(const COLstring& name, XMLschemaType* type, bool isTypeReference);
  unsigned nodeType() const override { return NodeElement; }

  const COLstring& name() const { return m_Name; }
  XMLschemaType& type() const { return *m_Type; }
  bool isTypeReference() const { return !m_Type.owned(); }

private:
  COLstring m_Name;
  XMLschemaPointer<XMLschemaType> m_Type;
};

// Stands for an element declared elsewhere (a global element); it does not own it.
class XMLschemaReference : public XMLschemaNode {
public:
  // A null element is a failed precondition.
  explicit XMLschemaReference(const XMLschemaElement* element);
  unsigned nodeType() const override { return NodeReference; }
  const XMLschemaElement& element() const { return *m_Element; }

private:
  const XMLschemaElement* m_Element;
};

// Any element at all, checked against a global declaration of its name where there is one and
// otherwise let through with whatever it holds: for names that the grammar cannot foretell.
// Only XSD can say it; the other formats leave it out.
class XMLschemaWildcard : public XMLschemaNode {
public:
  unsigned nodeType() const override { return NodeWildcard; }
};

// The nodes of a sequence or a choice, in the order of attaching, all owned.
class XMLschemaModelGroup : public XMLschemaNode {
public:
  // Each takes ownership of a non-null node and gives it back for further filling.
  XMLschemaNode* attachNode(XMLschemaNode* node);
  XMLschemaElement* attachElement(XMLschemaElement* element);
  XMLschemaSequence* attachSequence(XMLschemaSequence* sequence);
  XMLschemaChoice* attachChoice(XMLschemaChoice* choice);
  XMLschemaReference* attachElementReference(XMLschemaReference* reference);
  XMLschemaWildcard* attachWildcard(XMLschemaWildcard* wildcard);

  size_t countOfNodes() const { return m_Nodes.size(); }
  // An index beyond the count is a failed precondition.
  const XMLschemaNode& nodeAt(size_t index) const;
  XMLschemaNode& nodeAt(size_t index);

private:
  std::vector<XMLschemaPointer<XMLschemaNode>> m_Nodes;
};

// Its nodes one after the other.
class XMLschemaSequence : public XMLschemaModelGroup {
public:
  unsigned nodeType() const override { return NodeSequence; }
};

// One of its nodes; repeated, a run of them in any order.
class XMLschemaChoice : public XMLschemaModelGroup {
public:
  unsigned nodeType() const override { return NodeChoice; }
};

class XMLschemaCollectionPrivate;

// A complex type: its content is the main node, a sequence from construction.
class XMLschemaCollection : public XMLschemaType {
public:
  // Without a name the type is inline, printed inside the element that owns it.
  XMLschemaCollection();
  explicit XMLschemaCollection(const COLstring& name);
  ~XMLschemaCollection() override;
  unsigned typeKind() const override { return KindCollection; }

  const XMLschemaNode& mainNode() const;
  XMLschemaNode& mainNode();
  // Replaces the main node and takes ownership of it; null is a failed precondition.
  void setMainNode(XMLschemaNode* node);
  bool hasSequenceMainNode() const { return mainNode().nodeType() == XMLschemaNode::NodeSequence; }

  // These require a sequence as main node (a precondition) and append an owned node to it.
  XMLschemaSequence& mainSequence();
  const XMLschemaSequence& mainSequence() const;
  XMLschemaElement* attachElement(XMLschemaElement* element);
  XMLschemaSequence* attachSequence(XMLschemaSequence* sequence);
  XMLschemaReference* attachElementReference(XMLschemaReference* reference);
  size_t countOfNodes() const;

private:
  std::unique_ptr<XMLschemaCollectionPrivate> pMember;
};

// --- the schema

// Global elements and named types in the order of attaching, both owned.  Lookup by name
// goes through an index, since generation asks for every segment and composite of every
// message.
class XMLschema {
public:
  XMLschema() = default;
  XMLschema(const XMLschema&) = delete;
  XMLschema& operator=(const XMLschema&) = delete;

  // Take ownership of a non-null object and give it back.
  XMLschemaElement* attachElement(XMLschemaElement* element);
  XMLschemaType* attachType(XMLschemaType* type);

  size_t countOfElements() const { return m_Elements.size(); }
  size_t countOfTypes() const { return m_Types.size(); }
  // An index beyond the count is a failed precondition.
  const XMLschemaElement& elementAt(size_t index) const;
  XMLschemaElement& elementAt(size_t index);
  const XMLschemaType& typeAt(size_t index) const;
  XMLschemaType& typeAt(size_t index);

  // The first element (type) of exactly that name, or null.
  XMLschemaElement* findElement(const COLstring& name) const;
  XMLschemaType* findType(const COLstring& name) const;

private:
  std::vector<XMLschemaPointer<XMLschemaElement>> m_Elements;
  std::vector<XMLschemaPointer<XMLschemaType>> m_Types;
  std::unordered_map<std::string, size_t> m_ElementIndex;
  std::unordered_map<std::string, size_t> m_TypeIndex;
};
