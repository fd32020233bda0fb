#include "COLsink.h"

#include "COLerror.h"

COLsink& COLattachedSink::next() const {
  COLsink* pNext = m_Next;
  COL_PRECONDITION(pNext != NULL);
  return *pNext;
}

void COLsource::writeAll(size_t chunkSize) {
  if (!hasNext())
    throw COLerror("This COLsource object has no next() value (ie. there is no COLsink to write to).",
                   COL_ERROR_PRECONDITION);
  setEndOfSource(false);
  COLsink& sink = next();
  if (!sink.readAll(*this)) {
    while (!isEndOfSource()) writeChunk(chunkSize);
    sink.flush();
  }
  sink.onEndStream();
  resetSourcePosition();
}
