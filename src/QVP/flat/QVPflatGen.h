// Flat text of an untyped message tree: the header laid out by the configured positions,
// then every segment with the configured delimiters. The tree is only read.
#pragma once

#include "COLstring.h"

class QVMconfig;
class QVMuntypedMessageTree;

// Stateless; made on the stack for one call.
class QVPflatGen {
public:
  QVPflatGen(const QVMconfig& Config, COLstring& Result);

  // `Level` 0 is a whole message (header included), 1 a segment, 2 a field, ...
  void makeFlatWire(const QVMuntypedMessageTree& Tree, unsigned Level);
  void makeFlatWireLevelZero(const QVMuntypedMessageTree& Tree);
  // Sub-nodes from `Skip` on, separated by the separator of `Level`.
  void outputNode(const QVMuntypedMessageTree& Node, unsigned Skip, unsigned Level);
  // Every repeat of `Node`, separated by the repeat character of `Level`.
  void outputRepeatNode(const QVMuntypedMessageTree& Node, unsigned Level);

private:
  void endSegment();
  void outputInterchangeHeader(const QVMuntypedMessageTree& Segment);

  const QVMconfig& m_Config;
  COLstring& m_Result;
  bool m_DropTrailing;
};

// An X12 interchange header ("ISA", its element separator read from the message): the
// header is written element by element, not laid out by the positions.
bool QVPwritesInterchangeHeader(const QVMconfig& Config);

// `Result` becomes the fixed part of the header: the first segment's name and the
// delimiter, repeat and escape characters at their positions, then the field separator.
void QVPgenerateHeader(const QVMconfig& Config, COLstring& Result, const QVMuntypedMessageTree& Tree);
