#include "QVJparseContext.h"

#include "COLerror.h"
#include "QVMengineInternal.h"
#include "SGCconfig.h"

struct QVPparseContext::Private {
  QVMengineInternal* schema = nullptr;
  std::unique_ptr<SCCescaper> escaper;
  COLstring lastFlatWire;
  LAGenvironment pythonEnvironment;
};

QVPparseContext::QVPparseContext(QVMengineInternal* Schema) : pMember(std::make_unique<Private>()) {
  setSchema(Schema);
}
QVPparseContext::~QVPparseContext() = default;

QVMengineInternal* QVPparseContext::schema() const { return pMember->schema; }

void QVPparseContext::setSchema(QVMengineInternal* Schema) {
  pMember->schema = Schema;
  pMember->pythonEnvironment.setEngine(Schema);
}

void QVPparseContext::initParser() {
  COL_PRECONDITION(pMember->schema != nullptr);
  const QVMengineInternal& Schema = *pMember->schema;
  pMember->escaper = std::make_unique<SCCescaper>(SGCescaperSettings(Schema.config()));
}

SCCescaper& QVPparseContext::escaper() {
  COL_PRECONDITION_TEXT(pMember->escaper != nullptr, "pMember->pEscaper != NULL");
  return *pMember->escaper;
}

const COLstring& QVPparseContext::lastFlatWire() const { return pMember->lastFlatWire; }
void QVPparseContext::setLastFlatWire(const COLstring& Text) { pMember->lastFlatWire = Text; }
void QVPparseContext::setLastFlatWire(COLstring&& Text) { pMember->lastFlatWire = std::move(Text); }
LAGenvironment& QVPparseContext::pythonEnvironment() { return pMember->pythonEnvironment; }

struct QVJparseContext::Private {
  COLreferencePtr<SGMsegmentList> segmentList{new SGMsegmentList};
  QVPparseContext context;
  explicit Private(QVMengineInternal* Schema) : context(Schema) {}
};

QVJparseContext::QVJparseContext(QVMengineInternal* Schema) : pMember(std::make_unique<Private>(Schema)) {}
QVJparseContext::~QVJparseContext() = default;
COLreferencePtr<SGMsegmentList> QVJparseContext::currentSegmentList() const { return pMember->segmentList; }
QVPparseContext& QVJparseContext::qvpParseContext() { return pMember->context; }

QVFengine::QVFengine() : m_Schema(new QVMengineInternal), m_Context(std::make_unique<QVJparseContext>(m_Schema.get())) {}
QVFengine::~QVFengine() = default;
QVMengineInternal& QVFengine::schema() { return *m_Schema; }
QVJparseContext& QVFengine::parseContext() { return *m_Context; }
