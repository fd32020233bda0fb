// Builds small definitions in memory, tokenises texts, and draws parsed trees compactly so
// that a test can state the whole shape of a parse in one line:
//   (...) a group, [...] a repeats, "-" a position nothing filled, "B2" segment B placed
//   from list index 2.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "COLreference.h"
#include "QVMengineInternal.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMmessageGrammar.h"
#include "QVMsegmentGrammar.h"
#include "SGCparseContext.h"
#include "SGMsegmentList.h"
#include "SGPparser.h"

namespace sgctest {

// Segment grammars by name, made on first use.
inline QVMsegmentGrammar* segmentNamed(QVMengineInternal& Engine, const char* Name) {
  uint32_t Index = Engine.segmentByName(Name);
  if (Index == 0xFFFFFFFF || Index >= Engine.countOfSegment()) {
    Index = static_cast<uint32_t>(Engine.addSegment());
    Engine.segment(Index)->setName(Name);
  }
  return Engine.segment(Index);
}

inline QVMmessageDefinitionInternal& addMessage(QVMengineInternal& Engine, const char* Name) {
  QVMmessageDefinitionInternal& Message = *Engine.message(Engine.addMessage());
  Message.setName(Name);
  return Message;
}

// Appends a segment item to a group; flags: '?' optional, '*' optional repeating, '+' repeating.
inline QVMmessageGrammar* seg(QVMengineInternal& Engine, QVMmessageGrammar* Group, const char* Name,
                              char Flag = 0, uint32_t Max = 0) {
  QVMmessageGrammar* Item = Group->insertSegment(segmentNamed(Engine, Name));
  Item->setIsOptional(Flag == '?' || Flag == '*');
  Item->setIsRepeating(Flag == '*' || Flag == '+');
  Item->setMaximumRepeat(Max);
  return Item;
}

inline QVMmessageGrammar* group(QVMmessageGrammar* Parent, const char* Name, char Flag = 0, uint32_t Max = 0) {
  QVMmessageGrammar* Item = Parent->insertGroup(Name);
  Item->setIsOptional(Flag == '?' || Flag == '*');
  Item->setIsRepeating(Flag == '*' || Flag == '+');
  Item->setMaximumRepeat(Max);
  return Item;
}

// Segments given as "A B C" become "MSH|^~\\&\rA\rB\rC", so the list index of A is 1.
inline std::string messageText(const std::string& Segments) {
  std::string Text = "MSH|^~\\&|";
  size_t Start = 0;
  while (Start < Segments.size()) {
    size_t End = Segments.find(' ', Start);
    if (End == std::string::npos) End = Segments.size();
    Text += '\r';
    Text += Segments.substr(Start, End - Start);
    Start = End + 1;
  }
  return Text;
}

inline void tokenise(const std::string& Text, SGMsegmentList& List) {
  SGPparser Parser;
  SGPparserOptions Options;
  SGMseparatorCharacters Separators;
  ASSERT_EQ(Parser.parse(Text.data(), Text.size(), List, Separators, Options), SGPparsed) << Text;
}

// The list points into the text, so a temporary text is refused.
void tokenise(std::string&& Text, SGMsegmentList& List) = delete;

inline std::string draw(SGCparsed* Node) {
  if (!Node) return "null";
  if (Node->notPresent()) return "-";
  if (SGCparsedSegment* Segment = Node->segment())
    return std::string(Segment->segmentPointer()->name().view()) + std::to_string(Segment->index());
  SGCparsedCollection* Collection = Node->collection();
  std::string Text = Node->repeats() ? "[" : "(";
  for (unsigned Index = 0; Index < Collection->countOfChild(); ++Index) {
    if (Index) Text += ' ';
    Text += draw(Collection->child(Index));
  }
  return Text + (Node->repeats() ? "]" : ")");
}

// "code@where" for every error, where is the drawn node, "!" marks a fatal one.
inline std::string drawErrors(const SGCparseContext& Context) {
  std::string Text;
  for (const auto& Error : Context.errorList()) {
    if (!Text.empty()) Text += ' ';
    Text += std::to_string(Error->errorCode()) + (Error->isFatal() ? "!" : "") + "@" +
            Error->errorParsed()->rule()->grammarName().c_str();
  }
  return Text;
}

}  // namespace sgctest
