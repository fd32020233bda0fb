// QVTschema: the reflected types of the definition model, by the names a reflected binary
// file uses, and the index of each member.  Configuration N of a definition is version N of
// one tree; members marked global hold one value for all configurations.  Only the types
// and the member order live here; reading and filling are CTT's.  The types of the bound
// classes (QVTclasses.h) come from those classes.
#pragma once

#include <cstdint>

#include "TREinstance.h"

// Registers every type once per process; later calls do nothing.  Types that a file named
// before keep the members it gave them, after the program's own.
void QVTregisterTypes();
TREtypeComplex& QVTtype(const char* name);

// Member indices, in the order of declaration.  Names after the comment "later" are members
// this program added to a type; files without them load with their defaults.
namespace QVTvmd {
enum : uint16_t { Plugin, Table, Message, CurrentConfigIndex, OutConfigIndex, InConfigIndex,
  UseMachineDoubleTypeInJavaGeneration, RejectBadSegmentGrammar,
  /* later */ VmdDescription, UseDotNetProperties };
}
namespace QVTpluginBase {
enum : uint16_t { Config, Composite, Segment, DateTimeGrammar, EnumerationGrammar, AckMessageIndex,
  IgnoreMessageIndex, ConfigName, Plugin,
  /* later */ MatchOrder, LastMessageMatchesAll, EmbeddedPythonModule };
}
namespace QVTconfig {
enum : uint16_t { HeaderSegment, EndOfMessage, OctalEscapeChar, EscapeDefault, EscapeEscapeChar, EscapePosition,
  StubFileDir, StubFilePrefix, StubFileLanguage, OutputTrailingSeparators, ParseSeparatorChars,
  LowestNonEscapedChar, HighestNonEscapedChar, PresetConfig, Seperator, MainFunction, OutgoingMainFunction,
  OutputSegmentLineFeed, BatchMode, TrailerSegment, XmlDelimiter, Converter, IsFixedWidthProtocol,
  UsePassThroughMapping, UseSegmentChecker3, XmlSchemaSingleFile, CodePage, CountOfHeaderFieldsToSkip,
  DisableUntypedTreeInException, DatabaseConnections, IsDatabaseFunctionOn, DisablePythonNone,
  OutgoingPostProcessFunction, MaximumRepeatMappingLimit,
  /* later */ PostProcessFunction, ParserVersion, EscapeDataForXmlToHL7, ValidateDataForXmlToHL7 };
}
namespace QVTfunction {
enum : uint16_t { Code };
}
namespace QVTmodule {
enum : uint16_t { Name, Code };
}
namespace QVTmessage {
enum : uint16_t { Name, Description, TableGrammar, Identifier, IgnoreUnknownSegments, IgnoreSegmentOrder,
  MessageGrammar, IncomingFunction, OutgoingFunction,
  /* later */ SegmentListHookName, SegmentListHookModule };
}
namespace QVTidentifier {
enum : uint16_t { Value, Segment, NodeAddress };
}
namespace QVTmessageGrammar {
enum : uint16_t { GrammarName, MaximumRepeat, IsNode, IsOptional, IsRepeating, IgnoreSegmentOrder, SubGrammar,
  Segment };
}
namespace QVTnodeAddress {
enum : uint16_t { NodeIndex, RepeatIndex };
}
namespace QVTsegment {
enum : uint16_t { Name, Identifier, Description, Field, HasDelimiters };
}
namespace QVTsegmentField {
enum : uint16_t { Name, MaxRepeats, IsRequired, Default, ValidationRule, IncomingFunction, OutgoingFunction,
  Width, FieldType };
}
namespace QVTsegmentIdentifier {
enum : uint16_t { Value, NodeAddress };
}
// The rule kinds share the base's members; each adds its own after them.
namespace QVTrule {
enum : uint16_t { Name, SegmentFieldIndex, SegmentGrammar, Own };
}
namespace QVTcomposite {
enum : uint16_t { Name, Description, Field };
}
namespace QVTcompositeField {
enum : uint16_t { Name, DataType, MaxLength, IsLengthRestricted, IsRequired, DateTimeFormat, FieldCompositeType,
  DateTimeGrammar, EnumerationGrammar };
}
namespace QVTenumeration {
enum : uint16_t { Name, Description, Enum };
}
namespace QVTdateTime {
enum : uint16_t { FieldsRequired, Name, Mask, Description };
}
namespace QVTtable {
enum : uint16_t { TableName, Column, Description, KeyColumnIndex, Action, MapSet };
}
namespace QVTcolumn {
enum : uint16_t { Name, Type, Description, InFunction, OutFunction, IsKey };
}
namespace QVTtableGrammar {
enum : uint16_t { Name, IsNode, SubGrammar, UseCommonMappings, Table, MessageGrammarFieldIndex, MapSetIndex,
  MessageGrammar };
}
namespace QVTmapSet {
enum : uint16_t { Name, MapItem };
}
namespace QVTmapItem {
enum : uint16_t { NodeAddress };
}

// The rule kinds in the order of the model's class ids.
inline constexpr const char* QVTruleTypeNames[] = {
    "SegmentValidationRuleConditionalField", "SegmentValidationRuleRegularExpression",
    "SegmentValidationRuleRegExpPair", "SegmentValidationRulePython", "SegmentValidationRuleSituationalPython"};

// The converter types and the dialect text of each.
struct QVTconverterName {
  const char* typeName;
  const char* dialect;
};
inline constexpr QVTconverterName QVTconverterNames[] = {
    {"StandardXmlConverter", "STANDARD"},         {"StandardXmlConverter2", "STANDARD VER 2"},
    {"StandardXmlConverter24", "EXPANDED 2.4"},   {"ExpandedXmlConverter", "EXPANDED"},
    {"TableXmlConverter", "TABLE - Short Tags"},  {"TableLongXmlConverter", "TABLE - Long Tags"},
    {"X12XmlConverter", "Full Tree Validation"},
};

// The default of a scalar member that a file left unset, as the program declares it.
const TREvariant& QVTdefault(const TREtypeComplex& type, uint16_t member);
