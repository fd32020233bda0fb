#include "DBdialects.h"

std::unique_ptr<DBdatabase> DBmakeTextDialect(const std::string& name) {
  if (name == "generic") return std::make_unique<DBtextOnlyDatabase>();
  return nullptr;
}
