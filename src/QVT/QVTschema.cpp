#include "QVTschema.h"

#include <mutex>
#include <unordered_map>
#include <vector>

#include "COLerror.h"
#include "QVTclasses.h"
#include "TREreference.h"

namespace {
enum Flags : uint8_t { None = 0, List = 1, Identity = 2, Global = 4 };

struct MemberDecl {
  const char* name;
  const char* type;  // a simple type's name or a complex type's
  uint8_t flags;
  const char* defaultText;  // the text form of the default; null for none
};

struct TypeDecl {
  const char* name;
  const char* base;
  const char* description;
  std::vector<MemberDecl> members;
};

constexpr const char* S = "string";
constexpr const char* B = "boolean";
constexpr const char* C = "tinyInteger";
constexpr const char* H = "smallInteger";
constexpr const char* U = "integer";
constexpr const char* R = "Reference";

// In the order of the member enums of the header; a base stands before its derived types.
const std::vector<TypeDecl>& declarations() {
  static const std::vector<TypeDecl> Types = {
      {"Plugin", nullptr, nullptr, {}},
      {"ConfigPlugin", "Plugin", nullptr, {}},
      {"ConfigPluginHL7", "ConfigPlugin", "Complete", {}},
      {"ConfigPluginPassthru", "ConfigPlugin", "Passthru", {}},
      {"XmlConverter", "Plugin", nullptr, {}},
      {"StandardXmlConverter", "XmlConverter", nullptr, {}},
      {"StandardXmlConverter2", "XmlConverter", nullptr, {}},
      {"StandardXmlConverter24", "XmlConverter", nullptr, {}},
      {"ExpandedXmlConverter", "XmlConverter", nullptr, {}},
      {"TableXmlConverter", "XmlConverter", nullptr, {}},
      {"X12XmlConverter", "XmlConverter", nullptr, {}},
      {"TableLongXmlConverter", "TableXmlConverter", nullptr, {}},
      {"LanguageFunction", nullptr, nullptr, {{"Code", S, None, nullptr}}},
      {"EmbeddedPythonModule", nullptr, nullptr, {{"Name", S, Identity, nullptr}, {"Code", S, None, nullptr}}},
      {"NodeAddress", nullptr, nullptr, {{"NodeIndex", U, List, nullptr}, {"RepeatIndex", U, List, nullptr}}},
      {"Config", nullptr, nullptr,
       {{"HeaderSegment", S, None, "MSH"}, {"EndOfMessage", C, None, "0"}, {"OctalEscapeChar", C, None, "48"},
        {"EscapeDefault", C, None, "92"}, {"EscapeEscapeChar", C, None, "69"}, {"EscapePosition", U, None, "6"},
        {"StubFileDir", S, None, "c:\\temp"}, {"StubFilePrefix", S, None, "HL7"}, {"StubFileLanguage", S, None, nullptr},
        {"OutputTrailingSeparators", B, None, "true"}, {"ParseSeparatorChars", B, None, "true"},
        {"LowestNonEscapedChar", H, None, "32"}, {"HighestNonEscapedChar", H, None, "126"},
        {"PresetConfig", S, None, nullptr}, {"Seperator", "SepInfo", List, nullptr}, {"MainFunction", S, None, nullptr},
        {"OutgoingMainFunction", S, None, nullptr}, {"OutputSegmentLineFeed", B, None, "false"},
        {"BatchMode", B, None, "false"}, {"TrailerSegment", S, None, nullptr}, {"XmlDelimiter", C, None, "46"},
        {"Converter", "XmlConverter", None, nullptr}, {"IsFixedWidthProtocol", B, None, "false"},
        {"UsePassThroughMapping", B, None, "false"}, {"UseSegmentChecker3", B, None, "true"},
        {"XmlSchemaSingleFile", B, None, "true"}, {"CodePage", S, None, nullptr},
        {"CountOfHeaderFieldsToSkip", U, None, "3"}, {"DisableUntypedTreeInException", B, None, "false"},
        {"DatabaseConnections", "DbInfo", List, nullptr}, {"IsDatabaseFunctionOn", B, None, "false"},
        {"DisablePythonNone", B, None, "true"}, {"OutgoingPostProcessFunction", S, None, nullptr},
        {"MaximumRepeatMappingLimit", U, None, "2"},
        {"PostProcessFunction", S, None, nullptr}, {"ParserVersion", U, None, nullptr},
        {"EscapeDataForXmlToHL7", B, None, nullptr}, {"ValidateDataForXmlToHL7", B, None, nullptr}}},
      {"DateTimeGrammar", nullptr, nullptr,
       {{"FieldsRequired", B, None, "false"}, {"Name", S, Identity, nullptr}, {"Mask", U, List, nullptr},
        {"Description", S, None, nullptr}}},
      {"EnumerationGrammar", nullptr, nullptr,
       {{"Name", S, None, nullptr}, {"Description", S, None, nullptr}, {"Enum", S, List, nullptr}}},
      {"CompositeSubField", nullptr, nullptr,
       {{"Name", S, Identity, nullptr}, {"DataType", H, None, "0"}, {"MaxLength", U, None, "0"},
        {"IsLengthRestricted", B, None, "false"}, {"IsRequired", B, None, "false"}, {"DateTimeFormat", U, None, "0"},
        {"FieldCompositeType", R, None, nullptr}, {"DateTimeGrammar", R, None, nullptr},
        {"EnumerationGrammar", R, None, nullptr}}},
      {"CompositeGrammar", nullptr, nullptr,
       {{"Name", S, Identity, nullptr}, {"Description", S, None, nullptr}, {"Field", "CompositeSubField", List, nullptr}}},
      {"SegmentIdentifier", nullptr, nullptr, {{"Value", S, None, nullptr}, {"NodeAddress", "NodeAddress", None, nullptr}}},
      {"SegmentValidationRule", "Plugin", nullptr,
       {{"Name", S, None, nullptr}, {"SegmentFieldIndex", U, None, "0"}, {"SegmentGrammar", R, None, nullptr}}},
      {"SegmentValidationRuleConditionalField", "SegmentValidationRule", nullptr, {{"FieldIndex", S, None, nullptr}}},
      {"SegmentValidationRuleRegularExpression", "SegmentValidationRule", nullptr,
       {{"RegularExpression", S, None, nullptr}}},
      {"SegmentValidationRuleRegExpPair", "SegmentValidationRule", nullptr,
       {{"DependentFieldRegExp", S, None, nullptr}, {"FieldRegExp", S, None, nullptr},
        {"DependentFieldIndex", S, None, nullptr}, {"RegularExpression", S, None, nullptr}}},
      {"SegmentValidationRulePython", "SegmentValidationRule", nullptr,
       {{"Code", S, None, nullptr}, {"Description", S, None, nullptr}}},
      {"SegmentValidationRuleSituationalPython", "SegmentValidationRule", nullptr,
       {{"Code", S, None, nullptr}, {"CodeOnError", S, None, nullptr}, {"Description", S, None, nullptr}}},
      {"SegmentSubField", nullptr, nullptr,
       {{"Name", S, Identity, nullptr}, {"MaxRepeats", U, None, "0"}, {"IsRequired", B, None, "false"},
        {"Default", S, None, nullptr}, {"ValidationRule", "SegmentValidationRule", List, nullptr},
        {"IncomingFunction", "LanguageFunction", None, nullptr}, {"OutgoingFunction", "LanguageFunction", None, nullptr},
        {"Width", U, None, "0"}, {"FieldType", R, None, nullptr}}},
      {"SegmentGrammar", nullptr, nullptr,
       {{"Name", S, Identity, nullptr}, {"Identifier", "SegmentIdentifier", List | Identity, nullptr},
        {"Description", S, None, nullptr}, {"Field", "SegmentSubField", List, nullptr},
        {"HasDelimiters", B, None, "false"}}},
      {"MessageGrammar", nullptr, nullptr,
       {{"GrammarName", S, Identity, "Message"}, {"MaximumRepeat", U, None, "0"}, {"IsNode", B, None, "false"},
        {"IsOptional", B, None, "false"}, {"IsRepeating", B, None, "false"}, {"IgnoreSegmentOrder", B, None, "false"},
        {"SubGrammar", "MessageGrammar", List, nullptr}, {"Segment", R, Identity, nullptr}}},
      {"Identifier", nullptr, nullptr,
       {{"Value", S, Identity, nullptr}, {"Segment", S, None, "MSH"}, {"NodeAddress", "NodeAddress", None, nullptr}}},
      {"MapItem", nullptr, nullptr, {{"NodeAddress", "NodeAddress", Identity, nullptr}}},
      {"MapSet", nullptr, nullptr, {{"Name", S, Identity, "Mapset"}, {"MapItem", "MapItem", List, nullptr}}},
      {"ColumnDefinition", nullptr, nullptr,
       {{"Name", S, Identity | Global, nullptr}, {"Type", U, Global, "0"}, {"Description", S, Global, nullptr},
        {"InFunction", "LanguageFunction", None, nullptr}, {"OutFunction", "LanguageFunction", None, nullptr},
        {"IsKey", B, None, "false"}}},
      {"TableDefinition", nullptr, nullptr,
       {{"TableName", S, Identity | Global, nullptr}, {"Column", "ColumnDefinition", List | Global, nullptr},
        {"Description", S, Global, nullptr}, {"KeyColumnIndex", U, Global, "0"}, {"Action", U, Global, "0"},
        {"MapSet", "MapSet", List, nullptr}}},
      {"TableGrammar", nullptr, nullptr,
       {{"Name", S, Global, nullptr}, {"IsNode", B, Global, "false"}, {"SubGrammar", "TableGrammar", List | Global, nullptr},
        {"UseCommonMappings", B, Global, "false"}, {"Table", R, Global, nullptr},
        {"MessageGrammarFieldIndex", U, None, "0"}, {"MapSetIndex", U, None, "0"}, {"MessageGrammar", R, None, nullptr}}},
      {"MessageDefinition", nullptr, nullptr,
       {{"Name", S, Identity | Global, nullptr}, {"Description", S, Global, nullptr},
        {"TableGrammar", "TableGrammar", Global, nullptr}, {"Identifier", "Identifier", List | Identity, nullptr},
        {"IgnoreUnknownSegments", B, None, "true"}, {"IgnoreSegmentOrder", B, None, "false"},
        {"MessageGrammar", "MessageGrammar", None, nullptr}, {"IncomingFunction", "LanguageFunction", None, nullptr},
        {"OutgoingFunction", "LanguageFunction", None, nullptr},
        {"SegmentListHookName", S, None, nullptr}, {"SegmentListHookModule", S, None, nullptr}}},
      {"ConfigPluginBase", nullptr, nullptr,
       {{"Config", "Config", None, nullptr}, {"Composite", "CompositeGrammar", List, nullptr},
        {"Segment", "SegmentGrammar", List, nullptr}, {"DateTimeGrammar", "DateTimeGrammar", List, nullptr},
        {"EnumerationGrammar", "EnumerationGrammar", List, nullptr}, {"AckMessageIndex", U, None, "-1"},
        {"IgnoreMessageIndex", U, None, "-1"}, {"ConfigName", S, None, nullptr}, {"Plugin", "ConfigPlugin", None, nullptr},
        {"MatchOrder", U, List, nullptr}, {"LastMessageMatchesAll", B, None, "false"},
        {"EmbeddedPythonModule", "EmbeddedPythonModule", List, nullptr}}},
      {"VMD", nullptr, nullptr,
       {{"Plugin", "ConfigPluginBase", None, nullptr}, {"Table", "TableDefinition", List | Global, nullptr},
        {"Message", "MessageDefinition", List | Global, nullptr}, {"CurrentConfigIndex", U, Global, "0"},
        {"OutConfigIndex", U, Global, "0"}, {"InConfigIndex", U, Global, "0"},
        {"UseMachineDoubleTypeInJavaGeneration", B, None, "false"}, {"RejectBadSegmentGrammar", B, Global, "false"},
        {"VmdDescription", S, Global, nullptr}, {"UseDotNetProperties", B, Global, nullptr}}},
  };
  return Types;
}

// Per type, the default of each member by its index in the whole type.
std::unordered_map<const TREtypeComplex*, std::vector<TREvariant>>& defaults() {
  static std::unordered_map<const TREtypeComplex*, std::vector<TREvariant>> Defaults;
  return Defaults;
}

void declare(const TypeDecl& decl) {
  TREtypeComplex& type = TREtypeComplex::getType(decl.name, nullptr, decl.description);
  if (decl.base && !type.hasBaseType() && type.countOfOwnMember() == 0) type.setBaseType(TREtypeComplex::getType(decl.base));
  if (decl.base && type.baseType() != &TREtypeComplex::getType(decl.base))
    throw COLerror(COLstring("The type ") + decl.name + " was declared before with another base.", COL_ERROR_PRECONDITION);
  std::vector<TREvariant> values(type.countOfBaseMember());
  if (type.baseType()) values = defaults()[type.baseType()];
  for (size_t k = 0; k < decl.members.size(); ++k) {
    const MemberDecl& member = decl.members[k];
    uint16_t index = uint16_t(type.countOfBaseMember() + k);
    TREtype* memberType = TREtype::getType_(member.type);
    if (!memberType) memberType = &TREtypeComplex::getType(member.type);
    if (index >= type.countOfMember())
      type.addMember(member.name, 0, member.flags & List ? 0xFFFFFFFF : 1, *memberType, member.flags & Identity,
                     member.flags & Global);
    if (type.memberIndex(member.name) != index)
      throw COLerror(COLstring("The type ") + decl.name + " was declared before with other members.",
                     COL_ERROR_PRECONDITION);
    TREvariant value;
    if (member.defaultText && memberType->classType() == TREtype::eSimple)
      value.fromString(member.defaultText, static_cast<TREtypeSimple*>(memberType)->baseType());
    values.push_back(std::move(value));
  }
  defaults()[&type] = std::move(values);
}
}  // namespace

void QVTregisterTypes() {
  static std::once_flag once;
  std::call_once(once, [] {
    std::lock_guard<COLcriticalSection> guard(TREnamespace::instance().criticalSection());
    TREregisterReferenceTypes();
    // The bound classes declare their own types, before the types that hold them.
    QVTsepInfoClass().cppType();
    QVTdbInfoClass().cppType();
    for (const TypeDecl& decl : declarations()) declare(decl);
  });
}

TREtypeComplex& QVTtype(const char* name) {
  QVTregisterTypes();
  return TREtypeComplex::getType(name);
}

const TREvariant& QVTdefault(const TREtypeComplex& type, uint16_t member) {
  static const TREvariant Null;
  auto found = defaults().find(&type);
  if (found == defaults().end() || member >= found->second.size()) return Null;
  return found->second[member];
}
