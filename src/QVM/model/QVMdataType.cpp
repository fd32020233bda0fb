#include "QVMdataType.h"

#include "COLerror.h"

COLstring QVMoutputDataTypeAsString(QVMdataType type) {
  switch (type) {
    case QVMstringType: return "String";
    case QVMintegerType: return "Integer";
    case QVMdoubleType: return "Double";
    case QVMcompositeType: return "Composite";
    case QVMdateTimeType: return "DateTime";
    default: break;
  }
  throw COLerror("Unknown data type.", COL_ERROR_UNKNOWN_MAPPING_TYPE);
}
