#include "XMLschema.h"

#include "COLerror.h"

XMLschemaSimple XMLschemaSimple::String("string", XMLschemaSimple::SimpleString);
XMLschemaSimple XMLschemaSimple::Integer("integer", XMLschemaSimple::SimpleInteger);
XMLschemaSimple XMLschemaSimple::Double("double", XMLschemaSimple::SimpleDouble);
XMLschemaSimple XMLschemaSimple::DateTime("dateTime", XMLschemaSimple::SimpleDateTime);

const COLstring& XMLschemaEnumeration::valueAt(size_t index) const {
  COL_PRECONDITION(index < m_Values.size());
  return m_Values[index];
}

// --- nodes

XMLschemaElement::XMLschemaElement(const COLstring& name, XMLschemaType* type, bool isTypeReference)
    : m_Name(name), m_Type(type, !isTypeReference) {
  COL_PRECONDITION(type != nullptr);
}

XMLschemaReference::XMLschemaReference(const XMLschemaElement* element) : m_Element(element) {
  COL_PRECONDITION(element != nullptr);
}

XMLschemaNode* XMLschemaModelGroup::attachNode(XMLschemaNode* node) {
  COL_PRECONDITION(node != nullptr);
  // Owned before the push, so a failed allocation does not leak the node.
  XMLschemaPointer<XMLschemaNode> Owner(node, true);
  m_Nodes.push_back(std::move(Owner));
  return node;
}

XMLschemaElement* XMLschemaModelGroup::attachElement(XMLschemaElement* element) {
  attachNode(element);
  return element;
}

XMLschemaSequence* XMLschemaModelGroup::attachSequence(XMLschemaSequence* sequence) {
  attachNode(sequence);
  return sequence;
}

XMLschemaChoice* XMLschemaModelGroup::attachChoice(XMLschemaChoice* choice) {
  attachNode(choice);
  return choice;
}

XMLschemaReference* XMLschemaModelGroup::attachElementReference(XMLschemaReference* reference) {
  attachNode(reference);
  return reference;
}

XMLschemaWildcard* XMLschemaModelGroup::attachWildcard(XMLschemaWildcard* wildcard) {
  attachNode(wildcard);
  return wildcard;
}

const XMLschemaNode& XMLschemaModelGroup::nodeAt(size_t index) const {
  COL_PRECONDITION(index < m_Nodes.size());
  return *m_Nodes[index];
}

XMLschemaNode& XMLschemaModelGroup::nodeAt(size_t index) {
  COL_PRECONDITION(index < m_Nodes.size());
  return *m_Nodes[index];
}

// --- collection

class XMLschemaCollectionPrivate {
public:
  std::unique_ptr<XMLschemaNode> mainNode = std::make_unique<XMLschemaSequence>();
};

XMLschemaCollection::XMLschemaCollection()
    : XMLschemaType(COLstring()), pMember(std::make_unique<XMLschemaCollectionPrivate>()) {}

XMLschemaCollection::XMLschemaCollection(const COLstring& name)
    : XMLschemaType(name), pMember(std::make_unique<XMLschemaCollectionPrivate>()) {}

XMLschemaCollection::~XMLschemaCollection() = default;

const XMLschemaNode& XMLschemaCollection::mainNode() const { return *pMember->mainNode; }
XMLschemaNode& XMLschemaCollection::mainNode() { return *pMember->mainNode; }

void XMLschemaCollection::setMainNode(XMLschemaNode* node) {
  COL_PRECONDITION(node != nullptr);
  pMember->mainNode.reset(node);
}

XMLschemaSequence& XMLschemaCollection::mainSequence() {
  COL_PRECONDITION(hasSequenceMainNode());
  return static_cast<XMLschemaSequence&>(*pMember->mainNode);
}

const XMLschemaSequence& XMLschemaCollection::mainSequence() const {
  COL_PRECONDITION(hasSequenceMainNode());
  return static_cast<const XMLschemaSequence&>(*pMember->mainNode);
}

XMLschemaElement* XMLschemaCollection::attachElement(XMLschemaElement* element) {
  return mainSequence().attachElement(element);
}

XMLschemaSequence* XMLschemaCollection::attachSequence(XMLschemaSequence* sequence) {
  return mainSequence().attachSequence(sequence);
}

XMLschemaReference* XMLschemaCollection::attachElementReference(XMLschemaReference* reference) {
  return mainSequence().attachElementReference(reference);
}

size_t XMLschemaCollection::countOfNodes() const { return mainSequence().countOfNodes(); }

// --- schema

XMLschemaElement* XMLschema::attachElement(XMLschemaElement* element) {
  COL_PRECONDITION(element != nullptr);
  XMLschemaPointer<XMLschemaElement> Owner(element, true);
  m_Elements.push_back(std::move(Owner));
  // The finders give the first of a name, so a later namesake leaves the index alone.
  m_ElementIndex.try_emplace(element->name().str(), m_Elements.size() - 1);
  return element;
}

XMLschemaType* XMLschema::attachType(XMLschemaType* type) {
  COL_PRECONDITION(type != nullptr);
  XMLschemaPointer<XMLschemaType> Owner(type, true);
  m_Types.push_back(std::move(Owner));
  m_TypeIndex.try_emplace(type->name().str(), m_Types.size() - 1);
  return type;
}

const XMLschemaElement& XMLschema::elementAt(size_t index) const {
  COL_PRECONDITION(index < m_Elements.size());
  return *m_Elements[index];
}

XMLschemaElement& XMLschema::elementAt(size_t index) {
  COL_PRECONDITION(index < m_Elements.size());
  return *m_Elements[index];
}

const XMLschemaType& XMLschema::typeAt(size_t index) const {
  COL_PRECONDITION(index < m_Types.size());
  return *m_Types[index];
}

XMLschemaType& XMLschema::typeAt(size_t index) {
  COL_PRECONDITION(index < m_Types.size());
  return *m_Types[index];
}

XMLschemaElement* XMLschema::findElement(const COLstring& name) const {
  auto Found = m_ElementIndex.find(name.str());
  return Found == m_ElementIndex.end() ? nullptr : m_Elements[Found->second].get();
}

XMLschemaType* XMLschema::findType(const COLstring& name) const {
  auto Found = m_TypeIndex.find(name.str());
  return Found == m_TypeIndex.end() ? nullptr : m_Types[Found->second].get();
}
