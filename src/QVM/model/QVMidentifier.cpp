#include "QVMidentifier.h"
#include "QVMengineInternal.h"
#include "QVMmessageDefinitionInternal.h"

#include "REXmatcher.h"

struct QVMsegmentIdentifierPrivate {
  QVMmessageNodeAddress nodeAddress;
  REXmatcher value;
  // Whether the pattern matches the empty text, worked out once per pattern: message
  // identification asks it for every candidate message.
  bool matchesEmpty = false;
};

QVMsegmentIdentifier::QVMsegmentIdentifier() : pMember(std::make_unique<QVMsegmentIdentifierPrivate>()) {}

QVMsegmentIdentifier::QVMsegmentIdentifier(const QVMsegmentIdentifier& other)
    : pMember(std::make_unique<QVMsegmentIdentifierPrivate>(*other.pMember)) {}

QVMsegmentIdentifier& QVMsegmentIdentifier::operator=(const QVMsegmentIdentifier& other) {
  if (this != &other) *pMember = *other.pMember;
  edited();
  return *this;
}

QVMsegmentIdentifier::~QVMsegmentIdentifier() = default;

const COLstring& QVMsegmentIdentifier::value() const { return pMember->value.pattern(); }

void QVMsegmentIdentifier::setValue(const COLstring& pattern) {
  pMember->value.init(pattern, 0);
  pMember->matchesEmpty = pMember->value.isExpressionValid() && pMember->value.doesMatchWithLength("", 0);
  edited();
}

bool QVMsegmentIdentifier::isRegexValid() const { return pMember->value.isExpressionValid(); }

bool QVMsegmentIdentifier::isNullMatchingValue() const { return pMember->matchesEmpty; }

bool QVMsegmentIdentifier::doesMatch(const char* text) const {
  if (!pMember->value.isExpressionValid()) return false;
  return pMember->value.doesMatch(text ? text : "");
}

bool QVMsegmentIdentifier::doesMatchWithLength(const char* text, size_t length) const {
  if (!pMember->value.isExpressionValid()) return false;
  if (!text) return pMember->matchesEmpty;
  return pMember->value.doesMatchWithLength(text, length);
}

const REXmatcher& QVMsegmentIdentifier::regex() const { return pMember->value; }

// Whoever takes the address writable may change it.
QVMmessageNodeAddress& QVMsegmentIdentifier::nodeAddress() {
  edited();
  return pMember->nodeAddress;
}

const QVMmessageNodeAddress& QVMsegmentIdentifier::nodeAddress() const { return pMember->nodeAddress; }

bool QVMsegmentIdentifier::operator==(const QVMsegmentIdentifier& other) const {
  return value() == other.value() && nodeAddress() == other.nodeAddress();
}

// --- QVMidentifier

QVMidentifier& QVMidentifier::operator=(const QVMidentifier& other) {
  if (this != &other) {
    m_Segment = other.m_Segment;
    QVMsegmentIdentifier::operator=(other);
  }
  return *this;
}

void QVMidentifier::setSegment(const COLstring& segment) {
  m_Segment = segment;
  edited();
}

void QVMidentifier::edited() {
  if (m_Message) QVMdefinitionEdited(m_Message->rootEngine());
}
