// Shared helpers of the grammar and rule tests.
#pragma once

#include <gtest/gtest.h>

#include "COLerror.h"
#include "COLostream.h"
#include "COLstring.h"
#include "QVMsegmentGrammar.h"

template <class T>
COLstring QVMprinted(const T& value) {
  COLstring text;
  COLostream stream(text);
  stream << value;
  return text;
}

// A segment grammar with these field names and nothing else set.
inline QVMsegmentGrammar segmentWithFields(const char* name, std::initializer_list<const char*> fields) {
  QVMsegmentGrammar grammar;
  grammar.setName(name);
  for (const char* field : fields) grammar.setFieldName(QVMsegmentGrammarAddFieldWithoutInitialization(grammar), field);
  return grammar;
}
