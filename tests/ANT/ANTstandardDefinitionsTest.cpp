// The generated standard HL7 v2 definitions in definitions/: each loads, is kept in the
// writer's own layout, holds what the data set's counts say, recognises messages by MSH-9,
// and lays every component and sub-component of every field on a table column that table
// filling gives a value.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "ANTengine.h"
#include "ANTtestSupport.h"
#include "QVLvmdFile.h"
#include "QVMcompositeGrammar.h"
#include "QVMengineInternal.h"
#include "QVMidentifier.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMmessageGrammar.h"
#include "QVMsegmentGrammar.h"
#include "QVMtableDefinitionInternal.h"
#include "QVMtableGrammarInternal.h"

#include "../QVM/QVMgrammarTestSupport.h"
#include "../support/TSTdataFile.h"
#include "../support/TSTfile.h"

namespace {
const std::string DefinitionDir = std::string(MSGBRIDGE_SOURCE_DIR) + "/definitions/";
const std::vector<std::string> Versions = {"2.3.1", "2.4", "2.5.1", "2.7.1"};
constexpr uint32_t Unlimited = 0xFFFFFFFF;

std::string definitionPath(const std::string& version) { return DefinitionDir + "hl7v" + version + ".vmd"; }

// Each file is loaded once for the whole suite; the tests only read the models. The engines
// go at the end of the suite, while the interpreter they hold can still be shut down.
std::map<std::string, std::unique_ptr<QVMengineInternal>> Engines;

QVMengineInternal& loaded(const std::string& version) {
  auto& slot = Engines[version];
  if (!slot) {
    slot = std::make_unique<QVMengineInternal>();
    EXPECT_EQ(QVLloadEngine(*slot, definitionPath(version).c_str()), QVLvmdTypeXml) << version;
  }
  return *slot;
}

// definitions/manifest.tsv: the data set's own counts, one line per version.
std::map<std::string, std::map<std::string, size_t>> readManifest() {
  std::ifstream in(DefinitionDir + "manifest.tsv");
  std::string line;
  std::getline(in, line);
  std::vector<std::string> names;
  for (std::istringstream header(line); std::getline(header, line, '\t');) names.push_back(line);
  std::map<std::string, std::map<std::string, size_t>> result;
  while (std::getline(in, line)) {
    std::istringstream row(line);
    std::string version, cell;
    std::getline(row, version, '\t');
    for (size_t i = 1; std::getline(row, cell, '\t') && i < names.size(); ++i) result[version][names[i]] = std::stoul(cell);
  }
  return result;
}

const QVMmessageDefinitionInternal& messageNamed(QVMengineInternal& engine, const char* name) {
  uint32_t index = engine.messageByName(name);
  if (index >= engine.countOfMessage()) throw std::runtime_error(std::string("no message ") + name);
  return *engine.message(index);
}

const QVMsegmentGrammar& segmentNamed(QVMengineInternal& engine, const char* name) {
  uint32_t index = engine.segmentByName(name);
  if (index >= engine.countOfSegment()) throw std::runtime_error(std::string("no segment ") + name);
  return *engine.segment(index);
}

// True when the message's identifiers take MSH-9 with this type and event.
bool identifies(const QVMmessageDefinitionInternal& message, const char* type, const char* event) {
  for (size_t i = 0; i < message.countOfIdentifier(); ++i) {
    const QVMidentifier& identifier = *message.identifier(i);
    const QVMmessageNodeAddress& address = identifier.nodeAddress();
    if (identifier.segment() != "MSH" || address.depth() != 2 || address.nodeIndex(0) != 8) return false;
    if (!identifier.doesMatch(address.nodeIndex(1) == 0 ? type : event)) return false;
  }
  return message.countOfIdentifier() > 0;
}

// The message that the match order gives for MSH-9 = type^event.
std::string firstMatch(QVMengineInternal& engine, const char* type, const char* event) {
  for (auto position = engine.firstMessage(); position; position = engine.nextMessage(position)) {
    const QVMmessageDefinitionInternal& message = *engine.message(engine.matchIndexToMessageIndex(position));
    if (identifies(message, type, event)) return message.name().str();
  }
  return "";
}

size_t eventsOf(const QVMmessageDefinitionInternal& message) {
  if (message.countOfIdentifier() < 2) return 1;
  std::string pattern = message.identifier(1)->value().str();
  return 1 + std::count(pattern.begin(), pattern.end(), '|');
}

// The type table filling finds for an address that starts at a field of this composite: the
// walk of the fill, which gives no type (and so an empty cell) where an address leaves the
// composites or stops on one with several fields.
bool fillType(const QVMcompositeGrammar& composite, const std::vector<uint32_t>& path, QVMdataType& type) {
  const QVMcompositeGrammar* current = &composite;
  uint32_t index = current->countOfField();
  for (size_t level = 0; level < path.size(); ++level) {
    index = path[level];
    if (index >= current->countOfField()) return false;
    if (current->fieldDataType(index) != QVMcompositeType) {
      if (level + 1 != path.size()) return false;
      break;
    }
    current = current->fieldCompositeType(index);
  }
  if (index >= current->countOfField() && current->countOfField() == 1) index = 0;
  if (index >= current->countOfField() || current->fieldDataType(index) == QVMcompositeType) return false;
  type = current->fieldDataType(index);
  return true;
}

// The places of a field's text down to sub-components, as component paths: the field itself
// when it is one plain value.
std::vector<std::vector<uint32_t>> placesOf(const QVMcompositeGrammar& composite) {
  if (composite.countOfField() <= 1 &&
      (composite.countOfField() == 0 || composite.fieldDataType(0) != QVMcompositeType))
    return {{}};
  std::vector<std::vector<uint32_t>> places;
  for (uint32_t c = 0; c < composite.countOfField(); ++c) {
    const QVMcompositeGrammar* inner =
        composite.fieldDataType(c) == QVMcompositeType ? composite.fieldCompositeType(c) : nullptr;
    if (!inner || inner->countOfField() == 0) places.push_back({c});
    for (uint32_t s = 0; inner && s < inner->countOfField(); ++s) places.push_back({c, s});
  }
  return places;
}

std::vector<uint32_t> steps(const QVMmessageNodeAddress& address, size_t from) {
  std::vector<uint32_t> result;
  for (size_t i = from; i < address.depth(); ++i) result.push_back(address.nodeIndex(i));
  return result;
}

// A segment's node in the table grammar: its own table, or a group of it and one table per
// repeating field, all rooted at the segment.
void checkSegmentTables(const QVMtableGrammarInternal& table, const QVMmessageGrammar* root,
                        const std::string& message) {
  const QVMsegmentGrammar& segment = *root->segment();
  if (table.isNode()) {
    EXPECT_EQ(table.table()->tableName(), segment.name()) << message;
    EXPECT_EQ(table.messageGrammarFieldIndex(), Unlimited) << message;
    return;
  }
  ASSERT_GE(table.countOfSubGrammar(), 1u) << message;
  for (size_t i = 0; i < table.countOfSubGrammar(); ++i) {
    const QVMtableGrammarInternal& leaf = *table.subGrammar(i);
    ASSERT_TRUE(leaf.isNode()) << message << " " << table.name().str();
    EXPECT_EQ(leaf.messageGrammar(), root) << message << " " << table.name().str();
    const uint32_t field = leaf.messageGrammarFieldIndex();
    if (field == Unlimited) {
      EXPECT_EQ(leaf.table()->tableName(), segment.name()) << message;
      continue;
    }
    ASSERT_LT(field, segment.countOfField()) << message;
    EXPECT_EQ(leaf.table()->tableName(), segment.name() + "_" + segment.fieldName(field)) << message;
  }
}

void checkTableGrammar(const QVMtableGrammarInternal& table, const QVMmessageGrammar* parentRoot,
                       const std::string& message, size_t& segments) {
  const QVMmessageGrammar* root = table.messageGrammar();
  ASSERT_NE(root, nullptr) << message << " " << table.name().str();
  if (parentRoot) {
    EXPECT_EQ(root->parent(), parentRoot) << message << " " << table.name().str();
  }
  if (root->isNode()) {
    ++segments;
    checkSegmentTables(table, root, message);
    return;
  }
  EXPECT_FALSE(table.isNode()) << message;
  // Table XML finds a sub-table by the first sibling of its tag.
  std::set<std::string> tags;
  for (size_t i = 0; i < table.countOfSubGrammar(); ++i) {
    EXPECT_TRUE(tags.insert(table.subGrammar(i)->name().str()).second)
        << message << ": " << table.subGrammar(i)->name().str() << " stands twice in " << table.name().str();
    checkTableGrammar(*table.subGrammar(i), root, message, segments);
  }
}

class ANTstandardDefinitionsTest : public ::testing::Test {
protected:
  static void TearDownTestSuite() { Engines.clear(); }
};

size_t segmentNodesWithFields(const QVMmessageGrammar& grammar) {
  if (grammar.isNode()) return grammar.segment()->countOfField() > 0 ? 1 : 0;
  size_t count = 0;
  for (size_t i = 0; i < grammar.countOfSubGrammar(); ++i) count += segmentNodesWithFields(*grammar.subGrammar(i));
  return count;
}
}  // namespace

TEST_F(ANTstandardDefinitionsTest, EachFileLoadsAndIsKeptInTheWritersLayout) {
  for (const std::string& version : Versions) {
    SCOPED_TRACE(version);
    QVMengineInternal& engine = loaded(version);
    ASSERT_EQ(engine.countOfConfig(), 1u);
    EXPECT_EQ(engine.configName(0), "HL7 v" + version);
    EXPECT_STREQ(engine.config().xmlTranslationType(), "TABLE - Long Tags");
    EXPECT_EQ(engine.config().headerSegment(), "MSH");
    EXPECT_EQ(engine.config().parserVersion(), QVMparserCurrent);
    ASSERT_EQ(engine.config().countOfLevel(), 4u);
    EXPECT_EQ(engine.config().sepCharInfo(1).sepCharDefault(), '|');
    EXPECT_EQ(engine.config().sepCharInfo(1).repeatCharDefault(), '~');
    EXPECT_EQ(engine.config().sepCharInfo(2).sepCharDefault(), '^');
    EXPECT_EQ(engine.config().sepCharInfo(3).sepCharDefault(), '&');
    EXPECT_EQ(engine.config().escapeDefault(), '\\');
    EXPECT_EQ(engine.messageByName("ACK"), engine.ackMessageIndex(0));
    // Saving writes the very bytes that the generator wrote, so a reload gives the same model.
    EXPECT_TRUE(ANTsaveEngineToString(engine).str() == TSTreadFile(definitionPath(version)));
  }
}

TEST_F(ANTstandardDefinitionsTest, CountsMatchTheDataSet) {
  auto manifest = readManifest();
  ASSERT_EQ(manifest.size(), Versions.size());
  for (const std::string& version : Versions) {
    SCOPED_TRACE(version);
    auto& counts = manifest[version];
    QVMengineInternal& engine = loaded(version);
    EXPECT_EQ(engine.countOfMessage(), counts["structures"]);
    EXPECT_EQ(engine.countOfSegment(), counts["dataset_segments"] + counts["stub_segments"]);
    EXPECT_EQ(engine.countOfComposite(), counts["composites"]);
    EXPECT_EQ(engine.countOfTable(), counts["tables"]);
    // Every message of the data set, and every event taken over from a later version, is
    // recognised by exactly one structure's event list.
    size_t events = 0;
    for (size_t m = 0; m < engine.countOfMessage(); ++m) events += eventsOf(*engine.message(m));
    EXPECT_EQ(events, counts["dataset_messages"] + counts["later_events"]);
    size_t inOrder = 0;
    for (auto position = engine.firstMessage(); position; position = engine.nextMessage(position)) ++inOrder;
    EXPECT_EQ(inOrder, engine.countOfMessage());
  }
}

TEST_F(ANTstandardDefinitionsTest, StructuresThatTakeAnyEventComeLast) {
  QVMengineInternal& engine = loaded("2.5.1");
  EXPECT_EQ(firstMatch(engine, "ACK", "A01"), "ACK");
  bool typeOnlySeen = false;
  for (auto position = engine.firstMessage(); position; position = engine.nextMessage(position)) {
    const QVMmessageDefinitionInternal& message = *engine.message(engine.matchIndexToMessageIndex(position));
    if (message.countOfIdentifier() == 1)
      typeOnlySeen = true;
    else
      EXPECT_FALSE(typeOnlySeen) << message.name().str() << " stands after a structure that takes any event";
  }
  EXPECT_TRUE(typeOnlySeen);
  EXPECT_EQ(engine.segmentByName("MSH"), 0u);
}

// Grammars, segments and composites as printed, and where the match order takes MSH-9.
class ANTstandardPrintout : public ANTstandardDefinitionsTest, public ::testing::WithParamInterface<TSTdataCase> {};

TEST_P(ANTstandardPrintout, Matches) {
  SCOPED_TRACE(GetParam().where());
  std::istringstream words(GetParam().argument("print"));
  std::string version, kind, name;
  words >> version >> kind >> name;
  QVMengineInternal& engine = loaded(version);
  std::ostringstream out;
  if (kind == "grammar") ANTtestDumpGrammar(out, *messageNamed(engine, name.c_str()).messageGrammar(), 0);
  if (kind == "segment") out << QVMprinted(segmentNamed(engine, name.c_str())).str();
  if (kind == "composite") {
    ASSERT_LT(engine.compositeByName(name.c_str()), engine.countOfComposite()) << name;
    out << QVMprinted(*engine.composite(engine.compositeByName(name.c_str()))).str();
  }
  std::istringstream lookups(kind == "lookups" ? GetParam().text("print") : "");
  for (std::string type, event, ignored; lookups >> type >> event >> ignored;) {
    std::string match = firstMatch(engine, type.c_str(), event.c_str());
    out << type << " " << event << " " << (match.empty() ? "-" : match) << "\n";
  }
  EXPECT_EQ(out.str(), GetParam().text("print"));
}

INSTANTIATE_TEST_SUITE_P(Cases, ANTstandardPrintout,
                         ::testing::ValuesIn(TSTreadDataFile("ANT/standard_definitions.test")), TSTdataParamName);

// What the printouts leave out: whether a field is required, lengths; and that no leaf is a
// number or a time, whose cells would not give back the text they read.
TEST_F(ANTstandardDefinitionsTest, SegmentAndCompositeFieldsNotPrinted) {
  QVMengineInternal& engine = loaded("2.5.1");
  const QVMsegmentGrammar& pid = segmentNamed(engine, "PID");
  EXPECT_TRUE(pid.isFieldRequired(2));
  EXPECT_FALSE(pid.isFieldRequired(0));
  EXPECT_EQ(engine.composite(engine.compositeByName("CX"))->fieldMaxLength(0), 15u);
  for (const std::string& version : Versions) {
    QVMengineInternal& each = loaded(version);
    for (size_t c = 0; c < each.countOfComposite(); ++c) {
      const QVMcompositeGrammar& composite = *each.composite(c);
      for (uint32_t f = 0; f < composite.countOfField(); ++f) {
        const QVMdataType type = composite.fieldDataType(f);
        EXPECT_TRUE(type == QVMstringType || type == QVMcompositeType)
            << version << " " << composite.name().str() << "." << composite.fieldName(f).str();
      }
    }
  }
}

// Each place of every field's text, down to sub-components, is read by exactly one column: of
// the segment's table for a single field, of the field's own table for a repeating one; and
// table filling finds a String type for every column, so that no cell stays empty.
TEST_F(ANTstandardDefinitionsTest, EveryComponentOfEveryFieldHasATableColumn) {
  for (const std::string& version : Versions) {
    SCOPED_TRACE(version);
    QVMengineInternal& engine = loaded(version);
    size_t columns = 0;
    for (size_t s = 0; s < engine.countOfSegment(); ++s) {
      const QVMsegmentGrammar& segment = *engine.segment(s);
      const std::string name = segment.name().str();
      std::set<std::vector<uint32_t>> own;
      for (uint32_t f = 0; f < segment.countOfField(); ++f) {
        // A repeating field has a table of its own, and so has a wide single field of a segment
        // that would otherwise be too wide for a schema validator.
        const std::string fieldTable = name + "_" + segment.fieldName(f).str();
        const bool repeats = engine.tableByName(fieldTable.c_str()) < engine.countOfTable();
        EXPECT_TRUE(repeats || segment.fieldMaxRepeat(f) == 0) << fieldTable;
        const std::string tableName = repeats ? fieldTable : name;
        const uint32_t index = engine.tableByName(tableName.c_str());
        ASSERT_LT(index, engine.countOfTable()) << tableName;
        const QVMtableDefinitionInternal& table = *engine.table(index);
        ASSERT_EQ(table.countOfMapSet(), 1u) << tableName;
        std::set<std::vector<uint32_t>> mapped;
        for (uint32_t c = 0; c < table.countOfColumn(); ++c) {
          const QVMmessageNodeAddress& address = table.mapSet(0)->map(c).nodeAddress();
          ASSERT_GE(address.depth(), 1u) << tableName << "." << table.columnName(c).str();
          EXPECT_LE(address.depth(), repeats ? 2u : 3u) << tableName << "." << table.columnName(c).str();
          EXPECT_EQ(table.columnType(c), QVMstringType) << tableName << "." << table.columnName(c).str();
          if (!repeats && address.nodeIndex(0) != f) continue;
          // A repeating field's table counts from the field; its plain value stands at [0].
          std::vector<uint32_t> path = steps(address, repeats ? 0 : 1);
          if (repeats && path == std::vector<uint32_t>{0} && placesOf(*segment.fieldType(f)) ==
                                                                  std::vector<std::vector<uint32_t>>{{}})
            path.clear();
          QVMdataType type;
          EXPECT_TRUE(fillType(*segment.fieldType(f), path, type) && type == QVMstringType)
              << tableName << "." << table.columnName(c).str() << " gets no String value";
          EXPECT_TRUE(mapped.insert(path).second) << tableName << "." << table.columnName(c).str();
        }
        const auto places = placesOf(*segment.fieldType(f));
        EXPECT_EQ(mapped, std::set<std::vector<uint32_t>>(places.begin(), places.end()))
            << name << "-" << f + 1 << " on " << tableName;
        if (repeats) {
          EXPECT_EQ(table.countOfColumn(), places.size()) << tableName;
          columns += table.countOfColumn();
        } else {
          own.insert(places.begin(), places.end());
          columns += places.size();
        }
      }
    }
    size_t total = 0;
    for (size_t t = 0; t < engine.countOfTable(); ++t) {
      total += engine.table(t)->countOfColumn();
      // Wider tables take a schema validator minutes; only a VARIES field makes one that wide.
      bool varies = false;
      for (uint32_t c = 0; c < engine.table(t)->countOfColumn(); ++c) {
        const std::string column = engine.table(t)->columnName(c).str();
        varies = varies || column == "C1_S1" ||
                 (column.size() > 6 && column.compare(column.size() - 6, 6, "_C1_S1") == 0);
      }
      if (!varies) {
        EXPECT_LE(engine.table(t)->countOfColumn(), 200u) << engine.table(t)->tableName().str();
      }
    }
    EXPECT_EQ(total, columns) << "columns that read no field";
  }
  QVMengineInternal& engine = loaded("2.5.1");
  const QVMtableDefinitionInternal& pid = *engine.table(engine.tableByName("PID_PatientName"));
  EXPECT_LT(pid.columnIndex("FamilyName_Surname"), pid.countOfColumn());
  const QVMtableDefinitionInternal& msh = *engine.table(engine.tableByName("MSH"));
  EXPECT_LT(msh.columnIndex("MessageType_MessageStructure"), msh.countOfColumn());
}

TEST_F(ANTstandardDefinitionsTest, TableGrammarsMirrorTheMessageGrammars) {
  for (const std::string& version : Versions) {
    SCOPED_TRACE(version);
    QVMengineInternal& engine = loaded(version);
    for (size_t m = 0; m < engine.countOfMessage(); ++m) {
      const QVMmessageDefinitionInternal& message = *engine.message(m);
      const QVMtableGrammarInternal& tables = message.tableGrammar();
      EXPECT_EQ(tables.messageGrammar(), message.messageGrammar()) << message.name().str();
      size_t segments = 0;
      checkTableGrammar(tables, nullptr, message.name().str(), segments);
      // Every segment with fields is laid out, wherever it stands in the grammar.
      EXPECT_EQ(segments, segmentNodesWithFields(*message.messageGrammar())) << message.name().str();
    }
  }
}
