// The state that survives from message to message while one loaded engine parses: the
// segment list the tokeniser fills and the generation context (escaper, last text seen,
// script environment); and the engine handle that owns the two.
#pragma once

#include <memory>

#include "COLreference.h"
#include "COLstring.h"
#include "QVPparseContext.h"
#include "SGMsegmentList.h"

class QVMengineInternal;
class QVMtableInternal;
class QVMxmlHl7Converter;
struct SGCroad;

class QVJparseContext {
public:
  explicit QVJparseContext(QVMengineInternal* Schema = nullptr);
  ~QVJparseContext();
  QVJparseContext(const QVJparseContext&) = delete;
  QVJparseContext& operator=(const QVJparseContext&) = delete;

  // Made once and refilled by every tokenisation.
  COLreferencePtr<SGMsegmentList> currentSegmentList() const;
  QVPparseContext& qvpParseContext();
  // The converter of the dialect `Name`, kept from message to message while the dialect stays.
  QVMxmlHl7Converter& converter(const COLstring& Name);
  // The table a message is filled into on its way to XML, refilled by the next message: its
  // rows, cells and sub-tables are used again.
  QVMtableInternal& messageTable();
  // A text buffer kept between messages for the next document.
  COLstring& spareText();
  // The current parser's working storage, used again by every message.
  SGCroad& road();
  // A message's text in the context's buffer while it is parsed; a parse that a script starts
  // meanwhile on the same context gets a copy of its own.
  class MessageText {
  public:
    MessageText(QVJparseContext& Context, const char* Text);
    ~MessageText();
    MessageText(const MessageText&) = delete;
    MessageText& operator=(const MessageText&) = delete;
    const COLstring& text() const { return *m_Text; }

  private:
    QVJparseContext& m_Context;
    COLstring* m_Text;
    COLstring m_Own;
    bool m_Borrowed = false;
  };
  // The dialect's converter as above, for a name as the configuration gives it.
  QVMxmlHl7Converter& converter(const char* Name);

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
