// The words of Oracle's dialect, shared by every back end that speaks to Oracle.
#pragma once

#include "COLdateTime.h"
#include "DBsqlCommand.h"

class COLostream;

namespace DBoracleWords {
inline const char* dbDoubleType() { return "DOUBLE PRECISION"; }
inline const char* dbDateTimeType() { return "DATE"; }
inline const char* dbTextType() { return "CLOB"; }
// " ON DELETE CASCADE " for a cascading delete, nothing otherwise.
void streamCreateTableForeignKeySuffix(COLostream& stream, const DBsqlCreateTableColumn& column);
// TO_DATE('Y-M-D h:m:s','YYYY-MM-DD HH24:MI:SS'); a null time is the null value.
void streamDateTime(COLostream& stream, const COLdateTime& time);
// Oracle takes an empty text for null.
void streamNullValue(COLostream& stream);
}  // namespace DBoracleWords
