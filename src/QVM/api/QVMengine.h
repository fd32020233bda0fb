// QVMengine and its message-passing frame (QVMoutputLog, QVMtransport, QVMwrapper): the class
// interface of one engine, a thin owner of an engine handle. Failed calls throw QVMerror.
#pragma once

#include <cstddef>

#include "QVMstring.h"

class COLstring;
class QVMenginePrivate;
class QVMtable;
class QVMwrapper;
class QVMwrapperPrivate;

// Where an engine's log text goes.
class QVMoutputLog {
public:
  virtual ~QVMoutputLog() = default;
  virtual void OutputText(const char* text, size_t length) = 0;
};

// Where framed outgoing messages go, by connection id.
class QVMtransport {
public:
  virtual ~QVMtransport() = default;
  virtual void SendData(const char* data, size_t length, unsigned connectionId) = 0;
};

class QVMengine {
public:
  QVMengine();
  QVMengine(const QVMengine&) = delete;
  QVMengine& operator=(const QVMengine&) = delete;
  virtual ~QVMengine();

  // Sends a message that starts an exchange (connection 0) through the wrapper.
  virtual void InitiateMessage(const char* message);
  virtual void Load(const COLstring& path);
  // Called by the wrapper for each whole message received; a host overrides it.
  virtual void ParseMessage(const char* message, unsigned connectionId);
  virtual void ParseMessageDynamically(const char* message, QVMtable& table, unsigned& messageIndex);
  virtual void ReplyToMessage(const char* message, unsigned connectionId);

  // Goes to the virtual Load.
  void Load(const char* path);
  // A definition held in memory, of the version-one or the archive kind.
  void LoadFromMemory(const void* data, size_t size);
  void* EngineHandle() const;

  // The engine owns what it is given, and deletes what it had before.
  void SetLog(QVMoutputLog* log);
  QVMoutputLog* Log() const;
  void OutputLine(const char* text);
  void NewLine();
  void SetTransport(QVMtransport* transport);
  QVMtransport* Transport() const;
  void SetWrapper(QVMwrapper* wrapper);
  QVMwrapper* Wrapper() const;

  unsigned CountOfMessage() const;
  const char* MessageName(unsigned messageIndex) const;
  unsigned CountOfTable() const;
  void* TableHandle(unsigned tableIndex) const;
  void* MessageHandle(unsigned messageIndex) const;
  unsigned AckMessageIndex() const;
  unsigned IgnoreMessageIndex() const;
  unsigned CurrentConfigurationIndex() const;
  void SetCurrentConfigurationIndex(unsigned configIndex);
  unsigned CountOfConfiguration() const;
  const char* ConfigurationName(unsigned configIndex) const;
  unsigned InConfigurationIndex() const;
  unsigned OutConfigurationIndex() const;
  void SetRejectBadSegmentGrammarFlag(bool flag);
  bool IsUsingPassthruMapping() const;

  // The text results stay valid until the next call of the same kind on any engine.
  const char* translateMessageToXml(const char* message, size_t* length = nullptr);
  const char* translateMessageToXml(const COLstring& message);
  const char* translateXmlToMessage(const char* xml, size_t* length = nullptr);
  const char* translateXmlToMessage(const COLstring& xml);
  // Writes the schema of the loaded definition to a file.
  void generateXsd(const char* outputFile);
  void generateXsd(const COLstring& outputFile);
  const char* transformMessage(const char* message, unsigned inConfig, unsigned outConfig, unsigned& messageIndex);
  const char* generateAck(const char* message);
  void setPythonKeyValuePair(const char* key, const char* value);
  void extendPythonLibraryPath(const char* directory);
  void setDefaultDatabase(const char* apiName, const char* databaseName, const char* userName,
                          const char* password);

  unsigned majorVersion() const;
  unsigned minorVersion() const;
  unsigned buildNumber() const;
  // "5.1 Build: 12".
  const char* versionString() const;

private:
  QVMenginePrivate* pMember;
};

// Cuts a stream of received data into messages and frames outgoing ones; the framing is
// the business of derived classes.
class QVMwrapper {
public:
  QVMwrapper();
  QVMwrapper(const QVMwrapper&) = delete;
  QVMwrapper& operator=(const QVMwrapper&) = delete;
  virtual ~QVMwrapper();

  // The bytes to send for one outgoing message.
  virtual QVMstring FrameMessage(const char* message) = 0;
  // Takes one whole message off the front of `data` into `message`; false when there is none.
  virtual bool ExtractMessage(QVMstring& data, QVMstring& message) = 0;
  virtual void OnMessage(const char* message, unsigned connectionId);
  // Adds to the data held for the connection and hands on every whole message; returns
  // how many there were.
  virtual unsigned ReceiveData(const char* data, unsigned connectionId);

  void SendResponseMessage(const char* message, unsigned connectionId);
  void SetEngine(QVMengine* engine);
  QVMengine* Engine() const;
  QVMtransport* Transport() const;
  void ClearData(unsigned connectionId);

private:
  QVMwrapperPrivate* pMember;
};
