// The schema of table XML: "Quovane_Import" holding one element per message, groups as
// "Message.Group", and one global element per table with an element per column.  Names are
// the tags the writer prints.
#include <algorithm>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "QVMmessageDefinitionInternal.h"
#include "QVMtableDefinitionInternal.h"
#include "QVMtableGrammarInternal.h"
#include "QVMtableXmlFormatter.h"
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

// Whether a sub-grammar prints anything: a leaf needs its table, a group a sub-grammar.
bool QVMprintsRows(const QVMtableGrammarInternal& Grammar) {
  return Grammar.isNode() ? Grammar.table() != nullptr : Grammar.countOfSubGrammar() > 0;
}

struct QVMtableSchemaStep {
  bool longTags;
  XMLschema& schema;

  const XMLschemaElement& tableElement(const QVMtableGrammarInternal& Leaf) {
    const COLstring Tag = QVMtableXmlTag(Leaf);
    XMLschemaElement* Element = schema.findElement(Tag);
    if (Element) return *Element;
    const QVMtableDefinitionInternal& Table = *Leaf.table();
    Element = schema.attachElement(QVMcollectionElement(Tag, 0, XMLschemaNode::OccursUnbounded));
    XMLschemaCollection& Columns = QVMcollectionOf(*Element);
    const COLstring Prefix = longTags ? Table.tableName() + "." : COLstring();
    for (size_t Column = 0; Column < Table.countOfColumn(); ++Column) {
      // Named as the writer names it: the joined name filtered as one.
      auto* Cell = new XMLschemaElement(QVMtableXmlName(Prefix + Table.columnName(Column)),
                                        &QVMcolumnSchemaType(Table.columnType(Column)), true);
      Cell->setMinOccurs(0);
      Cell->setMaxOccurs(1);
      Columns.attachElement(Cell);
    }
    return *Element;
  }

  // The rows of one sub-grammar, with the given occurs.
  void rows(const QVMtableGrammarInternal& Grammar, XMLschemaModelGroup& Into, unsigned MinOccurs,
            unsigned MaxOccurs) {
    if (Grammar.isNode()) {
      XMLschemaReference* Reference = Into.attachElementReference(new XMLschemaReference(&tableElement(Grammar)));
      Reference->setMinOccurs(MinOccurs);
      Reference->setMaxOccurs(MaxOccurs);
      return;
    }
    XMLschemaElement* Group = Into.attachElement(QVMcollectionElement(QVMtableXmlTag(Grammar), MinOccurs, MaxOccurs));
    subGrammars(Grammar, QVMcollectionOf(*Group).mainSequence());
  }

  // The writer prints the rows of each sub-grammar in turn, so the content is each sub-grammar's
  // rows in grammar order.  Two sub-grammars of one tag (ROL before and after PV1 in ADT_A01)
  // would make that ambiguous, which a schema may not be; and the reader takes every element of
  // a tag into the first of them, whatever stands between.  So from the first to the last
  // sub-grammar of a repeated tag (stretched to cover every tag inside that occurs again
  // further on) the content is a repeated choice: any order there, each tag declared once, by its
  // first sub-grammar, which is the one the reader fills.
  void subGrammars(const QVMtableGrammarInternal& Group, XMLschemaModelGroup& Into) {
    std::vector<const QVMtableGrammarInternal*> Children;
    std::vector<COLstring> Tags;
    std::unordered_map<std::string, size_t> LastOfTag;
    for (size_t Index = 0; Index < Group.countOfSubGrammar(); ++Index) {
      const QVMtableGrammarInternal* Sub = Group.subGrammar(Index);
      if (!Sub || !QVMprintsRows(*Sub)) continue;
      Children.push_back(Sub);
      Tags.push_back(QVMtableXmlTag(*Sub));
      LastOfTag[Tags.back().str()] = Children.size() - 1;
    }
    for (size_t First = 0; First < Children.size();) {
      size_t Last = LastOfTag[Tags[First].str()];
      if (Last == First) {
        rows(*Children[First], Into, 0, XMLschemaNode::OccursUnbounded);
        ++First;
        continue;
      }
      for (size_t Index = First; Index <= Last; ++Index) Last = std::max(Last, LastOfTag[Tags[Index].str()]);
      XMLschemaChoice* Choice = Into.attachChoice(new XMLschemaChoice);
      Choice->setMinOccurs(0);
      Choice->setMaxOccurs(XMLschemaNode::OccursUnbounded);
      std::unordered_set<std::string> Declared;
      for (size_t Index = First; Index <= Last; ++Index)
        if (Declared.insert(Tags[Index].str()).second) rows(*Children[Index], *Choice, 1, 1);
      First = Last + 1;
    }
  }
};

}  // namespace

void QVMxmlTableConverter::generateSchema(const QVMengineInternal&, const QVMmessageDefinitionInternal& Definition,
                                          XMLschema& Schema) {
  XMLschemaElement* Root = Schema.findElement("Quovane_Import");
  if (!Root) Root = Schema.attachElement(QVMcollectionElement("Quovane_Import", 1, 1));
  const QVMtableGrammarInternal& Grammar = Definition.tableGrammar();
  XMLschemaElement* Message = QVMcollectionOf(*Root).attachElement(
      QVMcollectionElement(QVMtableXmlTag(Grammar), 0, XMLschemaNode::OccursUnbounded));
  QVMtableSchemaStep Step{isLongTags(), Schema};
  if (Grammar.isNode()) {
    if (Grammar.table()) Step.rows(Grammar, QVMcollectionOf(*Message).mainSequence(), 0, XMLschemaNode::OccursUnbounded);
  } else {
    Step.subGrammars(Grammar, QVMcollectionOf(*Message).mainSequence());
  }
}
