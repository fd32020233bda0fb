// Handle functions of schema generation: the schema of every message of the definition in
// the configured dialect, as one text that stays valid until the engine's next schema call.
#include <vector>

#include "QVMhandleSupport.h"
#include "QVXschema.h"

namespace {

void* QVMhandleSchemaText(void* engine, unsigned kind, const char** schema) {
  return QVMhandleGuard([&] {
    QVMengineHandle& Engine = QVMhandleEngineObject(engine);
    QVM_HANDLE_OUT(schema);
    COL_PRECONDITION_TEXT(kind < XMLschemaFormatter::countOfFormatter(), "Formatter < countOfFormatter()");
    QVMengineReadCustomConfig(Engine.schema());
    std::vector<QVXschemaOutput> Outputs;
    QVXgenerateSchema(Engine.schema(), static_cast<XMLschemaFormatter::EFormatters>(kind), "", Outputs, true);
    Engine.resultText() = Outputs.empty() ? COLstring() : Outputs.front().text;
    *schema = Engine.resultText().c_str();
  });
}

}  // namespace

extern "C" {

void* _QVMengineGenerateSchema(void* engine, unsigned kind, const char** schema) {
  return QVMhandleSchemaText(engine, kind, schema);
}

void* _QVMengineGetTibcoSchema(void* engine, const char** schema) {
  return QVMhandleSchemaText(engine, XMLschemaFormatter::Xsd, schema);
}

void* _QVMengineGenerateDtd(void* engine, const char** dtd) {
  return QVMhandleSchemaText(engine, XMLschemaFormatter::Dtd, dtd);
}

void* _QVMengineGetMicrosoftSchema(void* engine, const char** schema) {
  return QVMhandleSchemaText(engine, XMLschemaFormatter::Biztalk, schema);
}

void* _QVMengineGetTibcoSchemaWithCallback(void* engine, QVMschemaFunction function, void* context) {
  const char* text = nullptr;
  if (void* error = QVMhandleSchemaText(engine, XMLschemaFormatter::Xsd, &text)) return error;
  return QVMhandleGuard([&] {
    QVM_HANDLE_OUT(function);
    function(context, text);
  });
}

}  // extern "C"
