#include "SGCmap.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "COLerror.h"
#include "COLostream.h"
#include "LAGexecute.h"
#include "LANengine.h"
#include "LANfunction.h"
#include "QVMcompositeGrammar.h"
#include "QVMdateTimeInternal.h"
#include "QVMengineInternal.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMmessageGrammar.h"
#include "QVMsegmentGrammar.h"
#include "QVMtableDefinitionInternal.h"
#include "QVMtableGrammarInternal.h"
#include "QVMtableInternal.h"
#include "QVPtableEquation.h"
#include "SGCcheck.h"
#include "SGCparsed.h"
#include "SGMsegmentList.h"

namespace {

constexpr unsigned kUnset = static_cast<unsigned>(-1);

[[noreturn]] void SGCthrowBadRoot(QVMtableGrammarInternal* Grammar, const COLstring& Detail) {
  COLstring Text;
  COLostream Stream(Text);
  Stream << "Table: '" << SGCmapFullName(Grammar) << "' " << Detail;
  Stream.newline();
  Stream << "Suggested fix:  Reset the grammar root for this table.";
  Stream.flush();
  throw COLerror(Text, COL_ERROR_PRECONDITION);
}

// The type of a leaf or simple composite at `Index` of `C`, after walking the levels.
SGCmapValueType SGCtypeAt(const QVMcompositeGrammar* C, uint32_t Index) {
  SGCmapValueType Type;
  if (Index >= C->countOfField() && C->countOfField() == 1) Index = 0;
  if (Index >= C->countOfField()) return Type;
  switch (C->fieldDataType(Index)) {
    case QVMstringType:
    case QVMintegerType:
    case QVMdoubleType:
      Type.valid = true;
      Type.dataType = C->fieldDataType(Index);
      return Type;
    case QVMcompositeType:
      return Type;
    case QVMdateTimeType:
      Type.valid = true;
      Type.dataType = QVMdateTimeType;
      Type.dateTimeGrammar = C->fieldDateTimeGrammar(Index);
      return Type;
    default:
      throw COLerror("Unknown data type from composite", COL_ERROR_PRECONDITION);
  }
}

// Walks a composite from `Level` of the address on.
SGCmapValueType SGCtypeFromComposite(const QVMcompositeGrammar* C, const QVMmessageNodeAddress& Address,
                                     unsigned Level) {
  if (!C) return {};
  uint32_t Index = C->countOfField();
  for (; Level < Address.depth(); ++Level) {
    Index = Address.nodeIndex(Level);
    if (Index >= C->countOfField()) return {};
    if (C->fieldDataType(Index) != QVMcompositeType) {
      if (Level + 1 != Address.depth()) return {};
      break;
    }
    C = C->fieldCompositeType(Index);
    if (!C) return {};
  }
  return SGCtypeAt(C, Index);
}

SGCmapValueType SGCtypeFromRule(const QVMmessageGrammar* Rule, const QVMmessageNodeAddress& Address) {
  unsigned Level = 0;
  while (Rule && !Rule->isNode()) {
    if (Level >= Address.depth() || Address.nodeIndex(Level) >= Rule->countOfSubGrammar()) return {};
    Rule = Rule->subGrammar(Address.nodeIndex(Level++));
  }
  if (!Rule || !Rule->segment() || Level >= Address.depth()) return {};
  const QVMsegmentGrammar& Segment = *Rule->segment();
  const uint32_t Field = Address.nodeIndex(Level++);
  if (Field >= Segment.countOfField()) return {};
  return SGCtypeFromComposite(Segment.fieldType(Field), Address, Level);
}

const QVMtableMapSet* SGCmapSetOf(QVMtableGrammarInternal* Grammar) {
  QVMtableDefinitionInternal* Definition = Grammar->table();
  const QVMtableMapSet* MapSet = nullptr;
  if (Definition && Grammar->tableMapSetIndex() < Definition->countOfMapSet())
    MapSet = Definition->mapSet(Grammar->tableMapSetIndex());
  COL_PRECONDITION_TEXT(MapSet != nullptr, "pMapSet");
  return MapSet;
}

// What filling a table needs of one map set, worked out once per loaded definition and kept by
// the map set for every parse on every thread.  Two layouts of the same columns:
//  - for rows rooted at a segment, the columns by the field they read, so that a row visits the
//    fields the segment has rather than every mapped column.  Addresses that can reach no value
//    (deeper than a sub-sub-field, or repeating below the field) are left out: their cells stay
//    null, as the lookup would leave them;
//  - for rows rooted at a group, the columns in order with their steps copied out and how many
//    leading steps each shares with the column before it, so that a row walks from the group to
//    a segment once for all the columns that read that segment;
//  - for rows of one repeat of a field, the columns that can reach a value in it, by component,
//    so that a row stops at the field's last component.
// The type of each column depends on the grammar rule the rows sit on as well (for rows of a
// field, on the field's composite), so the plan keeps one list of types per rule or composite
// it has met (usually one).  A plan is stale once the engine has seen
// an edit since it was built; an edit of the map set drops it at once.
struct SGCfillEntry {
  unsigned column;
  unsigned repeat;
  unsigned depth;   // 1 to 3
  unsigned sub;     // the component (depth 2 and 3)
  unsigned subSub;  // the sub-component (depth 3)
  QVMmessageNodeAddress address;
};

struct SGCfieldColumn {
  unsigned column;
  unsigned sub;     // the component
  unsigned subSub;  // the sub-component, kUnset for the component's first value
  QVMmessageNodeAddress address;
};

struct SGCgroupColumn {
  unsigned column;
  unsigned firstStep;  // in SGCfillPlan::steps, two words (node, repeat) per step
  unsigned depth;
  unsigned shared;  // leading steps equal to the previous entry's
  QVMmessageNodeAddress address;
};

// A column's type under one rule; `deferred` when working it out failed, so that the failure is
// raised where a value needs the type, as it would be without a plan.
struct SGCplannedType {
  SGCmapValueType type;
  bool deferred = false;
};

// Types under a message grammar rule (segment and group rows) or, for rows of a field, under the
// field's composite; `key` is the one or the other, `field` tells which.
struct SGCruleTypes {
  const void* key = nullptr;
  bool field = false;
  std::vector<SGCplannedType> segmentTypes;  // by SGCfillPlan::entries
  std::vector<SGCplannedType> groupTypes;    // by SGCfillPlan::columns
  std::vector<SGCplannedType> fieldTypes;    // by SGCfillPlan::fieldColumns
};

struct SGCfillPlan {
  uint64_t generation = 0;
  std::vector<SGCfillEntry> entries;  // by field
  std::vector<unsigned> fieldBegin;   // entries of field F: [fieldBegin[F], fieldBegin[F + 1])
  std::vector<SGCgroupColumn> columns;
  std::vector<uint32_t> steps;
  std::vector<SGCfieldColumn> fieldColumns;  // by component
  std::vector<std::shared_ptr<const SGCruleTypes>> rules;
};

void SGCplanSegmentLayout(const QVMtableMapSet& MapSet, SGCfillPlan& Plan) {
  std::vector<std::pair<unsigned, unsigned>> Order;  // field, column
  for (unsigned Column = 0; Column < MapSet.countOfMap(); ++Column) {
    const QVMmessageNodeAddress& Address = MapSet.map(Column).nodeAddress();
    const unsigned Depth = Address.depth();
    if (Depth == 0 || Depth > 3) continue;
    if ((Depth > 1 && Address.repeatIndex(1) != 0) || (Depth > 2 && Address.repeatIndex(2) != 0)) continue;
    Order.emplace_back(Address.nodeIndex(0), Column);
  }
  std::stable_sort(Order.begin(), Order.end(), [](const auto& A, const auto& B) { return A.first < B.first; });
  const unsigned Fields = Order.empty() ? 0 : Order.back().first + 1;
  Plan.fieldBegin.assign(Fields + 1, 0);
  for (const auto& [Field, Column] : Order) {
    const QVMmessageNodeAddress& Address = MapSet.map(Column).nodeAddress();
    const unsigned Depth = Address.depth();
    Plan.entries.push_back({Column, Address.repeatIndex(0), Depth, Depth > 1 ? Address.nodeIndex(1) : 0,
                            Depth > 2 ? Address.nodeIndex(2) : 0, Address});
    ++Plan.fieldBegin[Field + 1];
  }
  for (unsigned Field = 0; Field < Fields; ++Field) Plan.fieldBegin[Field + 1] += Plan.fieldBegin[Field];
}

void SGCplanGroupLayout(const QVMtableMapSet& MapSet, SGCfillPlan& Plan) {
  const QVMmessageNodeAddress* Previous = nullptr;
  for (unsigned Column = 0; Column < MapSet.countOfMap(); ++Column) {
    const QVMmessageNodeAddress& Address = MapSet.map(Column).nodeAddress();
    const unsigned Depth = Address.depth();
    if (Depth == 0) continue;
    SGCgroupColumn Entry{Column, static_cast<unsigned>(Plan.steps.size()), Depth, 0, Address};
    for (unsigned Step = 0; Step < Depth; ++Step) {
      Plan.steps.push_back(Address.nodeIndex(Step));
      Plan.steps.push_back(Address.repeatIndex(Step));
    }
    if (Previous) {
      const unsigned Common = std::min(Depth, Previous->depth());
      while (Entry.shared < Common && Address.nodeIndex(Entry.shared) == Previous->nodeIndex(Entry.shared) &&
             Address.repeatIndex(Entry.shared) == Previous->repeatIndex(Entry.shared))
        ++Entry.shared;
    }
    Plan.columns.push_back(std::move(Entry));
    Previous = &Address;
  }
}

// The addresses that can reach a value of a field's repeat, as SGCmapValueFromField reads them
// from level 0: a component, or a sub-component of one, never a repeat past the first.
void SGCplanFieldLayout(const QVMtableMapSet& MapSet, SGCfillPlan& Plan) {
  for (unsigned Column = 0; Column < MapSet.countOfMap(); ++Column) {
    const QVMmessageNodeAddress& Address = MapSet.map(Column).nodeAddress();
    const unsigned Depth = Address.depth();
    if (Depth == 0 || Depth > 2 || Address.repeatIndex(0) != 0) continue;
    if (Depth == 2 && Address.repeatIndex(1) != 0) continue;
    Plan.fieldColumns.push_back({Column, Address.nodeIndex(0), Depth == 2 ? Address.nodeIndex(1) : kUnset, Address});
  }
  std::stable_sort(Plan.fieldColumns.begin(), Plan.fieldColumns.end(),
                   [](const SGCfieldColumn& A, const SGCfieldColumn& B) { return A.sub < B.sub; });
}

// A type worked out ahead; a failure is kept to be raised where a value needs the type.
template <typename Work>
SGCplannedType SGCplanType(Work&& work) {
  SGCplannedType Planned;
  try {
    Planned.type = work();
  } catch (const COLerror&) {
    Planned.deferred = true;
  }
  return Planned;
}

std::shared_ptr<const SGCruleTypes> SGCplanRuleTypes(const SGCfillPlan& Plan, const void* Key, bool Field) {
  auto Types = std::make_shared<SGCruleTypes>();
  Types->key = Key;
  Types->field = Field;
  if (Field) {
    const auto* Composite = static_cast<const QVMcompositeGrammar*>(Key);
    Types->fieldTypes.reserve(Plan.fieldColumns.size());
    for (const SGCfieldColumn& Entry : Plan.fieldColumns)
      Types->fieldTypes.push_back(SGCplanType([&] { return SGCtypeFromComposite(Composite, Entry.address, 0); }));
    return Types;
  }
  const auto* Rule = static_cast<const QVMmessageGrammar*>(Key);
  Types->segmentTypes.reserve(Plan.entries.size());
  for (const SGCfillEntry& Entry : Plan.entries)
    Types->segmentTypes.push_back(SGCplanType([&] { return SGCtypeFromRule(Rule, Entry.address); }));
  Types->groupTypes.reserve(Plan.columns.size());
  for (const SGCgroupColumn& Entry : Plan.columns)
    Types->groupTypes.push_back(SGCplanType([&] { return SGCtypeFromRule(Rule, Entry.address); }));
  return Types;
}

const SGCmapValueType& SGCtypeOf(const SGCplannedType& Planned, const QVMmessageGrammar* Rule,
                                 const QVMmessageNodeAddress& Address) {
  if (Planned.deferred) SGCtypeFromRule(Rule, Address);  // raises what planning met
  return Planned.type;
}

const SGCmapValueType& SGCfieldTypeOf(const SGCplannedType& Planned, const QVMcompositeGrammar* Composite,
                                      const QVMmessageNodeAddress& Address) {
  if (Planned.deferred) SGCtypeFromComposite(Composite, Address, 0);  // raises what planning met
  return Planned.type;
}

// The engine of the message being filled and its generation, read once per message.
struct SGCfillSource {
  QVMengineInternal* engine = nullptr;
  uint64_t generation = 0;
};

thread_local SGCfillSource t_Source;

// The plans this thread used last, by map set and rule: a row whose slot still names the map
// set's current plan, built at the engine's current generation, takes no lock and counts no
// reference.  The slot holds the plan, so that a plan the map set dropped is never read freed.
struct SGCplanSlot {
  const QVMtableMapSet* mapSet = nullptr;
  const void* key = nullptr;
  bool field = false;
  std::shared_ptr<const SGCfillPlan> plan;
  const SGCruleTypes* types = nullptr;
};

constexpr unsigned kPlanSlotBits = 8;
thread_local SGCplanSlot t_PlanSlots[1u << kPlanSlotBits];

std::mutex& SGCplanMutex(QVMengineInternal* Engine) {
  static std::mutex WithoutEngine;
  return Engine ? Engine->parserCacheMutex() : WithoutEngine;
}

// The map set's plan with the types for `Key`, built or completed under the engine's lock.  A
// plan is never changed once published: one that lacks the key is replaced by a copy with it.
void SGCfillSlot(SGCplanSlot& Slot, const QVMtableMapSet& MapSet, const void* Key, bool Field) {
  std::lock_guard<std::mutex> Lock(SGCplanMutex(t_Source.engine));
  auto Plan = std::static_pointer_cast<const SGCfillPlan>(MapSet.planOwner());
  if (!Plan || Plan->generation != t_Source.generation) {
    auto Fresh = std::make_shared<SGCfillPlan>();
    Fresh->generation = t_Source.generation;
    SGCplanSegmentLayout(MapSet, *Fresh);
    SGCplanGroupLayout(MapSet, *Fresh);
    SGCplanFieldLayout(MapSet, *Fresh);
    Plan = Fresh;
    MapSet.setPlan(Plan);
  }
  const SGCruleTypes* Types = nullptr;
  for (const auto& Known : Plan->rules)
    if (Known->key == Key && Known->field == Field) Types = Known.get();
  if (!Types) {
    auto Wider = std::make_shared<SGCfillPlan>(*Plan);
    Wider->rules.push_back(SGCplanRuleTypes(*Wider, Key, Field));
    Types = Wider->rules.back().get();
    Plan = Wider;
    MapSet.setPlan(Plan);
  }
  Slot.mapSet = &MapSet;
  Slot.key = Key;
  Slot.field = Field;
  Slot.plan = std::move(Plan);
  Slot.types = Types;
}

// `Key` is the rule the rows sit on, or with `Field` the composite of the field the rows read.
const SGCplanSlot& SGCplanFor(const QVMtableMapSet& MapSet, const void* Key, bool Field = false) {
  // Map sets and keys are heap objects a few dozen bytes apart: a multiplicative hash spreads
  // the low bits that tell them apart over the slot index.
  const uint64_t Hash = (reinterpret_cast<uintptr_t>(&MapSet) * 0x9E3779B97F4A7C15ull) ^
                        ((reinterpret_cast<uintptr_t>(Key) + Field) * 0xC2B2AE3D27D4EB4Full);
  SGCplanSlot& Slot = t_PlanSlots[Hash >> (64 - kPlanSlotBits)];
  if (Slot.mapSet != &MapSet || Slot.key != Key || Slot.field != Field || Slot.plan.get() != MapSet.planInPlace() ||
      Slot.plan->generation != t_Source.generation)
    SGCfillSlot(Slot, MapSet, Key, Field);
  return Slot;
}

// The value a planned address reaches in one occurrence of its field, as SGCmapValueFromField.
const SGMvalue* SGCplannedValue(SGMfield& Field, const SGCfillEntry& Entry) {
  // Depth 1 reads the first value of the first component, as depth 2 does of component 0.
  const unsigned Sub = Entry.sub;
  const unsigned SubSub = Entry.depth > 2 ? Entry.subSub : 0;
  return Sub < Field.countOfSubField() && SubSub < Field.countOfSubSubField(Sub) ? &Field.value(Sub, SubSub)
                                                                                  : nullptr;
}

// The value the steps of an address from `Depth` to `End` reach in one occurrence of a field:
// its first value at the field itself, a component's first value, or a sub-component; never a
// repeat past the first below the field.  `Node(i)` and `Repeat(i)` read step i.
template <class Node, class Repeat>
SGMvalue* SGCvalueInField(SGMfield& Field, unsigned Depth, unsigned End, const Node& node, const Repeat& repeat) {
  if (Depth > End) return nullptr;
  if (Depth == End) return Field.countOfSubField() && Field.countOfSubSubField(0) ? &Field.value(0, 0) : nullptr;
  if (repeat(Depth) != 0) return nullptr;
  const unsigned SubField = node(Depth);
  if (SubField >= Field.countOfSubField()) return nullptr;
  if (Depth + 1 == End) return Field.countOfSubSubField(SubField) ? &Field.value(SubField, 0) : nullptr;
  if (Depth + 2 != End || repeat(Depth + 1) != 0) return nullptr;
  const unsigned SubSubField = node(Depth + 1);
  return SubSubField < Field.countOfSubSubField(SubField) ? &Field.value(SubField, SubSubField) : nullptr;
}

// SGCmapValueFromField on an address copied out as steps (node, repeat pairs).
const SGMvalue* SGCstepsValue(SGMfield& Field, const uint32_t* Steps, unsigned Depth, unsigned End) {
  return SGCvalueInField(
      Field, Depth, End, [Steps](unsigned Step) { return Steps[2 * Step]; },
      [Steps](unsigned Step) { return Steps[2 * Step + 1]; });
}

// One step of an address inside a group: child `Node`, occurrence `Repeat` of it when it repeats
// (only occurrence 0 of one that does not); null when the message has no such place.
SGCparsed* SGCgroupStep(SGCparsedCollection& Group, unsigned Node, unsigned Repeat) {
  if (Node >= Group.countOfChild()) return nullptr;
  SGCparsed* Child = Group.child(Node);
  if (Child->notPresent()) return nullptr;
  if (SGCparsedRepeats* Repeats = Child->repeats())
    return Repeat < Repeats->countOfChild() ? Repeats->child(Repeat) : nullptr;
  return Repeat == 0 ? Child : nullptr;
}

// Walks the steps from a group row as SGCmapValueFromParsed does until it meets a segment; `At`
// is the step the segment's field is read at.
SGMsegment* SGCwalkToSegment(SGCparsed* Parsed, const uint32_t* Steps, unsigned Depth, unsigned& At) {
  for (At = 0; Parsed; ++At) {
    if (At >= Depth) return nullptr;
    COL_PRECONDITION_TEXT(!Parsed->repeats(), "! pParsed->repeats()");
    if (SGCparsedSegment* Segment = Parsed->segment()) return Segment->segmentPointer();
    SGCparsedCollection* Group = Parsed->collection();
    if (!Group) return nullptr;
    Parsed = SGCgroupStep(*Group, Steps[2 * At], Steps[2 * At + 1]);
  }
  return nullptr;
}

unsigned SGCcolumnCount(QVMtableGrammarInternal* Grammar, QVMtableInternal& Table) {
  const size_t Defined = Grammar->table()->countOfColumn();
  const size_t Held = Table.countOfColumn();
  return static_cast<unsigned>(Defined < Held ? Defined : Held);
}

}  // namespace

void SGCvisitMappedColumns(const QVMtableMapSet& MapSet, QVMengineInternal* Engine, SGCmappedColumns& Listener) {
  // The layout is the one rows rooted at a group use; its types (for no rule) are not read.
  const SGCfillSource Saved = t_Source;
  t_Source.engine = Engine;
  t_Source.generation = Engine ? Engine->planGeneration() : 0;
  const SGCplanSlot& Slot = SGCplanFor(MapSet, nullptr);
  t_Source = Saved;
  // The listener plans nothing, so the slot and its plan stay as they are while it hears.
  const SGCfillPlan& Plan = *Slot.plan;
  // A column that shares at least `Pass` steps with the one before it shares them with the one
  // that set `Pass` too, and is passed over.
  unsigned Pass = SGCmappedColumns::kNoneToPass;
  for (const SGCgroupColumn& Entry : Plan.columns) {
    if (Entry.shared >= Pass) continue;
    Pass = Listener.column(Entry.column, &Plan.steps[Entry.firstStep], Entry.depth, Entry.shared);
  }
}

COLstring SGCmapFullName(QVMtableGrammarInternal* Grammar) {
  COLstring Name;
  for (QVMtableGrammarInternal* Node = Grammar; Node; Node = Node->parent())
    Name = Name.empty() ? Node->name() : Node->name() + "." + Name;
  return Name;
}

unsigned SGCmappingPoint(QVMtableGrammarInternal* Grammar, size_t Hint) {
  QVMmessageGrammar* Root = Grammar->messageGrammar();
  if (!Root) SGCthrowBadRoot(Grammar, "does not have a valid grammar set.'");
  QVMtableGrammarInternal* Parent = Grammar->parent();
  if (!Parent || Parent->messageGrammar() == Root) return kUnset;
  QVMmessageGrammar* ParentRoot = Parent->messageGrammar();
  // Table grammars mostly follow their message grammar child for child: the hint saves a search
  // per table, which for a message of many segments made the walk quadratic.
  if (ParentRoot && Hint < ParentRoot->countOfSubGrammar() && ParentRoot->subGrammar(Hint) == Root)
    return static_cast<unsigned>(Hint);
  if (ParentRoot)
    for (size_t Index = 0; Index < ParentRoot->countOfSubGrammar(); ++Index)
      if (ParentRoot->subGrammar(Index) == Root) return static_cast<unsigned>(Index);
  SGCthrowBadRoot(Grammar, "has an invalid grammar root set: '" + Root->fullGrammarName() + "'.");
}

void SGCmap(SGCparsed* Root, QVMtableInternal& Table) {
  COL_PRECONDITION_TEXT(Root != nullptr, "pParsed");
  COL_PRECONDITION_TEXT(!Root->parent(), "! pParsed->parent()");
  QVMmessageDefinitionInternal* Message = Root->rule()->message();
  QVMtableGrammarInternal* Grammar = &Message->tableGrammar();
  // Edits come between messages: one look at the engine tells whether the plans still fit.
  t_Source.engine = Message->rootEngine();
  t_Source.generation = t_Source.engine ? t_Source.engine->planGeneration() : 0;
  Table.makeEmptyTable(Grammar);
  SGCmapItem(Root, Grammar, Table);
}

void SGCmapItem(SGCparsed* Parsed, QVMtableGrammarInternal* Grammar, QVMtableInternal& Table, size_t Hint) {
  const unsigned Point = SGCmappingPoint(Grammar, Hint);
  const unsigned Field = Grammar->messageGrammarFieldIndex();
  SGCparsed* Target = Parsed;
  if (Point != kUnset) {
    COL_PRECONDITION_TEXT(Parsed->group(), "pParsed->group()");
    COL_PRECONDITION_TEXT(Field == kUnset, "FieldIndex == npos");
    SGCparsedGroup* Group = Parsed->group();
    Target = Point < Group->countOfChild() ? Group->child(Point) : nullptr;
  } else if (Field != kUnset) {
    SGCparsedSegment* Segment = Parsed->segment();
    COL_PRECONDITION_TEXT(Segment, "pParsed->segment()");
    SGMsegment& Raw = *Segment->segmentPointer();
    if (Field >= Raw.countOfField()) return;
    Table.makeEmptyTable(Grammar);
    const unsigned Repeats = Raw.countOfFieldRepeat(Field);
    for (unsigned Repeat = 0; Repeat < Repeats; ++Repeat) SGCmapRowAtField(Grammar, Segment, Field, Repeat, Table);
    return;
  }
  if (!Target || Target->notPresent()) return;
  Table.makeEmptyTable(Grammar);
  if (SGCparsedRepeats* Repeats = Target->repeats()) {
    for (unsigned Index = 0; Index < Repeats->countOfChild(); ++Index) SGCmapRow(Repeats->child(Index), Grammar, Table);
    return;
  }
  SGCmapRow(Target, Grammar, Table);
}

void SGCmapRow(SGCparsed* Parsed, QVMtableGrammarInternal* Grammar, QVMtableInternal& Table) {
  const unsigned Row = Table.addRow();
  if (Grammar->isNode()) {
    SGCmapFillTable(Parsed, Grammar, Table, Row);
    return;
  }
  for (size_t Index = 0; Index < Grammar->countOfSubGrammar(); ++Index)
    SGCmapItem(Parsed, Grammar->subGrammar(Index), Table.subTable(Row, static_cast<unsigned>(Index)), Index);
}

void SGCmapRowAtField(QVMtableGrammarInternal* Grammar, SGCparsedSegment* Parsed, unsigned Field, unsigned Repeat,
                      QVMtableInternal& Table) {
  const unsigned Row = Table.addRow();
  if (Grammar->isNode()) {
    SGCmapFillTableAtField(Parsed, Field, Repeat, Grammar, Table, Row);
    return;
  }
  for (size_t Index = 0; Index < Grammar->countOfSubGrammar(); ++Index) {
    QVMtableGrammarInternal* Sub = Grammar->subGrammar(Index);
    COL_PRECONDITION_TEXT(Sub->messageGrammar() == Grammar->messageGrammar(),
                          "pMap->subGrammar(SubMapIndex)->messageGrammar() == pMap->messageGrammar()");
    COL_PRECONDITION_TEXT(Sub->messageGrammarFieldIndex() == Grammar->messageGrammarFieldIndex(),
                          "pMap->subGrammar(SubMapIndex)->messageGrammarFieldIndex() == "
                          "pMap->messageGrammarFieldIndex()");
    QVMtableInternal& SubTable = Table.subTable(Row, static_cast<unsigned>(Index));
    SubTable.makeEmptyTable(Sub);
    SGCmapRowAtField(Sub, Parsed, Field, Repeat, SubTable);
  }
}

void SGCmapFillTable(SGCparsed* Parsed, QVMtableGrammarInternal* Grammar, QVMtableInternal& Table, unsigned Row) {
  const QVMtableMapSet* MapSet = SGCmapSetOf(Grammar);
  const unsigned Columns = SGCcolumnCount(Grammar, Table);
  const QVMmessageGrammar* Rule = Parsed->rule();
  const SGCplanSlot& Slot = SGCplanFor(*MapSet, Rule);
  const SGCfillPlan& Plan = *Slot.plan;
  if (SGCparsedSegment* Placed = Parsed->segment()) {
    SGMsegment& Raw = *Placed->segmentPointer();
    const unsigned Fields = std::min<unsigned>(Raw.countOfField(), static_cast<unsigned>(Plan.fieldBegin.size()) - 1);
    for (unsigned Field = 0; Field < Fields; ++Field) {
      const unsigned Repeats = Raw.countOfFieldRepeat(Field);
      for (unsigned Entry = Plan.fieldBegin[Field]; Entry < Plan.fieldBegin[Field + 1]; ++Entry) {
        const SGCfillEntry& Planned = Plan.entries[Entry];
        if (Planned.column >= Columns || Planned.repeat >= Repeats) continue;
        // The row is new, so its cells are null already: only a value found is set.
        const SGMvalue* Value = SGCplannedValue(Raw.field(Field, Planned.repeat), Planned);
        if (!Value) continue;
        SGCmapSetCell(Table, Planned.column, Row, Value,
                      SGCtypeOf(Slot.types->segmentTypes[Entry], Rule, Planned.address));
      }
    }
    return;
  }
  SGMsegment* Reached = nullptr;  // the segment the last walk met, at step ReachedAt
  unsigned ReachedAt = 0;
  for (size_t Index = 0; Index < Plan.columns.size(); ++Index) {
    const SGCgroupColumn& Entry = Plan.columns[Index];
    // Columns come in order, and a column after a skipped one could not trust the walk before it.
    if (Entry.column >= Columns) break;
    const uint32_t* Steps = &Plan.steps[Entry.firstStep];
    unsigned At = ReachedAt;
    SGMsegment* Segment = Reached && Entry.shared >= ReachedAt && Entry.depth > ReachedAt
                              ? Reached
                              : SGCwalkToSegment(Parsed, Steps, Entry.depth, At);
    Reached = Segment;
    ReachedAt = At;
    if (!Segment) continue;
    const unsigned Field = Steps[2 * At];
    const unsigned Repeat = Steps[2 * At + 1];
    if (Field >= Segment->countOfField() || Repeat >= Segment->countOfFieldRepeat(Field)) continue;
    // The row is new, so its cells are null already: only a value found is set.
    const SGMvalue* Value = SGCstepsValue(Segment->field(Field, Repeat), Steps, At + 1, Entry.depth);
    if (!Value) continue;
    SGCmapSetCell(Table, Entry.column, Row, Value, SGCtypeOf(Slot.types->groupTypes[Index], Rule, Entry.address));
  }
}

void SGCmapFillTableAtField(SGCparsedSegment* Parsed, unsigned Field, unsigned Repeat,
                            QVMtableGrammarInternal* Grammar, QVMtableInternal& Table, unsigned Row) {
  const QVMtableMapSet* MapSet = SGCmapSetOf(Grammar);
  const unsigned Columns = SGCcolumnCount(Grammar, Table);
  SGMfield& RawField = Parsed->segmentPointer()->field(Field, Repeat);
  const QVMsegmentGrammar* Segment = Parsed->rule()->segment();
  const QVMcompositeGrammar* Composite =
      Segment && Field < Segment->countOfField() ? Segment->fieldType(Field) : nullptr;
  const SGCplanSlot& Slot = SGCplanFor(*MapSet, Composite, true);
  const std::vector<SGCfieldColumn>& Planned = Slot.plan->fieldColumns;
  const unsigned SubFields = RawField.countOfSubField();
  for (size_t Index = 0; Index < Planned.size(); ++Index) {
    const SGCfieldColumn& Entry = Planned[Index];
    // By component: the rest lie past the field's last one.
    if (Entry.sub >= SubFields) break;
    if (Entry.column >= Columns) continue;
    const unsigned SubSub = Entry.subSub == kUnset ? 0 : Entry.subSub;
    if (SubSub >= RawField.countOfSubSubField(Entry.sub)) continue;
    // The row is new, so its cells are null already: only a value found is set.
    SGCmapSetCell(Table, Entry.column, Row, &RawField.value(Entry.sub, SubSub),
                  SGCfieldTypeOf(Slot.types->fieldTypes[Index], Composite, Entry.address));
  }
}

SGMvalue* SGCmapValueFromParsed(SGCparsed* Parsed, const QVMmessageNodeAddress& Address, unsigned Depth) {
  while (Parsed) {
    if (Depth >= Address.depth()) return nullptr;
    COL_PRECONDITION_TEXT(!Parsed->repeats(), "! pParsed->repeats()");
    if (SGCparsedSegment* Segment = Parsed->segment())
      return SGCmapValueFromSegment(*Segment->segmentPointer(), Address, Depth);
    SGCparsedCollection* Group = Parsed->collection();
    if (!Group) return nullptr;
    Parsed = SGCgroupStep(*Group, Address.nodeIndex(Depth), Address.repeatIndex(Depth));
    ++Depth;
  }
  return nullptr;
}

SGMvalue* SGCmapValueFromSegment(SGMsegment& Segment, const QVMmessageNodeAddress& Address, unsigned Depth) {
  if (Depth >= Address.depth()) return nullptr;
  const unsigned Field = Address.nodeIndex(Depth);
  const unsigned Repeat = Address.repeatIndex(Depth);
  if (Field >= Segment.countOfField() || Repeat >= Segment.countOfFieldRepeat(Field)) return nullptr;
  return SGCmapValueFromField(Segment.field(Field, Repeat), Address, Depth + 1);
}

SGMvalue* SGCmapValueFromField(SGMfield& Field, const QVMmessageNodeAddress& Address, unsigned Depth) {
  return SGCvalueInField(
      Field, Depth, Address.depth(), [&Address](unsigned Step) { return Address.nodeIndex(Step); },
      [&Address](unsigned Step) { return Address.repeatIndex(Step); });
}

void SGCmapSetCell(QVMtableInternal& Table, unsigned Column, unsigned Row, const SGMvalue* Value,
                   const SGCmapValueType& Type) {
  if (!Value || !Type.valid) {
    Table.setNull(Column, Row);
    return;
  }
  if (Type.dataType != Table.columnType(Column)) {
    Table.assignInvalid(Column, Row, Value->view());
    return;
  }
  if (Value->length() == 0) {
    Table.setNull(Column, Row);
    return;
  }
  if (Value->view() == "\"\"") {
    Table.setPresentButNull(Column, Row);
    return;
  }
  switch (Table.columnType(Column)) {
    case QVMstringType:
      Table.assignString(Column, Row, Value->view());
      return;
    case QVMintegerType: {
      int Number = 0;
      if (SGCextractInteger(*Value, Number))
        Table.setInteger(Column, Row, Number);
      else
        Table.assignInvalid(Column, Row, Value->view());
      return;
    }
    case QVMdoubleType: {
      double Number = 0;
      if (SGCextractDouble(*Value, Number))
        Table.setDouble(Column, Row, Number);
      else
        Table.assignInvalid(Column, Row, Value->view());
      return;
    }
    case QVMdateTimeType: {
      COL_PRECONDITION_TEXT(Type.dateTimeGrammar != nullptr, "pValueType->pDateTimeGrammar != 0");
      QVMdateTimeInternal DateTime;
      if (SGCextractDateTime(*Value, *Type.dateTimeGrammar, DateTime))
        Table.setDateTime(Column, Row, DateTime);
      else
        Table.assignInvalid(Column, Row, Value->view());
      return;
    }
    default:
      throw COLerror("unhandled column type", COL_ERROR_UNKNOWN_MAPPING_TYPE);
  }
}

namespace {

// Whether a table definition has any incoming equation, remembered until the definition is
// next edited: the same definitions come back for every row's sub-tables, and asking each
// column every time showed in profiles.  Direct-mapped by address; the plan generation tells a
// stale answer (or a definition at a freed one's address) apart.
struct SGCequationMemo {
  const void* definition = nullptr;
  uint64_t generation = 0;
  bool any = false;
};

thread_local SGCequationMemo t_EquationMemo[256];

bool SGChasIncomingEquation(const QVMtableDefinitionInternal& Definition, uint64_t Generation) {
  SGCequationMemo& Memo = t_EquationMemo[(reinterpret_cast<uintptr_t>(&Definition) >> 4) & 255];
  if (Memo.definition == &Definition && Memo.generation == Generation) return Memo.any;
  Memo = {&Definition, Generation, Definition.hasIncomingFunction()};
  return Memo.any;
}

void SGCexecuteTableEquations(QVMengineInternal& Engine, QVMtableInternal& Table, LAGenvironment& Environment) {
  if (!Table.isNode()) {
    for (unsigned Row = 0; Row < Table.countOfRow(); ++Row)
      for (unsigned Sub = 0; Sub < Table.countOfRowSubTable(Row); ++Sub)
        SGCexecuteTableEquations(Engine, Table.rowSubTable(Row, Sub), Environment);
    return;
  }
  COL_PRECONDITION_TEXT(Table.tableGrammar() != nullptr, "pTableGrammar");
  if (Table.countOfRow() == 0) return;
  if (!SGChasIncomingEquation(*Table.tableDefinition(), Engine.planGeneration())) return;
  // All equations of a row run, then the row goes if one of them asked; the next row takes its index.
  for (unsigned Row = 0; Row < Table.countOfRow();) {
    bool RemoveRow = false;
    for (unsigned Column = 0; Column < Table.countOfColumn(); ++Column)
      QVPexecuteInboundTableEquation(Engine, Table, Column, Row, RemoveRow, Environment);
    if (RemoveRow)
      Table.removeRow(Row);
    else
      ++Row;
  }
}

}  // namespace

void SGCexecuteInboundTableEquations(QVMengineInternal& Engine, QVMtableInternal& Table, LAGenvironment& Environment) {
  if (Engine.hasIncomingTableEquation()) SGCexecuteTableEquations(Engine, Table, Environment);
}
