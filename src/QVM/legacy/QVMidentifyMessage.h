// Which message definition a raw tree of the legacy parser is, and the simple parse: the raw
// tree with each segment's grammar and the message's index, without typing or a table.
#pragma once

#include "COLstring.h"

class QVMengineInternal;
class QVMmessageDefinitionInternal;
class QVMuntypedMessageTree;
class QVPparseContext;
class SCCescaper;

// Every identifier of the definition must hold; a definition without identifiers never matches.
bool QVMmessageDefinitionDoesMatch(const QVMmessageDefinitionInternal& Message, const QVMuntypedMessageTree& RawList,
                                   const SCCescaper& Escaper);
// The index of the first definition in the match order that matches, else the last one if it
// matches all, else 0xFFFFFFFF.
unsigned QVMengineInternalIdentifyMessageWithoutException(QVMengineInternal& Engine, QVPparseContext& Context,
                                                          const QVMuntypedMessageTree& RawList);
// As above on the context's raw segment list; no match raises the unidentified-message error.
unsigned QVMengineInternalIdentifyMessage(QVMengineInternal& Engine, QVPparseContext& Context);

// The inbound global script, then the raw parse into `Result`; each segment gets the grammar
// it matches. `MessageIndex` is countOfMessage() where no definition matches.
void QVMengineInternalSimpleParse(QVMengineInternal& Engine, QVPparseContext& Context, const COLstring& Message,
                                  QVMuntypedMessageTree& Result, unsigned& MessageIndex);
