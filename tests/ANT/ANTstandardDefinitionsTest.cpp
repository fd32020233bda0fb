// The generated standard HL7 v2 definitions in definitions/: each loads, is kept in the
// writer's own layout, holds what the data set's counts say, recognises messages by MSH-9,
// and lays every field of every segment on a table column.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <memory>
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

// The type a table cell takes from a field address of depth 1 or 2, as table filling finds it.
QVMdataType leafTypeAt(const QVMcompositeGrammar& composite, const QVMmessageNodeAddress& address) {
  const QVMcompositeGrammar* type = &composite;
  if (address.depth() == 1 && type->countOfField() == 0) return QVMstringType;
  if (address.depth() == 1) {
    // The field as a whole: its one component.
  } else if (type->fieldDataType(address.nodeIndex(1)) == QVMcompositeType) {
    type = type->fieldCompositeType(address.nodeIndex(1));
  } else {
    return type->fieldDataType(address.nodeIndex(1));
  }
  return type->countOfField() == 0 ? QVMstringType : type->fieldDataType(0);
}

void checkTableGrammar(const QVMtableGrammarInternal& table, const QVMmessageGrammar* parentRoot,
                       const std::string& message, size_t& leaves) {
  const QVMmessageGrammar* root = table.messageGrammar();
  ASSERT_NE(root, nullptr) << message << " " << table.name().str();
  if (parentRoot) {
    EXPECT_EQ(root->parent(), parentRoot) << message << " " << table.name().str();
  }
  if (table.isNode()) {
    ++leaves;
    ASSERT_TRUE(root->isNode()) << message;
    EXPECT_EQ(table.table()->tableName(), root->segment()->name()) << message;
    EXPECT_EQ(table.messageGrammarFieldIndex(), Unlimited);
    EXPECT_LT(table.tableMapSetIndex(), table.table()->countOfMapSet());
    return;
  }
  EXPECT_FALSE(root->isNode()) << message;
  for (size_t i = 0; i < table.countOfSubGrammar(); ++i) checkTableGrammar(*table.subGrammar(i), root, message, leaves);
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
    EXPECT_EQ(engine.countOfComposite(), counts["data_types"]);
    EXPECT_EQ(engine.countOfTable(), counts["tables"]);
    // Every message of the data set is recognised by exactly one structure's event list.
    size_t events = 0;
    for (size_t m = 0; m < engine.countOfMessage(); ++m) events += eventsOf(*engine.message(m));
    EXPECT_EQ(events, counts["dataset_messages"]);
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

// What the printouts leave out: whether a field is required, lengths, date time grammars.
TEST_F(ANTstandardDefinitionsTest, SegmentAndCompositeFieldsNotPrinted) {
  QVMengineInternal& engine = loaded("2.5.1");
  const QVMsegmentGrammar& pid = segmentNamed(engine, "PID");
  EXPECT_TRUE(pid.isFieldRequired(2));
  EXPECT_FALSE(pid.isFieldRequired(0));
  EXPECT_EQ(engine.composite(engine.compositeByName("CX"))->fieldMaxLength(0), 15u);
  EXPECT_EQ(engine.composite(engine.compositeByName("TS"))->fieldDateTimeGrammar(0)->name(), "DTM");
}

TEST_F(ANTstandardDefinitionsTest, EveryFieldOfEverySegmentHasATableColumn) {
  for (const std::string& version : Versions) {
    SCOPED_TRACE(version);
    QVMengineInternal& engine = loaded(version);
    for (size_t t = 0; t < engine.countOfTable(); ++t) {
      const QVMtableDefinitionInternal& table = *engine.table(t);
      const QVMsegmentGrammar& segment = segmentNamed(engine, table.tableName().c_str());
      ASSERT_EQ(table.countOfColumn(), segment.countOfField()) << table.tableName().str();
      ASSERT_EQ(table.countOfMapSet(), 1u);
      const QVMtableMapSet& set = *table.mapSet(0);
      for (uint32_t c = 0; c < table.countOfColumn(); ++c) {
        const QVMmessageNodeAddress& address = set.map(c).nodeAddress();
        ASSERT_GE(address.depth(), 1u) << table.tableName().str() << " " << c;
        EXPECT_EQ(address.nodeIndex(0), c) << table.tableName().str();
        EXPECT_EQ(table.columnType(c), leafTypeAt(*segment.fieldType(c), address))
            << table.tableName().str() << "." << table.columnName(c).str();
      }
    }
  }
  const QVMtableDefinitionInternal& pid = *loaded("2.5.1").table(loaded("2.5.1").tableByName("PID"));
  EXPECT_EQ(pid.columnType(pid.columnIndex("SetIdPid")), QVMintegerType);
  EXPECT_EQ(pid.columnType(pid.columnIndex("DateTimeOfBirth")), QVMdateTimeType);
  EXPECT_EQ(pid.columnType(pid.columnIndex("PatientIdentifierList")), QVMstringType);
}

TEST_F(ANTstandardDefinitionsTest, TableGrammarsMirrorTheMessageGrammars) {
  for (const std::string& version : Versions) {
    SCOPED_TRACE(version);
    QVMengineInternal& engine = loaded(version);
    for (size_t m = 0; m < engine.countOfMessage(); ++m) {
      const QVMmessageDefinitionInternal& message = *engine.message(m);
      const QVMtableGrammarInternal& tables = message.tableGrammar();
      EXPECT_EQ(tables.messageGrammar(), message.messageGrammar()) << message.name().str();
      size_t leaves = 0;
      checkTableGrammar(tables, nullptr, message.name().str(), leaves);
      // Every segment with fields is laid out, wherever it stands in the grammar.
      EXPECT_EQ(leaves, segmentNodesWithFields(*message.messageGrammar())) << message.name().str();
    }
  }
}
