#include "QVPidentifyMessage.h"

#include "COLreference.h"
#include "QVMengineInternal.h"
#include "QVMidentifyMessage.h"
#include "QVMuntypedMessageTree.h"

int QVPidentifyMessage(QVMengineInternal& Engine, QVPparseContext& Context, const COLstring& Message) {
  COLreferencePtr<QVMuntypedMessageTree> Tree = new QVMuntypedMessageTree;
  unsigned MessageIndex = 0;
  QVMengineInternalSimpleParse(Engine, Context, Message, *Tree, MessageIndex);
  return MessageIndex == Engine.countOfMessage() ? -1 : static_cast<int>(MessageIndex);
}
