// The registry of XML dialects by name.
#pragma once

#include "COLstring.h"

class QVMxmlHl7Converter;

unsigned QVXcountOfConverter();
// The names a user picks from, in a fixed order.
const char* QVXconverterName(unsigned ConverterIndex);
// The canonical name of an accepted name ("X12" is "Full Tree Validation"), or null.
const char* QVXconverterNameFromAlias(const char* Name);
// A new converter owned by the caller, or null for a name that is not accepted.
QVMxmlHl7Converter* QVXgetConvertor(const COLstring& Name);
