// Fuzz target: the legacy tokeniser and segment checker on any bytes, with the example
// definition. The first byte picks a configuration; the rest is the message. Besides not
// crashing, it checks that
// - every value of the raw tree is a NUL-terminated slice of the root's buffer that holds no
//   delimiter or repeat character of any level, except the header's name, delimiter and
//   encoding characters, which are not tokenised;
// - the tree is the same when the context parses the message a second time (nodes and buffer
//   reused);
// - identification and the segment pass either finish or fail with a COLerror.
#include <cstring>
#include <string>

#include "COLbuffer.h"
#include "COLerror.h"
#include "FUZZsupport.h"
#include "QVMconfig.h"
#include "QVMidentifyMessage.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMparser.h"
#include "QVMsegmentChecker.h"
#include "QVMtypedMessageTree.h"
#include "QVMuntypedMessageTree.h"
#include "QVPparseContext.h"

namespace {

void configure(QVMconfig& Config, uint8_t Selector) {
  Config.setParseSeparatorChars(true);
  Config.setCountOfHeaderFieldsToSkip(3);
  Config.sepCharInfo(2).setRepeatCharDefault(0);
  switch (Selector % 3) {
    case 1:  // configured delimiters, nothing protected in the header
      Config.setParseSeparatorChars(false);
      Config.setCountOfHeaderFieldsToSkip(0);
      break;
    case 2:  // a repeat character on the component level
      Config.sepCharInfo(2).setRepeatCharDefault('#');
      break;
  }
}

struct Walk {
  const char* Begin;
  const char* End;
  const QVMparser& Parser;

  // `Level` is the depth of the node: 1 for a segment.
  void check(const QVMuntypedMessageTree& Node, unsigned Level, bool Header) const {
    if (!Node.isNull() && Node.countOfSubNode() == 0 && !Header) {
      const char* Value = Node.getValue();
      if (Value >= Begin && Value < End) {
        ::check(Value + std::strlen(Value) < End, "a value ends inside the buffer");
        // A NUL read from the header as a delimiter ends the text instead.
        for (unsigned L = 0; L < Parser.countOfDelimiter(); ++L) {
          if (Parser.delimiter(L) != 0)
            ::check(std::strchr(Value, Parser.delimiter(L)) == nullptr, "no delimiter inside a value");
          if (Parser.repeat(L) != 0)
            ::check(std::strchr(Value, Parser.repeat(L)) == nullptr, "no repeat character inside a value");
        }
      }
    }
    for (unsigned Sub = 0; Sub < Node.countOfSubNode(); ++Sub) {
      const QVMuntypedMessageTree& Child = *Node.node(Sub, 0);
      for (unsigned Repeat = 0; Repeat < Child.countOfRepeat(); ++Repeat)
        check(*Child.getRepeatedNode(Repeat), Level + 1, Header && Level == 1 && Sub <= 2);
    }
  }
};

std::string printed(const QVMuntypedMessageTree& Tree) {
  COLstring Text;
  {
    COLostream Stream(Text);
    Tree.printOn(Stream, "", nullptr);
  }
  return Text.str();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  QVMengineInternal& Engine = FUZZexampleEngine();
  configure(Engine.config(), data[0]);
  static QVPparseContext Context(&Engine);  // reused, as an engine's context is
  const COLstring Message = FUZZtext(data + 1, size - 1);
  Context.initParser();
  QVMuntypedMessageTree& Raw = Context.rawSegmentList();
  try {
    QVMrawParseMessage(Message, Context.parser(), Context.escaper(), Raw);
  } catch (const COLerror&) {
    return 0;
  }
  const COLbuffer* Buffer = Raw.getBuffer();
  const Walk Walker{Buffer->data(), Buffer->data() + Buffer->size(), Context.parser()};
  for (unsigned Segment = 0; Segment < Raw.countOfSubNode(); ++Segment)
    Walker.check(*Raw.node(Segment, 0), 1, Segment == 0 && Engine.config().countOfHeaderFieldsToSkip() > 2);
  const std::string First = printed(Raw);
  QVMrawParseMessage(Message, Context.parser(), Context.escaper(), Raw);
  check(printed(Raw) == First, "a second parse gives the same tree");
  try {
    const unsigned Index = QVMengineInternalIdentifyMessageWithoutException(Engine, Context, Raw);
    const QVMmessageDefinitionInternal& Definition =
        *Engine.message(Index < Engine.countOfMessage() ? Index : 0);
    QVMengineInternalCheckSegments(Engine, Definition, Context.parser(), Context.escaper(), Raw,
                                   Context.typedSegmentList(), Context.pythonEnvironment(), false, nullptr,
                                   [](const QVMparser&, const QVMuntypedMessageTree&, const QVMsegmentGrammar&,
                                      const COLstring&) {});
  } catch (const COLerror&) {
  }
  return 0;
}
