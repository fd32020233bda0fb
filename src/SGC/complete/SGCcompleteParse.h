// The current parser's road for one message: strip, tokenise, identify, lay onto the grammar.
// Later steps (segment checks, table filling) work on what this leaves behind.
#pragma once

#include <functional>
#include <string_view>

#include "COLstring.h"
#include "SCCescaper.h"
#include "SGCparseContext.h"
#include "SGMsegmentList.h"
#include "SGMstringPool.h"
#include "SGPparser.h"

class QVMengineInternal;
class QVMidentifier;

// What the structural steps leave for the steps after them.  The values of the segment list
// point into `text`, so it must live as long as the list is read.
struct SGCmessageStructure {
  COLstring text;
  SGMseparatorCharacters separators;
  SGCparseContext context;
  unsigned messageIndex = 0;
  // Kept here so that a structure used for the next message keeps the tokeniser's buffers.
  SGPparser tokeniser;
};

// What a parse context keeps from message to message on this road, so that a warm road needs
// no heap: the structure, the pool of unescaped values and the escaper's settings.  `inUse`
// marks a road in the middle of a message; a parse started meanwhile gets a road of its own.
struct SGCroad {
  SGCmessageStructure structure;
  COLreferencePtr<SGMstringPool> pool{new SGMstringPool};
  SCCescaperSettings escaperSettings;
  bool inUse = false;
};

// Removes blanks, then tabs, then carriage returns, then line feeds from both ends, one pass
// per character: "...\r\n" keeps its "\r", "...\n\r" loses both.
void SGCstripMessage(COLstring& Text);

// In HL7 mode the second field of every "MSH" segment holds the four encoding characters as
// one raw value, whatever delimiters they contain.
void QVJdoSpecialMshHack(SGMsegment& Segment);

// Tokenises `Message` into `List`, identifies it and parses it against its grammar.  Throws the
// tokeniser's, the identification's or the first fatal structural error; returns the index.
unsigned SGCparseStructure(const COLstring& Message, QVMengineInternal& Engine, SGMsegmentList& List,
                           SGCmessageStructure& Result);

// The text of a message that no definition matches.
const COLstring& SGCunidentifiedMessageText();

// The same, followed by what identification looked at: each place the identifiers of the
// definitions read ("MSH-9.1"), with the message's value there, and the configuration.
// `ValueOf` gives the value an identifier reads, or false where the message has none.
COLstring SGCunidentifiedMessageReport(const QVMengineInternal& Engine,
                                       const std::function<bool(const QVMidentifier&, COLstring&)>& ValueOf);
// The report for a tokenised message.
COLstring SGCunidentifiedMessageReport(const QVMengineInternal& Engine, SGMsegmentList& List);

class LAGenvironment;
class QVMtableInternal;
class SCCescaper;
class SGMstringPool;
class SGCparsed;

// The whole current road: structure, then every placed segment checked and unescaped in
// tree order, then the table filled and its equations run.  Returns the message index.
unsigned SGCcompleteParse(const COLstring& Message, QVMengineInternal& Engine,
                          COLreferencePtr<SGMsegmentList> SegmentList, LAGenvironment& Environment,
                          QVMtableInternal& ResultTable);
// As above on a road kept by the caller, used again by the next message.
unsigned SGCcompleteParse(const COLstring& Message, QVMengineInternal& Engine, SGMsegmentList& SegmentList,
                          LAGenvironment& Environment, QVMtableInternal& ResultTable, SGCroad& Road);

// The segment pass: field equations, strict checks when `Reject`, unescaping into the pool,
// then the field validation rules.  Throws for the first segment with a fault.
void QVJcheckParsedSegments(QVMengineInternal& Engine, bool Hl7Mode, LAGenvironment& Environment,
                            SGMsegmentList& SegmentList, SGMstringPool& StringPool, SGCparsed* Tree, bool Reject,
                            const SGMseparatorCharacters& Separators);
// As above with the escaper's settings filled into `Settings`, whose storage is used again.
// `Text`, when given, is the text the segments were read from: where it holds the escape
// character nowhere but among the header's delimiters, the values are not searched for it.
void QVJcheckParsedSegments(QVMengineInternal& Engine, bool Hl7Mode, LAGenvironment& Environment,
                            SGMsegmentList& SegmentList, SGMstringPool& StringPool, SGCparsed* Tree, bool Reject,
                            const SGMseparatorCharacters& Separators, SCCescaperSettings& Settings,
                            std::string_view Text = {});
