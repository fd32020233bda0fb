// The X12 envelope check: counts and control numbers of the trailers, widths of the header.
#include <string>
#include <string_view>

#include "MLGx12Header.h"
#include "SGPparser.h"

namespace {

std::string_view element(const SGMsegment& segment, uint32_t number) {
  if (number == 0 || segment.countOfField() < number) return {};
  const SGMfieldRepeats& Repeats = segment.fieldRepeats(number - 1);
  if (Repeats.countOfFieldRepeat() == 0) return {};
  const SGMfield& Field = segment.field(number - 1, 0);
  if (Field.countOfSubField() == 0 || Field.countOfSubSubField(0) == 0) return {};
  return segment.field(number - 1, 0).value(0, 0).view();
}

// Control numbers and counts compare as numbers when both are digits ("1" is "000000001").
bool sameNumber(std::string_view a, std::string_view b) {
  auto digits = [](std::string_view t) { return !t.empty() && t.find_first_not_of("0123456789") == t.npos; };
  if (!digits(a) || !digits(b)) return a == b;
  while (a.size() > 1 && a[0] == '0') a.remove_prefix(1);
  while (b.size() > 1 && b[0] == '0') b.remove_prefix(1);
  return a == b;
}

std::string quoted(std::string_view text) { return "'" + std::string(text) + "'"; }

}  // namespace

bool SGPcheckInterchangeEnvelope(const SGMsegmentList& list, COLstring& problem) {
  const uint32_t Count = list.countOfSegment();
  auto fail = [&](const std::string& text) {
    problem = COLstring("The interchange envelope does not hold: " + text);
    return false;
  };
  auto at = [](uint32_t index) { return " (segment " + std::to_string(index + 1) + ")"; };
  if (Count == 0 || list.segment(0).name().view() != "ISA") return fail("it does not start with ISA.");
  const SGMsegment& Isa = list.segment(0);
  for (unsigned Number = 1; Number <= MLGx12HeaderElements; ++Number) {
    const std::string_view Value = element(Isa, Number);
    if (Value.size() > MLGx12HeaderWidth(Number))
      return fail("ISA-" + std::string(Number < 10 ? "0" : "") + std::to_string(Number) + " " + quoted(Value) +
                  " is longer than its fixed width of " + std::to_string(MLGx12HeaderWidth(Number)) + ".");
  }
  uint32_t Groups = 0, GroupStart = 0, Sets = 0, SetStart = 0;
  bool InGroup = false, InSet = false;
  for (uint32_t Index = 1; Index < Count; ++Index) {
    const SGMsegment& Segment = list.segment(Index);
    const std::string_view Name = Segment.name().view();
    if (Name == "GS") {
      if (InGroup) return fail("GS" + at(Index) + " opens a group while the GS" + at(GroupStart) + " has no GE.");
      InGroup = true;
      GroupStart = Index;
      Sets = 0;
      ++Groups;
    } else if (Name == "ST") {
      if (!InGroup) return fail("ST" + at(Index) + " stands outside a functional group (GS ... GE).");
      if (InSet) return fail("ST" + at(Index) + " opens a set while the ST" + at(SetStart) + " has no SE.");
      InSet = true;
      SetStart = Index;
      ++Sets;
    } else if (Name == "SE") {
      if (!InSet) return fail("SE" + at(Index) + " closes no transaction set.");
      InSet = false;
      const std::string Segments = std::to_string(Index - SetStart + 1);
      const SGMsegment& St = list.segment(SetStart);
      if (!sameNumber(element(Segment, 1), Segments))
        return fail("SE-01" + at(Index) + " counts " + quoted(element(Segment, 1)) + " segments, but the set from ST" +
                    at(SetStart) + " to SE has " + Segments + ".");
      if (element(Segment, 2) != element(St, 2))
        return fail("SE-02" + at(Index) + " " + quoted(element(Segment, 2)) + " is not the control number ST-02 " +
                    quoted(element(St, 2)) + at(SetStart) + ".");
    } else if (Name == "GE") {
      if (InSet) return fail("GE" + at(Index) + " closes a group while the ST" + at(SetStart) + " has no SE.");
      if (!InGroup) return fail("GE" + at(Index) + " closes no functional group.");
      InGroup = false;
      const SGMsegment& Gs = list.segment(GroupStart);
      if (!sameNumber(element(Segment, 1), std::to_string(Sets)))
        return fail("GE-01" + at(Index) + " counts " + quoted(element(Segment, 1)) +
                    " transaction sets, but the group from GS" + at(GroupStart) + " has " + std::to_string(Sets) + ".");
      if (!sameNumber(element(Segment, 2), element(Gs, 6)))
        return fail("GE-02" + at(Index) + " " + quoted(element(Segment, 2)) + " is not the control number GS-06 " +
                    quoted(element(Gs, 6)) + at(GroupStart) + ".");
    } else if (Name == "IEA") {
      if (InSet) return fail("IEA" + at(Index) + " ends the interchange while the ST" + at(SetStart) + " has no SE.");
      if (InGroup) return fail("IEA" + at(Index) + " ends the interchange while the GS" + at(GroupStart) + " has no GE.");
      if (!sameNumber(element(Segment, 1), std::to_string(Groups)))
        return fail("IEA-01" + at(Index) + " counts " + quoted(element(Segment, 1)) +
                    " functional groups, but the interchange has " + std::to_string(Groups) + ".");
      if (!sameNumber(element(Segment, 2), element(Isa, 13)))
        return fail("IEA-02" + at(Index) + " " + quoted(element(Segment, 2)) + " is not the control number ISA-13 " +
                    quoted(element(Isa, 13)) + ".");
      if (Index + 1 != Count) return fail("segments follow the IEA" + at(Index) + ".");
      return true;
    }
  }
  return fail("the interchange has no IEA at its end.");
}
