// The state of one engine's translations that generation shares with parsing: the escaper,
// the last text seen (results point into it), and the script environment.
#pragma once

#include <memory>

#include "COLstring.h"
#include "LAGenvironment.h"
#include "SCCescaper.h"

class QVMengineInternal;

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
  // Rebuilds the escaper from the present configuration, so a change applies at once.
  void initParser();
  SCCescaper& escaper();
  const COLstring& lastFlatWire() const;
  void setLastFlatWire(const COLstring& Text);
  // Takes the text over without copying it; a translation builds its result once.
  void setLastFlatWire(COLstring&& Text);
  // Trades the last text for `Text`, buffers included.
  void swapLastFlatWire(COLstring& Text);
  LAGenvironment& pythonEnvironment();

private:
  struct Private;
  std::unique_ptr<Private> pMember;
};
