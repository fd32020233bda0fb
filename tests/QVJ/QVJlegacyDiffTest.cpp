// The two parser generations side by side over the real messages of the shared corpus: every
// message, under every bundled definition that identifies it, must be accepted or refused alike by
// the current parser and by the legacy one, and accepted messages must give the same table XML.
//
// The legacy fill copies a value only from a leaf of the typed tree whose type is the column's.
// A column whose map address ends on a composite of several fields reaches a node with sub-nodes,
// so the legacy road leaves it null, where the current road takes the composite's first value.
// Those cells, and only those, are nulled in both tables before the documents are compared; the
// columns are found from the grammar, so any other difference fails.
//
// A field that stands in a message but holds nothing is one empty repeat to the current road,
// which gives the field's table an empty row, and no node at all to the legacy road, which gives
// none; empty rows are dropped from both documents, as they carry no value either way.
//
// Differences not yet understood are pinned, message by message, in
// tests/data/QVJ/legacy_diff_known.tsv with what was seen: a new one fails, and so does a pinned
// one that is gone.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "COLerror.h"
#include "QVJparse.h"
#include "QVJparseContext.h"
#include "QVLvmdFile.h"
#include "QVMcompositeGrammar.h"
#include "QVMconfig.h"
#include "QVMengineInternal.h"
#include "QVMmessageGrammar.h"
#include "QVMsegmentGrammar.h"
#include "QVMtableDefinitionInternal.h"
#include "QVMtableGrammarInternal.h"
#include "QVMtableInternal.h"
#include "QVMxmlHl7Converter.h"
#include "../support/TSTcorpus.h"

namespace {

namespace fs = std::filesystem;

constexpr uint32_t NoField = 0xFFFFFFFF;

// True when `Address`, read from step `Step` on within a field of type `Type`, ends on a
// composite of more than one field.
bool endsOnSeveralFields(const QVMcompositeGrammar* Type, const QVMmessageNodeAddress& Address, unsigned Step) {
  for (; Type != nullptr; ++Step) {
    if (Step == Address.depth()) return Type->countOfField() > 1;
    const uint32_t Index = Address.nodeIndex(Step);
    if (Index >= Type->countOfField() || Type->fieldDataType(Index) != QVMcompositeType) return false;
    Type = Type->fieldCompositeType(Index);
  }
  return false;
}

// The same from the root of a table: through groups to a segment, then into its field.
bool endsOnSeveralFields(const QVMtableGrammarInternal& Grammar, const QVMmessageNodeAddress& Address) {
  const QVMmessageGrammar* Rule = Grammar.messageGrammar();
  unsigned Step = 0;
  if (Grammar.messageGrammarFieldIndex() != NoField) {
    const QVMsegmentGrammar* Segment = Rule ? Rule->segment() : nullptr;
    if (!Segment || Grammar.messageGrammarFieldIndex() >= Segment->countOfField()) return false;
    return endsOnSeveralFields(Segment->fieldType(Grammar.messageGrammarFieldIndex()), Address, 0);
  }
  while (Rule && !Rule->isNode()) {
    if (Step >= Address.depth() || Address.nodeIndex(Step) >= Rule->countOfSubGrammar()) return false;
    Rule = Rule->subGrammar(Address.nodeIndex(Step++));
  }
  if (!Rule || !Rule->segment() || Step >= Address.depth()) return false;
  const uint32_t Field = Address.nodeIndex(Step++);
  if (Field >= Rule->segment()->countOfField()) return false;
  return endsOnSeveralFields(Rule->segment()->fieldType(Field), Address, Step);
}

// Nulls, in a filled table and all its sub-tables, the cells of columns that end on a composite
// of several fields; counts the cells that held a value.
void nullCompositeColumns(QVMtableInternal& Table, unsigned& Nulled) {
  QVMtableGrammarInternal* Grammar = Table.tableGrammar();
  if (Grammar == nullptr) return;
  for (unsigned Row = 0; Row < Table.countOfRow(); ++Row) {
    if (!Grammar->isNode()) {
      for (unsigned Sub = 0; Sub < Table.countOfRowSubTable(Row); ++Sub)
        nullCompositeColumns(Table.subTable(Row, Sub), Nulled);
      continue;
    }
    const QVMtableMapSet* MapSet = Grammar->table()->mapSet(Grammar->tableMapSetIndex());
    for (unsigned Column = 0; Column < Table.countOfColumn() && Column < MapSet->countOfMap(); ++Column) {
      if (!endsOnSeveralFields(*Grammar, MapSet->map(Column).nodeAddress())) continue;
      if (!Table.isNull(Column, Row)) ++Nulled;
      Table.setNull(Column, Row);
    }
  }
}

struct Outcome {
  std::string error;  // empty when accepted
  std::string xml;
  bool identified = true;
};

Outcome parse(QVFengine& Engine, const std::string& Message, unsigned& Nulled) {
  Outcome Result;
  QVMtableInternal Table;
  unsigned Index = 0;
  try {
    QVJengineInternalParseMessage(Engine.parseContext(), COLstring(Message), Index, Table);
  } catch (const COLerror& Error) {
    Result.error = Error.description().str();
    Result.identified = Error.code() != COL_ERROR_NOT_IDENTIFIED;
    return Result;
  }
  nullCompositeColumns(Table, Nulled);
  COLstring Xml;
  std::unique_ptr<QVMxmlHl7Converter> Converter = QVMxmlHl7Converter::getConverter("TABLE - Long Tags");
  Converter->setConfig(&Engine.schema().config());
  Converter->outputTableInXml(Xml, Table);
  Result.xml = TSTwithoutEmptyRows(Xml.str());
  return Result;
}

// The first line where two documents part, with its neighbours.
std::map<std::string, std::string> knownDifferences() {
  std::ifstream In(MSGBRIDGE_SOURCE_DIR "/tests/data/QVJ/legacy_diff_known.tsv");
  std::map<std::string, std::string> Known;
  for (std::string Line; std::getline(In, Line);)
    if (!Line.empty() && Line[0] != '#') Known[Line.substr(0, Line.find('\t'))] = Line.substr(Line.find('\t') + 1);
  return Known;
}

std::string firstDifference(const std::string& Left, const std::string& Right) {
  std::istringstream L(Left), R(Right);
  std::string A, B;
  for (int Line = 1;; ++Line) {
    const bool MoreL = static_cast<bool>(std::getline(L, A)), MoreR = static_cast<bool>(std::getline(R, B));
    if (!MoreL && !MoreR) return "";
    if (A != B || MoreL != MoreR) return "line " + std::to_string(Line) + ":\n  current: " + A + "\n  legacy:  " + B;
  }
}

TEST(QVJlegacyDiff, BothParserGenerationsReadEveryCorpusMessageAlike) {
  if (!fs::is_directory(TSTcorpusDirectory)) GTEST_SKIP() << "no shared corpus at " << TSTcorpusDirectory;
  const char* const Versions[] = {"2.3.1", "2.4", "2.5.1", "2.7.1"};
  std::map<std::string, COLreferencePtr<QVFengine>> Current, Legacy;
  for (const char* Version : Versions) {
    const std::string Path = std::string(MSGBRIDGE_SOURCE_DIR) + "/definitions/hl7v" + Version + ".vmd";
    for (auto* Engines : {&Current, &Legacy}) {
      (*Engines)[Version] = new QVFengine;
      QVLloadEngine((*Engines)[Version]->schema(), Path.c_str());
    }
    Current[Version]->schema().config().setParserVersion(QVMparserCurrent);
    Legacy[Version]->schema().config().setParserVersion(QVMparserSegmentChecker3);
  }
  std::map<std::string, int> Compared, AcceptedCurrent, AcceptedLegacy;
  unsigned Nulled = 0;
  std::map<std::string, std::string> Known = knownDifferences();
  const auto differ = [&](const std::string& Label, const std::string& What) {
    const auto Found = Known.find(Label);
    if (Found == Known.end()) ADD_FAILURE() << Label << ": " << What;
    else Known.erase(Found);
  };
  for (const auto& Entry : fs::directory_iterator(TSTcorpusDirectory)) {
    const std::string Name = Entry.path().filename().string();
    std::vector<std::string> Messages;
    if (Name.rfind("batch_", 0) == 0)
      Messages = TSTbatchMessages(Entry.path());
    else
      TSTlogMessages(Entry.path(), Messages);
    for (size_t Number = 0; Number < Messages.size(); ++Number) {
      for (const char* Version : Versions) {
        const std::string Label = Name + "#" + std::to_string(Number + 1) + " under " + Version;
        const Outcome Now = parse(*Current[Version], Messages[Number], Nulled);
        const Outcome Old = parse(*Legacy[Version], Messages[Number], Nulled);
        if (!Now.identified && !Old.identified) continue;
        ++Compared[Version];
        AcceptedCurrent[Version] += Now.error.empty();
        AcceptedLegacy[Version] += Old.error.empty();
        if (Now.error.empty() != Old.error.empty()) {
          differ(Label, "current " + (Now.error.empty() ? "accepts" : "refuses: " + Now.error) + "\nlegacy " +
                            (Old.error.empty() ? "accepts" : "refuses: " + Old.error));
          continue;
        }
        if (Now.xml != Old.xml) differ(Label, firstDifference(Now.xml, Old.xml));
      }
    }
  }
  for (const auto& [Label, What] : Known) ADD_FAILURE() << "known difference gone, unpin it: " << Label;
  for (const char* Version : Versions)
    std::cout << Version << ": " << Compared[Version] << " compared, " << AcceptedCurrent[Version]
              << " accepted by the current parser, " << AcceptedLegacy[Version] << " by the legacy one\n";
  std::cout << Nulled << " composite cells set aside\n";
}

}  // namespace
