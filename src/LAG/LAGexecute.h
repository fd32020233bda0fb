// LAGexecute: runs a compiled script of a definition with the fixed names bound ("environment",
// "value", "field", "table", "segment", "validation_field", "qvmexception",
// "message_grammar_iterator") and reads the result
// back.  Bindings last for one call, errors included; a script's exception reaches the caller
// as COLerror with the Python error and its traceback.
#pragma once

#include <cstdint>

#include "COLerror.h"
#include "COLstring.h"
#include "LAGenvironment.h"

class LANengine;
class LANfunction;
class LAGmessageGrammarListener;
class QVMmessageGrammar;
class QVMsegmentValidationRule;
class QVMtypedMessageTree;
class QVMtableInternal;
class QVMuntypedMessageTree;
class SGMsegment;
class SGMstringPool;

// Binds "environment", sets the kind of script, and pulls the module quovane into the globals.
void LAGstandardPrep(const LANfunction& function, uint32_t context, LAGenvironment& environment);
void LAGexecuteScript(const LANfunction& function, uint32_t context, LAGenvironment& environment);

// `value` goes in and comes back.  With disablePythonNone false, isNone true on entry hands the
// script None, and a None left by the script sets isNone and keeps `value`; with it true, None
// is a conversion error.
void LAGexecuteScriptWithStringValue(const LANfunction& function, COLstring& value, bool disablePythonNone,
                                     bool& isNone, uint32_t context, LAGenvironment& environment);
void LAGexecuteScriptWithLongValue(const LANfunction& function, long& value, bool disablePythonNone, bool& isNone,
                                   uint32_t context, LAGenvironment& environment);
void LAGexecuteScriptWithDoubleValue(const LANfunction& function, double& value, bool disablePythonNone,
                                     bool& isNone, uint32_t context, LAGenvironment& environment);

// --- the current parser's scripts, over its tokenised message

// A field equation: `value` is the first value of the field's first repeat and `field` its
// object; a changed text is written back through the pool.  The segment gets the field if it
// has fewer fields.
void LAGexecuteFieldEquation(const LANfunction& function, SGMstringPool& pool, SGMsegment& segment,
                             unsigned fieldIndex, LAGenvironment& environment);
// A Python validation rule on one segment.  Throws COLerror code 0x80002006 carrying the
// description and parameters the script set when it raised qvmexception, or the Python error.
void LAGexecutePythonValidationRule(const LANfunction& function, LANengine& engine, SGMstringPool& pool,
                                    SGMsegment& segment, unsigned fieldIndex);
// A table equation on one cell.  `removeRow` goes in and comes back from the table object.
void LAGexecuteTableEquation(const LANfunction& function, LANengine& engine, QVMtableInternal& table,
                             unsigned column, unsigned row, bool& removeRow, bool disablePythonNone,
                             LAGenvironment& environment);

// --- the legacy parser's raw tree

// A field equation, or an outgoing segment function, on a raw tree node: `value` is the node's
// first value, and the environment's field functions work on the node while the script runs.
// A changed text replaces the first value.
void LAGexecuteSegmentEquation(const LANfunction& function, QVMuntypedMessageTree* field,
                               LAGenvironment& environment);

// A validation rule on a segment the legacy parser typed: `segment` its typed segment object,
// `validation_field` repeat 0 of field `fieldIndex` (None past the segment's fields).  With a
// grammar, a situational rule's `message_grammar_iterator` starts there and tells `listener` what
// the rule makes required.  Errors as the current parser's overload.
void LAGexecutePythonValidationRule(const LANfunction& function, QVMtypedMessageTree* segment, unsigned fieldIndex,
                                    QVMmessageGrammar* grammar, LAGmessageGrammarListener* listener,
                                    const QVMsegmentValidationRule* rule, LAGenvironment& environment);

// --- variables and texts

// A string variable for later scripts; the names the scripts' own bindings use are refused.
void LAGsetKeyValuePair(LANengine& engine, const char* key, const char* value);
void LAGcheckKey(const char* key, const char* reserved);
// The error of an interpreter that failed to start, with advice on where its files are looked for.
[[noreturn]] void LAGdecoratePythonError(const COLerror& error);

// The module quovane: its entry in the interpreter's table of built-in modules (before start),
// and the module of the current interpreter (a borrowed PyObject*).
void LAGinitQuovaneModule();
void* LAGfindQuovaneModule();
