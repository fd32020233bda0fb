#include "QVMengineMessageDiff.h"

#include "COLostream.h"
#include "QVMidentifyMessage.h"
#include "QVMmessageDiffIterator.h"
#include "QVMuntypedMessageTree.h"
#include "QVPparseContext.h"

COLstring QVMengineInternalMessageDiff(QVMengineInternal& Engine, const char* Left, const char* Right,
                                       unsigned& CountOfDifference) {
  // A context each: the values of a tree point into its own context's copy of the text.
  QVPparseContext LeftContext(&Engine);
  QVPparseContext RightContext(&Engine);
  QVMuntypedMessageTree Lhs;
  QVMuntypedMessageTree Rhs;
  unsigned Index = 0;
  QVMengineInternalSimpleParse(Engine, LeftContext, Left, Lhs, Index);
  QVMengineInternalSimpleParse(Engine, RightContext, Right, Rhs, Index);
  COLstring Html;
  COLostream Stream(Html);
  QVMmessageDiffIterator Iterator(Stream);
  Iterator.iterate(Lhs, Rhs, 0, 0);
  CountOfDifference = Iterator.countOfError();
  Stream << "<P>&nbsp;</P>" << newline;
  return Html;
}
