// The schemas of the tree dialects, named by the same hooks and rules as their writers, so that
// every document a writer prints is valid against the schema of its dialect.
#include <algorithm>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "COLerror.h"
#include "COLostream.h"
#include "QVMcompositeGrammar.h"
#include "QVMconfig.h"
#include "QVMengineInternal.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMmessageGrammar.h"
#include "QVMsegmentGrammar.h"
#include "QVMtreeXmlFormatter.h"
#include "QVMxmlHl7Converter.h"
#include "XMLschema.h"

namespace {

constexpr unsigned kUnbounded = XMLschemaNode::OccursUnbounded;

// A name as the writers' tag filter leaves it, a leading digit made "_".
COLstring QVMtreeSchemaName(std::string_view Name) {
  static const XMLiosTagFilterNoDelimiter Filter;
  std::string Out;
  for (const char Byte : Name)
    if (const char Kept = Filter.translate(static_cast<unsigned char>(Byte))) Out += Kept;
  if (!Out.empty() && Out[0] >= '0' && Out[0] <= '9') Out[0] = '_';
  return COLstring(Out);
}

XMLschemaElement* QVMcollectionElement(const COLstring& Name) {
  return new XMLschemaElement(Name, new XMLschemaCollection, false);
}

XMLschemaCollection& QVMcollectionOf(XMLschemaElement& Element) {
  return static_cast<XMLschemaCollection&>(Element.type());
}

XMLschemaElement* QVMstringElement(const COLstring& Name) {
  return new XMLschemaElement(Name, &XMLschemaSimple::String, true);
}

bool QVMisComposite(const QVMcompositeGrammar& Grammar, unsigned Field) {
  return Grammar.fieldDataType(Field) == QVMcompositeType && Grammar.fieldCompositeType(Field) != nullptr;
}

// A content model must say, at each element, which of its particles the element stands for;
// where a grammar holds one tag in two places that optional or repeating particles separate
// (ROL before and after PV1 in ADT_A01), the exact model cannot say it.  So the children of a
// group are cut in stretches: from a child to the last later child that shares a tag with it
// (extended over every tag in between that comes again further on).  A stretch of one child
// keeps its exact particle; a longer one becomes a repeated choice of its tags, each declared
// once: in any order and number there, which accepts a little more than the grammar.  `Tags`
// holds the tags each child puts into the model of the group (an inline group all of its own).
std::vector<std::pair<size_t, size_t>> QVMstretches(const std::vector<std::vector<std::string>>& Tags) {
  std::unordered_map<std::string, size_t> Last;
  for (size_t Child = 0; Child < Tags.size(); ++Child)
    for (const std::string& Tag : Tags[Child]) Last[Tag] = Child;
  std::vector<std::pair<size_t, size_t>> Stretches;
  for (size_t First = 0; First < Tags.size();) {
    size_t End = First;
    for (size_t Child = First; Child <= End; ++Child)
      for (const std::string& Tag : Tags[Child]) End = std::max(End, Last[Tag]);
    Stretches.emplace_back(First, End);
    First = End + 1;
  }
  return Stretches;
}

XMLschemaChoice* QVManyOrderChoice(XMLschemaModelGroup& Parent) {
  XMLschemaChoice* Choice = Parent.attachChoice(new XMLschemaChoice);
  Choice->setMinOccurs(0);
  Choice->setMaxOccurs(kUnbounded);
  return Choice;
}

// The occurs of a segment, group or field in "STANDARD VER 2" and "Full Tree Validation".
void QVMsetOccurs(XMLschemaNode& Node, bool Header, bool RejectBad, bool Repeating, bool Required,
                  unsigned MaxRepeat) {
  unsigned Min = 1, Max = 1;
  if (!Header) {
    if (!(Required && RejectBad)) Min = 0;
    if (Repeating) Max = kUnbounded;
  } else if (RejectBad) {
    if (!Required) Min = 0;
    if (Repeating) Max = MaxRepeat != 0 && MaxRepeat != 0xFFFFFFFF ? MaxRepeat + 1 : kUnbounded;
  } else {
    Min = 0;
    if (Repeating) Max = kUnbounded;
  }
  Node.setMinOccurs(Min);
  Node.setMaxOccurs(Max);
}

// Without strict checking a field keeps every repeat the message gave it, whether its grammar
// lets it repeat or not, and the writers print them all: the schema lets every field repeat then.
void QVMleniencyRepeats(XMLschemaNode& Field, bool RejectBad) {
  if (!RejectBad) Field.setMaxOccurs(kUnbounded);
}

// "STANDARD VER 2" and "Full Tree Validation": groups inline, segments and composites global.
struct QVMtreeSchemaStep {
  QVMtreeXmlFormatterX12& hooks;
  const QVMmessageDefinitionInternal& definition;
  XMLschema& schema;
  bool header;
  bool rejectBad;
  COLstring messageTag;

  COLstring tag(const COLstring& Raw) const { return QVMtreeSchemaName(Raw.view()); }

  COLstring childTag(const QVMmessageGrammar& Grammar) {
    COLstring Tag;
    if (Grammar.isNode()) {
      COL_PRECONDITION_TEXT(Grammar.segment() != nullptr, "pSegmentGrammar != NULL");
      hooks.onSegmentTag(Grammar.segment(), Tag);
    } else {
      hooks.onGroupTag(&Grammar, &definition, messageTag, Tag);
    }
    return tag(Tag);
  }

  // The sub-grammars of `Group` into `Into`, stretch by stretch (QVMstretches).
  void children(const QVMmessageGrammar& Group, XMLschemaModelGroup& Into) {
    std::vector<std::vector<std::string>> Tags;
    for (size_t Sub = 0; Sub < Group.countOfSubGrammar(); ++Sub)
      Tags.push_back({childTag(*Group.subGrammar(Sub)).str()});
    for (const auto& [First, Last] : QVMstretches(Tags)) {
      if (First == Last) {
        grammar(*Group.subGrammar(First), Into, true);
        continue;
      }
      XMLschemaChoice* Choice = QVManyOrderChoice(Into);
      std::unordered_set<std::string> Declared;
      for (size_t Sub = First; Sub <= Last; ++Sub)
        if (Declared.insert(Tags[Sub][0]).second) grammar(*Group.subGrammar(Sub), *Choice, false);
    }
  }

  // One sub-grammar; without `Exact`, once, as a branch of a choice.
  void grammar(const QVMmessageGrammar& Grammar, XMLschemaModelGroup& Parent, bool Exact) {
    XMLschemaNode* Node;
    if (!Grammar.isNode()) {
      XMLschemaElement* Group = Parent.attachElement(QVMcollectionElement(childTag(Grammar)));
      children(Grammar, QVMcollectionOf(*Group).mainSequence());
      Node = Group;
    } else {
      Node = Parent.attachElementReference(new XMLschemaReference(&segmentElement(*Grammar.segment())));
    }
    if (Exact)
      QVMsetOccurs(*Node, header, rejectBad, Grammar.isRepeating(), !Grammar.isOptional(), Grammar.maximumRepeat());
  }

  const XMLschemaElement& segmentElement(const QVMsegmentGrammar& Segment) {
    COLstring Tag;
    hooks.onSegmentTag(&Segment, Tag);
    Tag = tag(Tag);
    if (XMLschemaElement* Found = schema.findElement(Tag)) return *Found;
    XMLschemaElement* Element = schema.attachElement(QVMcollectionElement(Tag));
    XMLschemaCollection& Fields = QVMcollectionOf(*Element);
    for (unsigned Field = 0; Field < Segment.countOfField(); ++Field) {
      COLstring FieldTag;
      hooks.onSegmentFieldTag(&Segment, Field, FieldTag);
      const QVMcompositeGrammar* Type = Segment.fieldType(Field);
      XMLschemaElement* FieldElement;
      if (!Type || Type->countOfField() <= 1) {
        FieldElement = QVMstringElement(tag(FieldTag));
      } else {
        FieldElement = QVMcollectionElement(tag(FieldTag));
        if (header) {
          QVMcollectionOf(*FieldElement).attachElementReference(new XMLschemaReference(&compositeElement(*Type)));
        } else {
          fieldStep(*Type, QVMcollectionOf(*FieldElement));
        }
      }
      const unsigned MaxRepeat = Segment.fieldMaxRepeat(Field);
      QVMsetOccurs(*FieldElement, header, rejectBad, MaxRepeat != 0, Segment.isFieldRequired(Field), MaxRepeat);
      QVMleniencyRepeats(*FieldElement, rejectBad);
      Fields.attachElement(FieldElement);
    }
    return *Element;
  }

  unsigned componentMin(const QVMcompositeGrammar& Composite, unsigned Field) const {
    return rejectBad && Composite.fieldIsRequired(Field) ? 1 : 0;
  }

  const XMLschemaElement& compositeElement(const QVMcompositeGrammar& Composite) {
    COLstring Tag;
    hooks.onCompositeTag(&Composite, Tag);
    Tag = tag(Tag);
    if (XMLschemaElement* Found = schema.findElement(Tag)) return *Found;
    XMLschemaElement* Element = schema.attachElement(QVMcollectionElement(Tag));
    for (unsigned Field = 0; Field < Composite.countOfField(); ++Field) {
      COLstring FieldTag;
      hooks.onCompositeFieldTag(&Composite, Field, FieldTag);
      const QVMcompositeGrammar* Type = QVMisComposite(Composite, Field) ? Composite.fieldCompositeType(Field) : nullptr;
      XMLschemaElement* FieldElement;
      if (Type && Type->countOfField() > 1) {
        FieldElement = QVMcollectionElement(tag(FieldTag));
        QVMcollectionOf(*FieldElement).attachElementReference(new XMLschemaReference(&compositeElement(*Type)));
      } else {
        FieldElement = QVMstringElement(tag(FieldTag));
      }
      FieldElement->setMinOccurs(componentMin(Composite, Field));
      FieldElement->setMaxOccurs(1);
      QVMcollectionOf(*Element).attachElement(FieldElement);
    }
    return *Element;
  }

  void fieldStep(const QVMcompositeGrammar& Composite, XMLschemaCollection& Collection) {
    for (unsigned Field = 0; Field < Composite.countOfField(); ++Field) {
      COLstring FieldTag;
      hooks.onCompositeFieldTag(&Composite, Field, FieldTag);
      FieldTag = tag(FieldTag);
      XMLschemaElement* Global = schema.findElement(FieldTag);
      if (!Global) {
        const QVMcompositeGrammar* Type =
            QVMisComposite(Composite, Field) ? Composite.fieldCompositeType(Field) : nullptr;
        if (Type && Type->countOfField() > 1) {
          Global = schema.attachElement(QVMcollectionElement(FieldTag));
          fieldStep(*Type, QVMcollectionOf(*Global));
        } else {
          Global = schema.attachElement(QVMstringElement(FieldTag));
        }
        Global->setMinOccurs(componentMin(Composite, Field));
        Global->setMaxOccurs(1);
      }
      XMLschemaReference* Reference = Collection.attachElementReference(new XMLschemaReference(Global));
      Reference->setMinOccurs(Global->minOccurs());
      Reference->setMaxOccurs(Global->maxOccurs());
    }
  }
};

// Names of "STANDARD" and "EXPANDED 2.4": segments global, fields "SEG.N", composites as named
// types; groups named by a counter.
struct QVMstandardSchemaStep {
  const QVMmessageDefinitionInternal& definition;
  XMLschema& schema;
  char delimiter;
  COLstring messageName;
  bool standard24;
  bool rejectBad;
  unsigned groupCount = 0;

  COLstring number(std::string_view Owner, unsigned Number) const {
    COLstring Text(Owner);
    COLostream(Text) << delimiter << Number;
    return Text;
  }

  // The writer numbers the repeating nodes of the grammar in pre-order, the root left out, and
  // names each one's list "Message.LST.n" with n counting down.
  std::unordered_map<const QVMmessageGrammar*, unsigned> lists;

  void numberLists(const QVMmessageGrammar& Grammar, unsigned& Count) {
    for (size_t Sub = 0; Sub < Grammar.countOfSubGrammar(); ++Sub) {
      const QVMmessageGrammar& Child = *Grammar.subGrammar(Sub);
      if (Child.isRepeating()) lists[&Child] = ++Count;
      numberLists(Child, Count);
    }
  }

  void numberLists(const QVMmessageGrammar& Root) {
    unsigned Count = 0;
    numberLists(Root, Count);
    for (auto& Entry : lists) Entry.second = Count + 1 - Entry.second;
  }

  // Groups are numbered depth first, in grammar order.
  std::unordered_map<const QVMmessageGrammar*, COLstring> groupNames;

  void nameGroups(const QVMmessageGrammar& Grammar, const COLstring& EnclosingGroup) {
    for (size_t Sub = 0; Sub < Grammar.countOfSubGrammar(); ++Sub) {
      const QVMmessageGrammar& Child = *Grammar.subGrammar(Sub);
      if (Child.isNode()) continue;
      COLstring Name;
      if (standard24) {
        COLostream(Name) << (EnclosingGroup.empty() ? COLstring() : EnclosingGroup + ".") << "g" << ++groupCount << "R";
      } else {
        Name = messageName;
        COLostream(Name) << ".GRP." << ++groupCount;
      }
      groupNames[&Child] = Name;
      nameGroups(Child, Name);
    }
  }

  COLstring listName(const QVMmessageGrammar& Grammar) const {
    COLstring Name = messageName;
    COLostream(Name) << ".LST." << lists.at(&Grammar);
    return QVMtreeSchemaName(Name.view());
  }

  // --- "STANDARD": the writer wraps each sub-grammar of a group occurrence (the root has none)
  // in "Message.GRP.n", n from one count that runs through the whole document: every
  // sub-grammar of every occurrence takes the next number, the repeats of one sub-grammar share
  // it.  So a number depends on what came before in the message (how often a group repeated,
  // whether it was there, where an occurrence stopped), except up to the first group whose
  // length the grammar does not fix.  Those leading numbers are named exactly; beyond them a
  // ".GRP." element is a lax wildcard (XSD cannot name a pattern), which still holds every
  // segment inside to its global declaration.

  // The writer's count so far, while the grammar alone fixes it; 0 once it does not (numbers
  // start at 1).
  unsigned count = 0;
  bool counted = true;
  void lose() { counted = false; }

  COLstring groupName(unsigned Number) const {
    COLstring Name = messageName;
    COLostream(Name) << ".GRP." << Number;
    return QVMtreeSchemaName(Name.view());
  }

  static void wildcard(XMLschemaModelGroup& Into, unsigned Min, unsigned Max) {
    XMLschemaWildcard* Any = Into.attachWildcard(new XMLschemaWildcard);
    Any->setMinOccurs(Min);
    Any->setMaxOccurs(Max);
  }

  // The root's sub-grammars, stretch by stretch (QVMstretches).
  void rootChildren(const QVMmessageGrammar& Root, XMLschemaModelGroup& Into) {
    std::vector<std::vector<std::string>> Tags;
    for (size_t Sub = 0; Sub < Root.countOfSubGrammar(); ++Sub) {
      const QVMmessageGrammar& Child = *Root.subGrammar(Sub);
      if (Child.isRepeating()) Tags.push_back({listName(Child).str()});
      else if (Child.isNode()) Tags.push_back({QVMtreeSchemaName(Child.segment()->name().view()).str()});
      else Tags.push_back({"(group " + std::to_string(Sub) + ")"});  // its ".GRP." elements stand in the root
    }
    for (const auto& [First, Last] : QVMstretches(Tags)) {
      if (First == Last) {
        rootChild(*Root.subGrammar(First), Into, true);
        continue;
      }
      XMLschemaChoice* Choice = QVManyOrderChoice(Into);
      std::unordered_set<std::string> Declared;
      for (size_t Sub = First; Sub <= Last; ++Sub)
        if (Declared.insert(Tags[Sub][0]).second) rootChild(*Root.subGrammar(Sub), *Choice, false);
    }
  }

  void rootChild(const QVMmessageGrammar& Child, XMLschemaModelGroup& Parent, bool Exact) {
    if (Child.isNode()) COL_PRECONDITION_TEXT(Child.segment() != nullptr, "pSegmentGrammar != NULL");
    if (Child.isRepeating()) {
      XMLschemaElement* List = Parent.attachElement(QVMcollectionElement(listName(Child)));
      if (Exact) List->setMinOccurs(Child.isOptional() ? 0 : 1);
      XMLschemaSequence& Repeats = QVMcollectionOf(*List).mainSequence();
      if (Child.isNode()) {
        XMLschemaReference* Segment =
            Repeats.attachElementReference(new XMLschemaReference(&segmentElement(*Child.segment())));
        Segment->setMinOccurs(0);
        Segment->setMaxOccurs(kUnbounded);
      } else {
        // Each repeat numbers its sub-grammars afresh, and the repeats have no element of their own.
        wildcard(Repeats, 0, kUnbounded);
        lose();
      }
      return;
    }
    if (Child.isNode()) {
      XMLschemaReference* Segment =
          Parent.attachElementReference(new XMLschemaReference(&segmentElement(*Child.segment())));
      if (Exact) Segment->setMinOccurs(Child.isOptional() ? 0 : 1);
      return;
    }
    occurrence(Child, Parent);
  }

  // The ".GRP." elements of one occurrence of `Group`; it may stop after any of them, since the
  // writer goes no further than the last sub-grammar the message filled.
  void occurrence(const QVMmessageGrammar& Group, XMLschemaModelGroup& Parent) {
    XMLschemaModelGroup* Into = &Parent;
    for (size_t Sub = 0; Sub < Group.countOfSubGrammar(); ++Sub) {
      XMLschemaSequence* Rest = Into->attachSequence(new XMLschemaSequence);
      Rest->setMinOccurs(0);
      Into = Rest;
      const QVMmessageGrammar& Child = *Group.subGrammar(Sub);
      const unsigned Number = counted ? ++count : 0;
      if (Child.isRepeating()) {
        XMLschemaElement* List = Into->attachElement(QVMcollectionElement(listName(Child)));
        wrapper(Child, QVMcollectionOf(*List).mainSequence(), Number, 0, kUnbounded);
      } else {
        wrapper(Child, *Into, Number, 1, 1);
      }
    }
    // How far the occurrence went is the message's business.
    lose();
  }

  void wrapper(const QVMmessageGrammar& Child, XMLschemaModelGroup& Into, unsigned Number,
               unsigned Min, unsigned Max) {
    if (Number == 0) {
      wildcard(Into, Min, Max);
      return;
    }
    XMLschemaElement* Wrapper = Into.attachElement(QVMcollectionElement(groupName(Number)));
    Wrapper->setMinOccurs(Min);
    Wrapper->setMaxOccurs(Max);
    XMLschemaSequence& Content = QVMcollectionOf(*Wrapper).mainSequence();
    if (Child.isNode()) {
      COL_PRECONDITION_TEXT(Child.segment() != nullptr, "pSegmentGrammar != NULL");
      // An absent segment leaves its ".GRP." element empty.
      Content.attachElementReference(new XMLschemaReference(&segmentElement(*Child.segment())))->setMinOccurs(0);
      return;
    }
    // The repeats of a group share this element but not the numbers inside it.
    if (Child.isRepeating()) lose();
    occurrence(Child, Content);
  }

  // The sub-grammars of `Group` into `Into`, stretch by stretch (QVMstretches); a list takes
  // its place in the model by the name of its wrapper.
  void children(const QVMmessageGrammar& Group, XMLschemaModelGroup& Into) {
    std::vector<std::vector<std::string>> Tags;
    std::vector<COLstring> GroupNames;
    for (size_t Sub = 0; Sub < Group.countOfSubGrammar(); ++Sub) {
      const QVMmessageGrammar& Child = *Group.subGrammar(Sub);
      const COLstring Name = Child.isNode() ? COLstring() : groupNames.at(&Child);
      GroupNames.push_back(Name);
      if (!standard24 && Child.isRepeating()) Tags.push_back({listName(Child).str()});
      else if (Child.isNode()) Tags.push_back({QVMtreeSchemaName(Child.segment()->name().view()).str()});
      else Tags.push_back({QVMtreeSchemaName(Name.view()).str()});
    }
    for (const auto& [First, Last] : QVMstretches(Tags)) {
      if (First == Last) {
        grammar(*Group.subGrammar(First), Into, GroupNames[First], true);
        continue;
      }
      XMLschemaChoice* Choice = QVManyOrderChoice(Into);
      std::unordered_set<std::string> Declared;
      for (size_t Sub = First; Sub <= Last; ++Sub)
        if (Declared.insert(Tags[Sub][0]).second) grammar(*Group.subGrammar(Sub), *Choice, GroupNames[Sub], false);
    }
  }

  // One sub-grammar; without `Exact`, once, as a branch of a choice.
  void grammar(const QVMmessageGrammar& Grammar, XMLschemaModelGroup& Parent, const COLstring& Name, bool Exact) {
    XMLschemaModelGroup* Into = &Parent;
    const bool IsList = !standard24 && Grammar.isRepeating();
    if (IsList) {
      XMLschemaElement* List = Parent.attachElement(QVMcollectionElement(listName(Grammar)));
      if (Exact) List->setMinOccurs(Grammar.isOptional() ? 0 : 1);
      Into = &QVMcollectionOf(*List).mainSequence();
    }
    XMLschemaNode* Node;
    if (!Grammar.isNode()) {
      XMLschemaElement* Group = Into->attachElement(QVMcollectionElement(QVMtreeSchemaName(Name.view())));
      children(Grammar, QVMcollectionOf(*Group).mainSequence());
      Node = Group;
    } else {
      COL_PRECONDITION_TEXT(Grammar.segment() != nullptr, "pSegmentGrammar != NULL");
      Node = Into->attachElementReference(new XMLschemaReference(&segmentElement(*Grammar.segment())));
    }
    if (IsList) {
      Node->setMinOccurs(0);
      Node->setMaxOccurs(kUnbounded);
    } else if (Exact) {
      Node->setMinOccurs(Grammar.isOptional() ? 0 : 1);
      Node->setMaxOccurs(Grammar.isRepeating() ? kUnbounded : 1);
    }
  }

  const XMLschemaElement& segmentElement(const QVMsegmentGrammar& Segment) {
    const COLstring Name = QVMtreeSchemaName(Segment.name().view());
    if (XMLschemaElement* Found = schema.findElement(Name)) return *Found;
    XMLschemaElement* Element = schema.attachElement(QVMcollectionElement(Name));
    for (unsigned Field = 0; Field < Segment.countOfField(); ++Field) {
      const QVMcompositeGrammar* Type = Segment.fieldType(Field);
      const COLstring FieldName = QVMtreeSchemaName(number(Segment.name().view(), Field + 1).view());
      XMLschemaElement* FieldElement = Type && Type->countOfField() > 1
                                           ? new XMLschemaElement(FieldName, &compositeType(*Type), true)
                                           : QVMstringElement(FieldName);
      // Lenient checking lets a message without a required field through to the writer.
      FieldElement->setMinOccurs(Segment.isFieldRequired(Field) && (rejectBad || standard24) ? 1 : 0);
      if (!standard24 && Segment.fieldMaxRepeat(Field) != 0) {
        // The writer puts the repeats of a field in a list of its own, "PID.3.LST".
        XMLschemaElement* List = QVMcollectionElement(FieldName + ".LST");
        List->setMinOccurs(FieldElement->minOccurs());
        FieldElement->setMinOccurs(0);
        FieldElement->setMaxOccurs(kUnbounded);
        QVMcollectionOf(*List).attachElement(FieldElement);
        QVMcollectionOf(*Element).attachElement(List);
        continue;
      }
      FieldElement->setMaxOccurs(Segment.fieldMaxRepeat(Field) != 0 ? kUnbounded : 1);
      QVMleniencyRepeats(*FieldElement, rejectBad);
      QVMcollectionOf(*Element).attachElement(FieldElement);
    }
    return *Element;
  }

  XMLschemaType& compositeType(const QVMcompositeGrammar& Composite) {
    const COLstring Name = QVMtreeSchemaName(Composite.name().view());
    if (XMLschemaType* Found = schema.findType(Name)) return *Found;
    auto* Type = static_cast<XMLschemaCollection*>(schema.attachType(new XMLschemaCollection(Name)));
    for (unsigned Field = 0; Field < Composite.countOfField(); ++Field) {
      const QVMcompositeGrammar* Sub = QVMisComposite(Composite, Field) ? Composite.fieldCompositeType(Field) : nullptr;
      const COLstring FieldName = QVMtreeSchemaName(number(Composite.name().view(), Field + 1).view());
      XMLschemaElement* FieldElement = Sub && Sub->countOfField() > 1
                                           ? new XMLschemaElement(FieldName, &compositeType(*Sub), true)
                                           : QVMstringElement(FieldName);
      FieldElement->setMinOccurs(0);
      Type->attachElement(FieldElement);
    }
    return *Type;
  }
};

}  // namespace

void QVMxmlX12Converter::generateSchema(const QVMengineInternal& Engine, const QVMmessageDefinitionInternal& Definition,
                                        XMLschema& Schema) {
  QVMtreeXmlFormatterX12& Hooks = *treeXmlFormatter();
  QVMtreeSchemaStep Step{Hooks, Definition, Schema, Hooks.onOutputCompositeHeaderTag(),
                         Engine.rejectBadSegmentGrammar(), COLstring()};
  Hooks.onMessageTag(&Definition, Step.messageTag);
  Step.messageTag = QVMtreeSchemaName(Step.messageTag.view());
  XMLschemaElement* Root = Schema.attachElement(QVMcollectionElement(Step.messageTag));
  const QVMmessageGrammar* Grammar = Definition.messageGrammar();
  COL_PRECONDITION_TEXT(Grammar != nullptr, "NULL != pMessageDef->messageGrammar()");
  Step.children(*Grammar, QVMcollectionOf(*Root).mainSequence());
}

namespace {

void QVMstandardSchema(const QVMmessageDefinitionInternal& Definition, XMLschema& Schema, char Delimiter,
                       bool Standard24, bool RejectBad) {
  QVMstandardSchemaStep Step{Definition, Schema, Delimiter, COLstring(), Standard24, RejectBad, 0, {}, {}};
  for (size_t Identifier = 0; Identifier < Definition.countOfIdentifier(); ++Identifier) {
    if (Identifier) Step.messageName += '_';
    Step.messageName += Definition.identifierValue(Identifier);
  }
  if (Definition.countOfIdentifier() == 0) Step.messageName = Definition.name();
  XMLschemaElement* Root = Schema.attachElement(QVMcollectionElement(QVMtreeSchemaName(Step.messageName.view())));
  const QVMmessageGrammar* Grammar = Definition.messageGrammar();
  COL_PRECONDITION_TEXT(Grammar != nullptr, "NULL != pMessageDef->messageGrammar()");
  Step.numberLists(*Grammar);
  if (!Standard24) {
    Step.rootChildren(*Grammar, QVMcollectionOf(*Root).mainSequence());
    return;
  }
  Step.nameGroups(*Grammar, COLstring());
  Step.children(*Grammar, QVMcollectionOf(*Root).mainSequence());
}

}  // namespace

void QVMxmlHl7ConverterStandard::generateSchema(const QVMengineInternal& Engine,
                                                const QVMmessageDefinitionInternal& Definition, XMLschema& Schema) {
  QVMstandardSchema(Definition, Schema, config().xmlDelimiter(), false, Engine.rejectBadSegmentGrammar());
}

void QVMxmlHl7ConverterStandard24::generateSchema(const QVMengineInternal& Engine,
                                                  const QVMmessageDefinitionInternal& Definition, XMLschema& Schema) {
  QVMstandardSchema(Definition, Schema, config().xmlDelimiter(), true, Engine.rejectBadSegmentGrammar());
}

void QVMxmlHl7ConverterOracle::generateSchema(const QVMengineInternal& Engine,
                                              const QVMmessageDefinitionInternal& Definition, XMLschema& Schema) {
  const char Delimiter = config().xmlDelimiter();
  const bool RejectBad = Engine.rejectBadSegmentGrammar();
  const COLstring MessageName = QVMtreeSchemaName(Definition.name().view());
  if (Schema.findElement(MessageName))
    throw COLerror("Another message with the name " + Definition.name() + " has already been defined in this schema",
                   COL_ERROR_PRECONDITION);
  // Names lose "." and the delimiter; the joints are the delimiter.
  const auto name = [&](std::string_view Owner, unsigned Number, const COLstring* FieldName) {
    COLstring Text;
    const auto part = [&](std::string_view Part) {
      for (const char Byte : Part)
        if (Byte != Delimiter && Byte != '.') Text += Byte;
    };
    part(Owner);
    Text += Delimiter;
    COLostream(Text) << Number;
    if (FieldName) {
      Text += Delimiter;
      part(FieldName->view());
    }
    COLstring Filtered;
    static const XMLiosTagFilterNoDelimiter Filter;
    for (const char Byte : Text.view())
      if (Byte == Delimiter) Filtered += Byte;
      else if (const char Kept = Filter.translate(static_cast<unsigned char>(Byte))) Filtered += Kept;
    return Filtered;
  };
  struct Step {
    XMLschema& schema;
    bool rejectBad;
    const decltype(name)& named;

    const XMLschemaElement& composite(const QVMcompositeGrammar& Composite) {
      const COLstring Tag = QVMtreeSchemaName(Composite.name().view());
      if (XMLschemaElement* Found = schema.findElement(Tag)) return *Found;
      XMLschemaElement* Element = schema.attachElement(QVMcollectionElement(Tag));
      for (unsigned Field = 0; Field < Composite.countOfField(); ++Field) {
        const COLstring FieldTag = named(Composite.name().view(), Field + 1, &Composite.fieldName(Field));
        const QVMcompositeGrammar* Type = QVMisComposite(Composite, Field) ? Composite.fieldCompositeType(Field) : nullptr;
        XMLschemaElement* FieldElement;
        if (Type && Type->countOfField() > 1) {
          FieldElement = QVMcollectionElement(FieldTag);
          // The writer puts a line end before the composite's element: blanks are allowed there.
          XMLschemaReference* Inner =
              QVMcollectionOf(*FieldElement).attachElementReference(new XMLschemaReference(&composite(*Type)));
          Inner->setMinOccurs(0);
        } else {
          FieldElement = QVMstringElement(FieldTag);
        }
        FieldElement->setMinOccurs(rejectBad && Composite.fieldIsRequired(Field) ? 1 : 0);
        QVMcollectionOf(*Element).attachElement(FieldElement);
      }
      return *Element;
    }

    const XMLschemaElement& segment(const QVMsegmentGrammar& Segment) {
      const COLstring Tag = QVMtreeSchemaName(Segment.name().view());
      if (XMLschemaElement* Found = schema.findElement(Tag)) return *Found;
      XMLschemaElement* Element = schema.attachElement(QVMcollectionElement(Tag));
      for (unsigned Field = 0; Field < Segment.countOfField(); ++Field) {
        const COLstring FieldTag = named(Segment.name().view(), Field + 1, &Segment.fieldName(Field));
        const QVMcompositeGrammar* Type = Segment.fieldType(Field);
        XMLschemaElement* FieldElement;
        if (!Type || Type->countOfField() <= 1) {
          FieldElement = QVMstringElement(FieldTag);
        } else {
          FieldElement = QVMcollectionElement(FieldTag);
          QVMcollectionOf(*FieldElement).mainSequence().setMinOccurs(0);
          XMLschemaReference* Inner =
              QVMcollectionOf(*FieldElement).attachElementReference(new XMLschemaReference(&composite(*Type)));
          Inner->setMinOccurs(0);
        }
        FieldElement->setMinOccurs(!rejectBad || !Segment.isFieldRequired(Field) ? 0 : 1);
        FieldElement->setMaxOccurs(Segment.fieldMaxRepeat(Field) != 0 ? kUnbounded : 1);
        QVMleniencyRepeats(*FieldElement, rejectBad);
        QVMcollectionOf(*Element).attachElement(FieldElement);
      }
      return *Element;
    }

    // The segments below `Grammar`, in grammar order.
    static void segments(const QVMmessageGrammar& Grammar, std::vector<const QVMsegmentGrammar*>& Out) {
      if (Grammar.isNode()) {
        COL_PRECONDITION_TEXT(Grammar.segment() != nullptr, "pSegmentGrammar != NULL");
        Out.push_back(Grammar.segment());
        return;
      }
      for (size_t Sub = 0; Sub < Grammar.countOfSubGrammar(); ++Sub) segments(*Grammar.subGrammar(Sub), Out);
    }
  } Walk{Schema, RejectBad, name};
  XMLschemaElement* Root = Schema.attachElement(QVMcollectionElement(MessageName));
  const QVMmessageGrammar* Grammar = Definition.messageGrammar();
  COL_PRECONDITION_TEXT(Grammar != nullptr, "NULL != pMessageDef->messageGrammar()");
  // The writer prints the raw segments in the order the message gave them, which no check on
  // this road holds to the grammar: the root holds the grammar's segments in any order and number.
  std::vector<const QVMsegmentGrammar*> Segments;
  Walk.segments(*Grammar, Segments);
  XMLschemaChoice* Choice = QVManyOrderChoice(QVMcollectionOf(*Root).mainSequence());
  std::unordered_set<std::string> Declared;
  for (const QVMsegmentGrammar* Segment : Segments)
    if (Declared.insert(QVMtreeSchemaName(Segment->name().view()).str()).second)
      Choice->attachElementReference(new XMLschemaReference(&Walk.segment(*Segment)));
}
