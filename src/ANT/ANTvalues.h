// How the version-one format spells single values: flags, numbers ("-1" for none),
// characters, data types and date-time mask items, both ways.
#pragma once

#include <cstdint>
#include <optional>

#include "ARFobject.h"
#include "COLstring.h"
#include "QVMdataType.h"
#include "QVMdateTimeGrammar.h"

inline constexpr uint32_t ANTnone = 0xFFFFFFFF;

COLstring ANTformatBool(bool value);
// Only "True" is true.
bool ANTparseBool(const COLstring& text);

// Decimal; the "no value" 0xFFFFFFFF is written "-1".
COLstring ANTformatIndex(uint32_t value);
// Blanks around the number are allowed; anything else raises through the reader.
uint32_t ANTparseIndex(const ARFreader& reader, const ARFprop& prop);
uint32_t ANTparseNumber(const ARFreader& reader, const ARFprop& prop, uint32_t maximum);
// A character is stored as its byte value, 0 to 255, so that delimiters such as a carriage
// return survive the XML reader's line-end handling.
COLstring ANTformatChar(char value);
char ANTparseChar(const ARFreader& reader, const ARFprop& prop);

// "String", "Integer", "Double", "Composite", "DateTime"; other types raise "Unknown data type.".
COLstring ANTformatDataType(QVMdataType type);
QVMdataType ANTparseDataType(const ARFreader& reader, const ARFprop& prop);

const char* ANTformatMaskItem(QVMdateTimeGrammar::QVMdateTimeInternalMaskItem item);
QVMdateTimeGrammar::QVMdateTimeInternalMaskItem ANTparseMaskItem(const ARFreader& reader, const ARFprop& prop);

// Reads one property of `obj`; nothing when it is absent, so the caller's default stays.
std::optional<ARFprop> ANTreadProp(ARFreader& reader, ARFobj& obj, const char* name);
// The same, raising "expected ..." at the object when the property is missing.
ARFprop ANTrequireProp(ARFreader& reader, ARFobj& obj, const char* name);
// The object's key read as an index ("-1" for none); raises at the object when it is missing
// or no number.
uint32_t ANTparseKeyIndex(const ARFreader& reader, const ARFobj& obj);
// The object's key value; raises at the object when the attribute is missing.
const COLstring& ANTrequireKey(const ARFreader& reader, const ARFobj& obj);
