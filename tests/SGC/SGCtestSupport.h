// A small definition (a header and a patient segment with numbers, dates, an enumeration,
// nested composites, limits and required parts), and a message parsed behind a plain header.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "COLerror.h"
#include "COLreference.h"
#include "QVLvmdFile.h"
#include "QVMengineInternal.h"
#include "QVMenumerationGrammar.h"
#include "QVMsegmentGrammar.h"
#include "SGCcheck.h"
#include "SGCerror.h"
#include "SGCerrorPrepare.h"
#include "SGPparser.h"

namespace SGCtest {

using Parameters = std::map<std::string, std::string>;

inline Parameters parametersOf(const COLerror& error) {
  Parameters Result;
  for (COLerror::Cursor c = error.firstParameter(); c != COLerror::EndCursor; c = error.nextParameter(c))
    Result[error.keyInPlace(c).str()] = error.parameterInPlace(c).str();
  return Result;
}

// The message text must outlive the list: values point into it.
struct Message {
  std::string Text;
  SGMsegmentList List;
  SGMseparatorCharacters Separators;

  // `segments` follows a plain header; with `whole` the text is the message itself.
  explicit Message(const std::string& segments, bool whole = false)
      : Text(whole ? segments + "\r" : "MSH|^~\\&|A\r" + segments + "\r") {
    SGPparser Parser;
    const SGPparseResult Result = Parser.parse(Text.data(), Text.size(), List, Separators, SGPparserOptions());
    EXPECT_EQ(Result, SGPparsed);
  }
  SGMsegment& segment(unsigned index) const { return List.segment(index); }
};

// tests/data/SGC/check.vmd, loaded into an engine of its own so that a test may change it.
class Definition {
public:
  Definition() {
    // The file format has no place for enumerations.
    QVMenumerationGrammar& Sex = *Engine->enumerationGrammar(Engine->addEnumerationGrammar());
    Sex.setName("Sex");
    for (const char* Item : {"F", "M", "U"}) {
      Sex.addEnumItem();
      Sex.setEnumItem(Sex.countOfEnumItem() - 1, Item);
    }
    composite("SEX").setFieldEnumerationGrammar(0, &Sex);
  }
  Definition(const Definition&) = delete;
  Definition& operator=(const Definition&) = delete;

  QVMsegmentGrammar& segment(const char* name) const { return *Engine->segment(Engine->segmentByName(name)); }
  QVMcompositeGrammar& composite(const char* name) const { return *Engine->composite(Engine->compositeByName(name)); }

  static QVMengineInternal* load() {
    QVMengineInternal* Loaded = new QVMengineInternal;
    EXPECT_EQ(QVLloadEngine(*Loaded, MSGBRIDGE_SOURCE_DIR "/tests/data/SGC/check.vmd"), QVLvmdTypeXml);
    return Loaded;
  }

  COLreferencePtr<QVMengineInternal> Engine{load()};
  QVMsegmentGrammar& Pid = segment("PID");
  QVMsegmentGrammar& Msh = segment("MSH");
  QVMcompositeGrammar& St10 = composite("ST10");
};

}  // namespace SGCtest
