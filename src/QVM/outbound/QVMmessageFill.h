// The model side of message generation: a table instance laid back onto a typed tree shaped
// like the message grammar, the required parts marked, and the present segments listed in
// message order. The reverse of table filling; the flat text is made by the QVP generator.
#pragma once

#include <vector>

#include "COLstring.h"

class LAGenvironment;
class QVMengineInternal;
class QVMmessageDefinitionInternal;
class QVMmessageGrammar;
class QVMtableGrammarInternal;
class QVMtableInternal;
class QVMtypedMessageTree;

// A table of the shape message `MessageIndex` fills, with no rows.
void QVMcreateEmptyMessageTable(QVMengineInternal& Engine, unsigned MessageIndex, QVMtableInternal& Table);

// One node per grammar node, every one marked not present.
void QVMmakeEmptyMessageTree(const QVMmessageGrammar& Grammar, QVMtypedMessageTree& Tree);

// Writes `Table` (following `TableGrammar`) into `Tree`, which stands at `MessageGrammar`.
// Every node that receives a value is marked present up to the root.
void QVMfillMessageTree(bool DisablePythonNone, QVMtableGrammarInternal& TableGrammar,
                        const QVMmessageGrammar& MessageGrammar, QVMtableInternal& Table, QVMtypedMessageTree& Tree,
                        LAGenvironment& Environment);

using QVMtypedSegmentList = std::vector<QVMtypedMessageTree*>;

class QVMmessagePostProcessor2 {
public:
  // True if this item or any ancestor below the root is optional.
  static bool isGrammarOptional(const QVMmessageGrammar& Grammar);
  // Marks present what must appear: segments required up to the root, and the required
  // segments of every group repeat that holds anything.
  void initRequiredNodes(const QVMmessageGrammar& Grammar, QVMtypedMessageTree& Node);
  // Appends the present segments (with their present repeats) in message order.
  void postProcess(const QVMmessageGrammar& Grammar, QVMtypedMessageTree& Node, QVMtypedSegmentList& List);
};

// Writes what identifies the message into its header segment `Segment`: each identifier on
// `HeaderName` whose pattern is a plain text (anchors aside) sets the field it looks at.
void QVMmessageDefinitionSetNameFields(const QVMmessageDefinitionInternal& Definition, const COLstring& HeaderName,
                                       QVMtypedMessageTree& Segment);
// The literal a pattern matches exactly ("^ADT$" gives "ADT"); false for a real pattern.
bool QVMidentifierLiteralText(const COLstring& Pattern, COLstring& Literal);
