// The report a failed message gets: the error, the message as lines and as a hex dump, and
// the engine's version, so that a support request carries everything needed to reproduce it.
#pragma once

#include "COLstring.h"

class COLerror;

// Never returns: throws a copy of `Error` whose description is the whole report, with the
// original description kept in the parameter "PlainError".
[[noreturn]] void QVJgenerateCompleteInfoOnException(const COLerror& Error, const COLstring& LineFeed,
                                                     const COLstring& Message);
// Every line end of the message becomes `LineFeed`.
void QVJmakePrintable(COLstring& Result, const COLstring& Message, const COLstring& LineFeed);
// The inverse for line ends: every `LineFeed` becomes "\r".
void QVJmakeParseable(COLstring& Result, const COLstring& Text, const COLstring& LineFeed);
// "5.1 Build: 12".
void QVJversionString(COLstring& Result);
