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
  // What the parser and escaper were made from: they are made again only when the
  // configuration differs, and the escaper, which a message teaches its delimiters, starts
  // every message as made.
  const QVMconfig* builtFor = nullptr;
  SCCescaperSettings builtSettings;
  SCCescaperSettings presentSettings;
  SCCescaper builtEscaper;
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

namespace {

bool sameSettings(const SCCescaperSettings& Left, const SCCescaperSettings& Right) {
  if (Left.levels.size() != Right.levels.size()) return false;
  for (size_t Level = 0; Level < Left.levels.size(); ++Level) {
    const SCCdelimiterLevel& A = Left.levels[Level];
    const SCCdelimiterLevel& B = Right.levels[Level];
    if (A.sepCharDefault != B.sepCharDefault || A.repeatCharDefault != B.repeatCharDefault ||
        A.sepCharEscape != B.sepCharEscape || A.repeatCharEscape != B.repeatCharEscape ||
        A.sepCharPosition != B.sepCharPosition || A.repeatCharPosition != B.repeatCharPosition)
      return false;
  }
  return Left.escapeDefault == Right.escapeDefault && Left.escapeEscapeChar == Right.escapeEscapeChar &&
         Left.escapePosition == Right.escapePosition && Left.lowestNonEscapedChar == Right.lowestNonEscapedChar &&
         Left.highestNonEscapedChar == Right.highestNonEscapedChar;
}

}  // namespace

void QVPparseContext::initParser() {
  COL_PRECONDITION(pMember->schema != nullptr);
  Private& Member = *pMember;
  const QVMconfig& Config = static_cast<const QVMengineInternal&>(*Member.schema).config();
  // Read from the configuration on every message, so an edit counts from the next one.
  SGCescaperSettings(Config, Member.presentSettings);
  if (Member.parser == nullptr || Member.builtFor != &Config ||
      !sameSettings(Member.presentSettings, Member.builtSettings)) {
    Member.parser.reset();
    Member.builtFor = nullptr;
    Member.parser = std::make_unique<QVMparser>(Config);
    Member.builtEscaper = SCCescaper(Member.presentSettings);
    Member.builtSettings = Member.presentSettings;
    Member.builtFor = &Config;
  } else {
    Member.parser->useConfiguredDelimiters();
  }
  if (Member.escaper == nullptr) Member.escaper = std::make_unique<SCCescaper>(Member.builtEscaper);
  else *Member.escaper = Member.builtEscaper;
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
void QVPparseContext::setLastFlatWire(const char* Text) {
  if (Text) pMember->lastFlatWire.str().assign(Text);
  else pMember->lastFlatWire.clear();
}
void QVPparseContext::setLastFlatWire(COLstring&& Text) { pMember->lastFlatWire = std::move(Text); }
void QVPparseContext::swapLastFlatWire(COLstring& Text) { pMember->lastFlatWire.str().swap(Text.str()); }
LAGenvironment& QVPparseContext::pythonEnvironment() { return pMember->pythonEnvironment; }

QVMuntypedMessageTree& QVPparseContext::rawSegmentList() { return *pMember->rawSegmentList; }
QVMtypedMessageTree& QVPparseContext::typedSegmentList() { return *pMember->typedSegmentList; }
QVMtypedMessageTree& QVPparseContext::structuredMessage() { return *pMember->structuredMessage; }
void QVPparseContext::clearStructuredMessage() { pMember->structuredMessage = new QVMtypedMessageTree; }
