// The grammar parse: one forward pass lays a flat segment list onto a message grammar.  Each
// segment goes to the next free grammar position that accepts it, counted from where the
// segment before it went; there is no look-ahead and no backtracking.  Missing required
// items and exceeded repeats are found afterwards on the finished tree.
#pragma once

#include <memory>
#include <vector>

#include "SGCparsed.h"

class QVMmessageGrammar;
class SGMsegmentList;

using SGCparsedErrorVector = std::vector<COLreferencePtr<SGCparsedError>>;

class SGCparseContext {
public:
  SGCparseContext();
  virtual ~SGCparseContext();
  SGCparseContext(const SGCparseContext&) = delete;
  SGCparseContext& operator=(const SGCparseContext&) = delete;

  // True when no error in the list is fatal.  Sets the root rule.
  bool parse(QVMmessageGrammar& Grammar, SGMsegmentList& List);

  SGCparsed* tree() const;
  void setTree(COLreferencePtr<SGCparsed> Tree);
  SGCparsedErrorVector& errorList();
  const SGCparsedErrorVector& errorList() const;
  // Appends an error; error objects of earlier messages are used again.
  void addError(unsigned SegmentIndex, SGMsegment* Segment, unsigned ErrorCode, SGCparsed* ErrorParsed,
                bool IsFatal);
  // Empties the list, keeping the error objects nobody else holds for the next message.
  void clearErrors();
  QVMmessageGrammar* rootRule() const;

private:
  struct Private;
  std::unique_ptr<Private> pMember;
};

void SGCperformParse(SGCparseContext& Context, SGMsegmentList& List, QVMmessageGrammar& Grammar);

// The whole grammar laid out in placeholders; the root is always a group.
COLreferencePtr<SGCparsed> SGCparseCreateRoot(QVMmessageGrammar& Rule);
void SGCparseCreateNewGroupTree(QVMmessageGrammar& Rule, SGCparsedCollection* Parent, bool MakeRepeats);
// Places one segment, walking forward from `Current`; the new node, or null.
SGCparsed* SGCparseInsertSegment(unsigned SegmentIndex, SGMsegmentList& List, SGCparsed* Current);
void SGCparseReplaceNotPresent(SGCparsedNotPresent* Old, COLreferencePtr<SGCparsed> New);

void SGCpruneLastNodesInRepeats(SGCparsed* Node);
void SGCpruneEmptyNodes(SGCparsed* Node);
bool SGCparsedIsEmptyNode(SGCparsed* Node);
void SGCparseCheckOptionalityForErrors(SGCparsed* Tree, SGCparsedErrorVector& Errors);
void SGCparseCheckRepeatsExceeded(SGCparsed* Node, SGCparsedErrorVector& Errors);
// A segment that is not optional, or a required group with a fully required item.
bool SGCisFullyRequired(QVMmessageGrammar& Rule);
