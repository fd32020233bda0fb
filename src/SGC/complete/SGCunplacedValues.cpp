#include "SGCunplacedValues.h"

#include <string>
#include <string_view>

#include "QVMcompositeGrammar.h"
#include "QVMconfig.h"
#include "QVMsegmentGrammar.h"
#include "QVMuntypedMessageTree.h"
#include "SGCcompositeShape.h"
#include "SGMsegmentList.h"

namespace {

// The limit counts repeats after the first; all bits set is no limit.
constexpr uint32_t kNoLimit = 0xFFFFFFFFu;

std::string number(uint32_t Value) { return std::to_string(Value); }

// A tokenised segment of the current road, fields counted from 0 as the grammar counts them.
struct TokenisedSegment {
  const SGMsegment& segment;
  uint32_t fields() const { return segment.countOfField(); }
  uint32_t repeats(uint32_t F) const { return segment.countOfFieldRepeat(F); }
  uint32_t components(uint32_t F, uint32_t R) const { return segment.field(F, R).countOfSubField(); }
  uint32_t parts(uint32_t F, uint32_t R, uint32_t C) const { return segment.field(F, R).countOfSubSubField(C); }
  std::string_view value(uint32_t F, uint32_t R, uint32_t C, uint32_t P) const {
    return segment.field(F, R).value(C, P).view();
  }
};

// A segment of the legacy road's raw tree: its name is sub-node 0, field F is sub-node F + 1, and
// a node without sub-nodes is one value.
struct RawSegment {
  const QVMuntypedMessageTree& segment;
  const QVMuntypedMessageTree& field(uint32_t F, uint32_t R) const {
    const QVMuntypedMessageTree& First = *segment.node(F + 1, 0);
    return R ? *First.getRepeatedNode(R) : First;
  }
  static const QVMuntypedMessageTree& part(const QVMuntypedMessageTree& Node, uint32_t Index) {
    return Node.countOfSubNode() ? *Node.node(Index, 0) : Node;
  }
  static uint32_t count(const QVMuntypedMessageTree& Node) { return Node.countOfSubNode() ? Node.countOfSubNode() : 1; }
  uint32_t fields() const { return segment.countOfSubNode() ? segment.countOfSubNode() - 1 : 0; }
  uint32_t repeats(uint32_t F) const { return segment.node(F + 1, 0)->countOfRepeat(); }
  uint32_t components(uint32_t F, uint32_t R) const { return count(field(F, R)); }
  uint32_t parts(uint32_t F, uint32_t R, uint32_t C) const { return count(part(field(F, R), C)); }
  std::string_view value(uint32_t F, uint32_t R, uint32_t C, uint32_t P) const {
    const QVMuntypedMessageTree& Leaf = part(part(field(F, R), C), P);
    return Leaf.isNull() || Leaf.countOfSubNode() ? std::string_view() : std::string_view(Leaf.getValue());
  }
};

// Texts are made only for a value that is told of: the scan runs over every field of every
// message while a host listens, and nearly all of them hold nothing past their grammar.
template <class Segment>
class Scan {
public:
  Scan(const COLstring& Message, const Segment& Values, std::string_view Name, bool RepeatsKept)
      : m_Message(Message), m_Values(Values), m_Name(Name), m_RepeatsKept(RepeatsKept) {}

  void segment(const QVMsegmentGrammar& Grammar) {
    const uint32_t Defined = Grammar.countOfField();
    for (uint32_t Field = 0; Field < m_Values.fields(); ++Field) {
      const uint32_t Repeats = m_Values.repeats(Field);
      if (Field >= Defined) {
        for (uint32_t Repeat = 0; Repeat < Repeats; ++Repeat)
          if (const std::string_view Value = firstValue(Field, Repeat); !Value.empty())
            tell(fieldPlace(Field) + repeat(Repeat), Value, std::string(m_Name) + " has " + number(Defined) + " fields");
        continue;
      }
      const uint32_t Limit = Grammar.fieldMaxRepeat(Field);
      const QVMcompositeGrammar* Type = Grammar.fieldType(Field);
      for (uint32_t Repeat = 0; Repeat < Repeats; ++Repeat) {
        if (!m_RepeatsKept && Limit != kNoLimit && Repeat > Limit) {
          if (const std::string_view Value = firstValue(Field, Repeat); !Value.empty())
            tell(fieldPlace(Field) + repeat(Repeat), Value,
                 fieldPlace(Field) +
                     (Limit == 0 ? " does not repeat" : " repeats at most " + number(Limit + 1) + " times"));
          continue;
        }
        if (Type) components(Field, Repeat, *Type);
      }
    }
  }

private:
  std::string fieldPlace(uint32_t Field) const { return std::string(m_Name) + "-" + number(Field + 1); }
  std::string componentPlace(uint32_t Field, uint32_t Component) const {
    return fieldPlace(Field) + "." + number(Component + 1);
  }
  static std::string repeat(uint32_t Repeat) { return Repeat ? " (repeat " + number(Repeat + 1) + ")" : ""; }
  static std::string count(const QVMcompositeGrammar& Type, uint32_t Count, const char* Word) {
    return std::string(Type.name().view()) + " has " + number(Count) + " " + Word + (Count == 1 ? "" : "s");
  }

  void components(uint32_t Field, uint32_t Repeat, const QVMcompositeGrammar& Type) {
    // A simple type holds one value: what the message splits it into beyond that has no place.
    const uint32_t Count = Type.countOfField();
    const uint32_t Components = m_Values.components(Field, Repeat);
    for (uint32_t Component = 0; Component < Components; ++Component) {
      const uint32_t Held = m_Values.parts(Field, Repeat, Component);
      if (Component >= Count) {
        for (uint32_t Part = 0; Part < Held; ++Part)
          if (const std::string_view Value = m_Values.value(Field, Repeat, Component, Part); !Value.empty()) {
            tell(componentPlace(Field, Component) + repeat(Repeat), Value, count(Type, Count, "component"));
            break;
          }
        continue;
      }
      const QVMcompositeGrammar* Nested = SGCnestedComposite(&Type, Component);
      const uint32_t Parts = Nested ? Nested->countOfField() : 1;
      for (uint32_t Part = Parts; Part < Held; ++Part)
        if (const std::string_view Value = m_Values.value(Field, Repeat, Component, Part); !Value.empty())
          tell(componentPlace(Field, Component) + "." + number(Part + 1) + repeat(Repeat), Value,
               Nested ? count(*Nested, Parts, "part") : componentPlace(Field, Component) + " has no sub-components");
    }
  }

  // A repeat as a whole is told once, by its first value that holds anything.
  std::string_view firstValue(uint32_t Field, uint32_t Repeat) const {
    const uint32_t Components = m_Values.components(Field, Repeat);
    for (uint32_t Component = 0; Component < Components; ++Component)
      for (uint32_t Part = 0; Part < m_Values.parts(Field, Repeat, Component); ++Part)
        if (const std::string_view Value = m_Values.value(Field, Repeat, Component, Part); !Value.empty())
          return Value;
    return {};
  }

  void tell(const std::string& Place, std::string_view Value, const std::string& Reason) {
    SGCunplacedValuesScope::current()->unplacedValue(m_Message, COLstring(Place), COLstring(Value), COLstring(Reason));
  }

  const COLstring& m_Message;
  const Segment& m_Values;
  std::string_view m_Name;
  bool m_RepeatsKept;
};

}  // namespace

void SGCreportUnplacedValues(const COLstring& Message, const SGMsegment& Segment, const QVMsegmentGrammar& Grammar) {
  if (!SGCunplacedValuesHeard()) return;
  const TokenisedSegment Values{Segment};
  Scan<TokenisedSegment>(Message, Values, Segment.name().view(), false).segment(Grammar);
}

void SGCreportUnplacedValues(const COLstring& Message, const QVMuntypedMessageTree& Segment,
                             const QVMsegmentGrammar& Grammar, const QVMconfig& Config) {
  if (!SGCunplacedValuesHeard()) return;
  const QVMxmlFormatType Dialect = Config.xmlFormatType();
  const bool RepeatsKept = Dialect != QVMxmlTableShortTags && Dialect != QVMxmlTableLongTags;
  const RawSegment Values{Segment};
  Scan<RawSegment>(Message, Values, Grammar.name().view(), RepeatsKept).segment(Grammar);
}
