// Schemas shared by the schema model, formatter data and xmllint tests.
#pragma once

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "XMLschema.h"
#include "XMLschemaFormatter.h"

namespace XMLschemaTest {

inline XMLschemaElement* stringElement(const char* name, unsigned minOccurs = 1, unsigned maxOccurs = 1) {
  auto* Element = new XMLschemaElement(name, &XMLschemaSimple::String, true);
  Element->setMinOccurs(minOccurs);
  Element->setMaxOccurs(maxOccurs);
  return Element;
}

// Every node kind and type kind: a global "Patient" with an inline collection holding
// integer, double, date-time and inline enumeration elements, an element of the named
// collection "AddressType", a reference to the global "Note", and a nested sequence.
// Patient's own occurs (0, unbounded) must never show, since it is global.
inline void buildPatientSchema(XMLschema& schema) {
  constexpr unsigned Unbounded = XMLschemaNode::OccursUnbounded;
  auto* Patient = new XMLschemaCollection();
  XMLschemaElement* PatientElement = schema.attachElement(new XMLschemaElement("Patient", Patient, false));
  PatientElement->setMinOccurs(0);
  PatientElement->setMaxOccurs(Unbounded);
  XMLschemaElement* Note = schema.attachElement(stringElement("Note"));
  auto* Address = static_cast<XMLschemaCollection*>(schema.attachType(new XMLschemaCollection("AddressType")));
  Address->attachElement(stringElement("Street"));
  Address->attachElement(stringElement("City", 0));

  Patient->attachElement(new XMLschemaElement("Id", &XMLschemaSimple::Integer, true));
  Patient->attachElement(new XMLschemaElement("Weight", &XMLschemaSimple::Double, true))->setMinOccurs(0);
  Patient->attachElement(new XMLschemaElement("Born", &XMLschemaSimple::DateTime, true))->setMinOccurs(0);
  auto* Gender = new XMLschemaEnumeration();
  Gender->addValue("M");
  Gender->addValue("F");
  Patient->attachElement(new XMLschemaElement("Gender", Gender, false));
  XMLschemaElement* Home = Patient->attachElement(new XMLschemaElement("Address", Address, true));
  Home->setMinOccurs(0);
  Home->setMaxOccurs(Unbounded);
  XMLschemaReference* NoteReference = Patient->attachElementReference(new XMLschemaReference(Note));
  NoteReference->setMinOccurs(0);
  NoteReference->setMaxOccurs(Unbounded);
  XMLschemaSequence* Kin = Patient->attachSequence(new XMLschemaSequence());
  Kin->setMinOccurs(0);
  Kin->setMaxOccurs(3);
  Kin->attachElement(stringElement("Kin"));
  Kin->attachElement(stringElement("Phone", 1, Unbounded));
}

// A global "Visit" whose content is an "Id", then "Note" (a reference to the global "Note")
// and "Kin" in any order and number, then an optional "Last".
inline void buildChoiceSchema(XMLschema& schema) {
  auto* Visit = new XMLschemaCollection();
  schema.attachElement(new XMLschemaElement("Visit", Visit, false));
  XMLschemaElement* Note = schema.attachElement(stringElement("Note"));
  Visit->attachElement(stringElement("Id"));
  XMLschemaChoice* Either = Visit->mainSequence().attachChoice(new XMLschemaChoice());
  Either->setMinOccurs(0);
  Either->setMaxOccurs(XMLschemaNode::OccursUnbounded);
  Either->attachElementReference(new XMLschemaReference(Note));
  Either->attachElement(stringElement("Kin"));
  Visit->attachElement(stringElement("Last", 0));
}

}  // namespace XMLschemaTest

// Schema properties from "xmlns=", "targetNamespace=" and "elementFormDefault=" lines, as the
// data cases give them.
inline XMLschemaProperties propertiesFromLines(const std::string& Text) {
  XMLschemaProperties Properties;
  std::istringstream Lines(Text);
  for (std::string Line; std::getline(Lines, Line);) {
    const std::string Key = Line.substr(0, Line.find('=')), Value = Line.substr(Line.find('=') + 1);
    if (Key == "xmlns") Properties.setXmlNamespace(Value.c_str());
    else if (Key == "targetNamespace") Properties.setTargetNamespace(Value.c_str());
    else if (Key == "elementFormDefault") Properties.setElementFormDefault(Value.c_str());
    else ADD_FAILURE() << "no schema property " << Key;
  }
  return Properties;
}
