#include "SGCmatch.h"

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "QVMengineInternal.h"
#include "QVMidentifier.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMsegmentGrammar.h"
#include "SGMsegmentList.h"

namespace {

constexpr unsigned kNotFound = static_cast<unsigned>(-1);

// The place SGCfindField reads for an address; depth 0 reads nothing.
struct SGCfieldPlace {
  uint32_t field = 0, repeat = 0, subField = 0, subSubField = 0;
  bool operator==(const SGCfieldPlace&) const = default;
};

bool SGCplaceOf(const QVMmessageNodeAddress& Address, SGCfieldPlace& Place) {
  const uint32_t Depth = Address.depth();
  if (Depth == 0) return false;
  Place.field = Address.nodeIndex(0);
  Place.repeat = Address.repeatIndex(0);
  Place.subField = Depth >= 2 ? Address.nodeIndex(1) : 0;
  Place.subSubField = Depth >= 3 ? Address.nodeIndex(2) : 0;
  return true;
}

SGMvalue* SGCvalueAt(SGMsegment& Segment, const SGCfieldPlace& Place) {
  if (Place.field >= Segment.countOfField()) return nullptr;
  if (Place.repeat >= Segment.countOfFieldRepeat(Place.field)) return nullptr;
  SGMfield& Field = Segment.field(Place.field, Place.repeat);
  if (Place.subField >= Field.countOfSubField()) return nullptr;
  if (Place.subSubField >= Field.countOfSubSubField(Place.subField)) return nullptr;
  return &Field.value(Place.subField, Place.subSubField);
}

// "^text$" with nothing in the text that a regular expression would read as an operator:
// such a pattern accepts the text itself and, since "$" also matches before a final line
// end, the text followed by one line end.  Anything else has to be tried in full.
bool SGCliteralOf(const QVMidentifier& Identifier, std::string_view& Literal) {
  const COLstring& Pattern = Identifier.value();
  if (!Identifier.isRegexValid() || Pattern.size() < 2 || Pattern[0] != '^' || Pattern[Pattern.size() - 1] != '$')
    return false;
  Literal = std::string_view(Pattern).substr(1, Pattern.size() - 2);
  if (Literal.find_first_of("\\^$.|?*+()[]{}") != std::string_view::npos) return false;
  return Identifier.doesMatchWithLength(Literal.data(), Literal.size());
}

struct SGCslot {
  COLstring segment;
  SGCfieldPlace place;
  bool operator==(const SGCslot& other) const { return segment == other.segment && place == other.place; }
};

struct SGCstringHash {
  using is_transparent = void;
  size_t operator()(std::string_view Text) const { return std::hash<std::string_view>()(Text); }
};

// Definitions keyed by the literals of one combination of slots.
struct SGCkeyedFamily {
  std::vector<uint32_t> slots;
  std::unordered_map<std::string, std::vector<uint32_t>, SGCstringHash, std::equal_to<>> ranks;
};

void SGCappendKeyPart(std::string& Key, std::string_view Part) {
  const uint32_t Length = static_cast<uint32_t>(Part.size());
  Key.append(reinterpret_cast<const char*>(&Length), sizeof Length);
  Key.append(Part);
}

// What the match order looks like for one generation of the definitions: the definitions in
// order (their rank is their place), which of them a literal lookup finds, and which must
// always be tried.
struct SGCmatchIndex {
  uint64_t generation = 0;  // the engine's plan generation it was built at
  const QVMengineInternal* engine = nullptr;
  uint32_t configIndex = 0;
  std::vector<uint32_t> messageOfRank;
  std::vector<SGCslot> slots;
  std::vector<SGCkeyedFamily> families;
  std::vector<uint32_t> alwaysTried;
  unsigned fallback = 0;

  void build(const QVMengineInternal& Engine);
  void addMessage(const QVMmessageDefinitionInternal& Message, uint32_t Rank);
  uint32_t slotIndex(const SGCslot& Slot);
  unsigned match(SGMsegmentList& List, QVMengineInternal& Engine) const;
  void collect(SGMsegmentList& List, const SGCkeyedFamily& Family, std::vector<uint32_t>& Candidates) const;
};

uint32_t SGCmatchIndex::slotIndex(const SGCslot& Slot) {
  auto Found = std::find(slots.begin(), slots.end(), Slot);
  if (Found != slots.end()) return static_cast<uint32_t>(Found - slots.begin());
  slots.push_back(Slot);
  return static_cast<uint32_t>(slots.size() - 1);
}

void SGCmatchIndex::addMessage(const QVMmessageDefinitionInternal& Message, uint32_t Rank) {
  const size_t Count = Message.countOfIdentifier();
  if (Count == 0) return;  // never matches
  std::vector<std::pair<uint32_t, std::string_view>> Keys;
  for (size_t Index = 0; Index < Count; ++Index) {
    const QVMidentifier& Identifier = *Message.identifier(Index);
    SGCfieldPlace Place;
    if (!Identifier.isRegexValid() || !SGCplaceOf(Identifier.nodeAddress(), Place)) return;  // never matches
    std::string_view Literal;
    if (!SGCliteralOf(Identifier, Literal)) continue;
    const uint32_t Slot = slotIndex({Identifier.segment(), Place});
    // A second literal on the same slot is left to the full test.
    if (std::none_of(Keys.begin(), Keys.end(), [&](const auto& Key) { return Key.first == Slot; }))
      Keys.emplace_back(Slot, Literal);
  }
  if (Keys.empty()) {
    alwaysTried.push_back(Rank);
    return;
  }
  std::sort(Keys.begin(), Keys.end());
  std::vector<uint32_t> SlotList;
  std::string Key;
  for (const auto& [Slot, Literal] : Keys) {
    SlotList.push_back(Slot);
    SGCappendKeyPart(Key, Literal);
  }
  auto Family = std::find_if(families.begin(), families.end(), [&](const auto& F) { return F.slots == SlotList; });
  if (Family == families.end()) {
    families.push_back({SlotList, {}});
    Family = families.end() - 1;
  }
  Family->ranks[Key].push_back(Rank);
}

void SGCmatchIndex::build(const QVMengineInternal& Engine) {
  engine = &Engine;
  configIndex = Engine.currentConfig();
  fallback = static_cast<unsigned>(Engine.countOfMessage());
  for (auto Position = Engine.firstMessage(); Position; Position = Engine.nextMessage(Position)) {
    const uint32_t MessageIndex = Engine.matchIndexToMessageIndex(Position);
    const uint32_t Rank = static_cast<uint32_t>(messageOfRank.size());
    messageOfRank.push_back(MessageIndex);
    if (MessageIndex < Engine.countOfMessage()) addMessage(*Engine.message(MessageIndex), Rank);
  }
  if (Engine.lastMessageMatchesAll() && Engine.lastMessage())
    fallback = Engine.matchIndexToMessageIndex(Engine.lastMessage());
}

// The ways a value can stand for a literal: as it is, and without one final line end.
int SGCvariants(std::string_view Value, std::string_view (&Out)[3]) {
  int Count = 0;
  Out[Count++] = Value;
  if (Value.ends_with("\r\n")) Out[Count++] = Value.substr(0, Value.size() - 2);
  if (Value.ends_with('\n') || Value.ends_with('\r')) Out[Count++] = Value.substr(0, Value.size() - 1);
  return Count;
}

void SGCmatchIndex::collect(SGMsegmentList& List, const SGCkeyedFamily& Family,
                            std::vector<uint32_t>& Candidates) const {
  const size_t SlotCount = Family.slots.size();
  std::string_view Variants[8][3];
  int VariantCount[8];
  int Choice[8] = {};
  if (SlotCount > 8) {  // too wide to key cheaply: try them all
    for (const auto& Entry : Family.ranks) Candidates.insert(Candidates.end(), Entry.second.begin(), Entry.second.end());
    return;
  }
  for (size_t S = 0; S < SlotCount; ++S) {
    const SGCslot& Slot = slots[Family.slots[S]];
    const unsigned SegmentIndex = SGCfindFirstNamedSegment(List, Slot.segment);
    if (SegmentIndex == kNotFound) return;
    const SGMvalue* Value = SGCvalueAt(List.segment(SegmentIndex), Slot.place);
    if (!Value) return;
    VariantCount[S] = SGCvariants(Value->view(), Variants[S]);
  }
  thread_local std::string Key;
  for (;;) {
    Key.clear();
    for (size_t S = 0; S < SlotCount; ++S) SGCappendKeyPart(Key, Variants[S][Choice[S]]);
    auto Found = Family.ranks.find(std::string_view(Key));
    if (Found != Family.ranks.end()) Candidates.insert(Candidates.end(), Found->second.begin(), Found->second.end());
    size_t S = 0;
    while (S < SlotCount && ++Choice[S] == VariantCount[S]) Choice[S++] = 0;
    if (S == SlotCount) break;
  }
}

unsigned SGCmatchIndex::match(SGMsegmentList& List, QVMengineInternal& Engine) const {
  thread_local std::vector<uint32_t> Candidates;
  Candidates.assign(alwaysTried.begin(), alwaysTried.end());
  for (const SGCkeyedFamily& Family : families) collect(List, Family, Candidates);
  std::sort(Candidates.begin(), Candidates.end());
  for (uint32_t Rank : Candidates) {
    const uint32_t MessageIndex = messageOfRank[Rank];
    if (MessageIndex < Engine.countOfMessage() && SGCdoesMessageMatch(List, *Engine.message(MessageIndex)))
      return MessageIndex;
  }
  return fallback;
}

bool SGCisCurrent(const SGCmatchIndex* Index, const QVMengineInternal& Engine, uint64_t Generation) {
  return Index && Index->generation == Generation && Index->engine == &Engine &&
         Index->configIndex == Engine.currentConfig();
}

// The engine keeps the index for all threads; each thread remembers the last one it used,
// so the usual call takes no lock.  Every edit of the engine's definitions makes it stale.
const SGCmatchIndex& SGCmatchIndexOf(const QVMengineInternal& Engine) {
  thread_local std::shared_ptr<const SGCmatchIndex> LastUsed;
  const uint64_t Generation = Engine.planGeneration();
  if (SGCisCurrent(LastUsed.get(), Engine, Generation)) return *LastUsed;
  std::lock_guard<std::mutex> Lock(Engine.parserCacheMutex());
  auto Index = std::static_pointer_cast<const SGCmatchIndex>(Engine.parserCache());
  if (!SGCisCurrent(Index.get(), Engine, Generation)) {
    auto Fresh = std::make_shared<SGCmatchIndex>();
    Fresh->generation = Generation;
    Fresh->build(Engine);
    Engine.parserCache() = Fresh;
    Index = Fresh;
  }
  LastUsed = Index;
  return *LastUsed;
}

}  // namespace

unsigned SGCmatchMessage(SGMsegmentList& List, QVMengineInternal& Engine) {
  return SGCmatchIndexOf(Engine).match(List, Engine);
}

unsigned SGCmatchMessageInOrder(SGMsegmentList& List, QVMengineInternal& Engine) {
  const QVMengineInternal& Reader = Engine;  // the const accessors leave the revision alone
  for (auto Position = Reader.firstMessage(); Position; Position = Reader.nextMessage(Position)) {
    const uint32_t MessageIndex = Reader.matchIndexToMessageIndex(Position);
    if (MessageIndex < Reader.countOfMessage() && SGCdoesMessageMatch(List, *Reader.message(MessageIndex)))
      return MessageIndex;
  }
  if (Reader.lastMessageMatchesAll() && Reader.lastMessage())
    return Reader.matchIndexToMessageIndex(Reader.lastMessage());
  return static_cast<unsigned>(Reader.countOfMessage());
}

bool SGCdoesMessageMatch(SGMsegmentList& List, QVMmessageDefinitionInternal& Message) {
  const QVMmessageDefinitionInternal& Reader = Message;
  const size_t Count = Reader.countOfIdentifier();
  if (Count == 0) return false;
  for (size_t Index = 0; Index < Count; ++Index)
    if (!SGCdoesIdentMatch(List, *Reader.identifier(Index))) return false;
  return true;
}

bool SGCdoesIdentMatch(SGMsegmentList& List, const QVMidentifier& Identifier) {
  const unsigned SegmentIndex = SGCfindFirstNamedSegment(List, Identifier.segment());
  if (SegmentIndex == kNotFound) return false;
  const SGMvalue* Value = SGCfindField(List.segment(SegmentIndex), Identifier.nodeAddress());
  if (!Value) return false;
  return Identifier.doesMatchWithLength(Value->data() ? Value->data() : "", Value->length());
}

unsigned SGCfindFirstNamedSegment(SGMsegmentList& List, const COLstring& Name) {
  const uint32_t Count = List.countOfSegment();
  for (uint32_t Index = 0; Index < Count; ++Index)
    if (List.segment(Index).name().view() == std::string_view(Name)) return Index;
  return kNotFound;
}

SGMvalue* SGCfindField(SGMsegment& Segment, const QVMmessageNodeAddress& Address) {
  SGCfieldPlace Place;
  if (!SGCplaceOf(Address, Place)) return nullptr;
  return SGCvalueAt(Segment, Place);
}

bool SGCmatchSegment(SGMsegment& Segment, const QVMsegmentGrammar& Grammar) {
  if (Segment.name().view() != std::string_view(Grammar.name())) return false;
  const uint32_t Count = Grammar.countOfIdentifier();
  for (uint32_t Index = 0; Index < Count; ++Index) {
    const QVMsegmentIdentifier& Identifier = *Grammar.identifier(Index);
    const SGMvalue* Value = SGCfindField(Segment, Identifier.nodeAddress());
    const bool Matches = Value ? Identifier.doesMatchWithLength(Value->data() ? Value->data() : "", Value->length())
                               : Identifier.isNullMatchingValue();
    if (!Matches) return false;
  }
  return true;
}
