#include "SGXerror.h"

#include <algorithm>

#include "COLerror.h"
#include "COLostream.h"

COLstring SGXerrorPrintableCode(uint32_t code) {
  if (code > SGXerror::SegmentCheckFailed) {
    COLstring Text;
    COLostream(Text) << "Unknown SGXerror::ErrorCode " << code;
    throw COLerror(Text, COL_ERROR_PRECONDITION);
  }
  COLstring Printable("XML0000");
  Printable += static_cast<char>('1' + code);
  return Printable;
}

void SGXerrorListSortByLineNumber(SGXerrorList& list) {
  std::stable_sort(list.begin(), list.end(), [](const COLreferencePtr<SGXerror>& left, const COLreferencePtr<SGXerror>& right) {
    return left->lineNumber() < right->lineNumber();
  });
}
