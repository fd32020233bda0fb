#include "COLreference.h"

#include "COLerror.h"

COLreference* COLreference::clone() {
  if (m_CountOfRef == 1) return this;
  return copyForClone();
}

COLreference* COLreference::copyForClone() const {
  throw COLerror("This object cannot be copied.", 0x80000100);
}

void COLreference::Release() {
  COL_PRECONDITION(m_CountOfRef > 0);
  if (--m_CountOfRef == 0) delete this;
}
