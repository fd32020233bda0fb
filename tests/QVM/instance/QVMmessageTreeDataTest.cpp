// Message trees as step cases (tests/support/TSTsteps.h), tests/data/QVM/tree/*.test, one tree
// a case; untyped.test for untyped trees, typed*.test for typed ones.  PATH is "/" or child steps "N.R/N" (node N, repeat R, 0 when left out);
// a step "~I" takes repeat I of the node reached (getRepeatedNode).  ADDRESS is "N.R/N.R".
//
//   tokenise TEXT (segments end in \x0d, fields |, repeats ~, components ^; empty stays null)
//   grow PATH | peek PATH (the read-only walk) | size PATH -> sub-nodes repeats | null PATH
//   set PATH TEXT | setnull PATH | value PATH | first PATH | setfirst PATH TEXT
//   wire PATH (a value set by pointer) | iswire PATH -> whether it is still that pointer
//   repeats PATH N | subnodes PATH N | clear | fullclear | mark | made -> none|some|fewer since mark
//   keep PATH | kept PATH -> whether the walk reaches the kept object
//   error PATH CODE TEXT | errors PATH -> "code:text ..." | errorcode PATH I | clearerrors PATH
//   firsterror -> ADDRESS or none | label [TEXT] | type | buffer TEXT|null | buffered | print
//   flat PATH LEVEL [trailing] | get PATH LEVEL ADDRESS -> yes|no:VALUE | reach PATH LEVEL ADDRESS
//   (read-only walk: node or none) | grab LEVEL ADDRESS (the growing walk) | unescape | code (of
//   the last refusal)
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "COLbuffer.h"
#include "COLdateTime.h"
#include "COLostream.h"
#include "QVMconfig.h"
#include "QVMdateTimeInternal.h"
#include "QVMhandle.h"
#include "QVMmessageDiffIterator.h"
#include "QVMmessageNodeAddress.h"
#include "QVMtypedMessageTree.h"
#include "QVMuntypedMessageTree.h"
#include "SCCescaper.h"

#include "../../support/TSTsteps.h"

namespace {

std::vector<std::string> split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream In(text);
  for (std::string Part; std::getline(In, Part, separator);) parts.push_back(Part);
  if (text.empty() || text.back() == separator) parts.push_back("");
  return parts;
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
        for (unsigned c = 0; c < components.size(); ++c) {
          QVMuntypedMessageTree* part = components.size() == 1 ? repeat : repeat->node(c, 0);
          if (!components[c].empty()) part->setStringValue(components[c]);
        }
      }
    }
  }
}

QVMconfig hl7Config(bool trailing) {
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

QVMmessageNodeAddress address(const std::string& text) {
  QVMmessageNodeAddress result;
  uint32_t step = 0;
  for (const std::string& node : split(text, '/')) {
    const size_t dot = node.find('.');
    if (!node.empty())
      result.setNodeAndRepeatIndex(step++, std::stoul(node), dot == std::string::npos ? 0 : std::stoul(node.substr(dot + 1)));
  }
  return result;
}

const char Wire[] = "wire";

// The node at PATH below `node`; with `grow`, by makeNodeUpTo (typed trees).
template <class Node>
Node* walk(Node* node, const std::string& path, bool grow = false) {
  for (const std::string& step : split(path, '/')) {
    const size_t dot = step.find('.');
    const unsigned repeat = dot == std::string::npos ? 0 : std::stoul(step.substr(dot + 1));
    if (step.empty()) continue;
    if constexpr (std::is_same_v<Node, QVMtypedMessageTree>)
      if (grow) {
        node = node->makeNodeUpTo(std::stoul(step), repeat);
        continue;
      }
    node = step[0] == '~' ? node->getRepeatedNode(std::stoul(step.substr(1))) : node->node(std::stoul(step), repeat);
  }
  return node;
}

class Tree : public TSTstepModel {
  QVMuntypedMessageTree& at(size_t At) { return *walk(Root.get(), word(At)); }

  // A refusal's code stays for `code`.
  std::string step() override {
    try {
      return act();
    } catch (const COLerror& Error) {
      Code = Error.code();
      throw;
    }
  }

  std::string act() {
    const std::string& Verb = word(0);
    if (Verb == "code") return std::to_string(Code);
    if (Verb == "tokenise") return tokenise(*Root, word(1)), "";
    if (Verb == "grow") return at(1), "";
    if (Verb == "peek") return walk(static_cast<const QVMuntypedMessageTree*>(Root.get()), word(1)), "";
    if (Verb == "size") return std::to_string(at(1).countOfSubNode()) + " " + std::to_string(at(1).countOfRepeat());
    if (Verb == "null") return std::to_string(at(1).isNull());
    if (Verb == "set") return at(1).setStringValue(word(2).c_str()), "";
    if (Verb == "setnull") return at(1).setNull(), "";
    if (Verb == "value") return at(1).getValue();
    if (Verb == "first") return at(1).getFirstValue();
    if (Verb == "setfirst") return at(1).setFirstValue(word(2).c_str()), "";
    if (Verb == "wire") return at(1).setValue(Wire), "";
    if (Verb == "iswire") return std::to_string(at(1).getValue() == Wire);
    if (Verb == "repeats") return at(1).setCountOfRepeat(index(2)), "";
    if (Verb == "subnodes") return at(1).setCountOfSubNode(index(2)), "";
    if (Verb == "clear") return Root->clear(), "";
    if (Verb == "fullclear") return Root->fullClear(), "";
    if (Verb == "mark") return Marked = QVMuntypedMessageTree::totalNodeCount(), "";
    if (Verb == "made") {
      const int64_t Now = QVMuntypedMessageTree::totalNodeCount();
      return Now == Marked ? "none" : Now > Marked ? "some" : "fewer";
    }
    if (Verb == "keep") return Kept = &at(1), "";
    if (Verb == "kept") return std::to_string(&at(1) == Kept);
    if (Verb == "error") return at(1).addError(index(2), rest(3).c_str()), "";
    if (Verb == "errors") {
      std::string Text;
      for (unsigned E = 0; E < at(1).countOfError(); ++E)
        Text += (E ? " " : "") + std::to_string(at(1).errorCode(E)) + ":" + at(1).errorDescription(E).str();
      return Text;
    }
    if (Verb == "errorcode") return std::to_string(at(1).errorCode(index(2)));
    if (Verb == "clearerrors") return at(1).clearError(), "";
    if (Verb == "firsterror") {
      QVMmessageNodeAddress Where;
      const QVMuntypedMessageTree* Found = Root->firstSubNodeWithError(Where);
      std::string Text;
      for (uint32_t D = 0; D < Where.depth(); ++D)
        Text += (D ? "/" : "") + std::to_string(Where.nodeIndex(D)) + "." + std::to_string(Where.repeatIndex(D));
      return Found ? Text : Where.depth() ? "none at " + Text : "none";
    }
    if (Verb == "label" && Words.size() > 1) return Root->setLabel(rest(1).c_str()), "";
    if (Verb == "label") return Root->getLabel().str();
    if (Verb == "type") return Root->type() == QVMuntypedMessageTree::eLabelNode ? "label" : "plain";
    if (Verb == "buffer") return Root->setBuffer(word(1) == "null" ? nullptr : new COLbuffer(word(1).c_str())), "";
    if (Verb == "buffered") return Root->getBuffer() ? Root->getBuffer()->data() : "none";
    if (Verb == "print") {
      COLstring Printed;
      COLostream Stream(Printed);
      Root->printOn(Stream, "", nullptr);
      std::string Text = Printed.str();
      std::replace(Text.begin(), Text.end(), '\n', '|');
      return Text;
    }
    if (Verb == "flat") {
      COLstring Flat;
      at(1).makeFlatWire(Flat, hl7Config(Words.size() > 3), index(2));
      return Flat.str();
    }
    if (Verb == "get") {
      COLstring Value;
      const bool Found = QVMmessageNodeAddressGetValue(address(word(3)), Value, at(1), index(2));
      return (Found ? "yes:" : "no:") + Value.str();
    }
    if (Verb == "reach")
      return QVMmessageNodeAddressGetSubNode(address(word(3)), static_cast<const QVMuntypedMessageTree&>(at(1)), index(2))
                 ? "node"
                 : "none";
    if (Verb == "grab") return QVMmessageNodeAddressGetSubNode(address(word(2)), *Root, index(1)), "";
    if (Verb == "unescape") return Root->unescapeValues(SCCescaper(), false), "";
    unknown();
  }

  COLreferencePtr<QVMuntypedMessageTree> Root = new QVMuntypedMessageTree;
  QVMuntypedMessageTree* Kept = nullptr;
  int64_t Marked = 0;
  uint32_t Code = 0;
};

// Typed trees, tests/data/QVM/tree/typed.test: `node` walks without growing, `make` with
// makeNodeUpTo (-> kept|new: whether it arrives at the kept node); mark, made, keep, kept, clear
// as above.  set PATH string|integer|double|datetime VALUE (a date-time as Y M D h m s) |
// get PATH string|integer|double | text PATH | minute PATH | null | size | setnull | type |
// present PATH -> dataPresent | setpresent PATH N | empty PATH | presentup PATH | ispresent PATH
// add | repeatsupto PATH N | droprepeat PATH | parentis PATH PARENT | other TEXT | replace PATH
// (by the other tree) | grab LEVEL ADDRESS (growing; kept) | reach LEVEL ADDRESS -> none|root|kept|other
// Storage: grown -> nodes made since mark | swap (the other tree becomes the one the steps work
// on) | replace PATH OTHERPATH | addrepeat PATH | return (returnTakenContents) | dropother (a new
// other tree) | insert SUBNODE REPEAT (the other tree's root) | isother PATH | fill PATH DEPTH
// WIDTH REPEATS [TAG] (below PATH, DEPTH levels of WIDTH sub-nodes of REPEATS repeats each; a
// leaf holds TAG and its path from PATH) | check PATH ... (the same shape, values and parents,
// exactly -> ok or the first place that differs)
class Typed : public TSTstepModel {
  QVMtypedMessageTree& at(size_t At) { return *walk(Root.get(), word(At)); }

  static void fill(QVMtypedMessageTree& Node, unsigned Depth, unsigned Width, unsigned Repeats, const std::string& Path) {
    if (Depth == 0) return Node.setStringValue(Path.c_str());
    for (unsigned Sub = Width; Sub-- > 0;)
      for (unsigned Repeat = 0; Repeat < Repeats; ++Repeat)
        fill(*Node.makeNodeUpTo(Sub, Repeat), Depth - 1, Width, Repeats,
             Path + "/" + std::to_string(Sub) + (Repeat ? "." + std::to_string(Repeat) : ""));
  }

  static std::string check(const QVMtypedMessageTree& Node, unsigned Depth, unsigned Width, unsigned Repeats,
                           const std::string& Path) {
    if (Depth == 0) {
      if (Node.countOfSubNode() != 0 || Node.isNull() || Node.dataType() != QVMstringType ||
          Node.getStringValue().str() != Path)
        return Path;
      return "";
    }
    if (Node.countOfSubNode() != Width || Node.isNull()) return Path;
    for (unsigned Sub = 0; Sub < Width; ++Sub) {
      if (Node.node(Sub, 0)->countOfRepeat() != Repeats) return Path;
      for (unsigned Repeat = 0; Repeat < Repeats; ++Repeat) {
        const QVMtypedMessageTree& Child = *Node.node(Sub, Repeat);
        const std::string ChildPath = Path + "/" + std::to_string(Sub) + (Repeat ? "." + std::to_string(Repeat) : "");
        if (Child.parent() != &Node) return ChildPath + " parent";
        if (std::string Bad = check(Child, Depth - 1, Width, Repeats, ChildPath); !Bad.empty()) return Bad;
      }
    }
    return "";
  }

  std::string step() override {
    const std::string& Verb = word(0);
    const std::string Kind = Words.size() > 2 ? word(2) : "";
    if (Verb == "make") return walk(Root.get(), word(1), true) == Kept ? "kept" : "new";
    if (Verb == "node") return at(1), "";
    if (Verb == "set" && Kind == "string") return at(1).setStringValue(word(3).c_str()), "";
    if (Verb == "set" && Kind == "integer") return at(1).setIntegerValue(static_cast<int>(integer(3))), "";
    if (Verb == "set" && Kind == "double") return at(1).setDoubleValue(real(3)), "";
    if (Verb == "set" && Kind == "datetime") {
      auto n = [&](size_t At) { return static_cast<int>(integer(At)); };
      return at(1).setDateTimeValue(COLdateTime(n(3), n(4), n(5), n(6), n(7), n(8))), "";
    }
    if (Verb == "get" && Kind == "string") return at(1).getStringValue().str();
    if (Verb == "get" && Kind == "integer") return std::to_string(at(1).getIntegerValue());
    if (Verb == "get" && Kind == "double") return std::to_string(at(1).getDoubleValue());
    if (Verb == "text") return at(1).getAsStringValue().str();
    if (Verb == "minute") return std::to_string(at(1).getDateTimeValue().minute());
    if (Verb == "null") return std::to_string(at(1).isNull());
    if (Verb == "size") return std::to_string(at(1).countOfSubNode()) + " " + std::to_string(at(1).countOfRepeat());
    if (Verb == "setnull") return at(1).setNull(), "";
    if (Verb == "type") return std::to_string(at(1).dataType());
    if (Verb == "present") return std::to_string(at(1).dataPresent());
    if (Verb == "setpresent") return at(1).setDataPresent(index(2)), "";
    if (Verb == "empty") return std::to_string(at(1).isSubTreeEmpty());
    if (Verb == "presentup") return at(1).setIsPresentUpToRoot(true), "";
    if (Verb == "ispresent") return std::to_string(at(1).isPresent());
    if (Verb == "add") return std::to_string(Root->addNode()->parent() == Root.get());
    if (Verb == "repeatsupto") return at(1).makeRepeatNodeUpTo(index(2)), "";
    if (Verb == "droprepeat") return at(1).removeLastRepeat(), "";
    if (Verb == "parentis") return std::to_string(at(1).parent() == &at(2));
    if (Verb == "clear") return Root->clear(), "";
    if (Verb == "mark") return Marked = QVMtypedMessageTree::totalNodeCount(), "";
    if (Verb == "made") return QVMtypedMessageTree::totalNodeCount() == Marked ? "none" : "some";
    if (Verb == "keep") return Kept = &at(1), "";
    if (Verb == "kept") return std::to_string(&at(1) == Kept);
    if (Verb == "other") return Other->setStringValue(word(1).c_str()), "";
    if (Verb == "replace")
      return at(1).replaceNode(Words.size() > 2 ? *walk(Other.get(), word(2)) : *Other), "";
    if (Verb == "grown") return std::to_string(QVMtypedMessageTree::totalNodeCount() - Marked);
    if (Verb == "swap") return std::swap(Root, Other), "";
    if (Verb == "addrepeat") return at(1).addRepeatNode(), "";
    if (Verb == "return") return Root->returnTakenContents(), "";
    if (Verb == "dropother") return Other = new QVMtypedMessageTree, "";
    if (Verb == "insert") return Root->insertNode(index(1), index(2), Other.get()), "";
    if (Verb == "isother") return std::to_string(&at(1) == Other.get());
    if (Verb == "fill" || Verb == "check") {
      const std::string Tag = Words.size() > 5 ? word(5) : "";
      if (Verb == "fill") return fill(at(1), index(2), index(3), index(4), Tag), "";
      const std::string Bad = check(at(1), index(2), index(3), index(4), Tag);
      return Bad.empty() ? "ok" : Bad.substr(Tag.size());
    }
    if (Verb == "grab") return Kept = QVMmessageNodeAddressGetSubNode(address(word(2)), *Root, index(1)), "";
    if (Verb == "reach") {
      const QVMtypedMessageTree* Found =
          QVMmessageNodeAddressGetSubNode(address(word(2)), static_cast<const QVMtypedMessageTree&>(*Root), index(1));
      return !Found ? "none" : Found == Root.get() ? "root" : Found == Kept ? "kept" : "other";
    }
    unknown();
  }

  COLreferencePtr<QVMtypedMessageTree> Root = new QVMtypedMessageTree, Other = new QVMtypedMessageTree;
  QVMtypedMessageTree* Kept = nullptr;
  int64_t Marked = 0;
};

class QVMtreeData : public ::testing::TestWithParam<TSTdataCase> {};

TEST_P(QVMtreeData, Steps) {
  if (GetParam().File.find("/typed") != std::string::npos)
    TSTrunSteps(GetParam(), [] { return std::make_unique<Typed>(); });
  else
    TSTrunSteps(GetParam(), [] { return std::make_unique<Tree>(); });
}

INSTANTIATE_TEST_SUITE_P(Cases, QVMtreeData, ::testing::ValuesIn(TSTreadDataArea("QVM/tree")), TSTdataParamName);

std::string diff(const std::string& left, const std::string& right, unsigned* errors) {
  COLreferencePtr<QVMuntypedMessageTree> lhs = new QVMuntypedMessageTree, rhs = new QVMuntypedMessageTree;
  tokenise(*lhs, left);
  tokenise(*rhs, right);
  COLstring html;
  COLostream stream(html);
  QVMmessageDiffIterator iterator(stream);
  iterator.iterate(*lhs, *rhs, 0, 0);
  *errors = iterator.countOfError();
  return html.str();
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

}  // namespace
