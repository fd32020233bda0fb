#include "APPxmlFileName.h"

#include <cstdio>

COLstring APPxmlFileName(unsigned index, const COLstring& directory, const COLstring& fileName) {
  char number[16];
  std::snprintf(number, sizeof number, "%05u", index);
  COLstring name(directory);
  name += number;
  name += fileName;
  return name;
}
