// SGXfromXmlFullTreeValidation: reads "Full Tree Validation" XML back into a flat message.
// It walks the message grammar and the document side by side, fills a segment list with
// what it recognises and records every disagreement as a positioned SGXerror, so that one
// pass reports all faults of a document.  It reads the engine and never changes it.  Text
// is taken as 8-bit, one byte per character; a character above U+00FF is a fault of its own.
#pragma once

#include <cstdint>
#include <functional>
#include <unordered_map>
#include <vector>

#include "COLstring.h"
#include "SGXerror.h"
#include "XMLiosFilter.h"

class QVMcompositeGrammar;
class QVMengineInternal;
class QVMmessageDefinitionInternal;
class QVMmessageGrammar;
class QVMsegmentGrammar;
class SCCescaper;
class SGCparsed;
class SGCparsedCollection;
class SGMfield;
class SGMsegment;
class SGMsegmentList;
class SGMstringPool;
class SGMvalue;
class SGXxmlDomNode;
class SGXxmlDomNodeElement;

// One field or sub-field element that the document holds.
struct SGXpresentFieldInfo {
  const SGXxmlDomNodeElement* node;
  unsigned fieldIndex;
  unsigned elementIndex;
};

// A field repeat, and the sub-field and sub-sub-field inside it (-1 where a level does not
// apply).
struct SGXfieldKey {
  const SGMfield* field;
  int subField;
  int subSubField;
  bool operator==(const SGXfieldKey&) const = default;
};

struct SGXfieldKeyHash {
  size_t operator()(const SGXfieldKey& key) const {
    return std::hash<const void*>()(key.field) ^ (static_cast<size_t>(key.subField + 1) * 0x9E3779B1u) ^
           (static_cast<size_t>(key.subSubField + 1) << 20);
  }
};

// One slot per child of an element; a consumed child's slot holds NoSlot.  What keeps its
// number at the end was not understood.
using SGXignoreArray = std::vector<unsigned>;
constexpr unsigned SGXignoredSlotTaken = 0xFFFFFFFF;

// Where the parts of the message came from, so that faults found later can be positioned.
struct SGXsourceMap {
  std::unordered_map<const SGCparsed*, const SGXxmlDomNodeElement*> parsedNodes;
  std::unordered_map<const SGMfield*, const SGXxmlDomNodeElement*> fieldNodes;
  std::unordered_map<SGXfieldKey, const SGXxmlDomNodeElement*, SGXfieldKeyHash> fieldKeyNodes;
};

// What the fill functions share for one document.
struct SGXfillState {
  SGMsegmentList& segmentList;
  SGMstringPool& stringPool;
  SGXerrorList& errorList;
  const XMLiosTagFilter& tagFilter;
  SGXsourceMap& sources;
  const SCCescaper* escaper;
  const QVMmessageDefinitionInternal& definition;
};

class SGXfromXmlFullTreeValidation {
public:
  SGXfromXmlFullTreeValidation();

  // True when no error of errorList() is fatal; `result` holds the flat message built from
  // whatever was recognised.
  bool xmlToHl7(const COLstring& xml, QVMengineInternal& engine, COLstring& result);
  // Readable until the next call, in ascending line order.
  const SGXerrorList& errorList() const { return m_ErrorList; }

private:
  SGXerrorList m_ErrorList;
  XMLiosTagFilter m_TagFilter;
};

// --- the steps, free so that each can be tested on its own
// Names as the tag filter spells them: blanks and punctuation vanish from each part, the "."
// between parts stays, a leading digit becomes "_".
COLstring SGXfromXmlFullTreeValidationXmlName(const XMLiosTagFilter& filter, std::initializer_list<COLstring> parts);
COLstring SGXfromXmlFullTreeValidationSegmentOrGroupName(const XMLiosTagFilter& filter, const QVMmessageGrammar& rule,
                                                         const QVMmessageDefinitionInternal& definition);
COLstring SGXfromXmlFullTreeValidationSegmentName(const XMLiosTagFilter& filter, const QVMsegmentGrammar& segment);
COLstring SGXfromXmlFullTreeValidationFieldName(const XMLiosTagFilter& filter, const QVMsegmentGrammar& segment,
                                                unsigned fieldIndex);
COLstring SGXfromXmlFullTreeValidationCompositeGrammarName(const XMLiosTagFilter& filter,
                                                           const QVMcompositeGrammar& composite);
COLstring SGXfromXmlFullTreeValidationSubFieldName(const XMLiosTagFilter& filter, const QVMcompositeGrammar& composite,
                                                   unsigned fieldIndex);

// The number between the first and the second "." of a name; 0 when there is none.
unsigned SGXfromXmlFullTreeValidationExtractIndex(const COLstring& name);
// A composite with one field that is not itself a composite (or is one of this kind).
bool SGXfromXmlFullTreeValidationCheckFieldNmOrStType(const QVMcompositeGrammar& composite);

COLreferencePtr<SGCparsed> SGXfromXmlFullTreeValidationCreateNewGroupTree(QVMmessageGrammar& rule, bool makeRepeats);
void SGXfromXmlFullTreeValidationInitIgnoreArray(SGXignoreArray& ignore, const SGXxmlDomNodeElement& element);
void SGXfromXmlFullTreeValidationInitPresentFields(std::vector<SGXpresentFieldInfo>& present,
                                                   const SGXxmlDomNodeElement& element, unsigned limit,
                                                   bool allowRepeats);
// The first child element at or behind `position` that is still unconsumed and has that
// name; its index, or the child count when there is none.
size_t SGXfromXmlFullTreeValidationFindElementNode(size_t position, const COLstring& name,
                                                   const SGXxmlDomNodeElement& element, const SGXignoreArray& ignore);

void SGXfromXmlFullTreeValidationFillNode(SGCparsed* parsed, const SGXxmlDomNodeElement& element, SGXfillState& state);
void SGXfromXmlFullTreeValidationFillSegment(SGMsegment& segment, const SGXxmlDomNodeElement& element,
                                             const QVMsegmentGrammar& grammar, SGXfillState& state);
void SGXfromXmlFullTreeValidationFillField(SGMfield& field, const QVMcompositeGrammar* composite,
                                           const SGXxmlDomNodeElement& element, const SCCescaper* escaper,
                                           SGXfillState& state);
void SGXfromXmlFullTreeValidationFillSubField(SGMfield& field, unsigned subField,
                                              const QVMcompositeGrammar& composite,
                                              const SGXxmlDomNodeElement& element, const SCCescaper* escaper,
                                              SGXfillState& state);
void SGXfromXmlFullTreeValidationFillValue(SGMvalue& value, SGMstringPool& pool, const SGXxmlDomNodeElement& element,
                                           SGXignoreArray& ignore, const SCCescaper* escaper);

void SGXfromXmlFullTreeValidationAddUnexpectedXmlElementError(SGXerrorList& errors, const SGXxmlDomNode& node,
                                                              const COLstring& description);
