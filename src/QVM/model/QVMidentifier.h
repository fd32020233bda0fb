// Identifiers: a regular expression tested against the value found at a node address.
// QVMsegmentIdentifier belongs to a segment grammar (it tells variants of one segment
// apart); QVMidentifier belongs to a message and also names the segment to look in.
#pragma once

#include <cstddef>
#include <memory>

#include "COLstring.h"
#include "QVMmessageNodeAddress.h"

class QVMmessageDefinitionInternal;
class REXmatcher;
struct QVMsegmentIdentifierPrivate;

class QVMsegmentIdentifier {
public:
  QVMsegmentIdentifier();
  QVMsegmentIdentifier(const QVMsegmentIdentifier& other);
  QVMsegmentIdentifier& operator=(const QVMsegmentIdentifier& other);
  virtual ~QVMsegmentIdentifier();

  // The pattern text, kept whether it compiled or not.
  const COLstring& value() const;
  // Compiles with no options; a bad pattern is stored all the same.
  void setValue(const COLstring& pattern);
  bool isRegexValid() const;
  // True when the pattern matches the empty text, so only a missing value tells it apart.
  bool isNullMatchingValue() const;
  // False for a pattern that did not compile; a null text counts as empty.
  bool doesMatch(const char* text) const;
  bool doesMatch(const COLstring& text) const { return doesMatchWithLength(text.data(), text.size()); }
  bool doesMatchWithLength(const char* text, size_t length) const;
  const REXmatcher& regex() const;

  QVMmessageNodeAddress& nodeAddress();
  const QVMmessageNodeAddress& nodeAddress() const;

  // Same pattern text and same node address.
  bool operator==(const QVMsegmentIdentifier& other) const;
  bool operator!=(const QVMsegmentIdentifier& other) const { return !(*this == other); }

protected:
  // Called after every change of pattern or address.
  virtual void edited() {}

private:
  std::unique_ptr<QVMsegmentIdentifierPrivate> pMember;
};

class QVMidentifier : public QVMsegmentIdentifier {
public:
  QVMidentifier() = default;
  // A copy belongs to no message until one takes it (QVMmessageConfig::setMessage).
  QVMidentifier(const QVMidentifier& other) : QVMsegmentIdentifier(other), m_Segment(other.m_Segment) {}
  // Keeps the message this identifier belongs to.
  QVMidentifier& operator=(const QVMidentifier& other);

  // The segment to look in; "MSH" for a new identifier.
  const COLstring& segment() const { return m_Segment; }
  void setSegment(const COLstring& segment);

  bool operator==(const QVMidentifier& other) const {
    return m_Segment == other.m_Segment && QVMsegmentIdentifier::operator==(other);
  }
  bool operator!=(const QVMidentifier& other) const { return !(*this == other); }

  // The message whose identification this identifier decides: its engine hears of every edit,
  // so that what it derived for identification is built again.
  void setMessage(const QVMmessageDefinitionInternal* message) { m_Message = message; }

protected:
  void edited() override;

private:
  COLstring m_Segment = "MSH";
  const QVMmessageDefinitionInternal* m_Message = nullptr;
};
