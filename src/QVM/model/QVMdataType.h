// QVMdataType: the type of a leaf value or of a table column, shared by the grammars,
// the tables and the parsers.
#pragma once

#include <cstdint>

#include "COLstring.h"

enum QVMdataType : uint32_t {
  QVMstringType = 0,
  QVMintegerType = 1,
  QVMdoubleType = 2,
  QVMcompositeType = 3,
  QVMdateTimeType = 4,
  QVMenumerationType = 5,
};

// "String", "Integer", "Double", "Composite", "DateTime"; any other type (enumerations
// included) raises 0x80000900 "Unknown data type.".
COLstring QVMoutputDataTypeAsString(QVMdataType type);
