// QVMengine: the class interface of one engine, as a host (and the tool) calls it.
#pragma once

#include "COLstring.h"

class QVMengine {
public:
  QVMengine();
  virtual ~QVMengine();

  virtual void InitiateMessage();
  virtual void Load(const COLstring& definitionFile);
  virtual void ParseMessage(const COLstring& message);
  virtual void ParseMessageDynamically(const COLstring& message);
  virtual void ReplyToMessage(const COLstring& message);

  COLstring versionString() const;
  // The XML of one message, valid until the next call on this engine.
  const char* translateMessageToXml(const COLstring& message);
  const char* translateXmlToMessage(const COLstring& xml);
  void generateXsd(const COLstring& outputFile);
};
