#include "QVPparseContext.h"

#include "COLerror.h"
#include "QVMengineInternal.h"
#include "QVMparser.h"
#include "QVMtypedMessageTree.h"
#include "QVMuntypedMessageTree.h"
#include "SGCconfig.h"

struct QVPparseContext::Private {
  QVMengineInternal* schema = nullptr;
  std::unique_ptr<QVMparser> parser;
  std::unique_ptr<SCCescaper> escaper;
  COLstring lastFlatWire;
  LAGenvironment pythonEnvironment;
  COLreferencePtr<QVMuntypedMessageTree> rawSegmentList = new QVMuntypedMessageTree;
  COLreferencePtr<QVMtypedMessageTree> typedSegmentList = new QVMtypedMessageTree;
  COLreferencePtr<QVMtypedMessageTree> structuredMessage = new QVMtypedMessageTree;
};

QVPparseContext::QVPparseContext(QVMengineInternal* Schema) : pMember(std::make_unique<Private>()) {
  setSchema(Schema);
  pMember->pythonEnvironment.setSegmentList(pMember->rawSegmentList.get());
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
  pMember->parser = std::make_unique<QVMparser>(Schema.config());
  pMember->escaper = std::make_unique<SCCescaper>(SGCescaperSettings(Schema.config()));
}

QVMparser& QVPparseContext::parser() {
  COL_PRECONDITION_TEXT(pMember->parser != nullptr, "pMember->pParser != NULL");
  return *pMember->parser;
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

QVMuntypedMessageTree& QVPparseContext::rawSegmentList() { return *pMember->rawSegmentList; }
QVMtypedMessageTree& QVPparseContext::typedSegmentList() { return *pMember->typedSegmentList; }
QVMtypedMessageTree& QVPparseContext::structuredMessage() { return *pMember->structuredMessage; }
void QVPparseContext::clearStructuredMessage() { pMember->structuredMessage = new QVMtypedMessageTree; }
