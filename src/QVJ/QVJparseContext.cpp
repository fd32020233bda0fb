#include "QVJparseContext.h"

#include "QVMengineInternal.h"
#include "QVMtableInternal.h"
#include "QVMxmlHl7Converter.h"
#include "SGCcompleteParse.h"

struct QVJparseContext::Private {
  COLreferencePtr<SGMsegmentList> segmentList{new SGMsegmentList};
  QVPparseContext context;
  COLstring converterName;
  std::unique_ptr<QVMxmlHl7Converter> converter;
  QVMtableInternal messageTable;
  COLstring spareText;
  COLstring messageText;
  bool messageTextInUse = false;
  SGCroad road;
  explicit Private(QVMengineInternal* Schema) : context(Schema) {}
};

QVJparseContext::QVJparseContext(QVMengineInternal* Schema) : pMember(std::make_unique<Private>(Schema)) {}
QVJparseContext::~QVJparseContext() = default;
COLreferencePtr<SGMsegmentList> QVJparseContext::currentSegmentList() const { return pMember->segmentList; }
QVPparseContext& QVJparseContext::qvpParseContext() { return pMember->context; }

QVMtableInternal& QVJparseContext::messageTable() { return pMember->messageTable; }
COLstring& QVJparseContext::spareText() { return pMember->spareText; }
SGCroad& QVJparseContext::road() { return pMember->road; }

QVMxmlHl7Converter& QVJparseContext::converter(const COLstring& Name) {
  if (!pMember->converter || pMember->converterName != Name) {
    pMember->converter.reset();
    pMember->converter = QVMxmlHl7Converter::getConverter(Name);
    pMember->converterName = Name;
  }
  return *pMember->converter;
}

QVMxmlHl7Converter& QVJparseContext::converter(const char* Name) {
  // Compared in place: the names are longer than a string holds without the heap.
  if (Name && pMember->converter && pMember->converterName.str() == Name) return *pMember->converter;
  return converter(COLstring(Name));
}

QVJparseContext::MessageText::MessageText(QVJparseContext& Context, const char* Text)
    : m_Context(Context), m_Text(&m_Own) {
  if (!Context.pMember->messageTextInUse) {
    Context.pMember->messageTextInUse = true;
    m_Borrowed = true;
    m_Text = &Context.pMember->messageText;
  }
  if (Text) m_Text->str().assign(Text);
  else m_Text->clear();
}

QVJparseContext::MessageText::~MessageText() {
  if (m_Borrowed) m_Context.pMember->messageTextInUse = false;
}

QVFengine::QVFengine() : m_Schema(new QVMengineInternal), m_Context(std::make_unique<QVJparseContext>(m_Schema.get())) {}
QVFengine::~QVFengine() = default;
QVMengineInternal& QVFengine::schema() { return *m_Schema; }
QVJparseContext& QVFengine::parseContext() { return *m_Context; }
