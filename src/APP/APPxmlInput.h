// What --fromxml makes sure of before and while it reads the numbered files: that every file
// of the run is read, and that each is read whole, as the one message it holds.
#pragma once

#include "COLstring.h"

class APPengine;

// Refuses a set of numbered files with a gap (files after it would go unread) before anything is
// written.  Returns a warning for a run that finds no file numbered 1 at all, else empty.
COLstring APPcheckNumberedInputs(const COLstring& directory, const COLstring& name);

// After the run: numbered files beyond the `count` read (made or left meanwhile) were not read.
void APPcheckAllInputsRead(const COLstring& directory, const COLstring& name, unsigned count);

// The text of one numbered file as the table XML reader takes it (UTF-16 included).  A file
// whose content would be lost on reading is refused with its name: one that holds more than one
// message, or one that refers to external or undeclared entities or an external document type.
COLstring APPxmlMessageText(const COLstring& fileName, const COLstring& bytes);

// The message of one numbered file; a failure is reported with the file's name and error code.
COLstring APPtranslateXmlFile(APPengine& engine, const COLstring& fileName, const COLstring& xml);
