#include "QVJparseContext.h"

#include "QVMengineInternal.h"

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
