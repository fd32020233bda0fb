// The structural road of one message: tokenise, identify, grammar parse.  Typical ADT and ORU
// messages of the example log against the example definition, a real ORU of 150 segments and
// an ADT against the standard 2.5.1 definition (hundreds of message definitions: the cost of
// identification must not grow with their number).
#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <utility>

#include "BENCHmessages.h"
#include "COLerror.h"
#include "QVJparse.h"
#include "QVJparseContext.h"
#include "QVLvmdFile.h"
#include "QVMconfig.h"
#include "QVMtableInternal.h"
#include "QVMengineInternal.h"
#include "QVMsegmentGrammar.h"
#include "SGCcompleteParse.h"
#include "SGCmatch.h"
#include "SGPparser.h"

namespace {

const std::filesystem::path Root = MSGBRIDGE_SOURCE_DIR;

std::string readFile(const std::filesystem::path& Path) {
  std::ifstream In(Path, std::ios::binary);
  std::ostringstream Text;
  Text << In.rdbuf();
  return Text.str();
}

QVMengineInternal& engine(const char* Relative) {
  static std::map<std::string, COLreferencePtr<QVMengineInternal>> Engines;
  COLreferencePtr<QVMengineInternal>& Slot = Engines[Relative];
  if (!Slot) {
    Slot = new QVMengineInternal;
    QVLloadEngine(*Slot, (Root / Relative).string().c_str());
  }
  return *Slot;
}

void runStructure(benchmark::State& State, QVMengineInternal& Engine, const std::string& Text) {
  SGMsegmentList List;
  const COLstring Message(Text);
  for (auto _ : State) {
    SGCmessageStructure Structure;
    benchmark::DoNotOptimize(SGCparseStructure(Message, Engine, List, Structure));
  }
  State.SetItemsProcessed(State.iterations());
  State.SetBytesProcessed(State.iterations() * static_cast<int64_t>(Text.size()));
}

void BM_StructureAdtExample(benchmark::State& State) { runStructure(State, engine("examples/adt_oru.vmd"), AdtA01); }
void BM_StructureOruExample(benchmark::State& State) { runStructure(State, engine("examples/adt_oru.vmd"), OruR01); }
void BM_StructureAdtStandard(benchmark::State& State) {
  runStructure(State, engine("definitions/hl7v2.5.1.vmd"), AdtA01);
}
void BM_StructureLargeOruStandard(benchmark::State& State) {
  runStructure(State, engine("definitions/hl7v2.5.1.vmd"),
               readFile(Root / "tests/data/SGC/mirth_oru_r01_v22_large_nte.hl7"));
}

// The whole road: tokenise, identify, grammar parse, segment pass, table filling.
void runWholeRoad(benchmark::State& State, const char* Definition, const std::string& Text,
                  const char* FieldEquation = nullptr) {
  COLreferencePtr<QVFengine> Engine(new QVFengine);
  QVLloadEngine(Engine->schema(), (Root / Definition).string().c_str());
  if (FieldEquation != nullptr) {
    // One equation on PID.PatientName: the difference to the plain road is the cost of one call.
    QVMengineInternal& Schema = Engine->schema();
    for (size_t Index = 0; Index < Schema.countOfSegment(); ++Index) {
      QVMsegmentGrammar& Grammar = *Schema.segment(Index);
      if (Grammar.name() != "PID") continue;
      for (uint32_t Field = 0; Field < Grammar.countOfField(); ++Field)
        if (Grammar.fieldName(Field) == "PatientName") {
          Grammar.fieldIncomingFunction(Field).setEngine(&Schema.LanguageEngine());
          Grammar.fieldIncomingFunction(Field).setCode(FieldEquation);
        }
    }
  }
  const COLstring Message(Text);
  QVMtableInternal Table;
  unsigned Index = 0;
  try {
    for (auto _ : State) {
      QVJengineInternalParseMessage(Engine->parseContext(), Message, Index, Table);
      benchmark::DoNotOptimize(Index);
    }
  } catch (const COLerror& Error) {
    State.SkipWithError(Error.description().c_str());
  }
  State.SetItemsProcessed(State.iterations());
  State.SetBytesProcessed(State.iterations() * static_cast<int64_t>(Text.size()));
}
void BM_WholeRoadAdtExample(benchmark::State& State) { runWholeRoad(State, "examples/adt_oru.vmd", AdtA01); }
void BM_WholeRoadOruExample(benchmark::State& State) { runWholeRoad(State, "examples/adt_oru.vmd", OruR01); }
void BM_WholeRoadAdtOneFieldEquation(benchmark::State& State) {
  runWholeRoad(State, "examples/adt_oru.vmd", AdtA01, "value = value.upper()\n");
}
// The same equation through the field object: every read and write is a few calls of sgpy with
// handles, so the difference to the one above is what the handle checks cost.
void BM_WholeRoadAdtFieldObjectEquation(benchmark::State& State) {
  runWholeRoad(State, "examples/adt_oru.vmd", AdtA01,
               "for s in range(field.count_of_subfield()):\n"
               "  field.subfield(s).value = field.subfield(s).value.upper()\n");
}
// A ~50 kB result message: the example ORU with its results repeated.
std::string largeOru() {
  std::string Text = OruR01.substr(0, OruR01.find("OBX|"));
  for (int Index = 1; Text.size() < 50000; ++Index)
    Text += "OBX|" + std::to_string(Index) + "|NM|NA^Sodium^L||129|mmol/L|135-145|L|||F\r"
            "NTE|1|L|Specimen slightly hemolysed; potassium may read high.\r";
  return Text;
}
void BM_WholeRoadLargeOruExample(benchmark::State& State) {
  runWholeRoad(State, "examples/adt_oru.vmd", largeOru());
}

// The whole road to table XML in memory under the current parser (version 2) and the legacy
// one (version 1, checker 3) of the same definition and messages: the range is the version.
QVFengine& engineOfVersion(const char* Definition, int Version) {
  static std::map<std::pair<std::string, int>, COLreferencePtr<QVFengine>> Engines;
  COLreferencePtr<QVFengine>& Slot = Engines[{Definition, Version}];
  if (!Slot) {
    Slot = new QVFengine;
    QVLloadEngine(Slot->schema(), (Root / Definition).string().c_str());
    Slot->schema().config().setParserVersion(static_cast<QVMparserVersion>(Version));
  }
  return *Slot;
}
// One message to XML in memory, over and over, on one engine.
void runToXml(benchmark::State& State, QVFengine& Engine, const std::string& Text) {
  try {
    for (auto _ : State) benchmark::DoNotOptimize(QVJhl7ToXml(Engine.parseContext(), Text.c_str()));
  } catch (const COLerror& Error) {
    State.SkipWithError(Error.description().c_str());
  }
  State.SetItemsProcessed(State.iterations());
  State.SetBytesProcessed(State.iterations() * static_cast<int64_t>(Text.size()));
}
void runToXmlByVersion(benchmark::State& State, const char* Definition, const std::string& Text) {
  runToXml(State, engineOfVersion(Definition, static_cast<int>(State.range(0))), Text);
}
void BM_ToXmlByVersionAdtExample(benchmark::State& State) {
  runToXmlByVersion(State, "examples/adt_oru.vmd", AdtA01);
}
void BM_ToXmlByVersionOruExample(benchmark::State& State) {
  runToXmlByVersion(State, "examples/adt_oru.vmd", OruR01);
}
void BM_ToXmlByVersionAdtStandard(benchmark::State& State) {
  runToXmlByVersion(State, "definitions/hl7v2.5.1.vmd", AdtA01);
}
void BM_ToXmlByVersionLargeOruExample(benchmark::State& State) {
  static const std::string Text = largeOru();
  runToXmlByVersion(State, "examples/adt_oru.vmd", Text);
}

// The whole road to XML in memory, table dialect against the default tree dialect ("STANDARD
// VER 2") of the same definition and messages, parser version 2: the range is 0 for the table
// dialect the definition selects, 1 for the tree one.  The tree road must keep within 1.5x.
QVFengine& engineOfDialect(const char* Definition, bool Tree) {
  static std::map<std::pair<std::string, bool>, COLreferencePtr<QVFengine>> Engines;
  COLreferencePtr<QVFengine>& Slot = Engines[{Definition, Tree}];
  if (!Slot) {
    Slot = new QVFengine;
    QVLloadEngine(Slot->schema(), (Root / Definition).string().c_str());
    if (Tree) Slot->schema().config().setXmlTranslationType("STANDARD VER 2");
  }
  return *Slot;
}
void runToXmlByDialect(benchmark::State& State, const char* Definition, const std::string& Text) {
  runToXml(State, engineOfDialect(Definition, State.range(0) != 0), Text);
}
void BM_ToXmlByDialectAdtExample(benchmark::State& State) {
  runToXmlByDialect(State, "examples/adt_oru.vmd", AdtA01);
}
void BM_ToXmlByDialectOruExample(benchmark::State& State) {
  runToXmlByDialect(State, "examples/adt_oru.vmd", OruR01);
}
void BM_ToXmlByDialectAdtStandard(benchmark::State& State) {
  runToXmlByDialect(State, "definitions/hl7v2.5.1.vmd", AdtA01);
}
void BM_ToXmlByDialectLargeOruExample(benchmark::State& State) {
  static const std::string Text = largeOru();
  runToXmlByDialect(State, "examples/adt_oru.vmd", Text);
}

// Identification alone, against the definition with hundreds of messages: by the literal
// index and by trying every definition in match order.
// A message early in the match order, one late, and one that nothing matches.
const std::string Identified[] = {"MSH|^~\\&|||||||ADT^A01|1|P|2.5.1", "MSH|^~\\&|||||||VXU^V04|1|P|2.5.1",
                                  "MSH|^~\\&|||||||ZZZ^Z99|1|P|2.5.1"};
void runIdentify(benchmark::State& State, bool Indexed) {
  QVMengineInternal& Engine = engine("definitions/hl7v2.5.1.vmd");
  const std::string& Text = Identified[State.range(0)];
  SGMsegmentList List;
  SGPparser Parser;
  SGPparserOptions Options;
  SGMseparatorCharacters Separators;
  Parser.parse(Text.data(), Text.size(), List, Separators, Options);
  for (auto _ : State)
    benchmark::DoNotOptimize(Indexed ? SGCmatchMessage(List, Engine) : SGCmatchMessageInOrder(List, Engine));
  State.SetItemsProcessed(State.iterations());
}
void BM_IdentifyIndexed(benchmark::State& State) { runIdentify(State, true); }
void BM_IdentifyInOrder(benchmark::State& State) { runIdentify(State, false); }

}  // namespace

BENCHMARK(BM_StructureAdtExample);
BENCHMARK(BM_StructureOruExample);
BENCHMARK(BM_StructureAdtStandard);
BENCHMARK(BM_StructureLargeOruStandard);
BENCHMARK(BM_WholeRoadAdtExample);
BENCHMARK(BM_WholeRoadAdtOneFieldEquation);
BENCHMARK(BM_WholeRoadAdtFieldObjectEquation);
BENCHMARK(BM_WholeRoadOruExample);
BENCHMARK(BM_WholeRoadLargeOruExample);
BENCHMARK(BM_ToXmlByVersionAdtExample)->Arg(2)->Arg(1);
BENCHMARK(BM_ToXmlByVersionOruExample)->Arg(2)->Arg(1);
BENCHMARK(BM_ToXmlByVersionAdtStandard)->Arg(2)->Arg(1);
BENCHMARK(BM_ToXmlByVersionLargeOruExample)->Arg(2)->Arg(1);
BENCHMARK(BM_ToXmlByDialectAdtExample)->Arg(0)->Arg(1);
BENCHMARK(BM_ToXmlByDialectOruExample)->Arg(0)->Arg(1);
BENCHMARK(BM_ToXmlByDialectAdtStandard)->Arg(0)->Arg(1);
BENCHMARK(BM_ToXmlByDialectLargeOruExample)->Arg(0)->Arg(1);
BENCHMARK(BM_IdentifyIndexed)->DenseRange(0, 2);
BENCHMARK(BM_IdentifyInOrder)->DenseRange(0, 2);
BENCHMARK_MAIN();
