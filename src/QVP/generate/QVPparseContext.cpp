#include "QVPparseContext.h"

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
void QVPparseContext::swapLastFlatWire(COLstring& Text) { pMember->lastFlatWire.str().swap(Text.str()); }
LAGenvironment& QVPparseContext::pythonEnvironment() { return pMember->pythonEnvironment; }
