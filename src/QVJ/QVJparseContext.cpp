#include "QVJparseContext.h"

#include "QVMengineInternal.h"
#include "QVMtableInternal.h"
#include "QVMxmlHl7Converter.h"

struct QVJparseContext::Private {
  COLreferencePtr<SGMsegmentList> segmentList{new SGMsegmentList};
  QVPparseContext context;
  COLstring converterName;
  std::unique_ptr<QVMxmlHl7Converter> converter;
  QVMtableInternal messageTable;
  COLstring spareText;
  explicit Private(QVMengineInternal* Schema) : context(Schema) {}
};

QVJparseContext::QVJparseContext(QVMengineInternal* Schema) : pMember(std::make_unique<Private>(Schema)) {}
QVJparseContext::~QVJparseContext() = default;
COLreferencePtr<SGMsegmentList> QVJparseContext::currentSegmentList() const { return pMember->segmentList; }
QVPparseContext& QVJparseContext::qvpParseContext() { return pMember->context; }

QVMtableInternal& QVJparseContext::messageTable() { return pMember->messageTable; }
COLstring& QVJparseContext::spareText() { return pMember->spareText; }

QVMxmlHl7Converter& QVJparseContext::converter(const COLstring& Name) {
  if (!pMember->converter || pMember->converterName != Name) {
    pMember->converter.reset();
    pMember->converter = QVMxmlHl7Converter::getConverter(Name);
    pMember->converterName = Name;
  }
  return *pMember->converter;
}

QVFengine::QVFengine() : m_Schema(new QVMengineInternal), m_Context(std::make_unique<QVJparseContext>(m_Schema.get())) {}
QVFengine::~QVFengine() = default;
QVMengineInternal& QVFengine::schema() { return *m_Schema; }
QVJparseContext& QVFengine::parseContext() { return *m_Context; }
