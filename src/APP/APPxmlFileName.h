// Numbered file names of the XML modes: 7, "out/", "msg.xml" give "out/00007msg.xml".
#pragma once

#include "COLstring.h"

// The directory is used as it stands: it must be empty or end in a separator.
COLstring APPxmlFileName(unsigned index, const COLstring& directory, const COLstring& fileName);
