// The stream cases of tests/data/TRE: a stream in, the tree it gives out, and the same bytes
// written back from that tree. Sections:
//   stream    the bytes in hexadecimal, two digits a byte; a "|" starts a comment to the line's end
//   tree      the tree as read: a line per node, indented two blanks a level (see print)
//   error     the text of what reading raises, for a stream that may not load
// A tree is written out again and must give the stream's bytes exactly.
#include <gtest/gtest.h>

#include <cctype>
#include <string>

#include "COLbuffer.h"
#include "COLerror.h"
#include "TREbinary.h"
#include "TREinstance.h"

#include "../support/TSTdataFile.h"

namespace {

std::string bytesOf(const std::string& Hex) {
  std::string Bytes, Digits;
  bool Comment = false;
  for (char C : Hex) {
    if (C == '\n') Comment = false;
    if (C == '|') Comment = true;
    if (Comment || !std::isxdigit(static_cast<unsigned char>(C))) continue;
    Digits += C;
    if (Digits.size() == 2) {
      Bytes += static_cast<char>(std::stoi(Digits, nullptr, 16));
      Digits.clear();
    }
  }
  return Bytes;
}

std::string hexOf(const unsigned char* Data, size_t Size) {
  static const char Digits[] = "0123456789ABCDEF";
  std::string Text;
  for (size_t I = 0; I < Size; ++I) {
    if (I) Text += I % 16 ? " " : "\n";
    Text += Digits[Data[I] >> 4];
    Text += Digits[Data[I] & 15];
  }
  return Text;
}

std::string valueText(const TREvariant& Value) {
  return std::string(Value.typeName()) + (Value.baseType() == TREbaseType::Null ? "" : " '" + Value.toString().str() + "'");
}

void print(TREinstanceSimple& Slot, const std::string& Name, const std::string& Indent, TRErootInstance& Root,
           std::string& Out);

// "Name: Type #id", then per-version types as "types A B versions 0 1"; members below.
void printComplex(TREinstanceComplex& Node, const std::string& Name, const std::string& Indent,
                  TRErootInstance& Root, std::string& Out) {
  Out += Indent + Name + (Name.empty() ? "" : ": ") + (Node.type() ? Node.type()->name().str() : "(no type)");
  if (Node.objectId()) Out += " #" + std::to_string(Node.objectId());
  if (Node.countOfType()) {
    Out += " types";
    for (uint16_t T = 0; T < Node.countOfType(); ++T) Out += " " + Node.type(T).name().str();
    Out += " versions";
    for (uint16_t V = 0; V < Root.countOfVersion(); ++V) Out += " " + std::to_string(Node.typeIndexFromVersion(V));
  }
  Out += "\n";
  for (uint16_t I = 0; I < Node.defaultCountOfMember(); ++I) {
    TREtypeComplex* Type = Node.type();
    std::string Member = Type && I < Type->countOfMember() && !Node.countOfType() ? Type->member(I).name.str()
                                                                                   : "slot " + std::to_string(I);
    print(Node.defaultChild(I), Member, Indent + "  ", Root, Out);
  }
}

// A simple slot: "Name = type 'value'", then "| type 'value' ... versions i j" when it has
// values of its own.  A collection: "Name[n]", then "vectors 0,1 | 0 versions 0 1".
void print(TREinstanceSimple& Slot, const std::string& Name, const std::string& Indent, TRErootInstance& Root,
           std::string& Out) {
  if (TREinstanceComplex* Complex = Slot.complex()) return printComplex(*Complex, Name, Indent, Root, Out);
  if (TREinstanceVector* Vector = Slot.vector()) {
    Out += Indent + Name + "[" + std::to_string(Vector->defaultSize()) + "]";
    if (Vector->countOfVector()) {
      Out += " vectors";
      for (uint16_t V = 0; V < Vector->countOfVector(); ++V) {
        Out += V ? " |" : "";
        for (uint16_t Index : Vector->vectorAt(V)) Out += " " + std::to_string(Index);
      }
      Out += " versions";
      for (uint16_t V = 0; V < Root.countOfVersion(); ++V) Out += " " + std::to_string(Vector->vectorIndexFromVersion(V));
    }
    Out += "\n";
    for (uint16_t I = 0; I < Vector->defaultSize(); ++I)
      print(Vector->defaultChild(I), std::to_string(I), Indent + "  ", Root, Out);
    return;
  }
  Out += Indent + Name + " = " + valueText(Slot.defaultValue());
  if (Slot.countOfValue()) {
    Out += " |";
    for (uint16_t I = 0; I < Slot.countOfValue(); ++I) Out += " " + valueText(Slot.value(I));
    Out += " versions";
    for (uint16_t V = 0; V < Root.countOfVersion(); ++V) {
      uint16_t Index = Slot.valueIndexFromVersion(V);
      Out += Index == TREnoIndex ? std::string(" -") : " " + std::to_string(Index);
    }
  }
  Out += "\n";
}

class TREstreamData : public ::testing::TestWithParam<TSTdataCase> {};

TEST_P(TREstreamData, ReadsAndWritesBack) {
  const TSTdataCase& Case = GetParam();
  const std::string Stream = bytesOf(Case.text("stream"));
  TRErootInstance Root;
  try {
    TREsinkBinary::read(Root.instance(), reinterpret_cast<const unsigned char*>(Stream.data()), Stream.size());
  } catch (const COLerror& Error) {
    ASSERT_TRUE(Case.has("error")) << Case.where() << ": " << Error.description().c_str();
    EXPECT_EQ(Error.description().str() + "\n", Case.text("error")) << Case.where();
    return;
  }
  ASSERT_FALSE(Case.has("error")) << Case.where() << ": the stream loaded";
  std::string Tree = "versions " + std::to_string(Root.countOfVersion()) + " current " +
                     std::to_string(Root.currentVersion()) + "\n";
  printComplex(Root.instance(), "", "", Root, Tree);
  EXPECT_EQ(Tree, Case.text("tree")) << Case.where();

  COLsimpleBuffer Written;
  TREsourceBinary Source(Root.instance());
  Source.setNext(&Written);
  Source.writeAll();
  EXPECT_EQ(hexOf(Written.data(), Written.size()),
            hexOf(reinterpret_cast<const unsigned char*>(Stream.data()), Stream.size()))
      << Case.where();
}

INSTANTIATE_TEST_SUITE_P(Cases, TREstreamData, ::testing::ValuesIn(TSTreadDataArea("TRE")), TSTdataParamName);

}  // namespace
