#include "SGXfromXmlFullTreeValidation.h"

#include <cstdlib>

#include "COLerror.h"
#include "COLostream.h"
#include "QVMcompositeGrammar.h"
#include "QVMconfig.h"
#include "QVMengineInternal.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMmessageGrammar.h"
#include "QVMsegmentGrammar.h"
#include "SCCescaper.h"
#include "SGCcheck.h"
#include "SGCconfig.h"
#include "SGCparseContext.h"
#include "SGCparsed.h"
#include "SGMoutput.h"
#include "SGMsegmentList.h"
#include "SGMstringPool.h"
#include "SGXxmlDom.h"

// Faults of the definition rather than of the document; named after this reader.
#define SGX_ASSERT(expr, text)                                                                  \
  do {                                                                                          \
    if (!(expr)) COLfailCheck("Failed precondition: ", text, "SGXfromXmlFulltreeValidation", __LINE__, 0x80000100); \
  } while (0)

// --- names

COLstring SGXfromXmlFullTreeValidationXmlName(const XMLiosTagFilter& filter, std::initializer_list<COLstring> parts) {
  COLstring Name;
  bool First = true;
  for (const COLstring& Part : parts) {
    if (!First) Name += '.';
    First = false;
    for (char Byte : Part.str())
      if (char Kept = filter.translate(static_cast<unsigned char>(Byte))) Name += Kept;
  }
  if (!Name.empty() && Name[0] >= '0' && Name[0] <= '9') Name[0] = '_';
  return Name;
}

namespace {

COLstring SGXnumber(unsigned value) {
  COLstring Text;
  COLostream(Text) << value;
  return Text;
}

}  // namespace

COLstring SGXfromXmlFullTreeValidationSegmentName(const XMLiosTagFilter& filter, const QVMsegmentGrammar& segment) {
  return SGXfromXmlFullTreeValidationXmlName(filter, {segment.name(), segment.description()});
}

COLstring SGXfromXmlFullTreeValidationFieldName(const XMLiosTagFilter& filter, const QVMsegmentGrammar& segment,
                                                unsigned fieldIndex) {
  return SGXfromXmlFullTreeValidationXmlName(filter,
                                             {segment.name(), SGXnumber(fieldIndex + 1), segment.fieldName(fieldIndex)});
}

COLstring SGXfromXmlFullTreeValidationCompositeGrammarName(const XMLiosTagFilter& filter,
                                                           const QVMcompositeGrammar& composite) {
  return SGXfromXmlFullTreeValidationXmlName(filter, {composite.name(), composite.description()});
}

COLstring SGXfromXmlFullTreeValidationSubFieldName(const XMLiosTagFilter& filter, const QVMcompositeGrammar& composite,
                                                   unsigned fieldIndex) {
  return SGXfromXmlFullTreeValidationXmlName(
      filter, {composite.name(), SGXnumber(fieldIndex + 1), composite.fieldName(fieldIndex)});
}

COLstring SGXfromXmlFullTreeValidationSegmentOrGroupName(const XMLiosTagFilter& filter, const QVMmessageGrammar& rule,
                                                         const QVMmessageDefinitionInternal& definition) {
  if (!rule.parent()) return SGXfromXmlFullTreeValidationXmlName(filter, {definition.name()});
  if (rule.isNode()) {
    SGX_ASSERT(rule.segment() != nullptr, "pSegmentGrammar != 0");
    return SGXfromXmlFullTreeValidationSegmentName(filter, *rule.segment());
  }
  return SGXfromXmlFullTreeValidationXmlName(filter, {rule.grammarName()});
}

unsigned SGXfromXmlFullTreeValidationExtractIndex(const COLstring& name) {
  const std::string& Text = name.str();
  size_t First = Text.find('.');
  if (First == std::string::npos) return 0;
  size_t Second = Text.find('.', First + 1);
  if (Second == std::string::npos) return 0;
  unsigned long long Index = 0;
  for (size_t Pos = First + 1; Pos < Second; ++Pos) {
    char Digit = Text[Pos];
    if (Digit < '0' || Digit > '9') return 0;
    Index = Index * 10 + static_cast<unsigned>(Digit - '0');
    // A number this large names no field; stop before it wraps.
    if (Index > 0xFFFFFFF) return 0;
  }
  return static_cast<unsigned>(Index);
}

bool SGXfromXmlFullTreeValidationCheckFieldNmOrStType(const QVMcompositeGrammar& composite) {
  const QVMcompositeGrammar* Current = &composite;
  // Iterative, so that a definition whose composites refer to each other cannot loop forever.
  for (unsigned Depth = 0; Depth < 64; ++Depth) {
    if (Current->countOfField() != 1) return false;
    if (Current->fieldDataType(0) != QVMcompositeType) return true;
    Current = Current->fieldCompositeType(0);
    if (!Current) return false;
  }
  return false;
}

namespace {

bool SGXisSimpleSubField(const QVMcompositeGrammar& composite, unsigned subField) {
  if (composite.fieldDataType(subField) != QVMcompositeType) return true;
  const QVMcompositeGrammar* Type = composite.fieldCompositeType(subField);
  return Type && SGXfromXmlFullTreeValidationCheckFieldNmOrStType(*Type);
}

bool SGXisSimpleField(const QVMcompositeGrammar* composite) {
  return !composite || SGXfromXmlFullTreeValidationCheckFieldNmOrStType(*composite);
}

// A node's name as errors show it: the element name, or the text of a data node.
const COLstring& SGXnodeText(const SGXxmlDomNode& node) {
  if (const SGXxmlDomNodeElement* Element = node.asElement()) return Element->name();
  return node.asData()->value();
}

template <class Describe>
void SGXignoreArrayToErrors(const SGXignoreArray& ignore, const SGXxmlDomNodeElement& element, SGXerrorList& errors,
                            Describe describe) {
  for (size_t Slot = 0; Slot < ignore.size(); ++Slot) {
    if (ignore[Slot] == SGXignoredSlotTaken) continue;
    const SGXxmlDomNode& Child = element.child(Slot);
    SGXfromXmlFullTreeValidationAddUnexpectedXmlElementError(errors, Child, describe(Slot, SGXnodeText(Child)));
  }
}

}  // namespace

// --- ignore arrays and the errors they leave

void SGXfromXmlFullTreeValidationInitIgnoreArray(SGXignoreArray& ignore, const SGXxmlDomNodeElement& element) {
  ignore.resize(element.countOfChild());
  for (size_t Slot = 0; Slot < ignore.size(); ++Slot) ignore[Slot] = static_cast<unsigned>(Slot);
}

void SGXfromXmlFullTreeValidationAddUnexpectedXmlElementError(SGXerrorList& errors, const SGXxmlDomNode& node,
                                                              const COLstring& description) {
  COLreferencePtr<SGXerror> Error(
      new SGXerror(SGXerror::UnexpectedElement, description, node.line(), node.column()));
  Error->setFatal(false);
  errors.push_back(Error);
}

void SGXfromXmlFullTreeValidationIgnoreArrayToErrorInGroup(const SGXignoreArray& ignore,
                                                           const SGXxmlDomNodeElement& element, SGXerrorList& errors,
                                                           bool atEnd) {
  size_t LastTaken = 0;
  bool AnyTaken = false;
  for (size_t Slot = 0; Slot < ignore.size(); ++Slot)
    if (ignore[Slot] == SGXignoredSlotTaken) LastTaken = Slot, AnyTaken = true;
  SGXignoreArrayToErrors(ignore, element, errors, [&](size_t Slot, const COLstring& X) {
    if (atEnd && AnyTaken && Slot > LastTaken)
      return "Found '" + X + "', at the end of the message, and no more tags are expected";
    return "Found '" + X + "', when expecting tag of form '<SEG.DESC>' or '<GROUP>'.";
  });
}

void SGXfromXmlFullTreeValidationIgnoreArrayToErrorInSegment(const SGXignoreArray& ignore,
                                                             const SGXxmlDomNodeElement& element, SGXerrorList& errors,
                                                             const COLstring& segmentTag) {
  SGXignoreArrayToErrors(ignore, element, errors, [&](size_t, const COLstring& X) {
    return "Found '" + X + "', when expecting tag of form '<" + segmentTag +
           ".NN.SegmentFieldName>' where NN is the segment field index.";
  });
}

void SGXfromXmlFullTreeValidationIgnoreArrayToErrorInField(const SGXignoreArray& ignore,
                                                           const SGXxmlDomNodeElement& element, SGXerrorList& errors,
                                                           const COLstring& compositeTag) {
  SGXignoreArrayToErrors(ignore, element, errors, [&](size_t, const COLstring& X) {
    return "Found '" + X + "', when expecting tag of form '<" + compositeTag + ">'";
  });
}

void SGXfromXmlFullTreeValidationIgnoreArrayToErrorInComplexNode(const SGXignoreArray& ignore,
                                                                 const SGXxmlDomNodeElement& element,
                                                                 SGXerrorList& errors, const COLstring& compositeName) {
  SGXignoreArrayToErrors(ignore, element, errors, [&](size_t, const COLstring& X) {
    return "Found '" + X + "', when expecting '<" + compositeName +
           ".NN.CompositeFieldName>' where NN is the composite field number.";
  });
}

void SGXfromXmlFullTreeValidationIgnoreArrayToErrorInSimpleNode(const SGXignoreArray& ignore,
                                                                const SGXxmlDomNodeElement& element,
                                                                SGXerrorList& errors) {
  SGXignoreArrayToErrors(ignore, element, errors, [&](size_t, const COLstring& X) {
    return "Found '" + X + "', when expecting a single contigous string.";
  });
}

// --- the tree to fill

COLreferencePtr<SGCparsed> SGXfromXmlFullTreeValidationCreateNewGroupTree(QVMmessageGrammar& rule, bool makeRepeats) {
  // A repeats starts empty: occurrences are added as the document shows them.
  if (makeRepeats) return COLreferencePtr<SGCparsed>(new SGCparsedRepeats(&rule));
  if (rule.isNode()) return COLreferencePtr<SGCparsed>(new SGCparsedNotPresent(&rule));
  COLreferencePtr<SGCparsedGroup> Group(new SGCparsedGroup(&rule));
  Group->reserve(static_cast<unsigned>(rule.countOfSubGrammar()));
  for (size_t Index = 0; Index < rule.countOfSubGrammar(); ++Index) {
    QVMmessageGrammar& Sub = *rule.subGrammar(Index);
    Group->append(SGXfromXmlFullTreeValidationCreateNewGroupTree(Sub, Sub.isRepeating()));
  }
  return Group;
}

void SGXfromXmlFullTreeValidationInitPresentFields(std::vector<SGXpresentFieldInfo>& present,
                                                   const SGXxmlDomNodeElement& element, unsigned limit,
                                                   bool allowRepeats) {
  present.clear();
  bool Accepted = false;
  unsigned Last = 0;
  for (size_t Slot = 0; Slot < element.countOfChild(); ++Slot) {
    const SGXxmlDomNodeElement* Child = element.child(Slot).asElement();
    if (!Child) continue;
    unsigned Index = SGXfromXmlFullTreeValidationExtractIndex(Child->name());
    if (Index == 0) continue;
    unsigned FieldIndex = Index - 1;
    if (Accepted && !(allowRepeats ? FieldIndex >= Last : FieldIndex > Last)) continue;
    if (FieldIndex >= limit) continue;
    present.push_back({Child, FieldIndex, static_cast<unsigned>(Slot)});
    Accepted = true;
    Last = FieldIndex;
  }
}

size_t SGXfromXmlFullTreeValidationFindElementNode(size_t position, const COLstring& name,
                                                   const SGXxmlDomNodeElement& element, const SGXignoreArray& ignore) {
  for (size_t Slot = position; Slot < element.countOfChild(); ++Slot) {
    if (ignore[Slot] == SGXignoredSlotTaken) continue;
    const SGXxmlDomNodeElement* Child = element.child(Slot).asElement();
    if (Child && Child->name() == name) return Slot;
  }
  return element.countOfChild();
}

// --- filling

void SGXfromXmlFullTreeValidationFillValue(SGMvalue& value, SGMstringPool& pool, const SGXxmlDomNodeElement& element,
                                           SGXignoreArray& ignore, const SCCescaper* escaper) {
  for (size_t Slot = 0; Slot < element.countOfChild(); ++Slot) {
    const SGXxmlDomNodeData* Data = element.child(Slot).asData();
    if (!Data) continue;
    ignore[Slot] = SGXignoredSlotTaken;
    if (escaper) {
      COLstring Escaped;
      escaper->escapeChar(Escaped, Data->value());
      SGMstringPoolSetValue(value, pool, Escaped.data(), static_cast<uint32_t>(Escaped.size()));
    } else {
      // The document outlives the segment list, so the value may point into it.
      value.set(Data->value().data(), static_cast<uint32_t>(Data->value().size()));
    }
    return;
  }
  value.clear();
}

namespace {

void SGXfillSimple(SGMvalue& value, const SGXxmlDomNodeElement& element, const SGXfieldKey& key,
                   const SCCescaper* escaper, SGXfillState& state) {
  state.sources.fieldKeyNodes[key] = &element;
  SGXignoreArray Ignore;
  SGXfromXmlFullTreeValidationInitIgnoreArray(Ignore, element);
  SGXfromXmlFullTreeValidationFillValue(value, state.stringPool, element, Ignore, escaper);
  SGXfromXmlFullTreeValidationIgnoreArrayToErrorInSimpleNode(Ignore, element, state.errorList);
}

// Finds the composite's element inside a field or sub field element and hands each child named
// after one of its fields to fillChild, which says whether it took it; whatever is left over at
// either depth becomes an error.
template <typename FillChild>
void SGXfillCompositeChildren(const QVMcompositeGrammar& composite, const SGXxmlDomNodeElement& element,
                              SGXfillState& state, FillChild fillChild) {
  SGXignoreArray Ignore;
  SGXfromXmlFullTreeValidationInitIgnoreArray(Ignore, element);
  const COLstring CompositeTag = SGXfromXmlFullTreeValidationCompositeGrammarName(state.tagFilter, composite);
  size_t Slot = SGXfromXmlFullTreeValidationFindElementNode(0, CompositeTag, element, Ignore);
  if (Slot < element.countOfChild()) {
    Ignore[Slot] = SGXignoredSlotTaken;
    const SGXxmlDomNodeElement& CompositeElement = *element.child(Slot).asElement();
    SGXignoreArray CompositeIgnore;
    SGXfromXmlFullTreeValidationInitIgnoreArray(CompositeIgnore, CompositeElement);
    std::vector<SGXpresentFieldInfo> Present;
    SGXfromXmlFullTreeValidationInitPresentFields(Present, CompositeElement, composite.countOfField(), false);
    for (const SGXpresentFieldInfo& Entry : Present) {
      if (Entry.node->name() != SGXfromXmlFullTreeValidationSubFieldName(state.tagFilter, composite, Entry.fieldIndex))
        continue;
      if (fillChild(Entry.fieldIndex, *Entry.node)) CompositeIgnore[Entry.elementIndex] = SGXignoredSlotTaken;
    }
    SGXfromXmlFullTreeValidationIgnoreArrayToErrorInComplexNode(CompositeIgnore, CompositeElement, state.errorList,
                                                                composite.name());
  }
  SGXfromXmlFullTreeValidationIgnoreArrayToErrorInField(Ignore, element, state.errorList, CompositeTag);
}

}  // namespace

void SGXfromXmlFullTreeValidationFillSubField(SGMfield& field, unsigned subField,
                                              const QVMcompositeGrammar& composite,
                                              const SGXxmlDomNodeElement& element, const SCCescaper* escaper,
                                              SGXfillState& state) {
  SGXfillCompositeChildren(composite, element, state, [&](unsigned K, const SGXxmlDomNodeElement& child) {
    // Only plain values are kept at this depth; a deeper composite stays unread.
    if (!SGXisSimpleSubField(composite, K)) return false;
    field.setCountOfSubSubField(subField, K + 1);
    SGXfillSimple(field.value(subField, K), child, {&field, static_cast<int>(subField), static_cast<int>(K)}, escaper,
                  state);
    return true;
  });
}

void SGXfromXmlFullTreeValidationFillField(SGMfield& field, const QVMcompositeGrammar* composite,
                                           const SGXxmlDomNodeElement& element, const SCCescaper* escaper,
                                           SGXfillState& state) {
  if (SGXisSimpleField(composite)) {
    field.setCountOfSubField(1);
    SGXfillSimple(field.value(0, 0), element, {&field, -1, -1}, escaper, state);
    return;
  }
  SGXfillCompositeChildren(*composite, element, state, [&](unsigned S, const SGXxmlDomNodeElement& child) {
    field.setCountOfSubField(S + 1);
    if (SGXisSimpleSubField(*composite, S)) {
      SGXfillSimple(field.value(S, 0), child, {&field, static_cast<int>(S), -1}, escaper, state);
    } else {
      const QVMcompositeGrammar* SubFieldType = composite->fieldCompositeType(S);
      SGX_ASSERT(SubFieldType != nullptr, "pSubFieldType != 0");
      SGXfromXmlFullTreeValidationFillSubField(field, S, *SubFieldType, child, escaper, state);
    }
    return true;
  });
}

void SGXfromXmlFullTreeValidationFillSegment(SGMsegment& segment, const SGXxmlDomNodeElement& element,
                                             const QVMsegmentGrammar& grammar, SGXfillState& state) {
  SGXignoreArray Ignore;
  SGXfromXmlFullTreeValidationInitIgnoreArray(Ignore, element);
  std::vector<SGXpresentFieldInfo> Present;
  SGXfromXmlFullTreeValidationInitPresentFields(Present, element, grammar.countOfField(), true);
  const bool IsHeader = grammar.name() == "MSH";
  for (const SGXpresentFieldInfo& Entry : Present) {
    const unsigned F = Entry.fieldIndex;
    if (Entry.node->name() != SGXfromXmlFullTreeValidationFieldName(state.tagFilter, grammar, F)) continue;
    Ignore[Entry.elementIndex] = SGXignoredSlotTaken;
    unsigned Repeat = 0;
    if (segment.countOfField() > F)
      Repeat = segment.countOfFieldRepeat(F);
    else
      segment.setCountOfField(F + 1);
    segment.setCountOfFieldRepeat(F, Repeat + 1);
    SGMfield& Field = segment.field(F, Repeat);
    Field.clear();
    state.sources.fieldNodes[&Field] = Entry.node;
    // The separator and encoding characters of the header are the delimiters themselves.
    const SCCescaper* Escaper = IsHeader && F <= 1 ? nullptr : state.escaper;
    SGXfromXmlFullTreeValidationFillField(Field, grammar.fieldType(F), *Entry.node, Escaper, state);
  }
  SGXfromXmlFullTreeValidationIgnoreArrayToErrorInSegment(Ignore, element, state.errorList, grammar.name());
}

namespace {

bool SGXisLastInPreOrder(SGCparsed* node) {
  for (SGCparsed* Current = node; Current && Current->parent(); Current = Current->parent())
    if (Current->childIndex() + 1 < Current->parent()->countOfChild()) return false;
  return true;
}

void SGXfillGroup(SGCparsedCollection* group, const SGXxmlDomNodeElement& element, SGXfillState& state) {
  state.sources.parsedNodes[group] = &element;
  SGXignoreArray Ignore;
  SGXfromXmlFullTreeValidationInitIgnoreArray(Ignore, element);
  size_t Position = 0;
  unsigned Child = 0;
  while (Position < element.countOfChild() && Child < group->countOfChild()) {
    SGCparsed* Node = group->child(Child);
    const COLstring Name =
        SGXfromXmlFullTreeValidationSegmentOrGroupName(state.tagFilter, *Node->rule(), state.definition);
    size_t Found = element.countOfChild();
    if (Node->repeats() && Node->repeats()->countOfChild() > 0) {
      // A further occurrence must follow the one before it directly.
      const SGXxmlDomNodeElement* Next = element.child(Position).asElement();
      if (Ignore[Position] != SGXignoredSlotTaken && Next && Next->name() == Name) Found = Position;
    } else {
      Found = SGXfromXmlFullTreeValidationFindElementNode(Position, Name, element, Ignore);
    }
    if (Found < element.countOfChild()) {
      Ignore[Found] = SGXignoredSlotTaken;
      Position = Found + 1;
      SGXfromXmlFullTreeValidationFillNode(Node, *element.child(Found).asElement(), state);
      if (!group->child(Child)->repeats()) ++Child;
    } else {
      ++Child;
    }
  }
  const bool AtEnd = Child >= group->countOfChild() && SGXisLastInPreOrder(group);
  SGXfromXmlFullTreeValidationIgnoreArrayToErrorInGroup(Ignore, element, state.errorList, AtEnd);
}

}  // namespace

void SGXfromXmlFullTreeValidationFillNode(SGCparsed* parsed, const SGXxmlDomNodeElement& element, SGXfillState& state) {
  const COLstring Expected =
      SGXfromXmlFullTreeValidationSegmentOrGroupName(state.tagFilter, *parsed->rule(), state.definition);
  if (Expected != element.name()) {
    SGXfromXmlFullTreeValidationAddUnexpectedXmlElementError(
        state.errorList, element,
        "Found '" + element.name() + "', when expecting tag of form '<SEG.DESC>' or '<GROUP>'.");
    return;
  }
  if (SGCparsedGroup* Group = parsed->group()) {
    SGXfillGroup(Group, element, state);
  } else if (SGCparsedNotPresent* Missing = parsed->notPresent()) {
    QVMmessageGrammar* Rule = Missing->rule();
    SGMsegmentList& List = state.segmentList;
    const unsigned Index = List.countOfSegment();
    List.setCountOfSegment(Index + 1);
    SGMsegment& Segment = List.segment(Index);
    Segment.clear();
    Segment.name().set(Rule->grammarName().data(), static_cast<uint32_t>(Rule->grammarName().size()));
    COLreferencePtr<SGCparsed> Placed(new SGCparsedSegment(Rule, Index, &Segment));
    state.sources.parsedNodes[Placed.get()] = &element;
    Missing->parent()->setChild(Missing->childIndex(), Placed);
    SGXfromXmlFullTreeValidationFillSegment(Segment, element, *Rule->segment(), state);
  } else if (SGCparsedRepeats* Repeats = parsed->repeats()) {
    state.sources.parsedNodes[Repeats] = &element;
    COLreferencePtr<SGCparsed> Occurrence = SGXfromXmlFullTreeValidationCreateNewGroupTree(*Repeats->rule(), false);
    Repeats->append(Occurrence);
    SGXfromXmlFullTreeValidationFillNode(Occurrence.get(), element, state);
  }
}

// --- faults found on the finished tree

namespace {

void SGXsetPosition(SGXerror& error, const SGXxmlDomNodeElement* node) {
  if (node) error.setPosition(node->line(), node->column());
}

template <class Map, class Key>
const SGXxmlDomNodeElement* SGXlookUp(const Map& map, const Key& key) {
  auto Found = map.find(key);
  return Found == map.end() ? nullptr : Found->second;
}

void SGXfromParsedError(const SGCparsedErrorVector& parsedErrors, const SGXsourceMap& sources,
                        SGXerrorList& errors) {
  for (const COLreferencePtr<SGCparsedError>& Parsed : parsedErrors) {
    SGCparsed* Node = Parsed->errorParsed();
    const COLstring Name = Node && Node->rule() ? Node->rule()->grammarName() : COLstring();
    COLreferencePtr<SGXerror> Error;
    if (Parsed->errorCode() == SGCparsedError::RequiredItemMissing) {
      Error = new SGXerror(SGXerror::RequiredMissing,
                           "The segment/group '" + Name + "' is required but was not present in the XML.");
      // The missing part has no element; its parent's stands in for it.
      if (Node && Node->parent()) SGXsetPosition(*Error, SGXlookUp(sources.parsedNodes, Node->parent()));
    } else if (Parsed->errorCode() == SGCparsedError::RepeatCountExceeded) {
      COLstring Text;
      COLostream(Text) << "The segment/group '" << Name << "' exceeded the maximum number of repeats ("
                       << Node->rule()->maximumRepeat() << ").";
      Error = new SGXerror(SGXerror::TooManyRepeats, Text);
      SGXsetPosition(*Error, SGXlookUp(sources.parsedNodes, Node));
    } else {
      const char* Words = Parsed->errorString();
      Error = new SGXerror(SGXerror::XmlParseFailed, Words ? Words : "Unknown structural fault");
      SGXsetPosition(*Error, SGXlookUp(sources.parsedNodes, static_cast<const SGCparsed*>(Node)));
    }
    Error->setFatal(true);
    errors.push_back(Error);
  }
}

SGCparsedSegment* SGXfindParsedFromSegment(SGCparsed* root, unsigned segmentIndex) {
  for (SGCparsed* Node = root; Node; Node = SGCparsedGetNextPreOrder(Node))
    if (SGCparsedSegment* Placed = Node->segment(); Placed && Placed->index() == segmentIndex) return Placed;
  return nullptr;
}

int SGXlevel(unsigned index) { return index == SGCerror::NoIndex ? -1 : static_cast<int>(index); }

// The element that shows the fault best: the value, else the field, else the segment.
const SGXxmlDomNodeElement* SGXsegmentErrorNode(const SGCerror& fault, const SGMsegment& segment, SGCparsed* root,
                                                const SGXsourceMap& sources) {
  const unsigned Field = fault.fieldIndex();
  const unsigned Repeat = fault.repeatIndex() == SGCerror::NoIndex ? 0 : fault.repeatIndex();
  if (Field < segment.countOfField() && Repeat < segment.countOfFieldRepeat(Field)) {
    const SGMfield* Key = &segment.field(Field, Repeat);
    if (auto Node = SGXlookUp(sources.fieldKeyNodes,
                              SGXfieldKey{Key, SGXlevel(fault.subFieldIndex()), SGXlevel(fault.subSubFieldIndex())}))
      return Node;
    if (auto Node = SGXlookUp(sources.fieldNodes, Key)) return Node;
  }
  SGCparsedSegment* Placed = SGXfindParsedFromSegment(root, fault.segmentIndex());
  SGX_ASSERT(Placed != nullptr, "pParsedSegment != 0");
  return SGXlookUp(sources.parsedNodes, static_cast<const SGCparsed*>(Placed));
}

void SGXcheckSegments(SGCparsed* root, const SGMsegmentList& list, const SGXsourceMap& sources, bool fatal,
                      SGXerrorList& errors) {
  SGCerrorList Faults;
  for (SGCparsed* Node = root; Node; Node = SGCparsedGetNextPreOrder(Node)) {
    SGCparsedSegment* Placed = Node->segment();
    if (!Placed || !Placed->rule()->segment()) continue;
    Faults.clear();
    SGCcheckSegment(*Placed->segmentPointer(), Placed->index(), *Placed->rule()->segment(), Faults);
    for (const std::unique_ptr<SGCerror>& Fault : Faults) {
      const SGMsegment& Segment = list.segment(Fault->segmentIndex());
      COLstring Text;
      COLostream Stream(Text);
      Fault->formatError(Segment, Stream);
      Stream << flush;
      COLreferencePtr<SGXerror> Error(new SGXerror(SGXerror::SegmentCheckFailed, Text));
      SGXsetPosition(*Error, SGXsegmentErrorNode(*Fault, Segment, root, sources));
      Error->setFatal(fatal);
      errors.push_back(Error);
    }
  }
}

}  // namespace

// --- the whole document

SGXfromXmlFullTreeValidation::SGXfromXmlFullTreeValidation() : m_TagFilter(nullptr, '.') {}

bool SGXfromXmlFullTreeValidation::xmlToHl7(const COLstring& xml, QVMengineInternal& engine, COLstring& result) {
  result.clear();
  m_ErrorList.clear();
  SGXxmlDomNodeElement Root;
  SGXxmlDomParser Parser;
  // Message values are 8-bit text: the document's UTF-8 comes back one byte per character.
  Parser.setEightBitText(true);
  if (!Parser.parse(xml, Root)) {
    m_ErrorList.push_back(Parser.parseError());
    return false;
  }
  const uint32_t MessageIndex = engine.messageByName(Root.name());
  if (MessageIndex >= engine.countOfMessage()) {
    m_ErrorList.push_back(new SGXerror(SGXerror::MessageNotDefined,
                                       "Message '" + Root.name() + "' is not defined.", Root.line(), Root.column()));
    return false;
  }
  const QVMmessageDefinitionInternal& Definition = *engine.message(MessageIndex);
  QVMmessageGrammar* Grammar = Definition.messageGrammar();
  SGX_ASSERT(Grammar != nullptr, "pMessageGrammar != 0");
  const QVMconfig& Config = engine.config();

  COLreferencePtr<SGCparsed> Tree = SGXfromXmlFullTreeValidationCreateNewGroupTree(*Grammar, false);
  std::unique_ptr<SCCescaper> Escaper;
  if (Config.escapeDataForXmlToHL7()) Escaper = std::make_unique<SCCescaper>(SGCescaperSettings(Config));
  SGMsegmentList Segments;
  SGMstringPool Pool;
  SGXsourceMap Sources;
  SGXfillState State{Segments, Pool, m_ErrorList, m_TagFilter, Sources, Escaper.get(), Definition};
  SGXfromXmlFullTreeValidationFillNode(Tree.get(), Root, State);

  SGCparsedErrorVector ParsedErrors;
  SGCparseCheckRepeatsExceeded(Tree.get(), ParsedErrors);
  SGCparseCheckOptionalityForErrors(Tree.get(), ParsedErrors);
  SGXfromParsedError(ParsedErrors, Sources, m_ErrorList);
  SGXcheckSegments(Tree.get(), Segments, Sources, engine.rejectBadSegmentGrammar(), m_ErrorList);

  SGMseparatorCharacters Separators;
  SGCcopyDelimiters(Config, Separators);
  SGMappendSegmentList(Segments, Separators, std::string_view(&Separators.segmentDelimiter, 1), result);

  SGXerrorListSortByLineNumber(m_ErrorList);
  for (const COLreferencePtr<SGXerror>& Error : m_ErrorList)
    if (Error->fatal()) return false;
  return true;
}
