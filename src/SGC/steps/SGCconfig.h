// What the current parser takes from a configuration: tokeniser options, the delimiter set,
// and the escaper that works with the delimiters a message declared.
#pragma once

#include "SCCescaper.h"

class QVMconfig;
class SGPparserOptions;
struct SGMseparatorCharacters;

// Header name, HL7 mode, and each delimiter with the place the message states it, counted
// from the end of the header name (-1: used as configured).
void SGCcopyConfig(const QVMconfig& Config, SGPparserOptions& Options);
// The configured delimiters by level: segment, field and repeat, sub field, sub sub field.
void SGCcopyDelimiters(const QVMconfig& Config, SGMseparatorCharacters& Separators);
// Teaches the escaper the delimiters found in this message, keeping the configured codes.
void SGCcopyEscaper(const QVMconfig& Config, const SGMseparatorCharacters& Found, SCCescaper& Escaper);
// The escaper's settings as the configuration states them.
SCCescaperSettings SGCescaperSettings(const QVMconfig& Config);
// The same into `Settings`, whose storage is reused: no allocation once it has held as many levels.
void SGCescaperSettings(const QVMconfig& Config, SCCescaperSettings& Settings);
