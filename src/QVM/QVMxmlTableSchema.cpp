// The schema of table XML: "Quovane_Import" holding one element per message, groups as
// "Message.Group", and one global element per table with an element per column.
#include "QVMconfig.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMtableDefinitionInternal.h"
#include "QVMtableGrammarInternal.h"
#include "QVMxmlHl7Converter.h"
#include "XMLschema.h"

namespace {

XMLschemaSimple& QVMcolumnSchemaType(QVMdataType Type) {
  switch (Type) {
    case QVMintegerType: return XMLschemaSimple::Integer;
    case QVMdoubleType: return XMLschemaSimple::Double;
    case QVMdateTimeType: return XMLschemaSimple::DateTime;
    default: return XMLschemaSimple::String;
  }
}

// An element holding an inline collection, with its occurs.
XMLschemaElement* QVMcollectionElement(const COLstring& Name, unsigned MinOccurs, unsigned MaxOccurs) {
  auto* Element = new XMLschemaElement(Name, new XMLschemaCollection, false);
  Element->setMinOccurs(MinOccurs);
  Element->setMaxOccurs(MaxOccurs);
  return Element;
}

XMLschemaCollection& QVMcollectionOf(XMLschemaElement& Element) {
  return static_cast<XMLschemaCollection&>(Element.type());
}

struct QVMtableSchemaStep {
  const COLstring& messageName;
  char delimiter;
  bool longTags;
  XMLschema& schema;

  void tableElement(const QVMtableDefinitionInternal& Table, XMLschemaCollection& Into) {
    XMLschemaElement* Element = schema.findElement(Table.tableName());
    if (!Element) {
      Element = schema.attachElement(
          QVMcollectionElement(Table.tableName(), 0, XMLschemaNode::OccursUnbounded));
      XMLschemaCollection& Columns = QVMcollectionOf(*Element);
      for (size_t Column = 0; Column < Table.countOfColumn(); ++Column) {
        const COLstring Name =
            longTags ? Table.tableName() + "." + Table.columnName(Column) : Table.columnName(Column);
        auto* Cell = new XMLschemaElement(Name, &QVMcolumnSchemaType(Table.columnType(Column)), true);
        Cell->setMinOccurs(0);
        Cell->setMaxOccurs(1);
        Columns.attachElement(Cell);
      }
    }
    auto* Reference = new XMLschemaReference(Element);
    Reference->setMinOccurs(Element->minOccurs());
    Reference->setMaxOccurs(Element->maxOccurs());
    Into.attachElementReference(Reference);
  }

  void grammar(const QVMtableGrammarInternal& Grammar, XMLschemaCollection& Into) {
    if (Grammar.isNode()) {
      if (Grammar.table()) tableElement(*Grammar.table(), Into);
      return;
    }
    if (Grammar.countOfSubGrammar() == 0) return;
    XMLschemaCollection* Target = &Into;
    if (Grammar.parent()) {
      const COLstring Name = messageName + COLstring(1, delimiter) + Grammar.name();
      XMLschemaElement* Group = Into.attachElement(QVMcollectionElement(Name, 0, XMLschemaNode::OccursUnbounded));
      Target = &QVMcollectionOf(*Group);
    }
    for (size_t Index = 0; Index < Grammar.countOfSubGrammar(); ++Index) grammar(*Grammar.subGrammar(Index), *Target);
  }
};

}  // namespace

void QVMxmlTableConverter::generateSchema(const QVMengineInternal&, const QVMmessageDefinitionInternal& Definition,
                                          XMLschema& Schema) {
  const char Delimiter = config().xmlDelimiter();
  XMLschemaElement* Root = Schema.findElement("Quovane_Import");
  if (!Root) Root = Schema.attachElement(QVMcollectionElement("Quovane_Import", 1, 1));
  XMLschemaElement* Message =
      QVMcollectionOf(*Root).attachElement(QVMcollectionElement(Definition.name(), 0, XMLschemaNode::OccursUnbounded));
  QVMtableSchemaStep Step{Definition.name(), Delimiter, isLongTags(), Schema};
  Step.grammar(Definition.tableGrammar(), QVMcollectionOf(*Message));
}

void QVMxmlTreeConverter::generateSchema(const QVMengineInternal&, const QVMmessageDefinitionInternal&, XMLschema&) {
  notAvailable("describe messages in a schema");
}
