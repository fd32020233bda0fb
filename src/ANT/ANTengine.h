// ANT: the version-one definition format, a text (XML) form of the whole definition model
// written and read straight from and to QVMengineInternal through its public operations.
// It walks the model and names everything; the syntax itself belongs to ARFX.
#pragma once

#include <cstddef>

#include "COLstring.h"

class COLsimpleBuffer;
class COLsink;
class QVMengineInternal;

// The first line of every version-one file, and all that tells the kind apart.
inline constexpr char ANTversionOneHeader[] = "<engine version=\"1.0\">";

// True when the buffer starts with the version-one header.
bool ANTisHeaderAntVersionOne(const COLsimpleBuffer& buffer);
bool ANTisHeaderAntVersionOne(const char* data, size_t size);

// Replaces the engine's content with the definition in `text`. `documentName` (the path)
// heads every error text. On failure the engine is left cleared, never half loaded.
// postLoad is the caller's (QVLloadEngine's) business.
void ANTloadEngine(const COLstring& text, QVMengineInternal& engine, const COLstring& documentName);

// The whole definition as version-one text. Raises, writing nothing, when the model holds
// what the format cannot store without loss (see ANTsave.cpp).
COLstring ANTsaveEngineToString(QVMengineInternal& engine);
void ANTsaveEngine(QVMengineInternal& engine, COLsink& sink);
