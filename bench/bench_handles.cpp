// What the check of a script's handles costs.  The registry alone: a handle looked up (and a
// part registered again, as every call that hands out a part does) against the same reads
// without it.  And a whole call of sgpy from a script, in a walk over every field of
// test_message, so that the share of the check in a call shows.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "LANengine.h"
#include "QVMengineInternal.h"
#include "SGMsegmentList.h"
#include "SGPYmodule.h"
#include "SGPYregistry.h"
#include "SGPparser.h"

namespace {

struct Parsed {
  Parsed() {
    SGMseparatorCharacters Separators;
    SGPparser Parser;
    Parser.parse(Text, std::strlen(Text), *List, Separators, SGPparserOptions());
    for (uint32_t S = 0; S < List->countOfSegment(); ++S)
      for (uint32_t F = 0; F < List->segment(S).countOfField(); ++F) {
        SGMfield& Field = List->segment(S).field(F, 0);
        Fields.push_back(&Field);
        Values.push_back(&Field.value(0, 0));
      }
  }
  const char* Text = SGPYtestMessage();
  COLreferencePtr<SGMsegmentList> List = new SGMsegmentList;
  std::vector<SGMfield*> Fields;
  std::vector<SGMvalue*> Values;
};

void BM_ValueReadUnchecked(benchmark::State& State) {
  Parsed Message;
  std::vector<uintptr_t> Handles;
  for (SGMvalue* Value : Message.Values) Handles.push_back(reinterpret_cast<uintptr_t>(Value));
  for (auto _ : State)
    for (const uintptr_t Handle : Handles) benchmark::DoNotOptimize(reinterpret_cast<SGMvalue*>(Handle)->length());
  State.SetItemsProcessed(State.iterations() * static_cast<int64_t>(Handles.size()));
}

void BM_ValueReadChecked(benchmark::State& State) {
  Parsed Message;
  SGPYregistry Registry;
  Registry.lend(Message.List.get(), SGPYkind::SegmentList);
  std::vector<uintptr_t> Handles;
  for (size_t At = 0; At < Message.Values.size(); ++At) {
    Registry.addPart(Message.List.get(), Message.Fields[At], SGPYkind::Field);
    Registry.addPart(Message.Fields[At], Message.Values[At], SGPYkind::Value);
    Handles.push_back(reinterpret_cast<uintptr_t>(Message.Values[At]));
  }
  SGPYregistry::Lookup Result;
  SGPYkind Actual;
  for (auto _ : State)
    for (const uintptr_t Handle : Handles)
      benchmark::DoNotOptimize(static_cast<SGMvalue*>(Registry.find(Handle, SGPYkind::Value, Result, Actual))->length());
  State.SetItemsProcessed(State.iterations() * static_cast<int64_t>(Handles.size()));
}

// SGMfieldGetValue's part: the field checked, the value it hands out registered (again).
void BM_PartHandedOutChecked(benchmark::State& State) {
  Parsed Message;
  SGPYregistry Registry;
  Registry.lend(Message.List.get(), SGPYkind::SegmentList);
  for (SGMfield* Field : Message.Fields) Registry.addPart(Message.List.get(), Field, SGPYkind::Field);
  SGPYregistry::Lookup Result;
  SGPYkind Actual;
  for (auto _ : State)
    for (SGMfield* Field : Message.Fields) {
      auto* Checked = static_cast<SGMfield*>(Registry.find(reinterpret_cast<uintptr_t>(Field), SGPYkind::Field, Result, Actual));
      Registry.addPart(Checked, &Checked->value(0, 0), SGPYkind::Value);
    }
  State.SetItemsProcessed(State.iterations() * static_cast<int64_t>(Message.Fields.size()));
}

const char WalkScript[] =
    "import sgpy\n"
    "L = sgpy.SGMsegmentListCreate()\n"
    "sgpy.SGMparse(L, sgpy.test_message)\n"
    "def walk():\n"
    "  for s in range(sgpy.SGMsegmentListGetCountOfSegment(L)):\n"
    "    seg = sgpy.SGMsegmentListGetSegment(L, s)\n"
    "    for f in range(sgpy.SGMsegmentGetCountOfField(seg)):\n"
    "      fld = sgpy.SGMsegmentGetField(seg, f, 0)\n"
    "      for sf in range(sgpy.SGMfieldGetCountOfSubField(fld)):\n"
    "        sgpy.SGMvalueGetData(sgpy.SGMfieldGetValue(fld, sf, 0))\n";

// The calls of sgpy that one walk makes.
int64_t callsOfWalk() {
  Parsed Message;
  int64_t Calls = 1;
  for (uint32_t S = 0; S < Message.List->countOfSegment(); ++S) {
    Calls += 2;
    for (uint32_t F = 0; F < Message.List->segment(S).countOfField(); ++F)
      Calls += 2 + 2 * Message.List->segment(S).field(F, 0).countOfSubField();
  }
  return Calls;
}

// One walk of test_message from a script, per call of sgpy.
void BM_ScriptWalkThroughHandles(benchmark::State& State) {
  SGPYinitModule();  // the engine's road adds it; this program takes no script road
  QVMengineInternal Engine;
  LANengine& Language = Engine.LanguageEngine();
  try {
    Language.runString(WalkScript);
    for (auto _ : State) Language.runString("walk()\n");
  } catch (const COLerror& Error) {
    State.SkipWithError(Error.description().c_str());
  }
  State.SetItemsProcessed(State.iterations() * callsOfWalk());
}

BENCHMARK(BM_ValueReadUnchecked);
BENCHMARK(BM_ValueReadChecked);
BENCHMARK(BM_PartHandedOutChecked);
BENCHMARK(BM_ScriptWalkThroughHandles);

}  // namespace

BENCHMARK_MAIN();
