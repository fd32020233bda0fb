// The state of one engine's translations that generation shares with parsing: the parser and
// escaper, the last text seen (results point into it), the script environment, and the trees
// of the legacy parser, kept from message to message so their nodes are reused.
#pragma once

#include <memory>

#include "COLstring.h"
#include "LAGenvironment.h"
#include "SCCescaper.h"

class QVMengineInternal;
class QVMparser;
class QVMtypedMessageTree;
class QVMuntypedMessageTree;

// Shared by both parser generations.
class QVPparseContext {
public:
  explicit QVPparseContext(QVMengineInternal* Schema = nullptr);
  ~QVPparseContext();
  QVPparseContext(const QVPparseContext&) = delete;
  QVPparseContext& operator=(const QVPparseContext&) = delete;

  QVMengineInternal* schema() const;
  // Also tells the environment which engine it serves.
  void setSchema(QVMengineInternal* Schema);
  // Rebuilds the parser and escaper from the present configuration, so a change applies at once.
  void initParser();
  QVMparser& parser();
  SCCescaper& escaper();
  const COLstring& lastFlatWire() const;
  void setLastFlatWire(const COLstring& Text);
  // Copied into the buffer the last text left: no allocation once it is large enough.
  void setLastFlatWire(const char* Text);
  // Takes the text over without copying it; a translation builds its result once.
  void setLastFlatWire(COLstring&& Text);
  // Trades the last text for `Text`, buffers included.
  void swapLastFlatWire(COLstring& Text);
  LAGenvironment& pythonEnvironment();

  // The legacy parser's message: raw segments (the environment's segment list), the typed
  // segments, and the typed segments arranged by the message grammar.
  QVMuntypedMessageTree& rawSegmentList();
  QVMtypedMessageTree& typedSegmentList();
  QVMtypedMessageTree& structuredMessage();
  // Drops the arranged message for a fresh empty one.
  void clearStructuredMessage();

private:
  struct Private;
  std::unique_ptr<Private> pMember;
};
