// The state that survives from message to message while one loaded engine parses: the
// segment list the tokeniser fills, the escaper, the last text seen (results point into
// it), and the script environment.
#pragma once

#include <memory>

#include "COLreference.h"
#include "COLstring.h"
#include "LAGenvironment.h"
#include "SCCescaper.h"
#include "SGMsegmentList.h"

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
  LAGenvironment& pythonEnvironment();

private:
  struct Private;
  std::unique_ptr<Private> pMember;
};

class QVJparseContext {
public:
  explicit QVJparseContext(QVMengineInternal* Schema = nullptr);
  ~QVJparseContext();
  QVJparseContext(const QVJparseContext&) = delete;
  QVJparseContext& operator=(const QVJparseContext&) = delete;

  // Made once and refilled by every tokenisation.
  COLreferencePtr<SGMsegmentList> currentSegmentList() const;
  QVPparseContext& qvpParseContext();

private:
  struct Private;
  std::unique_ptr<Private> pMember;
};

// A loaded engine with its parse context: the context lives exactly as long as the engine.
class QVFengine : public COLreference {
public:
  QVFengine();
  ~QVFengine() override;
  QVMengineInternal& schema();
  QVJparseContext& parseContext();

private:
  COLreferencePtr<QVMengineInternal> m_Schema;
  std::unique_ptr<QVJparseContext> m_Context;
};
