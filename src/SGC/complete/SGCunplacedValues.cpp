#include "SGCunplacedValues.h"

#include <string>

#include "QVMcompositeGrammar.h"
#include "QVMsegmentGrammar.h"
#include "SGCcompositeShape.h"
#include "SGMsegmentList.h"

namespace {

thread_local SGCunplacedValues* t_Unplaced = nullptr;

// The limit counts repeats after the first; all bits set is no limit.
constexpr uint32_t kNoLimit = 0xFFFFFFFFu;

std::string number(uint32_t Value) { return std::to_string(Value); }

class Scan {
public:
  Scan(const COLstring& Message, const SGMsegment& Segment)
      : m_Message(Message), m_Segment(Segment), m_Name(Segment.name().asString().c_str()) {}

  void segment(const QVMsegmentGrammar& Grammar) {
    const uint32_t Defined = Grammar.countOfField();
    for (uint32_t Field = 0; Field < m_Segment.countOfField(); ++Field) {
      const uint32_t Repeats = m_Segment.countOfFieldRepeat(Field);
      if (Field >= Defined) {
        for (uint32_t Repeat = 0; Repeat < Repeats; ++Repeat)
          wholeRepeat(Field, Repeat, m_Name + " has " + number(Defined) + " fields");
        continue;
      }
      const uint32_t Limit = Grammar.fieldMaxRepeat(Field);
      const QVMcompositeGrammar* Type = Grammar.fieldType(Field);
      for (uint32_t Repeat = 0; Repeat < Repeats; ++Repeat) {
        if (Limit != kNoLimit && Repeat > Limit) {
          wholeRepeat(Field, Repeat,
                      fieldPlace(Field) + (Limit == 0 ? " does not repeat" : " repeats at most " + number(Limit + 1) +
                                                                                   " times"));
          continue;
        }
        if (Type) components(Field, Repeat, *Type);
      }
    }
  }

private:
  std::string fieldPlace(uint32_t Field) const { return m_Name + "-" + number(Field + 1); }
  static std::string repeat(uint32_t Repeat) { return Repeat ? " (repeat " + number(Repeat + 1) + ")" : ""; }

  void components(uint32_t Field, uint32_t Repeat, const QVMcompositeGrammar& Type) {
    const SGMfield& Value = m_Segment.field(Field, Repeat);
    // A simple type holds one value: what the message splits it into beyond that has no place.
    const uint32_t Count = Type.countOfField();
    for (uint32_t Component = 0; Component < Value.countOfSubField(); ++Component) {
      const std::string Here = fieldPlace(Field) + "." + number(Component + 1);
      if (Component >= Count) {
        const std::string Reason =
            std::string(Type.name().view()) + " has " + number(Count) + (Count == 1 ? " component" : " components");
        for (uint32_t Part = 0; Part < Value.countOfSubSubField(Component); ++Part)
          if (heard(Here + repeat(Repeat), Value.value(Component, Part), Reason)) break;
        continue;
      }
      const QVMcompositeGrammar* Nested = SGCnestedComposite(&Type, Component);
      const uint32_t Parts = Nested ? Nested->countOfField() : 1;
      const std::string Reason =
          Nested ? std::string(Nested->name().view()) + " has " + number(Parts) + (Parts == 1 ? " part" : " parts")
                 : Here + " has no sub-components";
      for (uint32_t Part = Parts; Part < Value.countOfSubSubField(Component); ++Part)
        heard(Here + "." + number(Part + 1) + repeat(Repeat), Value.value(Component, Part), Reason);
    }
  }

  // A repeat as a whole: told once, by its first value that holds anything.
  void wholeRepeat(uint32_t Field, uint32_t Repeat, const std::string& Reason) {
    const SGMfield& Value = m_Segment.field(Field, Repeat);
    for (uint32_t Component = 0; Component < Value.countOfSubField(); ++Component)
      for (uint32_t Part = 0; Part < Value.countOfSubSubField(Component); ++Part)
        if (heard(fieldPlace(Field) + repeat(Repeat), Value.value(Component, Part), Reason)) return;
  }

  // Told if it holds anything; true when told.
  bool heard(const std::string& Place, const SGMvalue& Value, const std::string& Reason) {
    if (Value.length() == 0) return false;
    t_Unplaced->unplacedValue(m_Message, COLstring(Place), Value.asString(), COLstring(Reason));
    return true;
  }

  const COLstring& m_Message;
  const SGMsegment& m_Segment;
  std::string m_Name;
};

}  // namespace

SGCunplacedValuesScope::SGCunplacedValuesScope(SGCunplacedValues& Listener) : m_Previous(t_Unplaced) {
  t_Unplaced = &Listener;
}

SGCunplacedValuesScope::~SGCunplacedValuesScope() { t_Unplaced = m_Previous; }

bool SGCunplacedValuesHeard() { return t_Unplaced != nullptr; }

void SGCreportUnplacedValues(const COLstring& Message, const SGMsegment& Segment, const QVMsegmentGrammar& Grammar) {
  if (!t_Unplaced) return;
  Scan(Message, Segment).segment(Grammar);
}
