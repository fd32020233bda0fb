// Fuzz target: one message against the example definition, first the structural road (strip,
// tokenise, identify, grammar parse), then the whole road to a filled table and its XML.  Any
// input either fails with an error or gives a tree in which every node sits where its parent
// says, every depth is its parent's plus one, and each segment is placed at most once.
#include <vector>

#include "COLerror.h"
#include "FUZZsupport.h"
#include "QVJparse.h"
#include "QVJparseContext.h"
#include "SGCcompleteParse.h"

namespace {

QVFengine& exampleEngine() {
  static QVFengine* Engine = [] {
    auto* Loaded = new QVFengine;
    Loaded->AddRef();
    QVLloadEngine(Loaded->schema(), MSGBRIDGE_SOURCE_DIR "/examples/adt_oru.vmd");
    return Loaded;
  }();
  return *Engine;
}

void checkTree(SGCparsed* Node, std::vector<int>& PlacedCount) {
  if (SGCparsedSegment* Segment = Node->segment()) {
    check(Segment->index() < PlacedCount.size(), "segment index inside the list");
    check(++PlacedCount[Segment->index()] == 1, "segment placed once");
  }
  SGCparsedCollection* Collection = Node->collection();
  if (!Collection) return;
  for (unsigned Index = 0; Index < Collection->countOfChild(); ++Index) {
    SGCparsed* Child = Collection->child(Index);
    check(Child->parent() == Collection, "child knows its parent");
    check(Child->childIndex() == Index, "child index is its place");
    check(Child->depth() == Node->depth() + 1, "depth is parent's plus one");
    check(!Child->repeats() || Child->repeats()->countOfChild() > 0, "no empty repeats after pruning");
    checkTree(Child, PlacedCount);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size) {
  static SGMsegmentList List;
  const COLstring Message = FUZZtext(Data, Size);
  SGCmessageStructure Structure;
  try {
    SGCparseStructure(Message, exampleEngine().schema(), List, Structure);
  } catch (const COLerror&) {
    return 0;
  }
  std::vector<int> PlacedCount(List.countOfSegment(), 0);
  check(Structure.context.tree() != nullptr, "a parsed message has a tree");
  checkTree(Structure.context.tree(), PlacedCount);
  try {
    QVJhl7ToXml(exampleEngine().parseContext(), Message.c_str());
  } catch (const COLerror&) {
  }
  return 0;
}
