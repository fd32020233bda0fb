// Small definitions built from a one-line-a-message notation, and parsed trees drawn compactly
// so that a case states the whole shape of a parse in one line.
//
// Notation of a message definition:  NAME [IDENTIFIER...] [strict] [any] [= GRAMMAR]
//   IDENTIFIER  SEG-F[~R][.S]=PATTERN: PATTERN against field F (zero-based), repeat R, sub
//               field S of the first segment SEG
//   strict      segments not in the grammar are refused rather than ignored
//   any         the definition matches every message that no other matches
//   GRAMMAR     items, default "MSH": NAME a segment, NAME(...) a group, NAME{...} a group in
//               any order; then "?" optional, "*" optional repeating, "+" repeating, and a
//               repeat limit; a segment NAME[F=PATTERN] is a grammar of its own guarded by
//               PATTERN against field F
// Drawn tree: (...) a group, [...] a repeat, "-" nothing placed, "B2" segment B from list
// index 2.  Drawn faults: "code@where", "!" marking a fatal one; where is the segment drawn
// as in the tree, else the grammar's name.
#pragma once

#include <gtest/gtest.h>

#include <cctype>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "COLreference.h"
#include "QVMengineInternal.h"
#include "QVMidentifier.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMmessageGrammar.h"
#include "QVMsegmentGrammar.h"
#include "SGCparseContext.h"
#include "SGMsegmentList.h"

namespace sgctest {

inline QVMsegmentGrammar* segmentNamed(QVMengineInternal& Engine, const std::string& Name) {
  uint32_t Index = Engine.segmentByName(Name.c_str());
  if (Index >= Engine.countOfSegment()) {
    Index = static_cast<uint32_t>(Engine.addSegment());
    Engine.segment(Index)->setName(Name.c_str());
  }
  return Engine.segment(Index);
}

// "F[~R][.S]"; the pattern follows "=".
inline std::string readAddress(const std::string& Text, QVMmessageNodeAddress& Address) {
  std::istringstream In(Text);
  unsigned Field = 0, Repeat = 0, Sub = 0;
  In >> Field;
  if (In.peek() == '~') In.ignore() >> Repeat;
  Address.setNodeAndRepeatIndex(0, Field, Repeat);
  if (In.peek() == '.' && In.ignore() >> Sub) Address.setNodeAndRepeatIndex(1, Sub, 0);
  return Text.substr(Text.find('=') + 1);
}

inline void readItems(QVMengineInternal& Engine, QVMmessageGrammar& Group, const std::string& Text, size_t& At) {
  while (At < Text.size()) {
    while (Text[At] == ' ') ++At;
    if (At == Text.size() || Text[At] == ')' || Text[At] == '}') {
      ++At;
      return;
    }
    const size_t Start = At;
    while (std::isalnum(static_cast<unsigned char>(Text[At])) || Text[At] == '_') ++At;
    const std::string Name = Text.substr(Start, At - Start);
    std::string Guard;
    if (Text[At] == '[') {
      const size_t End = Text.find(']', At);
      Guard = Text.substr(At + 1, End - At - 1);
      At = End + 1;
    }
    const char Flag = std::string_view("?*+").find(Text[At]) != std::string_view::npos ? Text[At++] : 0;
    uint32_t Max = 0;
    while (std::isdigit(static_cast<unsigned char>(Text[At]))) Max = Max * 10 + (Text[At++] - '0');
    QVMmessageGrammar* Item;
    if (Text[At] == '(' || Text[At] == '{') {
      Item = Group.insertGroup(Name.c_str());
      Item->setIgnoreSegmentOrder(Text[At++] == '{');
      readItems(Engine, *Item, Text, At);
    } else if (!Guard.empty()) {
      QVMsegmentGrammar& Guarded = *Engine.segment(Engine.addSegment());
      Guarded.setName(Name.c_str());
      QVMsegmentIdentifier& Identifier = *Guarded.addIdentifierAt(0);
      Identifier.setValue(readAddress(Guard, Identifier.nodeAddress()).c_str());
      Item = Group.insertSegment(&Guarded);
    } else {
      Item = Group.insertSegment(segmentNamed(Engine, Name));
    }
    Item->setIsOptional(Flag == '?' || Flag == '*');
    Item->setIsRepeating(Flag == '*' || Flag == '+');
    Item->setMaximumRepeat(Max);
  }
}

inline COLreferencePtr<QVMengineInternal> built(const std::string& Notation) {
  COLreferencePtr<QVMengineInternal> Engine(new QVMengineInternal);
  std::istringstream Lines(Notation);
  std::vector<uint32_t> MatchAll;
  for (std::string Line; std::getline(Lines, Line);) {
    std::istringstream Words(Line);
    std::string Name, Word;
    Words >> Name;
    QVMmessageDefinitionInternal& Message = *Engine->message(Engine->addMessage());
    Message.setName(Name.c_str());
    while (Words >> Word && Word != "=") {
      if (Word == "strict") {
        Message.setIgnoreUnknownSegments(false);
      } else if (Word == "any") {
        MatchAll.push_back(static_cast<uint32_t>(Engine->countOfMessage() - 1));
      } else {
        QVMidentifier& Identifier = *Message.insertIdentifierAt(Message.countOfIdentifier());
        Identifier.setSegment(Word.substr(0, Word.find('-')).c_str());
        Identifier.setValue(readAddress(Word.substr(Word.find('-') + 1), Identifier.nodeAddress()).c_str());
      }
    }
    std::string Grammar = "MSH";
    if (Word == "=") std::getline(Words, Grammar);
    size_t At = 0;
    readItems(*Engine, *Message.messageGrammar(), Grammar, At);
  }
  QVMengineInitMessageOrder(*Engine);
  for (const uint32_t Index : MatchAll) QVMengineSetIgnoreMessageIndex(*Engine, Index);
  return Engine;
}

inline std::string draw(SGCparsed* Node) {
  if (!Node) return "null";
  if (Node->notPresent()) return "-";
  if (SGCparsedSegment* Segment = Node->segment())
    return std::string(Segment->segmentPointer()->name().view()) + std::to_string(Segment->index());
  SGCparsedCollection* Collection = Node->collection();
  std::string Text = Node->repeats() ? "[" : "(";
  for (unsigned Index = 0; Index < Collection->countOfChild(); ++Index)
    Text += (Index ? " " : "") + draw(Collection->child(Index));
  return Text + (Node->repeats() ? "]" : ")");
}

inline std::string drawFaults(const SGCparseContext& Context) {
  std::string Text;
  for (const auto& Error : Context.errorList()) {
    SGCparsed* Where = Error->errorParsed();
    Text += (Text.empty() ? "" : " ") + std::to_string(Error->errorCode()) + (Error->isFatal() ? "!@" : "@") +
            (Where->segment() ? draw(Where) : Where->rule()->grammarName().c_str());
  }
  return Text;
}

// Each segment's full grammar name in list order, or "unplaced".
inline std::vector<std::string> placed(const SGMsegmentList& List, SGCparsed* Tree) {
  std::vector<std::string> Names(List.countOfSegment(), "unplaced");
  for (SGCparsed* Node = Tree; Node; Node = SGCparsedGetNextPreOrder(Node))
    if (SGCparsedSegment* Placed = Node->segment()) Names[Placed->index()] = Node->rule()->fullGrammarName().c_str();
  return Names;
}

}  // namespace sgctest
