#include "DBoracleWords.h"

#include "COLostream.h"

void DBoracleWords::streamCreateTableForeignKeySuffix(COLostream& stream, const DBsqlCreateTableColumn& column) {
  if (column.foreignKeyOnDeleteAction() == DBsqlCreateTableColumnForeignKey::CASCADE) stream << " ON DELETE CASCADE ";
}

void DBoracleWords::streamDateTime(COLostream& stream, const COLdateTime& time) {
  if (time.isNull()) return streamNullValue(stream);
  stream << "TO_DATE('" << time.year() << '-' << time.month() << '-' << time.day() << ' ' << time.hour() << ':'
         << time.minute() << ':' << time.second() << "','YYYY-MM-DD HH24:MI:SS')";
}

void DBoracleWords::streamNullValue(COLostream& stream) { stream << "''"; }
