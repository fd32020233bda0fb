#include "QVMidentifier.h"
#include "QVMrevision.h"

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
  QVMrevisionChanged();
  return *this;
}

QVMsegmentIdentifier::~QVMsegmentIdentifier() = default;

const COLstring& QVMsegmentIdentifier::value() const { return pMember->value.pattern(); }

void QVMsegmentIdentifier::setValue(const COLstring& pattern) {
  QVMrevisionChanged();
  pMember->value.init(pattern, 0);
  pMember->matchesEmpty = pMember->value.isExpressionValid() && pMember->value.doesMatchWithLength("", 0);
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
  QVMrevisionChanged();
  return pMember->nodeAddress;
}

const QVMmessageNodeAddress& QVMsegmentIdentifier::nodeAddress() const { return pMember->nodeAddress; }

bool QVMsegmentIdentifier::operator==(const QVMsegmentIdentifier& other) const {
  return value() == other.value() && nodeAddress() == other.nodeAddress();
}
