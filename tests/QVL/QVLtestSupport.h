// Helpers of the definition-file tests: a dump of a whole model through its accessors (so
// two models compare without the file writer), a model with every kind of element, and
// file helpers.
#pragma once

#include <string>

#include "QVMengineInternal.h"

// Every stored value of the model, one per line.
std::string QVLtestDump(QVMengineInternal& engine);
// Two configurations, every kind of grammar, rule, reference and setting the version-one
// format stores, with awkward texts (ampersands, "]]>", line ends, bytes above 127, blanks).
void QVLtestBuildFullModel(QVMengineInternal& engine);

std::string QVLtestReadFile(const std::string& path);
void QVLtestWriteFile(const std::string& path, const std::string& content);
// A fresh directory below the build's temporary directory.
std::string QVLtestDirectory(const std::string& name);
