#include "COLvector.h"

void COLraiseOutOfMemory() { throw COLerror("Out of memory", COL_ERROR_RESOURCE); }

size_t COLrefVectResizeFunc(size_t current, size_t RequiredSize) {
  COL_PRECONDITION(RequiredSize > 0);
  size_t size = current == 0 ? 1 : current;
  while (size < RequiredSize) size = size + (size + (size & 1)) / 2;
  return size;
}
