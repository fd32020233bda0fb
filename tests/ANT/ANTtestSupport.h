// Helpers of the version-one format tests: a dump of a whole model through its accessors (so
// two models compare without the writer) and where a model with every kind of element is kept.
#pragma once

#include <ostream>
#include <string>

#include "QVMengineInternal.h"

// Every stored value of the model, one per line.
std::string ANTtestDump(QVMengineInternal& engine);
// A message grammar and everything below it, a line a node, indented by depth.
void ANTtestDumpGrammar(std::ostream& out, const QVMmessageGrammar& grammar, int depth);
// "<this>.vmd": two configurations, every kind of grammar, rule, reference and setting the
// version-one format stores, with awkward texts (ampersands, "]]>", line ends, bytes above 127,
// blanks), byte for byte as the writer saves it; "<this>.dump" is its ANTtestDump.
inline const std::string ANTfullModel = std::string(MSGBRIDGE_SOURCE_DIR) + "/tests/data/ANT/full_model";
