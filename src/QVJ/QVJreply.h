// The engine's two ways from one flat message to another: the acknowledgement of a message, made
// from its header, and the transformation of a message from one configuration to another.
// Both results live in the context's last flat wire until its next use; failures leave as one
// diagnostic COLerror carrying the message.
#pragma once

class QVJparseContext;

// The configuration's acknowledgement message in reply to `Message`: only its first segment
// (after the inbound pre-process script) is read.
const char* QVJautoAck(QVJparseContext& Context, const char* Message);

// Parses `Message` under configuration `InConfigIndex` and generates it from the filled table
// under `OutConfigIndex`; with pass-through mapping, the message definition's outgoing script
// rewrites the text instead. `MessageIndex` gets the identified message. The engine's current
// configuration is changed meanwhile and put back on every road: two transformations must not
// run beside each other on one engine.
const char* QVJtransformMessage(QVJparseContext& Context, const char* Message, unsigned InConfigIndex,
                                unsigned OutConfigIndex, unsigned& MessageIndex);
