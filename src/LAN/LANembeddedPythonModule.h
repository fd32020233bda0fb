// LANembeddedPythonModule: a shared module written in a definition, imported into the
// engine's interpreter as "qvm_user_module_<number>", whose functions the rest of the
// definition can call.  It also lists the module's functions and their lines for an editor.
// A module that fails keeps its error; setCode never throws for a bad script.
#pragma once

#include <memory>
#include <vector>

#include "COLstring.h"

class LANengine;
class LANembeddedPythonModulePrivate;

struct LANpythonFunctionInfo {
  COLstring name;
  std::vector<COLstring> argumentNames;
  unsigned lineNumber = 0;
};

class LANembeddedPythonModule {
public:
  LANembeddedPythonModule();
  LANembeddedPythonModule(const LANembeddedPythonModule& other);
  LANembeddedPythonModule& operator=(const LANembeddedPythonModule& other);
  ~LANembeddedPythonModule();

  // The user's name; also the file name the compiler reports.
  void setName(const COLstring& name);
  const COLstring& name() const;
  // Makes the module's name in the interpreter unique; set by the owner.
  void setNumber(unsigned number);
  unsigned number() const;
  const COLstring& pythonModuleName() const;

  void setEngine(LANengine* engine);
  LANengine* engine() const;
  // Compiles and imports the text; requires an engine.
  void setCode(const COLstring& code);
  const COLstring& code() const;

  bool hasError() const;
  const COLstring& errorDescription() const;
  unsigned errorLineNumber() const;
  const std::vector<LANpythonFunctionInfo>& functions() const;

private:
  void clearImportedModule();
  void recordError();

  std::unique_ptr<LANembeddedPythonModulePrivate> pMember;
};

// The first function of that name, or null.
const LANpythonFunctionInfo* LANembeddedPythonModuleFindFunction(const LANembeddedPythonModule& module,
                                                                 const COLstring& name);
// Functions of an imported module, in the order of dir(): name, argument names, first line.
std::vector<LANpythonFunctionInfo> LANembeddedPythonModuleGetFunctionNames(LANengine& engine,
                                                                          const COLstring& moduleName);
