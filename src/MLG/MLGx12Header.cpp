#include "MLGx12Header.h"

namespace {

bool isAlphanumeric(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

// The fixed widths of ISA-01 to ISA-16.
constexpr unsigned kWidths[MLGx12HeaderElements] = {2, 10, 2, 10, 2, 15, 2, 15, 6, 4, 1, 5, 9, 1, 1, 1};

}  // namespace

unsigned MLGx12HeaderWidth(unsigned element) {
  return element >= 1 && element <= MLGx12HeaderElements ? kWidths[element - 1] : 0;
}

bool MLGreadX12Header(std::string_view bytes, MLGx12Declared& declared) {
  declared = MLGx12Declared();
  if (bytes.size() < 4 || bytes.substr(0, 3) != "ISA") return false;
  const char element = bytes[3];
  if (isAlphanumeric(element) || element == ' ' || element == '\r' || element == '\n' || element == '\0') return false;
  // Element starts: ISA-n begins behind the n-th separator.
  size_t begin[MLGx12HeaderElements + 1];
  unsigned found = 0;
  for (size_t at = 3; at < bytes.size() && found < MLGx12HeaderElements; ++at)
    if (bytes[at] == element) begin[found++] = at + 1;
  if (found < MLGx12HeaderElements) return false;
  const size_t componentAt = begin[MLGx12HeaderElements - 1];
  if (componentAt + 1 >= bytes.size()) return false;
  const char component = bytes[componentAt];
  const char segment = bytes[componentAt + 1];
  if (component == element || segment == element || segment == component || isAlphanumeric(segment) ||
      component == '\0' || segment == '\0')
    return false;
  bool fixed = true;
  for (unsigned i = 0; i + 1 < MLGx12HeaderElements; ++i)
    if (begin[i + 1] - begin[i] - 1 != kWidths[i]) fixed = false;
  // ISA-11 is the repetition separator from version 00501 (ISA-12) on.
  const std::string_view isa11 = bytes.substr(begin[10], begin[11] - begin[10] - 1);
  const std::string_view isa12 = bytes.substr(begin[11], begin[12] - begin[11] - 1);
  char repetition = 0;
  if (isa11.size() == 1 && isa12.size() == 5 && isa12 >= "00501" && !isAlphanumeric(isa11[0]) && isa11[0] != ' ' &&
      isa11[0] != component && isa11[0] != segment)
    repetition = isa11[0];
  declared.element = element;
  declared.repetition = repetition;
  declared.component = component;
  declared.segment = segment;
  declared.length = componentAt + 1;
  declared.fixedLength = fixed;
  return true;
}
