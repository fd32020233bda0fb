// The legacy parser's message checkers: they lay the segments of one message onto its message
// grammar as a structured typed tree, or refuse the message. They never parse text or fill tables;
// typing a segment and running its scripts belong to the caller, handed in as hooks.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "COLstring.h"
#include "LAGquovane.h"

class COLerror;
class LANfunction;
class QVMmessageDefinitionInternal;
class QVMmessageGrammar;
class QVMsegmentGrammar;
class QVMsegmentValidationRule;
class QVMsegmentValidationRuleSituationalPython;
class QVMtypedMessageTree;
class QVMuntypedMessageTree;

// Parser version 0 on a definition that ignores segment order: every top-level segment of the
// grammar collects the typed segments of its grammar, in message order. Nothing is refused.
class QVMsegmentOrderTolerantGrammarParser {
public:
  bool checkMessage(const QVMmessageGrammar& Grammar, const QVMuntypedMessageTree& Raw, QVMtypedMessageTree& Typed,
                    QVMtypedMessageTree& Structured);
};

// Parser version 0: recursive descent over the grammar with one segment of look-ahead, over
// segments already typed. Refusal is by exception.
class QVMmessageChecker2 {
public:
  bool checkMessage(const QVMmessageGrammar& Grammar, const QVMuntypedMessageTree& Raw, QVMtypedMessageTree& Typed,
                    QVMtypedMessageTree& Structured, bool Lenient);

private:
  void verify(const QVMmessageGrammar& Grammar);
  void verifyNode(const QVMmessageGrammar& Grammar);
  void verifyBranch(const QVMmessageGrammar& Grammar);
  bool verifySingleNode(const QVMmessageGrammar& Grammar);
  bool matchCurrentSegment(const QVMmessageGrammar& Grammar) const;
  bool segmentRequired(const QVMmessageGrammar& Grammar) const;
  void copySegment(QVMtypedMessageTree& Node);
  void addChildNode(const QVMmessageGrammar& Grammar, unsigned Index);
  void popNode();
  [[noreturn]] void failRequired(const QVMmessageGrammar& Grammar, unsigned Index) const;

  const QVMmessageGrammar* pGrammar = nullptr;
  const QVMuntypedMessageTree* pRawList = nullptr;
  QVMtypedMessageTree* pTypedList = nullptr;
  // The structured nodes from the root down to the one of the grammar being verified: a leaf
  // shares its typed segment, whose parent is the typed list, so the way up is kept here.
  std::vector<QVMtypedMessageTree*> TreePath;
  unsigned segmentIndex = 0;
  bool inRepeat = false;
  bool lenient = false;
};

// What segment checker 3 needs of the parser: typing one raw segment (it appends the typed
// segment to the list), and the strict checks of a raw segment and the script of a rule.
struct QVMmessageChecker3Hooks {
  std::function<void(const QVMsegmentGrammar& Grammar, QVMuntypedMessageTree& Raw, QVMtypedMessageTree& TypedList)>
      CheckSegment;
  // Both run only for a checker told to reject bad segments; `Check` must be given.
  std::function<COLstring(QVMuntypedMessageTree& Raw)> AsString;
  std::function<void(QVMuntypedMessageTree& Raw, const QVMsegmentGrammar& Grammar, const COLstring& Text)> Check;
  // Runs a rule's on-error script on the typed segment the rule last saw.
  std::function<void(const LANfunction& Code, const void* Segment, QVMsegmentValidationRuleSituationalPython& Rule)>
      RunRuleScript;
};

enum QVMmessageChecker3Flags : unsigned {
  QVMcheckerRejectBadSegmentGrammar = 1,
  QVMcheckerLenient = 2,
  QVMcheckerHasHeaderEncodingChars = 4,
  // Frees each raw segment as soon as it is typed.
  QVMcheckerDisableUntypedTreeInException = 8,
};

// Parser version 1: places one segment at a time, typing it only once its place is known, so
// that situational rules can change what the rest of the message needs.
class QVMmessageChecker3 : public LAGmessageGrammarListener {
public:
  QVMmessageChecker3();
  QVMmessageChecker3(const QVMmessageChecker3&) = delete;
  QVMmessageChecker3& operator=(const QVMmessageChecker3&) = delete;
  ~QVMmessageChecker3() override;

  bool checkMessage(const QVMmessageChecker3Hooks& Hooks, QVMmessageGrammar& Grammar, QVMuntypedMessageTree& Raw,
                    QVMtypedMessageTree& Typed, QVMtypedMessageTree& Structured, unsigned Flags);
  QVMtypedMessageTree* LastTypedSegment();
  // Some leaf of the grammar has the segment's name and matches it.
  static bool IsSegmentDefined(const QVMuntypedMessageTree& Segment, const QVMmessageGrammar& Grammar);

  void onRequiredAffected(QVMmessageGrammar& Grammar, const QVMsegmentValidationRule* Rule, bool WasRequired) override;

  // A step from a group to a sub-grammar: its index and the repeat taken.
  using Step = std::pair<unsigned, unsigned>;
  using Path = std::vector<Step>;

private:
  struct messageGrammarState {
    QVMmessageGrammar* pGrammar = nullptr;
    const QVMsegmentValidationRule* pSourceValidationRule = nullptr;
    bool required = false;
  };

  void copyMatchesStart(QVMtypedMessageTree& Structured);
  void placeSegments(QVMtypedMessageTree& Structured);
  bool findSegment(QVMmessageGrammar* G, Path& Address, QVMuntypedMessageTree& Raw, QVMtypedMessageTree* N,
                   unsigned S, bool Continuation, bool& OpenedRepeat, bool TopLevel, bool Required, unsigned& Depth);
  bool findInLeaf(QVMmessageGrammar* G, Path& Address, QVMtypedMessageTree* N, unsigned I, unsigned FirstRequired,
                  QVMtypedMessageTree* Node, bool& OpenedRepeat, unsigned& Depth);
  bool topLevelPathHolds(QVMmessageGrammar* G, QVMtypedMessageTree* N, const Path& Address, bool OpenedRepeat,
                         unsigned Depth) const;
  bool checkTransitionPath(const QVMmessageGrammar* G, const Path& Address) const;
  bool missingAllowed(const QVMmessageGrammar& Grammar) const;
  void checkRequired(const QVMmessageGrammar& Grammar, const QVMtypedMessageTree* Tree, bool Required);
  void addUnfilteredTypedSegment(const QVMsegmentGrammar& Grammar, QVMuntypedMessageTree& Raw);
  void listenTo(const QVMsegmentGrammar& Grammar);
  void restoreAffectedGrammars();
  void stopListening();
  [[noreturn]] void anotateException(COLerror& Error, const QVMmessageGrammar* Grammar, unsigned Repeat);
  const messageGrammarState* affectedStateOf(const QVMmessageGrammar* Grammar) const;

  const QVMmessageChecker3Hooks* pHooks = nullptr;
  QVMmessageGrammar* pMessageGrammar = nullptr;
  QVMuntypedMessageTree* pRawList = nullptr;
  QVMtypedMessageTree* pTypedList = nullptr;
  unsigned segmentIndex = 0;
  QVMmessageGrammar* LastErredSubGrammar = nullptr;
  bool rejectBadSegmentGrammar = false;
  bool lenient = false;
  bool clearRawSegments = false;
  bool hasHeaderEncodingChars = false;
  COLstring encodingChars;
  std::map<QVMmessageGrammar*, messageGrammarState> affected;
  std::vector<QVMsegmentValidationRuleSituationalPython*> listening;
  // The working paths of placeSegments and findInLeaf, kept from segment to segment.
  Path address;
  Path way;
};

// The leaf's nearest repeating ancestor and the way from that ancestor's parent down to the
// leaf's parent, if it passes only through first sub-grammars; false, `Path` empty, otherwise.
bool hasRepeatingParent(const QVMmessageGrammar& Leaf, QVMmessageChecker3::Path& Path);

// The index of the first required leaf among the sub-grammars of `Grammar`; a group ends the
// search one place before it.
unsigned QVMmessageCheckerFirstRequired(const QVMmessageGrammar& Grammar);

// Parser version 0 or 1: lays the message onto message `MessageIndex`'s grammar. `Structured`
// is cleared first. Version 0 reads `Typed` as typed already; version 1 types through `Hooks`.
void QVMengineInternalValidateAndSortSegments(unsigned ParserVersion, QVMmessageDefinitionInternal& Message,
                                              const QVMmessageChecker3Hooks& Hooks, unsigned Checker3Flags,
                                              QVMuntypedMessageTree& Raw, QVMtypedMessageTree& Typed,
                                              QVMtypedMessageTree& Structured);
