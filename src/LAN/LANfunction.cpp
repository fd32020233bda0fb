#include "LANfunction.h"

#include "COLerror.h"
#include "LANengine.h"

class LANfunctionPrivate {
public:
  LANcompiledModule* compiledModule = nullptr;
  LANengine* pEngine = nullptr;
  COLstring code;
  COLstring compileErrorDescription;
  unsigned compileErrorLine = 0;
  LANfunction::State state = LANfunction::StateEmpty;

  bool stateConsistent() const {
    return state != LANfunction::StateValid || (compiledModule != nullptr && pEngine != nullptr);
  }
  void freeModule() {
    if (compiledModule != nullptr && pEngine != nullptr) pEngine->freeCompiledCode(compiledModule);
    compiledModule = nullptr;
  }
};

namespace {

bool isBlank(const COLstring& code) {
  return code.view().find_first_not_of(" \r\n\t") == std::string_view::npos;
}

}  // namespace

void LANfixNewlines(COLstring& code) {
  std::string fixed;
  fixed.reserve(code.size() + code.size() / 16 + 2);
  std::string_view text = code.view();
  for (size_t i = 0; i < text.size(); ++i) {
    char c = text[i];
    if (c == '\r' || c == '\n') {
      if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
      fixed += "\r\n";
    } else {
      fixed += c;
    }
  }
  if (fixed.size() < 2 || fixed.compare(fixed.size() - 2, 2, "\r\n") != 0) fixed += "\r\n";
  code = COLstring(std::move(fixed));
}

LANfunction::LANfunction() : pMember(std::make_unique<LANfunctionPrivate>()) {}

LANfunction::LANfunction(LANengine* engine) : LANfunction() { pMember->pEngine = engine; }

LANfunction::LANfunction(const LANfunction& other) : LANfunction() { *this = other; }

LANfunction& LANfunction::operator=(const LANfunction& other) {
  if (this == &other) return *this;
  setEngine(other.pMember->pEngine);
  if (pMember->pEngine != nullptr) {
    setCode(other.pMember->code);
  } else {
    // Without an engine nothing can compile: the text waits, as new text does.
    pMember->freeModule();
    pMember->code = other.pMember->code;
    pMember->compileErrorDescription.clear();
    pMember->compileErrorLine = 0;
    pMember->state = pMember->code.empty() ? StateEmpty : StateInvalid;
  }
  COL_POSTCONDITION(pMember->stateConsistent());
  return *this;
}

LANfunction::~LANfunction() {
  try {
    pMember->freeModule();
  } catch (const COLerror&) {
    // The engine is past use; its interpreter takes the module with it.
  }
}

void LANfunction::setEngine(LANengine* engine) {
  if (engine == pMember->pEngine) return;
  pMember->freeModule();
  if (pMember->state == StateValid) pMember->state = StateInvalid;
  pMember->pEngine = engine;
  if (engine != nullptr) compile();
  COL_POSTCONDITION(pMember->stateConsistent());
}

LANengine* LANfunction::engine() const { return pMember->pEngine; }

void LANfunction::setCode(const COLstring& code) {
  if (isBlank(code)) {
    pMember->freeModule();
    pMember->code.clear();
    pMember->compileErrorDescription.clear();
    pMember->compileErrorLine = 0;
    pMember->state = StateEmpty;
  } else {
    pMember->code = code;
    LANfixNewlines(pMember->code);
    pMember->state = StateInvalid;
    compile();
  }
  COL_POSTCONDITION(pMember->stateConsistent());
}

const COLstring& LANfunction::code() const { return pMember->code; }

void LANfunction::compile() {
  COL_PRECONDITION(pMember->pEngine != NULL);
  if (pMember->state != StateEmpty) recompile();
  COL_POSTCONDITION(pMember->stateConsistent());
}

void LANfunction::recompile() {
  pMember->freeModule();
  pMember->compileErrorDescription.clear();
  pMember->compileErrorLine = 0;
  if (pMember->code.empty()) {
    pMember->state = StateEmpty;
    return;
  }
  pMember->state = StateInvalid;
  if (pMember->pEngine != nullptr) {
    try {
      pMember->compiledModule = pMember->pEngine->compileCode(pMember->code);
      pMember->state = StateValid;
    } catch (COLerror& error) {
      pMember->compileErrorDescription = error.description();
      if (error.hasParameter("line")) pMember->compileErrorLine = std::stoul(error.parameter("line").str());
    }
  }
  COL_POSTCONDITION(pMember->stateConsistent());
}

LANfunction::State LANfunction::state() const { return pMember->state; }
bool LANfunction::isValid() const { return pMember->state != StateInvalid; }
bool LANfunction::isSet() const { return pMember->state == StateValid; }
bool LANfunction::isValidAndCompiled() const {
  return pMember->state == StateValid && pMember->compiledModule != nullptr;
}
LANcompiledModule* LANfunction::compiledModule() const { return pMember->compiledModule; }
const COLstring& LANfunction::compileErrorDescription() const { return pMember->compileErrorDescription; }
unsigned LANfunction::compileErrorLine() const { return pMember->compileErrorLine; }

void LANfunction::execute() const {
  if (pMember->state == StateEmpty) return;
  if (pMember->state == StateInvalid) {
    COLerror error(pMember->compileErrorDescription.empty() ? COLstring("The script has not been compiled")
                                                            : pMember->compileErrorDescription,
                   COL_ERROR_PRECONDITION);
    if (pMember->compileErrorLine > 0) error.setParameter("line", pMember->compileErrorLine);
    throw error;
  }
  pMember->pEngine->executeModule(pMember->compiledModule);
}

void LANfunction::disconnectEngine(const LANengine* pEngine) {
  COL_PRECONDITION(pMember->pEngine == pEngine);
  pMember->pEngine = nullptr;
  pMember->compiledModule = nullptr;
  if (pMember->state == StateValid) pMember->state = StateInvalid;
  COL_POSTCONDITION(pMember->stateConsistent());
}
