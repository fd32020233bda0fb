// What the operating system offers for files and directories, under one error convention:
// a failure is a COLerror whose text names the path and whose code is errno (or 0x80000100
// for wrong use).  Paths use "/" as the separator.
#pragma once

#include <sys/types.h>

#include <cstdint>

#include "COLstring.h"
#include "FILfilePath.h"

class COLostream;

COLstring FILaddPathSeparator(const COLstring& path);
COLstring FILremovePathSeparator(const COLstring& path);
COLstring FILremoveLeadingPathSeparator(const COLstring& path);
// Every "\" becomes "/".
COLstring FILcorrectPathSeparators(const COLstring& path);

bool FILfileExists(const COLstring& path);
// access(2) with `mode`; raises when the file is missing.
bool FILhasPermission(const COLstring& path, int mode);
bool FILisDirectory(const COLstring& path);
bool FILisSymbolicLink(const COLstring& path);
uint64_t FILfileSize(const COLstring& path);

void FILgetCurrentWorkingDir(COLstring& out);
void FILsetCurrentWorkingDir(const COLstring& path);

// mkdir, then chown to `owner` when one is named.
void FILmakeDir(const COLstring& path, mode_t mode, const char* owner = nullptr);
// Creates every missing level of the directory `path`, from the root downward.
void FILmakeFullDir(const COLstring& path, mode_t mode, const char* owner = nullptr);

void FILremove(const COLstring& path);
void FILremoveDir(const COLstring& path);
// Removes a directory with all it holds.
void FILremoveFullDir(const COLstring& path);
// Removes the files directly in `path` (FILcleanDir) or everything below it (FILcleanFullDir),
// writing each removed path to `pReport` when one is given.  The directory itself stays.
void FILcleanDir(const COLstring& path, COLostream* pReport = nullptr);
void FILcleanFullDir(const COLstring& path, COLostream* pReport = nullptr);

void FILcopyFile(const COLstring& from, const COLstring& to, bool overwrite);
// File to file, file into a directory, or directory tree to directory tree.  Each copied
// file is written to `pLog`; a failing file is written to `pError` and the copy goes on
// (without `pError` the failure is raised).
void FILcopy(const COLstring& from, const COLstring& to, bool overwrite, COLostream* pLog = nullptr,
             COLostream* pError = nullptr);
void FILrenameFile(const COLstring& from, const COLstring& to);
void FILchangeFileSize(const COLstring& path, uint64_t size);

// $HOME/tmp/ if HOME is set, else $TMPDIR/, else "/"; made with mode 0700 when missing.
void FILgetTempDirectory(COLstring& out);

void FILsetExecutableFileDirectory(const COLstring& path);
void FILgetExecutableFileDirectory(COLstring& out);
// A relative name resolved against the executable's directory; an absolute one unchanged.
COLstring FILconvertLocalToAbsoluteFileName(const COLstring& name);
