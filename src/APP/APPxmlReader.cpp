#include "APPxmlReader.h"

#include "APPxmlFileName.h"
#include "COLerror.h"
#include "FILbinaryFile.h"
#include "FILfilePath.h"
#include "FILpath.h"
#include "APPxmlInput.h"

uint64_t APPxmlReader::position() const {
  throw COLerror("APPxmlReader::position not implemented.", COL_ERROR_PRECONDITION);
}

void APPxmlReader::setPosition(uint64_t) {
  throw COLerror("APPxmlReader::setPosition not implemented.", COL_ERROR_PRECONDITION);
}

void APPxmlReader::open(const COLstring& path) {
  FILfilePath filePath(path);
  m_Directory = FILaddPathSeparator(filePath.fullDirectory());
  m_FileName = filePath.fullFilename();
  m_Index = 1;
}

COLstring APPxmlReader::currentFileName() const { return APPxmlFileName(m_Index, m_Directory, m_FileName); }

bool APPxmlReader::hasNextMessage() { return FILfileExists(currentFileName()); }

COLstring APPxmlReader::nextMessage() {
  const COLstring name = currentFileName();
  if (!FILfileExists(name)) return COLstring();
  COLstring text;
  FILbinaryFile file(name, FILmodeRead, FILtypeUnbuffered, &text);
  file.writeAll();
  ++m_Index;
  m_LastFileName = name;
  return APPxmlMessageText(name, text);
}
