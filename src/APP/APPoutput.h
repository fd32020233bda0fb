// The tool's output files.  A file is written under a temporary name beside its place and
// renamed into it when it is whole, so every output that exists is complete: a failed write,
// SIGINT or SIGTERM leave at most nothing.
#pragma once

#include <vector>

#include "COLstring.h"

// Creates the directory chain of an output; new directories are private to the user (0700),
// as the tool has always made them.
void APPmakeOutputDirectory(const COLstring& directory);

// Writes `text` to `path` whole or not at all.  Errors name `path` and the system's reason.
void APPwriteWholeFile(const COLstring& path, const COLstring& text);

// From now on SIGINT and SIGTERM remove a file still being written before the tool ends as
// the signal says.
void APPremoveUnfinishedOutputOnSignal();

// The numbers of the numbered files "00001name", "00002name", ... present in `directory`
// (which ends in a separator or is empty), ascending.  A missing directory has none.
std::vector<unsigned> APPnumberedFiles(const COLstring& directory, const COLstring& name);

class QVMengine;

// The XSD of the loaded definition into `path`, its directories made as --toxml makes them,
// written whole or not at all.
void APPwriteSchema(QVMengine& engine, const COLstring& path);

class COLostream;

// Removes the numbered files "00001name", ... that an earlier run left in `directory`, and says
// so on `out`: a shorter run would leave the tail of the old one to be read back as its own.
void APPremoveEarlierNumberedFiles(const COLstring& directory, const COLstring& name, COLostream& out);

// How long one script may run in the tool unless --scripttimelimit says otherwise.
constexpr unsigned APPdefaultScriptTimeLimit = 60;

// Past the limit, a script run ends the tool: the report on standard output, the file in
// progress removed, exit status 1.  Runs on the watchdog thread.
[[noreturn]] void APPstopOverrunningScript(unsigned seconds);
