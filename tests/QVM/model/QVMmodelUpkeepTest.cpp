// Upkeep of the model while it is edited: name lookups through renames, and the references
// that removing a grammar or a configuration takes out.
#include <gtest/gtest.h>

#include "QVMengineInternal.h"
#include "QVMgrammarTestSupport.h"

#include "../../support/TSTraised.h"

namespace {
constexpr uint32_t npos = 0xFFFFFFFF;

// One grammar list of a configuration, reached the same way for every kind.
template <class Grammar>
struct GrammarList;

template <>
struct GrammarList<QVMsegmentGrammar> {
  static size_t add(QVMengineConfig& config) { return config.addSegment(); }
  static QVMsegmentGrammar* at(QVMengineConfig& config, size_t index) { return config.segment(index); }
  static uint32_t find(const QVMengineConfig& config, const char* name) { return config.segmentByName(name); }
  static void remove(QVMengineConfig& config, size_t index) { config.removeSegment(index); }
};

template <>
struct GrammarList<QVMcompositeGrammar> {
  static size_t add(QVMengineConfig& config) { return config.addComposite(); }
  static QVMcompositeGrammar* at(QVMengineConfig& config, size_t index) { return config.composite(index); }
  static uint32_t find(const QVMengineConfig& config, const char* name) { return config.compositeByName(name); }
  static void remove(QVMengineConfig& config, size_t index) { config.removeComposite(index); }
};

template <>
struct GrammarList<QVMenumerationGrammar> {
  static size_t add(QVMengineConfig& config) { return config.addEnumerationGrammar(); }
  static QVMenumerationGrammar* at(QVMengineConfig& config, size_t index) { return config.enumerationGrammar(index); }
  static uint32_t find(const QVMengineConfig& config, const char* name) {
    return config.enumerationGrammarByName(name);
  }
  static void remove(QVMengineConfig& config, size_t index) { config.removeEnumerationGrammar(index); }
};

template <>
struct GrammarList<QVMdateTimeGrammar> {
  static size_t add(QVMengineConfig& config) { return config.addDateTimeGrammar(); }
  static QVMdateTimeGrammar* at(QVMengineConfig& config, size_t index) { return config.dateTimeGrammar(index); }
  static uint32_t find(const QVMengineConfig& config, const char* name) { return config.dateTimeGrammarByName(name); }
  static void remove(QVMengineConfig& config, size_t index) { config.removeDateTimeGrammar(index); }
};

template <class Grammar>
class QVMgrammarNames : public ::testing::Test {};
using GrammarKinds =
    ::testing::Types<QVMsegmentGrammar, QVMcompositeGrammar, QVMenumerationGrammar, QVMdateTimeGrammar>;
TYPED_TEST_SUITE(QVMgrammarNames, GrammarKinds);

}  // namespace

TYPED_TEST(QVMgrammarNames, RenamesKeepTheFirstIndexExact) {
  using List = GrammarList<TypeParam>;
  QVMengineInternal engine;
  QVMengineConfig& config = engine.engineConfig();
  for (const char* name : {"A", "B", "A"}) List::at(config, List::add(config))->setName(name);
  EXPECT_EQ(List::find(config, "A"), 0u);
  List::at(config, 0)->setName("B");
  EXPECT_EQ(List::find(config, "B"), 0u);
  EXPECT_EQ(List::find(config, "A"), 2u);
  List::at(config, 2)->setName("C");
  EXPECT_EQ(List::find(config, "A"), npos);
  EXPECT_EQ(List::find(config, "C"), 2u);
  // Taking the name of a later grammar: the earlier index is the first.
  List::at(config, 0)->setName("C");
  EXPECT_EQ(List::find(config, "C"), 0u);
  EXPECT_EQ(List::find(config, "B"), 1u);
  // Assignment renames, too.
  *List::at(config, 1) = *List::at(config, 2);
  EXPECT_EQ(List::find(config, "B"), npos);
  EXPECT_EQ(List::find(config, "C"), 0u);
  // A copy stands alone.
  TypeParam copy(*List::at(config, 0));
  copy.setName("D");
  EXPECT_EQ(List::find(config, "D"), npos);
  EXPECT_EQ(List::find(config, "C"), 0u);

  List::at(config, List::add(config))->setName("D");
  EXPECT_EQ(List::find(config, "D"), 3u);
  List::remove(config, 0);
  EXPECT_EQ(List::find(config, "C"), 0u);
  EXPECT_EQ(List::find(config, "D"), 2u);
  List::at(config, 2)->setName("E");
  EXPECT_EQ(List::find(config, "E"), 2u);
  EXPECT_EQ(List::find(config, "D"), npos);
}

TYPED_TEST(QVMgrammarNames, EachConfigurationIndexesItsOwnGrammars) {
  using List = GrammarList<TypeParam>;
  QVMengineInternal engine;
  engine.addConfiguration("second");
  QVMengineConfig& first = engine.engineConfig(0);
  QVMengineConfig& second = engine.engineConfig(1);
  List::at(first, List::add(first))->setName("A");
  List::at(second, List::add(second))->setName("A");
  EXPECT_EQ(List::find(second, "A"), 0u);
  List::at(first, 0)->setName("B");
  EXPECT_EQ(List::find(first, "A"), npos);
  EXPECT_EQ(List::find(second, "A"), 0u);
  EXPECT_EQ(List::find(second, "B"), npos);

  QVMengineConfig copy(first);
  List::at(copy, 0)->setName("C");
  EXPECT_EQ(List::find(copy, "C"), 0u);
  EXPECT_EQ(List::find(copy, "B"), npos);
  EXPECT_EQ(List::find(first, "B"), 0u);
  EXPECT_EQ(List::find(first, "C"), npos);
}

TEST(QVMgrammarRemoval, CompositeRemovalClearsEveryReferenceInItsConfiguration) {
  QVMengineInternal engine;
  QVMcompositeGrammar* ce = engine.composite(engine.addComposite());
  ce->setName("CE");
  QVMcompositeGrammar* cx = engine.composite(engine.addComposite());
  cx->setName("CX");
  for (int i = 0; i < 3; ++i) QVMcompositeGrammarAddField(*cx);
  cx->setFieldCompositeType(0, ce);
  cx->setFieldMaxLength(0, 20);
  cx->setFieldDataType(1, QVMintegerType);
  // A pointer left behind by a change of kind is a reference all the same.
  cx->setFieldCompositeType(2, ce);
  cx->setFieldDataType(2, QVMdoubleType);
  QVMsegmentGrammar* pid = engine.segment(engine.addSegment());
  pid->setName("PID");
  QVMsegmentGrammarAddFieldWithoutInitialization(*pid);
  QVMsegmentGrammarAddFieldWithoutInitialization(*pid);
  pid->setFieldType(0, ce);
  pid->setFieldType(1, cx);

  engine.deleteComposite(0);
  EXPECT_EQ(pid->fieldType(0), nullptr);
  EXPECT_EQ(pid->fieldType(1), cx);
  EXPECT_EQ(cx->fieldDataType(0), QVMstringType);
  EXPECT_EQ(cx->field(0)->compositeType(), nullptr);
  EXPECT_EQ(cx->fieldMaxLength(0), 20u);
  EXPECT_EQ(cx->fieldDataType(1), QVMintegerType);
  EXPECT_EQ(cx->fieldDataType(2), QVMdoubleType);
  EXPECT_EQ(cx->field(2)->compositeType(), nullptr);
  EXPECT_EQ(QVMprinted(*pid), "Segment: PID\n  Field[1]  (), 0\n  Field[2]  (CX), 0\n");
  EXPECT_EQ(engine.compositeByName("CX"), 0u);
  EXPECT_EQ(engine.compositeByName("CE"), npos);
}

TEST(QVMgrammarRemoval, DateTimeAndEnumerationRemovalTurnTheirSubFieldsIntoStrings) {
  QVMengineInternal engine;
  QVMdateTimeGrammar* ts = engine.dateTimeGrammar(engine.addDateTimeGrammar());
  QVMdateTimeGrammar* dt = engine.dateTimeGrammar(engine.addDateTimeGrammar());
  QVMenumerationGrammar* yn = engine.enumerationGrammar(engine.addEnumerationGrammar());
  QVMcompositeGrammar* composite = engine.composite(engine.addComposite());
  for (int i = 0; i < 3; ++i) QVMcompositeGrammarAddField(*composite);
  composite->setFieldDateTimeGrammar(0, ts);
  composite->setFieldDateTimeGrammar(1, dt);
  composite->setFieldEnumerationGrammar(2, yn);

  engine.deleteDateTimeGrammar(0);
  EXPECT_EQ(composite->fieldDataType(0), QVMstringType);
  EXPECT_EQ(composite->field(0)->dateTimeGrammar(), nullptr);
  EXPECT_EQ(composite->fieldDateTimeGrammar(1), dt);
  EXPECT_EQ(composite->fieldEnumerationGrammar(2), yn);

  engine.deleteEnumerationGrammar(0);
  EXPECT_EQ(composite->fieldDataType(2), QVMstringType);
  EXPECT_EQ(composite->field(2)->enumerationGrammar(), nullptr);
  EXPECT_EQ(composite->fieldDateTimeGrammar(1), dt);
}

TEST(QVMgrammarRemoval, RemovalInOneConfigurationLeavesTheOthersAlone) {
  QVMengineInternal engine;
  engine.addConfiguration("second");
  QVMengineConfig& first = engine.engineConfig(0);
  QVMengineConfig& second = engine.engineConfig(1);
  QVMcompositeGrammar* firstComposite = first.composite(first.addComposite());
  QVMcompositeGrammar* secondComposite = second.composite(second.addComposite());
  QVMcompositeGrammar* holder = second.composite(second.addComposite());
  QVMcompositeGrammarAddField(*holder);
  holder->setFieldCompositeType(0, secondComposite);
  first.removeComposite(0);
  EXPECT_EQ(holder->fieldCompositeType(0), secondComposite);
  EXPECT_NE(firstComposite, secondComposite);
}

TEST(QVMgrammarRemoval, SegmentRemovalLeavesMessageNodesWithoutASegment) {
  QVMengineInternal engine;
  engine.addConfiguration("second");
  QVMsegmentGrammar* msh = engine.segment(engine.addSegment());
  msh->setName("MSH");
  QVMsegmentGrammar* pid = engine.segment(engine.addSegment());
  pid->setName("PID");
  QVMengineConfig& second = engine.engineConfig(1);
  QVMsegmentGrammar* otherPid = second.segment(second.addSegment());
  otherPid->setName("PID");
  QVMmessageDefinitionInternal* message = engine.message(engine.addMessage());
  QVMmessageGrammar* root = message->config(0).rootMessageGrammar();
  QVMmessageGrammar* mshNode = root->insertSegment(msh);
  QVMmessageGrammar* pidNode = root->insertGroup("PATIENT")->insertSegment(pid);
  QVMmessageGrammar* otherNode = message->config(1).rootMessageGrammar()->insertSegment(otherPid);

  engine.deleteSegment(1);
  EXPECT_EQ(pidNode->segment(), nullptr);
  EXPECT_EQ(mshNode->segment(), msh);
  EXPECT_EQ(otherNode->segment(), otherPid);
  EXPECT_EQ(TSTerrorText([&] { pidNode->fullGrammarName(); }), "Failed precondition: pMember->pSegment != NULL");
  EXPECT_EQ(mshNode->fullGrammarName(), "Message.MSH");
  EXPECT_EQ(engine.segmentByName("MSH"), 0u);
  EXPECT_EQ(engine.segmentByName("PID"), npos);
}

TEST(QVMconfigRemoval, RemainingConfigurationsKeepTheirGrammarsAndRecords) {
  QVMengineInternal engine;
  engine.addConfiguration("second");
  engine.addConfiguration("third");
  QVMmessageDefinitionInternal* message = engine.message(engine.addMessage());
  std::vector<QVMsegmentGrammar*> segments;
  for (size_t c = 0; c < 3; ++c) {
    QVMengineConfig& config = engine.engineConfig(c);
    segments.push_back(config.segment(config.addSegment()));
    segments.back()->setName(COLstring("S") + static_cast<char>('0' + c));
    message->config(c).rootMessageGrammar()->insertSegment(segments.back());
  }
  engine.setCurrentConfig(2);
  engine.deleteConfig(1);
  ASSERT_EQ(engine.countOfConfig(), 2u);
  EXPECT_EQ(engine.currentConfig(), 1u);
  ASSERT_EQ(message->countOfConfig(), 2u);
  EXPECT_EQ(message->config(1).rootMessageGrammar()->subGrammar(0)->segment(), segments[2]);
  EXPECT_EQ(engine.segment(0), segments[2]);
  // The lists of the remaining configuration still hear of renames.
  segments[2]->setName("T2");
  EXPECT_EQ(engine.segmentByName("T2"), 0u);
  EXPECT_EQ(engine.segmentByName("S2"), npos);
  EXPECT_EQ(engine.configPosition(&engine.engineConfig(1)), 1u);
}

TEST(QVMconfigAssignment, ReplacedGrammarsAreLetGoAndTheNewOnesListed) {
  QVMengineInternal engine;
  engine.addConfiguration("second");
  QVMsegmentGrammar* pid = engine.segment(engine.addSegment());
  pid->setName("PID");
  QVMmessageDefinitionInternal* message = engine.message(engine.addMessage());
  QVMmessageGrammar* node = message->config(0).rootMessageGrammar()->insertSegment(pid);
  QVMengineConfig& second = engine.engineConfig(1);
  QVMcompositeGrammar* ce = second.composite(second.addComposite());
  QVMcompositeGrammar* cx = second.composite(second.addComposite());
  QVMcompositeGrammarAddField(*cx);
  cx->setFieldCompositeType(0, ce);
  cx->setFieldDataType(0, QVMstringType);
  second.segment(second.addSegment())->setName("OBX");

  engine.engineConfig(0) = second;
  EXPECT_EQ(node->segment(), nullptr);
  ASSERT_EQ(engine.countOfComposite(), 2u);
  // Even a pointer that its sub-field's kind doesn't use now points into the copy.
  EXPECT_EQ(engine.composite(1)->field(0)->compositeType(), engine.composite(0));
  EXPECT_EQ(engine.segmentByName("OBX"), 0u);
  engine.segment(0)->setName("PV1");
  EXPECT_EQ(engine.segmentByName("PV1"), 0u);
  EXPECT_EQ(second.segmentByName("OBX"), 0u);
}
