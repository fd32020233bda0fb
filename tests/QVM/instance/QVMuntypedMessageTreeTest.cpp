// Untyped message trees: growth and reuse, repeats, null against empty, label items, address
// walks, flattening back to the exact text, and message comparison as HTML.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "COLbuffer.h"
#include "COLostream.h"
#include "QVMconfig.h"
#include "QVMhandle.h"
#include "QVMgrammarTestSupport.h"
#include "QVMmessageDiffIterator.h"
#include "QVMmessageNodeAddress.h"
#include "QVMuntypedMessageTree.h"
#include "SCCescaper.h"

#include "../../support/TSTdataFile.h"
#include "../../support/TSTraised.h"

namespace {

std::vector<std::string> split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  size_t start = 0;
  for (size_t end; (end = text.find(separator, start)) != std::string::npos; start = end + 1)
    parts.push_back(text.substr(start, end - start));
  parts.push_back(text.substr(start));
  return parts;
}

void setText(QVMuntypedMessageTree& node, const std::string& text) {
  if (!text.empty()) node.setStringValue(text);
}

// A test-only tokeniser: segments by CR, fields by |, repeats by ~, components by ^; an
// empty part stays null.
void tokenise(QVMuntypedMessageTree& root, const std::string& message) {
  std::vector<std::string> segments = split(message, '\r');
  segments.pop_back();  // behind the last terminator
  for (unsigned s = 0; s < segments.size(); ++s) {
    const auto fields = split(segments[s], '|');
    for (unsigned f = 0; f < fields.size(); ++f) {
      const auto repeats = split(fields[f], '~');
      for (unsigned r = 0; r < repeats.size(); ++r) {
        QVMuntypedMessageTree* repeat = root.node(s, 0)->node(f, r);
        const auto components = split(repeats[r], '^');
        if (components.size() == 1) setText(*repeat, components[0]);
        else
          for (unsigned c = 0; c < components.size(); ++c) setText(*repeat->node(c, 0), components[c]);
      }
    }
  }
}

QVMconfig hl7Config(bool trailing = false) {
  QVMconfig config;
  QVMsepInfo level;
  level.setAll('\r', 0, 0, 0, QVMsepInfo::npos, QVMsepInfo::npos);
  config.pushSepCharInfo(level);
  level.setAll('|', '~', 'F', 'R', 3, 5);
  config.pushSepCharInfo(level);
  level.setAll('^', 0, 'S', 0, 4, QVMsepInfo::npos);
  config.pushSepCharInfo(level);
  config.setOutputTrailingSeparators(trailing);
  return config;
}

QVMmessageNodeAddress address(std::initializer_list<std::pair<uint32_t, uint32_t>> steps) {
  QVMmessageNodeAddress result;
  uint32_t step = 0;
  for (const auto& [node, repeat] : steps) result.setNodeAndRepeatIndex(step++, node, repeat);
  return result;
}

std::string diff(const std::string& left, const std::string& right, unsigned* errors = nullptr) {
  COLreferencePtr<QVMuntypedMessageTree> lhs = new QVMuntypedMessageTree, rhs = new QVMuntypedMessageTree;
  tokenise(*lhs, left);
  tokenise(*rhs, right);
  COLstring html;
  COLostream stream(html);
  QVMmessageDiffIterator iterator(stream);
  iterator.iterate(*lhs, *rhs, 0, 0);
  if (errors) *errors = iterator.countOfError();
  return html.str();
}

}  // namespace

TEST(QVMuntypedMessageTree, GrowsOnDemandAndReusesClearedNodes) {
  COLreferencePtr<QVMuntypedMessageTree> tree = new QVMuntypedMessageTree;
  EXPECT_EQ(tree->countOfSubNode(), 0u);
  EXPECT_EQ(tree->countOfRepeat(), 1u);
  EXPECT_TRUE(tree->isNull());
  QVMuntypedMessageTree* sixth = tree->node(5, 0);
  EXPECT_EQ(tree->countOfSubNode(), 6u);
  for (unsigned i = 0; i < 6; ++i) EXPECT_TRUE(tree->node(i, 0)->isNull());
  sixth->setStringValue("x");
  sixth->node(2, 0)->setStringValue("deep");
  QVMuntypedMessageTree* third = tree->node(5, 3);
  EXPECT_EQ(tree->node(5, 0)->countOfRepeat(), 4u);
  EXPECT_EQ(tree->node(5, 0)->getRepeatedNode(3), third);

  const int64_t live = QVMuntypedMessageTree::totalNodeCount();
  tree->clear();
  EXPECT_EQ(tree->countOfSubNode(), 0u);
  QVMuntypedMessageTree* again = tree->node(5, 0);
  EXPECT_EQ(again, sixth);  // the kept object, cleared
  EXPECT_TRUE(again->isNull());
  EXPECT_EQ(again->countOfSubNode(), 0u);
  EXPECT_EQ(again->countOfRepeat(), 1u);
  EXPECT_EQ(QVMuntypedMessageTree::totalNodeCount(), live);  // nothing new was made

  const QVMuntypedMessageTree& constant = *tree;
  EXPECT_EQ(TSTerrorText([&] { constant.node(6, 0); }),
            "Failed precondition: SubNodeIndex < pMember->subNode().size()");
  EXPECT_EQ(TSTerrorText([&] { constant.node(5, 1); }),
            "Failed precondition: RepeatNodeIndex <= pMember->subNode()[SubNodeIndex]->pMember->repeatNode().size()");
  tree->fullClear();
  EXPECT_LT(QVMuntypedMessageTree::totalNodeCount(), live);
}

TEST(QVMuntypedMessageTree, RepeatCountsAndNullAgainstEmpty) {
  COLreferencePtr<QVMuntypedMessageTree> field = new QVMuntypedMessageTree;
  EXPECT_EQ(TSTraised([&] { field->setCountOfRepeat(0); }),
            COLerror("Every field has a minimum on one repeat.", COL_ERROR_PRECONDITION));
  field->setCountOfRepeat(3);
  EXPECT_EQ(field->countOfRepeat(), 3u);
  EXPECT_TRUE(field->getRepeatedNode(1)->isNull());
  EXPECT_FALSE(field->getRepeatedNode(2)->isNull());
  EXPECT_STREQ(field->getRepeatedNode(2)->getValue(), "");
  field->setCountOfRepeat(1);
  EXPECT_EQ(field->countOfRepeat(), 1u);

  field->setStringValue("");
  EXPECT_FALSE(field->isNull());
  EXPECT_STREQ(field->getValue(), "");
  field->setNull();
  EXPECT_EQ(TSTerrorText([&] { field->getValue(); }), "Failed precondition: !isNull()");
  EXPECT_STREQ(field->getFirstValue(), "");

  // A value set by pointer is not copied.
  const char* wire = "PID";
  field->setValue(wire);
  EXPECT_EQ(field->getValue(), wire);
  field->setCountOfSubNode(3);
  field->node(0, 0)->setStringValue("first");
  EXPECT_STREQ(field->getFirstValue(), "first");
  field->setFirstValue("changed");
  EXPECT_STREQ(field->node(0, 0)->getValue(), "changed");
  field->setCountOfSubNode(1);
  EXPECT_EQ(field->countOfSubNode(), 1u);
}

TEST(QVMuntypedMessageTree, LabelItemsErrorsAndTheFirstNodeWithErrors) {
  COLreferencePtr<QVMuntypedMessageTree> root = new QVMuntypedMessageTree;
  EXPECT_EQ(root->getBuffer(), nullptr);
  EXPECT_EQ(root->getLabel(), "");
  EXPECT_EQ(TSTraised([&] { root->errorCode(0); }), COLerror("Node ErrorIndex", COL_ERROR_RESOURCE));
  EXPECT_EQ(TSTerrorText([&] { root->setBuffer(nullptr); }), "Failed precondition: pBuffer != NULL");

  auto* buffer = new COLbuffer("MSH|x\r");
  root->node(0, 0)->setValue(buffer->data());
  root->setBuffer(buffer);  // the plain node turns into a label node, keeping its children
  EXPECT_EQ(root->type(), QVMuntypedMessageTree::eLabelNode);
  EXPECT_EQ(root->getBuffer(), buffer);
  EXPECT_EQ(root->node(0, 0)->getValue(), buffer->data());
  root->setBuffer(new COLbuffer("other"));  // the first one is freed (ASan would tell)

  QVMuntypedMessageTree* deep = root->node(1, 0)->node(2, 1);
  deep->addError(7, "bad");
  deep->addError(8, "worse");
  root->setLabel("ADT");
  EXPECT_EQ(root->getLabel(), "ADT");
  QVMmessageNodeAddress where;
  EXPECT_EQ(root->firstSubNodeWithError(where), deep);
  EXPECT_EQ(where, address({{1, 0}, {2, 1}}));
  EXPECT_EQ(deep->errorCode(1), 8u);
  EXPECT_EQ(deep->errorDescription(0), "bad");

  // Clearing walks down through label nodes that have error lists and stops elsewhere.
  root->addError(1, "top");
  root->clearError();
  EXPECT_EQ(root->countOfError(), 0u);
  EXPECT_EQ(deep->countOfError(), 2u);  // behind a plain node
  root->node(1, 0)->addError(2, "segment");
  root->addError(1, "top");
  root->clearError();
  EXPECT_EQ(root->node(1, 0)->countOfError(), 0u);
  EXPECT_EQ(deep->countOfError(), 0u);
  QVMmessageNodeAddress none;
  EXPECT_EQ(root->firstSubNodeWithError(none), nullptr);
  EXPECT_EQ(none.depth(), 0u);
}

TEST(QVMuntypedMessageTree, PrintingNamesEachNodeAndRepeat) {
  COLreferencePtr<QVMuntypedMessageTree> root = new QVMuntypedMessageTree;
  root->setLabel("ADT");
  root->node(0, 0)->setStringValue("a");
  root->node(1, 1)->setStringValue("y");
  root->node(1, 0)->addError(3, "bad");
  COLstring Printed;
  COLostream Stream(Printed);
  root->printOn(Stream, "", nullptr);
  EXPECT_EQ(Printed, "ADT <NULL>\n   1: NoLabel  'a'\n   2: NoLabel  <NULL> *ERRORS*: 'bad' \n   2R1: NoLabel  'y'\n");
}

TEST(QVMuntypedMessageTree, AddressWalksReachSimpleFieldsAndStopAtTheEdge) {
  COLreferencePtr<QVMuntypedMessageTree> root = new QVMuntypedMessageTree;
  tokenise(*root, "PID|1|a~b|x^y\r");
  const QVMuntypedMessageTree& tree = *root;
  COLstring value;
  EXPECT_TRUE(QVMmessageNodeAddressGetValue(address({{0, 0}, {1, 0}, {0, 0}}), value, tree, 0));
  EXPECT_EQ(value, "1");  // a simple field is its own first component
  EXPECT_FALSE(QVMmessageNodeAddressGetValue(address({{0, 0}, {1, 0}, {1, 0}}), value, tree, 0));
  EXPECT_EQ(value, "");
  EXPECT_TRUE(QVMmessageNodeAddressGetValue(address({{0, 0}, {2, 1}}), value, tree, 0));
  EXPECT_EQ(value, "b");
  EXPECT_TRUE(QVMmessageNodeAddressGetValue(address({{0, 0}, {3, 0}, {1, 0}}), value, tree, 0));
  EXPECT_EQ(value, "y");
  // From level 1 the walk starts on the segment.
  EXPECT_TRUE(QVMmessageNodeAddressGetValue(address({{7, 7}, {2, 1}}), value, *tree.node(0, 0), 1));
  EXPECT_EQ(value, "b");
  EXPECT_EQ(QVMmessageNodeAddressGetSubNode(address({{0, 0}, {2, 2}}), tree, 0), nullptr);
  EXPECT_EQ(QVMmessageNodeAddressGetSubNode(address({{4, 0}}), tree, 0), nullptr);
  EXPECT_EQ(TSTerrorText([&] {
              QVMmessageNodeAddressGetSubNode(address({{0, 0}}), tree, 2);
            }),
            "Failed precondition: Level <= NodeAddress.depth()");
  // The growing walk always arrives, making what is missing.
  QVMuntypedMessageTree* made = QVMmessageNodeAddressGetSubNode(address({{0, 0}, {6, 2}}), *root, 0);
  EXPECT_TRUE(made->isNull());
  EXPECT_EQ(root->node(0, 0)->countOfSubNode(), 7u);
  EXPECT_EQ(root->node(0, 0)->node(6, 0)->countOfRepeat(), 3u);
}

TEST(QVMuntypedMessageTree, FlatteningLaysOutTheHeaderAndWritesEveryNode) {
  // The first segment's leading fields stand in the header, which the configuration lays out.
  COLreferencePtr<QVMuntypedMessageTree> root = new QVMuntypedMessageTree;
  tokenise(*root, "MSH|F|E|x\rPID|1||Doe^Jo~Roe^Al|\"\"|^x\rZZZ\r");
  COLstring flat;
  root->makeFlatWire(flat, hl7Config(), 0);
  EXPECT_EQ(flat.str(), "MSH|^~\\|x\rPID|1||Doe^Jo~Roe^Al|\"\"|^x\rZZZ\r");
  root->makeFlatWire(flat, hl7Config(true), 0);
  EXPECT_EQ(flat.str(), "MSH|^~\\|x|\rPID|1||Doe^Jo~Roe^Al|\"\"|^x|\rZZZ|\r");
  // Existing empty nodes are written; the trailing separator only follows the setting.
  root->node(1, 0)->setCountOfSubNode(8);
  root->node(1, 0)->node(5, 0)->node(1, 0)->setNull();
  root->node(1, 0)->makeFlatWire(flat, hl7Config(), 1);
  EXPECT_EQ(flat.str(), "PID|1||Doe^Jo~Roe^Al|\"\"|^||");
  root->node(1, 0)->makeFlatWire(flat, hl7Config(true), 1);
  EXPECT_EQ(flat.str(), "PID|1||Doe^Jo~Roe^Al|\"\"|^|||");
}

TEST(QVMuntypedMessageTree, UnescapingCopiesOnlyChangedValues) {
  COLreferencePtr<QVMuntypedMessageTree> root = new QVMuntypedMessageTree;
  const char* plain = "plain";
  root->node(0, 0)->setValue(plain);
  root->node(0, 2)->setValue("a\\F\\b");
  root->node(1, 0)->node(0, 0)->setValue("x\\S\\y");
  root->unescapeValues(SCCescaper(), false);
  EXPECT_EQ(root->node(0, 0)->getValue(), plain);
  EXPECT_STREQ(root->node(0, 2)->getValue(), "a|b");
  EXPECT_STREQ(root->node(1, 0)->node(0, 0)->getValue(), "x^y");
}

class QVMmessageDiff : public ::testing::TestWithParam<TSTdataCase> {};

// With an "engine" section the texts go through the library's handle, each read by the engine's
// own parser first; the handle gives no count.
TEST_P(QVMmessageDiff, RowsAndCountOfDifferences) {
  const TSTdataCase& Case = GetParam();
  if (Case.has("engine")) {
    void* Engine = nullptr;
    ASSERT_EQ(_QVMengineCreate(&Engine), nullptr);
    ASSERT_EQ(_QVMengineLoad(Engine, (std::string(MSGBRIDGE_SOURCE_DIR "/") + Case.argument("engine")).c_str()), nullptr);
    const char* Html = nullptr;
    EXPECT_EQ(_QVMengineMessageDiff(Engine, Case.text("left").c_str(), Case.text("right").c_str(), &Html), nullptr);
    EXPECT_EQ(std::string(Html ? Html : ""), Case.text("html")) << Case.where();
    _QVMengineRelease(Engine);
    return;
  }
  unsigned errors = 99;
  EXPECT_EQ(diff(Case.text("left"), Case.text("right"), &errors), Case.text("html")) << Case.where();
  EXPECT_EQ(std::to_string(errors), Case.argument("differences")) << Case.where();
}

INSTANTIATE_TEST_SUITE_P(Cases, QVMmessageDiff, ::testing::ValuesIn(TSTreadDataFile("QVM/message_diff.test")),
                         TSTdataParamName);
