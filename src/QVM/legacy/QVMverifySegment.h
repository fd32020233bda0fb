// Raw segments outside the parse: the untyped translation to XML gives each its grammar and
// shapes it so that a composite always stands as sub-nodes; the script objects run a
// segment's outgoing field functions.
#pragma once

class LAGenvironment;
class QVMcompositeGrammar;
class QVMengineInternal;
class QVMsegmentGrammar;
class QVMuntypedMessageTree;

// The segment's grammar and label, as the simple parse gives them, then the shape repaired.
void QVMengineInternalAddSegmentGrammarAndVerify(QVMengineInternal& Engine, QVMuntypedMessageTree& Segment);
void QVMengineInternalVerifySegmentTree(QVMuntypedMessageTree& Segment);
// A bare value where the composite has several components becomes sub-node 0, at every level.
void QVMengineInternalVerifyNodeWithCompositeGrammar(QVMuntypedMessageTree& Node, const QVMcompositeGrammar& Composite,
                                                     const QVMsegmentGrammar& SegmentGrammar);

// The outgoing field functions of the segment's grammar (the first of its name), each on its
// field; an unknown segment is left alone.
void QVMengineInternalProcessSegment(QVMengineInternal& Engine, QVMuntypedMessageTree& Segment,
                                     LAGenvironment& Environment);
