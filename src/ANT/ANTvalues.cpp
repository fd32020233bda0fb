#include "ANTvalues.h"

#include <cctype>
#include <limits>

#include "COLerror.h"
#include "COLostream.h"

namespace {
// The digits of a property, without the blanks around them; empty when there are none.
std::string_view trimmed(const COLstring& text) {
  std::string_view view = text.view();
  while (!view.empty() && std::isspace(static_cast<unsigned char>(view.front()))) view.remove_prefix(1);
  while (!view.empty() && std::isspace(static_cast<unsigned char>(view.back()))) view.remove_suffix(1);
  return view;
}

// Digits only, within `maximum`; nullopt otherwise.
std::optional<uint64_t> unsignedValue(std::string_view digits, uint64_t maximum) {
  if (digits.empty()) return std::nullopt;
  uint64_t value = 0;
  for (char c : digits) {
    if (c < '0' || c > '9') return std::nullopt;
    value = value * 10 + static_cast<uint64_t>(c - '0');
    if (value > maximum) return std::nullopt;
  }
  return value;
}

[[noreturn]] void badValue(const ARFreader& reader, const ARFprop& prop, const COLstring& expected) {
  reader.raise(prop.position, COLstring("<") + prop.name + "> holds `" + prop.value + "'; expected " + expected + ".");
}

const struct {
  QVMdateTimeGrammar::QVMdateTimeInternalMaskItem item;
  const char* text;
} MaskItems[] = {
    {QVMdateTimeGrammar::MaskYear, "YYYY"},     {QVMdateTimeGrammar::MaskMonth, "MM"},
    {QVMdateTimeGrammar::MaskDay, "DD"},        {QVMdateTimeGrammar::MaskHour, "HH"},
    {QVMdateTimeGrammar::MaskMinute, "mm"},     {QVMdateTimeGrammar::MaskSecond, "SS"},
    {QVMdateTimeGrammar::MaskFraction, ".SSSS"}, {QVMdateTimeGrammar::MaskTimeZone, "+/-ZZZZ"},
};

const char* const DataTypeTexts[] = {"String", "Integer", "Double", "Composite", "DateTime"};
}  // namespace

COLstring ANTformatBool(bool value) { return value ? "True" : "False"; }
bool ANTparseBool(const COLstring& text) { return text == "True"; }

COLstring ANTformatIndex(uint32_t value) {
  if (value == ANTnone) return "-1";
  COLstring text;
  COLostream(text) << value;
  return text;
}

uint32_t ANTparseIndex(const ARFreader& reader, const ARFprop& prop) {
  std::string_view digits = trimmed(prop.value);
  if (digits == "-1") return ANTnone;
  if (auto value = unsignedValue(digits, std::numeric_limits<uint32_t>::max())) return static_cast<uint32_t>(*value);
  badValue(reader, prop, "a number from 0 to 4294967295, or -1 for none");
}

uint32_t ANTparseNumber(const ARFreader& reader, const ARFprop& prop, uint32_t maximum) {
  if (auto value = unsignedValue(trimmed(prop.value), maximum)) return static_cast<uint32_t>(*value);
  COLstring expected;
  COLostream(expected) << "a number from 0 to " << maximum;
  badValue(reader, prop, expected);
}

COLstring ANTformatChar(char value) { return ANTformatIndex(static_cast<unsigned char>(value)); }

char ANTparseChar(const ARFreader& reader, const ARFprop& prop) {
  if (auto value = unsignedValue(trimmed(prop.value), 255)) return static_cast<char>(*value);
  badValue(reader, prop, "a character code from 0 to 255");
}

COLstring ANTformatDataType(QVMdataType type) {
  if (type > QVMdateTimeType) throw COLerror("Unknown data type.", COL_ERROR_PRECONDITION);
  return DataTypeTexts[type];
}

QVMdataType ANTparseDataType(const ARFreader& reader, const ARFprop& prop) {
  for (uint32_t type = 0; type <= QVMdateTimeType; ++type)
    if (prop.value == DataTypeTexts[type]) return static_cast<QVMdataType>(type);
  reader.raise(prop.position, COLstring("unknown data type `") + prop.value +
                                  "'; expected String, Integer, Double, Composite or DateTime.");
}

const char* ANTformatMaskItem(QVMdateTimeGrammar::QVMdateTimeInternalMaskItem item) {
  for (const auto& known : MaskItems)
    if (known.item == item) return known.text;
  throw COLerror("Unknown date time mask item.", COL_ERROR_PRECONDITION);
}

QVMdateTimeGrammar::QVMdateTimeInternalMaskItem ANTparseMaskItem(const ARFreader& reader, const ARFprop& prop) {
  if (prop.value == "YY") return QVMdateTimeGrammar::MaskYear;
  for (const auto& known : MaskItems)
    if (prop.value == known.text) return known.item;
  reader.raise(prop.position, COLstring("Unknown date time mask item type `") + prop.value +
                                  "'; expected YYYY, MM, DD, HH, mm, SS, .SSSS or +/-ZZZZ.");
}

std::optional<ARFprop> ANTreadProp(ARFreader& reader, ARFobj& obj, const char* name) {
  ARFprop prop(obj, name);
  if (!reader.objProp(prop)) return std::nullopt;
  return prop;
}

ARFprop ANTrequireProp(ARFreader& reader, ARFobj& obj, const char* name) {
  ARFprop prop(obj, name);
  if (!reader.objProp(prop))
    reader.raise(obj.position(), COLstring("<") + obj.name() + "> lacks its <" + name + "> element.");
  return prop;
}

const COLstring& ANTrequireKey(const ARFreader& reader, const ARFobj& obj) {
  if (!obj.key().present)
    reader.raise(obj.position(), COLstring("<") + obj.name() + "> lacks its attribute `" + obj.key().name + "'.");
  return obj.key().value;
}

uint32_t ANTparseKeyIndex(const ARFreader& reader, const ARFobj& obj) {
  const COLstring& text = ANTrequireKey(reader, obj);
  std::string_view digits = trimmed(text);
  if (digits == "-1") return ANTnone;
  if (auto value = unsignedValue(digits, std::numeric_limits<uint32_t>::max())) return static_cast<uint32_t>(*value);
  reader.raise(obj.position(), COLstring("the attribute ") + obj.key().name + " of <" + obj.name() + "> holds `" + text +
                                   "'; expected a number from 0 to 4294967295.");
}
