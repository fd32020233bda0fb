// Reads the numbered XML files of --fromxml mode as if they were messages of a log:
// 00001name, 00002name, ... in the directory of the given path, until the first gap.
#pragma once

#include "MLGreader.h"

class APPxmlReader : public MLGreader {
public:
  APPxmlReader() : MLGreader(MLGendOfFormats) {}

  uint64_t position() const override;
  void setPosition(uint64_t position) override;
  // Remembers the directory and name of `path`; touches no file.
  void open(const COLstring& path) override;
  void close() override {}
  bool hasNextMessage() override;
  // The whole next file, or an empty text when it does not exist.  UTF-16 comes as UTF-8; a file
  // whose content would be lost on reading is refused (APPxmlMessageText).
  COLstring nextMessage() override;
  // The path of the file nextMessage() read last.
  const COLstring& lastFileName() const { return m_LastFileName; }
  const COLstring& directory() const { return m_Directory; }
  const COLstring& fileName() const { return m_FileName; }

private:
  COLstring currentFileName() const;

  COLstring m_Directory;
  COLstring m_FileName;
  COLstring m_LastFileName;
  unsigned m_Index = 1;
};
