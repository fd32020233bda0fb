// Helpers of the version-one format tests: a dump of a whole model through its accessors (so
// two models compare without the writer) and a model with every kind of element.
#pragma once

#include <string>

#include "QVMengineInternal.h"

// Every stored value of the model, one per line.
std::string ANTtestDump(QVMengineInternal& engine);
// Two configurations, every kind of grammar, rule, reference and setting the version-one
// format stores, with awkward texts (ampersands, "]]>", line ends, bytes above 127, blanks).
void ANTtestBuildFullModel(QVMengineInternal& engine);
