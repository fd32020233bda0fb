#include "QVJreply.h"

#include <cstring>

#include "COLerror.h"
#include "QVJdiagnostics.h"
#include "QVJparse.h"
#include "QVJparseContext.h"
#include "QVMconfig.h"
#include "QVMengineInternal.h"
#include "QVMtableInternal.h"
#include "QVPgenerateMessage.h"
#include "QVPreply.h"

namespace {

QVMengineInternal& QVJengine(QVJparseContext& Context) {
  QVMengineInternal* Schema = Context.qvpParseContext().schema();
  COL_PRECONDITION(Schema != nullptr);
  return *Schema;
}

}  // namespace

const char* QVJautoAck(QVJparseContext& Context, const char* Message) {
  QVPparseContext& Shared = Context.qvpParseContext();
  QVMengineInternal& Engine = QVJengine(Context);
  const COLstring Whole(Message ? Message : "");
  try {
    const QVMconfig& Config = static_cast<const QVMengineInternal&>(Engine).config();
    COL_PRECONDITION_TEXT(Config.countOfLevel() > 0, "Engine.config()->countOfLevel() > 0");
    // Only the header is read: the text up to and with the first segment delimiter, or all of it.
    const char* End = std::strchr(Whole.c_str(), Config.sepCharInfo(0).sepCharDefault());
    const COLstring Header = End ? COLstring(Whole, 0, static_cast<size_t>(End - Whole.c_str()) + 1) : Whole;
    COLstring Working;
    QVJconfigPreProcessMessage(Config, Header, Working, Shared.pythonEnvironment());
    return QVPautoAck(Shared, Working.c_str());
  } catch (const COLerror& Error) {
    QVJgenerateCompleteInfoOnException(Error, Engine.lineFeed(), Whole);
  }
}

const char* QVJtransformMessage(QVJparseContext& Context, const char* Message, unsigned InConfigIndex,
                                unsigned OutConfigIndex, unsigned& MessageIndex) {
  QVPparseContext& Shared = Context.qvpParseContext();
  QVMengineInternal& Engine = QVJengine(Context);
  const COLstring Text(Message ? Message : "");
  Shared.initParser();
  QVMtableInternal Table;
  // Declared before the try: the configuration comes back after the report is made, too.
  QVMengineVersionChanger Restore(Engine, Engine.currentConfig());
  try {
    if (Engine.usePassThroughMapping()) {
      COLstring Working;
      QVJconfigPreProcessMessage(Engine.config(), Text, Working, Shared.pythonEnvironment());
      return QVPtransformMessageViaScript(Shared, Working.c_str(), MessageIndex, nullptr);
    }
    if (InConfigIndex >= Engine.countOfConfig() || OutConfigIndex >= Engine.countOfConfig())
      Shared.setLastFlatWire("No valid transformation configuration set.");
    Engine.setCurrentConfig(InConfigIndex);
    QVJengineInternalParseMessageNoPostProcess(Context, Text, MessageIndex, Table);
    QVJenginePostProcessMessage(Context, Text);
    Engine.setCurrentConfig(OutConfigIndex);
    return QVPgenerateMessage(Shared, Engine.message(MessageIndex), Table);
  } catch (const COLerror& Error) {
    // A parse failure arrives with its report made already.
    if (Error.hasParameter("PlainError")) throw;
    QVJgenerateCompleteInfoOnException(Error, Engine.lineFeed(), Text);
  }
}
