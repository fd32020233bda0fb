// Replies made from an incoming message's raw text rather than from its parsed tables: the
// acknowledgement, made from the header alone, and the pass-through transformation, where the
// message definition's outgoing script rewrites the flat text.
#pragma once

class QVMtableInternal;
class QVPparseContext;

// Runs the header segment's field functions on the first raw segment of `Text`, then generates
// the configuration's acknowledgement message from an empty table: what the reply carries of
// the message is what those functions left for the reply's outgoing functions. The text lives
// in the context's last flat wire until its next use.
const char* QVPautoAck(QVPparseContext& Context, const char* Text);

// Identifies `Message` by its raw segments and runs the definition's outgoing script on the
// flat text (script context 6), under the engine's lock. `Table`, when given, is emptied to the
// message's shape for the script to fill. The result is the text as the script left it.
const char* QVPtransformMessageViaScript(QVPparseContext& Context, const char* Message, unsigned& MessageIndex,
                                         QVMtableInternal* Table);
