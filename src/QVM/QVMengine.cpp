#include "QVMengine.h"

#include "COLerror.h"

namespace {
[[noreturn]] void notAvailable(const char* what) {
  throw COLerror(COLstring(what) + " is not available yet in this build of the engine.", COL_ERROR_PRECONDITION);
}
}  // namespace

QVMengine::QVMengine() = default;
QVMengine::~QVMengine() = default;

void QVMengine::InitiateMessage() { notAvailable("Message generation"); }
void QVMengine::Load(const COLstring&) { notAvailable("Loading message definition files"); }
void QVMengine::ParseMessage(const COLstring&) { notAvailable("Message parsing"); }
void QVMengine::ParseMessageDynamically(const COLstring&) { notAvailable("Message parsing"); }
void QVMengine::ReplyToMessage(const COLstring&) { notAvailable("Acknowledgement"); }
COLstring QVMengine::versionString() const { return COLstring("msgbridge 0.1.0"); }
const char* QVMengine::translateMessageToXml(const COLstring&) { notAvailable("Message to XML translation"); }
const char* QVMengine::translateXmlToMessage(const COLstring&) { notAvailable("XML to message translation"); }
void QVMengine::generateXsd(const COLstring&) { notAvailable("Schema generation"); }
