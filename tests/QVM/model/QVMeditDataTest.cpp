// Model edits as data: every case of tests/data/QVM/edit/*.test starts from an empty engine
// (or the `--- definition FILE` of tests/data/QVM) and runs its `--- steps` (tests/support/TSTsteps.h),
// one edit or query a line:
//
//   config add|use|delete I|copy|assign I J, config current|count|name I|position I -> ...
//   KIND add NAME|rename I NAME|find NAME|remove I|delete I|assign I J|copy I NAME|count
//        (KIND: segment composite enumeration datetime message table; copy renames a copy)
//   KIND items I, append I VALUE..., insert I AT, move I FROM TO, drop I AT: fields of segments
//   and composites, enumeration items (also set I AT VALUE, valid I VALUE), date-time mask items
//   Y M D h m s f z (also set I AT ITEM, required I 0|1; items prints the mask)
//   composite set I F TYPE (a type name or number, length:N, or KIND:NAME), composite show I ->
//   "type>ref/length" per field, composite valid I F TYPE, composite kind I F KIND -> the grammar
//   the field refers to;  KIND print I (composite, segment) -> printed, "|" for each line end;
//   typename TYPE -> the name definitions write;  segment set I F COMPOSITE, segment show I -> composite names
//   ("-" for none), segment rule I F TYPE NAME|unrule I F R|rules I|rulename I F R|display I F R,
//   segment param I F R KEY [VALUE] (a rule's parameter read, or set),
//   segment identify I VALUE [AT]|unidentify I K|identifier I K|fullname I
//   message unique NAME, message next I, message position I (in the match order),
//   message insert M PATH segment|group NAME [AT], message grammarname M PATH NAME,
//   message tree M, message path M PATH  (PATH: child indexes "1/0", "/" the root),
//   message move M PATH TO|remove M PATH|optional M PATH 0|1|unordered M PATH 0|1|child M PATH,
//   message state M PATH -> optional set, optional in the tree, order ignored (e.g. "010"),
//   message equivalent M PATH M2 PATH2;  tgrammar add M PATH|root M PATH MESSAGEPATH|show M PATH|name M PATH,
//   tgrammar rubberband M PATH MESSAGEPATH|none FIELD|none keep|move  (table grammar nodes)
//   order, postload, ignore [I], matchesall, ack C [I]
//   levels; level move F T|insert AT|remove AT|pop|add  (levels -> "separator@position" each)
//   db; db default [API DB USER PASSWORD]|add LABEL API DB USER PASSWORD|choose I|remove I|find LABEL|label I L
//   xml; xml set TEXT|name TYPE|type TEXT  (the dialect of the current configuration)
//   table column T add NAME TYPE [AT]|remove I|move I J|byid ID|unique I NAME, table columns T,
//   table mapset T add|copy S|remove S|clear|name S NAME, table map T S K PATH, table maps T [C]
//   (a set whose table is not T shows "?:")
//   segment equation I F CODE (the field's incoming equation);  parse MESSAGE -> its table XML
//   without indentation, lines joined by "|" (MESSAGE: segments joined by "\x0D"; one engine and
//   parse context for the whole case, so an edit between two parses must reach the second)
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <set>
#include <sstream>
#include <vector>

#include "ANTengine.h"
#include "COLerror.h"
#include "COLostream.h"
#include "QVMengineInternal.h"
#include "QVMidentifier.h"
#include "QVMsegmentValidationRule.h"
#include "QVJparse.h"
#include "QVJparseContext.h"

#include "../../support/TSTsteps.h"
#include "../../support/TSTfile.h"

namespace {

constexpr uint32_t npos = 0xFFFFFFFF;

std::string number(uint32_t value) { return value == npos ? "none" : std::to_string(value); }

std::string joined(const std::vector<uint32_t>& values) {
  std::string text;
  for (uint32_t value : values) text += (text.empty() ? "" : ",") + std::to_string(value);
  return text;
}

const char* const typeNames[] = {"string", "integer", "double", "composite", "datetime", "enumeration"};

const char* typeName(QVMdataType type) { return static_cast<size_t>(type) < 6 ? typeNames[type] : "?"; }

QVMdataType dataType(const std::string& name) {
  const auto found = std::find(std::begin(typeNames), std::end(typeNames), name);
  return static_cast<QVMdataType>(found == std::end(typeNames) ? std::stoul(name) : found - std::begin(typeNames));
}

// A grammar as it prints itself, lines ending in "|".
template <class Grammar>
std::string printed(const Grammar& grammar) {
  COLstring text;
  COLostream stream(text);
  stream << grammar;
  std::string lines = text.str();
  std::replace(lines.begin(), lines.end(), '\n', '|');
  return lines;
}

// One grammar list of a configuration, reached the same way for every kind.
struct GrammarKind {
  size_t (QVMengineConfig::*add)();
  void (QVMengineConfig::*remove)(size_t);
  uint32_t (QVMengineConfig::*find)(const COLstring&) const;
  size_t (QVMengineConfig::*count)() const;
  void (QVMengineInternal::*cascade)(size_t);
  COLstring (*name)(QVMengineConfig&, size_t);
  void (*rename)(QVMengineConfig&, size_t, const COLstring&);
  void (*assign)(QVMengineConfig&, size_t, size_t);
  void (*copy)(QVMengineConfig&, size_t, const COLstring&);
};

template <class Grammar, Grammar* (QVMengineConfig::*At)(size_t) const>
constexpr GrammarKind kindOf(size_t (QVMengineConfig::*add)(), void (QVMengineConfig::*remove)(size_t),
                             uint32_t (QVMengineConfig::*find)(const COLstring&) const,
                             size_t (QVMengineConfig::*count)() const, void (QVMengineInternal::*cascade)(size_t)) {
  return {add,
          remove,
          find,
          count,
          cascade,
          [](QVMengineConfig& c, size_t i) { return (c.*At)(i)->name(); },
          [](QVMengineConfig& c, size_t i, const COLstring& n) { (c.*At)(i)->setName(n); },
          [](QVMengineConfig& c, size_t i, size_t j) { *(c.*At)(i) = *(c.*At)(j); },
          [](QVMengineConfig& c, size_t i, const COLstring& n) { Grammar(*(c.*At)(i)).setName(n); }};
}

const std::map<std::string, GrammarKind>& grammarKinds() {
  static const std::map<std::string, GrammarKind> kinds = {
      {"segment", kindOf<QVMsegmentGrammar, &QVMengineConfig::segment>(
                      &QVMengineConfig::addSegment, &QVMengineConfig::removeSegment, &QVMengineConfig::segmentByName,
                      &QVMengineConfig::countOfSegment, &QVMengineInternal::deleteSegment)},
      {"composite", kindOf<QVMcompositeGrammar, &QVMengineConfig::composite>(
                        &QVMengineConfig::addComposite, &QVMengineConfig::removeComposite,
                        &QVMengineConfig::compositeByName, &QVMengineConfig::countOfComposite,
                        &QVMengineInternal::deleteComposite)},
      {"enumeration", kindOf<QVMenumerationGrammar, &QVMengineConfig::enumerationGrammar>(
                          &QVMengineConfig::addEnumerationGrammar, &QVMengineConfig::removeEnumerationGrammar,
                          &QVMengineConfig::enumerationGrammarByName, &QVMengineConfig::countOfEnumerationGrammar,
                          &QVMengineInternal::deleteEnumerationGrammar)},
      {"datetime", kindOf<QVMdateTimeGrammar, &QVMengineConfig::dateTimeGrammar>(
                       &QVMengineConfig::addDateTimeGrammar, &QVMengineConfig::removeDateTimeGrammar,
                       &QVMengineConfig::dateTimeGrammarByName, &QVMengineConfig::countOfDateTimeGrammar,
                       &QVMengineInternal::deleteDateTimeGrammar)},
  };
  return kinds;
}

class Editor : public TSTstepModel {
public:
  void load(const std::string& Definition) { ANTloadEngine(Definition, Engine, "definition.vmd"); }

private:
  QVMengineConfig& target() { return Scratch ? *Scratch : Engine.engineConfig(); }

  // A node of message M's grammar in the current configuration, by child indexes.
  QVMmessageGrammar* node(size_t m, const std::string& path) {
    QVMmessageGrammar* grammar = Engine.message(m)->messageGrammar();
    std::istringstream In(path);
    for (std::string Step; std::getline(In, Step, '/');)
      if (!Step.empty()) grammar = grammar->subGrammar(std::stoul(Step));
    return grammar;
  }

  static std::string tree(const QVMmessageGrammar& grammar) {
    std::string text = grammar.isNode() ? (grammar.segment() ? grammar.segment()->name().str() : "-")
                                        : grammar.grammarName().str();
    if (grammar.isNode()) return text;
    text += "(";
    for (size_t i = 0; i < grammar.countOfSubGrammar(); ++i)
      text += (i ? "," : "") + tree(*grammar.subGrammar(i));
    return text + ")";
  }

  std::string step() override {
    const std::string& kind = word(0);
    if (kind == "order") return joined(target().matchOrder().toVector());
    if (kind == "typename") return QVMoutputDataTypeAsString(dataType(word(1))).str();
    if (kind == "postload") return Engine.postLoad(), "";
    if (kind == "matchesall") return std::to_string(Engine.lastMessageMatchesAll());
    if (kind == "ignore") {
      if (Words.size() == 1) return number(QVMengineIgnoreMessageIndex(Engine));
      return QVMengineSetIgnoreMessageIndex(Engine, word(1) == "none" ? npos : index(1)), "";
    }
    if (kind == "ack") {
      if (Words.size() == 2) return number(Engine.ackMessageIndex(index(1)));
      return Engine.setAckMessageIndex(index(1), index(2)), "";
    }
    if (kind == "config") return config();
    if (kind == "level" || kind == "levels" || kind == "db" || kind == "xml") return settings();
    if (kind == "message") return message();
    if (kind == "table") return table();
    if (kind == "tgrammar") return tableGrammar();
    if (kind == "parse") return parse();
    const auto found = grammarKinds().find(kind);
    if (found == grammarKinds().end()) throw COLerror("no such step", 0);
    const GrammarKind& list = found->second;
    QVMengineConfig& config = target();
    const std::string& verb = word(1);
    if (std::optional<std::string> answer = items(config, kind, verb)) return *answer;
    if (kind == "composite" && verb == "set") return setCompositeField(*config.composite(index(2)), index(3), word(4));
    if (kind == "composite" && verb == "print") return printed(*config.composite(index(2)));
    if (kind == "composite" && verb == "valid")
      return std::to_string(config.composite(index(2))->fieldDataTypeIsValid(index(3), dataType(word(4))));
    if (kind == "composite" && verb == "kind") {
      const QVMcompositeGrammar& composite = *config.composite(index(2));
      if (word(4) == "composite") return composite.fieldCompositeType(index(3))->name().str();
      if (word(4) == "datetime") return composite.fieldDateTimeGrammar(index(3))->name().str();
      return composite.fieldEnumerationGrammar(index(3))->name().str();
    }
    if (kind == "composite" && verb == "show") {
      std::string text;
      const QVMcompositeGrammar& composite = *config.composite(index(2));
      for (uint32_t f = 0; f < composite.countOfField(); ++f) {
        const QVMcompositeSubField& field = *composite.field(f);
        text += (f ? " " : "") + std::string(typeName(field.dataType()));
        if (field.compositeType()) text += ">" + field.compositeType()->name().str();
        if (field.dateTimeGrammar()) text += ">" + field.dateTimeGrammar()->name().str();
        if (field.enumerationGrammar()) text += ">" + field.enumerationGrammar()->name().str();
        if (field.maxLength() != npos) text += "/" + std::to_string(field.maxLength());
      }
      return text;
    }
    if (kind == "segment" && verb == "set") {
      config.segment(index(2))->setFieldType(index(3), config.composite(config.compositeByName(word(4).c_str())));
      return "";
    }
    if (kind == "segment" && verb == "print") return printed(*config.segment(index(2)));
    if (kind == "segment" && verb == "show") {
      std::string text;
      const QVMsegmentGrammar& segment = *config.segment(index(2));
      for (uint32_t f = 0; f < segment.countOfField(); ++f)
        text += (f ? "," : "") + (segment.fieldType(f) ? segment.fieldType(f)->name().str() : std::string("-"));
      return text;
    }
    if (verb == "add") {
      const size_t at = (config.*list.add)();
      list.rename(config, at, word(2).c_str());
      return std::to_string(at);
    }
    if (verb == "rename") return list.rename(config, index(2), word(3).c_str()), "";
    if (verb == "find") return number((config.*list.find)(word(2).c_str()));
    if (verb == "remove") return (config.*list.remove)(index(2)), "";
    if (verb == "delete") return (Engine.*list.cascade)(index(2)), "";
    if (verb == "assign") return list.assign(config, index(2), index(3)), "";
    if (verb == "copy") return list.copy(config, index(2), word(3).c_str()), "";
    if (verb == "count") return std::to_string((config.*list.count)());
    if (verb == "name") return list.name(config, index(2)).str();
    unknown();
  }

  // The items of a grammar: fields of segments and composites, enumeration items, date-time
  // mask items (Y M D h m s f z); rules and identifiers of segments.
  std::optional<std::string> items(QVMengineConfig& config, const std::string& kind, const std::string& verb) {
    static const std::map<std::string, QVMdateTimeGrammar::QVMdateTimeInternalMaskItem> masks = {
        {"Y", QVMdateTimeGrammar::MaskYear},   {"M", QVMdateTimeGrammar::MaskMonth},
        {"D", QVMdateTimeGrammar::MaskDay},    {"h", QVMdateTimeGrammar::MaskHour},
        {"m", QVMdateTimeGrammar::MaskMinute}, {"s", QVMdateTimeGrammar::MaskSecond},
        {"f", QVMdateTimeGrammar::MaskFraction}, {"z", QVMdateTimeGrammar::MaskTimeZone}};
    static const std::set<std::string> verbs = {"items", "append", "insert", "move", "drop", "rule", "unrule", "rules",
                                                "rulename", "param", "display", "identify", "unidentify", "identifier", "fullname",
                                                "set", "valid", "required", "equation"};
    if (!verbs.count(verb)) return std::nullopt;
    const auto mask = [&](const std::string& word) {
      return masks.count(word) ? masks.at(word) : static_cast<QVMdateTimeGrammar::QVMdateTimeInternalMaskItem>(std::stoul(word));
    };
    if (kind == "segment") {
      QVMsegmentGrammar& segment = *config.segment(index(2));
      if (verb == "items") {
        std::string text;
        for (uint32_t f = 0; f < segment.countOfField(); ++f) text += (f ? "," : "") + segment.fieldName(f).str();
        return text;
      }
      if (verb == "append") {
        for (size_t at = 3; at < Words.size(); ++at)
          segment.setFieldName(QVMsegmentGrammarAddFieldWithoutInitialization(segment), word(at).c_str());
        return "";
      }
      if (verb == "insert") return segment.insertField(index(3)), "";
      if (verb == "move") return segment.moveField(index(3), index(4)), "";
      if (verb == "drop") return segment.removeField(index(3)), "";
      if (verb == "equation") return segment.fieldIncomingFunction(index(3)).setCode(word(4).c_str()), "";
      if (verb == "rule") return segment.addValidationRule(index(3), index(4))->setName(word(5).c_str()), "";
      if (verb == "unrule") return segment.removeValidationRule(index(3), index(4)), "";
      if (verb == "rules") {
        // Per field, its rules as name@the field index the rule holds.
        std::string text;
        for (uint32_t f = 0; f < segment.countOfField(); ++f) {
          text += f ? "," : "";
          if (segment.countOfValidationRules(f) == 0) text += "-";
          for (uint32_t r = 0; r < segment.countOfValidationRules(f); ++r)
            text += (r ? " " : "") + segment.getValidationRule(f, r)->name().str() + "@" +
                    std::to_string(segment.getValidationRule(f, r)->fieldIndex());
        }
        return text;
      }
      if (verb == "rulename") return segment.getValidationRule(index(3), index(4))->name().str();
      if (verb == "param") {
        QVMsegmentValidationRule& rule = *segment.getValidationRule(index(3), index(4));
        if (Words.size() == 6) return rule.parameter(word(5).c_str()).str();
        return rule.setParameter(word(5).c_str(), word(6).c_str()), "";
      }
      if (verb == "display") return segment.getValidationRule(index(3), index(4))->displayName().str();
      if (verb == "identify")
        return (Words.size() > 4 ? segment.addIdentifierAt(index(4)) : QVMsegmentGrammarAddIdentifier(segment))
                   ->setValue(word(3).c_str()),
               "";
      if (verb == "unidentify") return segment.removeIdentifier(index(3)), "";
      if (verb == "identifier") return segment.identifier(index(3))->value().str();
      if (verb == "fullname") return QVMsegmentGrammarFullName(segment).str();
    }
    if (kind == "composite") {
      QVMcompositeGrammar& composite = *config.composite(index(2));
      if (verb == "items") {
        std::string text;
        for (uint32_t f = 0; f < composite.countOfField(); ++f) text += (f ? "," : "") + composite.fieldName(f).str();
        return text;
      }
      if (verb == "append") {
        for (size_t at = 3; at < Words.size(); ++at)
          composite.setFieldName(QVMcompositeGrammarAddField(composite), word(at).c_str());
        return "";
      }
      if (verb == "insert") return composite.addFieldAt(index(3)), "";
      if (verb == "move") return composite.moveField(index(3), index(4)), "";
      if (verb == "drop") return composite.removeField(index(3)), "";
    }
    if (kind == "enumeration") {
      QVMenumerationGrammar& enumeration = *config.enumerationGrammar(index(2));
      if (verb == "items") {
        std::string text;
        for (uint32_t k = 0; k < enumeration.countOfEnumItem(); ++k)
          text += (k ? "," : "") + enumeration.enumItem(k).str();
        return text;
      }
      if (verb == "append") {
        for (size_t at = 3; at < Words.size(); ++at) {
          enumeration.addEnumItem();
          enumeration.setEnumItem(enumeration.countOfEnumItem() - 1, word(at).c_str());
        }
        return "";
      }
      if (verb == "insert") return enumeration.setEnumItemAt(index(3)), "";
      if (verb == "set") return enumeration.setEnumItem(index(3), word(4).c_str()), "";
      if (verb == "move") return enumeration.moveField(index(3), index(4)), "";
      if (verb == "drop") return enumeration.removeEnumItem(index(3)), "";
      if (verb == "valid") return std::to_string(enumeration.isValid(word(3).c_str()));
    }
    if (kind == "datetime") {
      QVMdateTimeGrammar& dateTime = *config.dateTimeGrammar(index(2));
      if (verb == "items") {
        COLstring text;
        COLostream stream(text);
        stream << dateTime;
        return text.str();
      }
      if (verb == "append") {
        for (size_t at = 3; at < Words.size(); ++at) QVMdateTimeGrammarAddMaskItem(dateTime, mask(word(at)));
        return "";
      }
      if (verb == "insert") return dateTime.addMaskItemAt(index(3)), "";
      if (verb == "set") return dateTime.setMaskItem(index(3), mask(word(4))), "";
      if (verb == "move") return dateTime.moveField(index(3), index(4)), "";
      if (verb == "drop") return dateTime.removeMaskItem(index(3)), "";
      if (verb == "required") return dateTime.setFieldsRequired(word(3) == "1"), "";
    }
    return std::nullopt;
  }

  std::string setCompositeField(QVMcompositeGrammar& composite, uint32_t field, const std::string& type) {
    QVMengineConfig& config = target();
    const size_t colon = type.find(':');
    const std::string name = colon == std::string::npos ? "" : type.substr(colon + 1);
    if (type.rfind("composite:", 0) == 0)
      composite.setFieldCompositeType(field, config.composite(config.compositeByName(name.c_str())));
    else if (type.rfind("datetime:", 0) == 0)
      composite.setFieldDateTimeGrammar(field, config.dateTimeGrammar(config.dateTimeGrammarByName(name.c_str())));
    else if (type.rfind("enumeration:", 0) == 0)
      composite.setFieldEnumerationGrammar(field,
                                           config.enumerationGrammar(config.enumerationGrammarByName(name.c_str())));
    else if (type.rfind("length:", 0) == 0)
      composite.setFieldMaxLength(field, std::stoul(name));
    else
      composite.setFieldDataType(field, dataType(type));
    return "";
  }

  // Settings of the current configuration: separator levels, database connections, dialect.
  std::string settings() {
    QVMconfig& settings = target().config();
    const std::string& kind = word(0);
    const std::string verb = Words.size() > 1 ? word(1) : "";
    if (kind == "level" || kind == "levels") {
      if (verb == "move") return settings.moveSepCharInfo(index(2), index(3)), "";
      if (verb == "insert") return settings.insertSepCharInfo(index(2)), "";
      if (verb == "remove") return settings.removeSepCharInfo(index(2)), "";
      if (verb == "pop") return settings.popSepInfo(), "";
      if (verb == "add") return settings.addCharInfo(), "";
      std::string text;  // each level's separator as a number, then its position
      for (size_t l = 0; l < settings.countOfLevel(); ++l)
        text += (l ? " " : "") + std::to_string(int(settings.sepCharInfo(l).sepCharDefault())) + "@" +
                number(settings.sepCharInfo(l).sepCharPosition());
      return text;
    }
    if (kind == "db") {
      if (verb == "default" && Words.size() > 2)
        return QVMconfigSetDefaultDatabase(settings, word(2).c_str(), word(3).c_str(), word(4).c_str(), word(5).c_str()), "";
      if (verb == "default") return number(settings.defaultDatabaseConnection());
      if (verb == "add")
        return settings.databaseConnection(settings.addDatabaseConnection())
                   ->setAll(word(2).c_str(), word(3).c_str(), word(4).c_str(), word(5).c_str(), word(6).c_str()),
               "";
      if (verb == "choose") return settings.setDefaultDatabaseConnection(index(2)), "";
      if (verb == "remove") return settings.removeDatabaseConnection(index(2)), "";
      if (verb == "find") return number(settings.databaseConnectionIndex(word(2).c_str()));
      if (verb == "label") return settings.databaseConnection(index(2))->setLabel(word(3).c_str()), "";
      std::string text;  // label api database user password, "|" between connections
      for (size_t d = 0; d < settings.countOfDatabaseConnections(); ++d) {
        const QVMdbInfo& info = *settings.databaseConnection(d);
        text += (d ? " | " : "") + info.label().str() + " " + info.apiName().str() + " " +
                info.databaseName().str() + " " + info.userName().str() + " " + info.password().str();
      }
      return text;
    }
    if (verb == "set") return settings.setXmlTranslationType(rest(2).c_str()), "";
    if (verb == "name") return QVMconfigXmlFormatTypeAsString(static_cast<QVMxmlFormatType>(index(2)));
    if (verb == "type") return std::to_string(QVMconfigStringAsXmlFormatType(rest(2).c_str()));
    return settings.xmlTranslationType();
  }

  std::string config() {
    const std::string& verb = word(1);
    if (verb == "add") return std::to_string(Engine.addConfiguration(word(2).c_str()));
    if (verb == "use") return Scratch.reset(), Engine.setCurrentConfig(index(2)), "";
    if (verb == "delete") return Engine.deleteConfig(index(2)), "";
    if (verb == "copy") return Scratch.emplace(Engine.engineConfig()), "";
    if (verb == "assign") return Engine.engineConfig(index(2)) = Engine.engineConfig(index(3)), "";
    if (verb == "current") return std::to_string(Engine.currentConfig());
    if (verb == "count") return std::to_string(Engine.countOfConfig());
    if (verb == "name") return Engine.configName(index(2)).str();
    if (verb == "position") return number(Engine.configPosition(&Engine.engineConfig(index(2))));
    unknown();
  }

  std::string message() {
    const std::string& verb = word(1);
    if (verb == "add") {
      const size_t at = word(2) == "ordered" ? QVMengineAddMessage(Engine) : Engine.addMessage();
      Engine.message(at)->setName(word(word(2) == "ordered" ? 3 : 2).c_str());
      return std::to_string(at);
    }
    if (verb == "rename") return Engine.message(index(2))->setName(word(3).c_str()), "";
    if (verb == "find") return number(Engine.messageByName(word(2).c_str()));
    if (verb == "delete") return Engine.deleteMessage(index(2)), "";
    if (verb == "count") return std::to_string(Engine.countOfMessage());
    if (verb == "name") return Engine.message(index(2))->name().str();
    if (verb == "unique") return QVMengineFindUniqueMessageName(Engine, word(2).c_str()).str();
    if (verb == "position") return number(QVMengineMessageMatchOrder(Engine, Engine.message(index(2))));
    if (verb == "next") {
      const QVMmessageDefinitionInternal* next = QVMmessageFindNextMessage(*Engine.message(index(2)));
      return next ? number(Engine.messagePosition(next)) : "none";
    }
    if (verb == "insert") {
      QVMmessageGrammar* parent = node(index(2), word(3));
      const size_t at = Words.size() > 6 ? index(6) : npos;
      if (word(4) == "group") return parent->insertGroup(word(5).c_str(), at), "";
      parent->insertSegment(word(5) == "-" ? nullptr : Engine.segment(Engine.segmentByName(word(5).c_str())), at);
      return "";
    }
    if (verb == "move") return node(index(2), word(3))->moveGrammarTo(node(index(2), word(4))), "";
    if (verb == "remove") {
      QVMmessageGrammar* gone = node(index(2), word(3));
      return gone->parent()->remove(gone->childIndex()), "";
    }
    if (verb == "grammarname") return node(index(2), word(3))->setGrammarName(word(4).c_str()), "";
    if (verb == "optional") return node(index(2), word(3))->setIsOptional(word(4) == "1"), "";
    if (verb == "unordered") return node(index(2), word(3))->setIgnoreSegmentOrder(word(4) == "1"), "";
    if (verb == "state") {
      // Optional as set, optional as the tree makes it, segment order ignored.
      const QVMmessageGrammar& grammar = *node(index(2), word(3));
      return std::to_string(grammar.isOptional()) + std::to_string(grammar.grammarIsOptional()) +
             std::to_string(grammar.ignoreSegmentOrder());
    }
    if (verb == "child") return std::to_string(node(index(2), word(3))->childIndex());
    if (verb == "equivalent")
      return std::to_string(QVMmessageGrammarIsEquivalent(*node(index(2), word(3)), *node(index(4), word(5))));
    if (verb == "tree") return tree(*Engine.message(index(2))->messageGrammar());
    if (verb == "path") return node(index(2), word(3))->fullGrammarName().str();
    unknown();
  }

  // A node of message M's table grammar, by child indexes.
  QVMtableGrammarInternal* tableNode(size_t m, const std::string& path) {
    QVMtableGrammarInternal* grammar = &Engine.message(m)->tableGrammar();
    std::istringstream In(path);
    for (std::string Step; std::getline(In, Step, '/');)
      if (!Step.empty()) grammar = grammar->subGrammar(std::stoul(Step));
    return grammar;
  }

  static std::string pathOf(const QVMmessageGrammar* grammar) {
    if (!grammar) return "none";
    std::string path;
    for (; grammar->parent(); grammar = grammar->parent()) path = "/" + std::to_string(grammar->childIndex()) + path;
    return path.empty() ? "/" : path;
  }

  std::string tableGrammar() {
    const std::string& verb = word(1);
    QVMtableGrammarInternal& grammar = *tableNode(index(2), word(3));
    if (verb == "add") return grammar.addSubGrammarAt(grammar.countOfSubGrammar()), "";
    if (verb == "root") return grammar.setMessageGrammar(node(index(2), word(4))), "";
    if (verb == "name") return grammar.name().str();
    if (verb == "show") {
      std::string text = "root=" + pathOf(grammar.messageGrammar()) + " field=" + number(grammar.messageGrammarFieldIndex());
      if (grammar.isNode()) text += " set=" + number(grammar.tableMapSetIndex());
      return text;
    }
    if (verb == "rubberband")
      return QVMtableGrammarMakeRubberBandedMessageGrammar(grammar, word(4) == "none" ? nullptr : node(index(2), word(4)),
                                                           word(5) == "none" ? npos : index(5), word(6) == "keep"),
             "";
    unknown();
  }

  std::string table() {
    const std::string& verb = word(1);
    if (verb == "add") {
      const size_t at = Engine.addTable();
      Engine.table(at)->setTableName(word(2).c_str());
      return std::to_string(at);
    }
    if (verb == "rename") return Engine.table(index(2))->setTableName(word(3).c_str()), "";
    if (verb == "find") return number(Engine.tableByName(word(2).c_str()));
    if (verb == "delete") return Engine.deleteTable(index(2)), "";
    QVMtableDefinitionInternal& table = *Engine.table(index(2));
    if (verb == "columns") {
      std::string text;
      for (size_t k = 0; k < table.countOfColumn(); ++k)
        text += (k ? " " : "") + table.columnName(k).str() + ":" + table.columnTypeAsString(k).str() + "#" +
                std::to_string(table.columnId(k));
      return text;
    }
    if (verb == "column") {
      const std::string& action = word(3);
      if (action == "add") {
        static const std::map<std::string, QVMdataType> types = {
            {"string", QVMstringType}, {"integer", QVMintegerType}, {"double", QVMdoubleType}};
        const QVMdataType type = types.at(word(5));
        return std::to_string(Words.size() > 6 ? table.addColumn(word(4).c_str(), type, index(6))
                                               : table.addColumn(word(4).c_str(), type));
      }
      if (action == "remove") return table.removeColumn(index(4)), "";
      if (action == "move") return table.moveColumn(index(4), index(5)), "";
      if (action == "byid") return number(table.columnIndexFromColumndId(index(4)));
      if (action == "find") return number(table.columnIndex(word(4).c_str()));
      if (action == "unique") return QVMtableMakeUniqueColumnName(table, index(4), word(5).c_str()).str();
    }
    if (verb == "mapset") {
      const std::string& action = word(3);
      if (action == "add") return std::to_string(table.addMapSet());
      if (action == "copy") return std::to_string(table.copyMapSet(index(4)));
      if (action == "remove") return table.removeMapSet(index(4)), "";
      if (action == "clear") return table.mapSetClear(), "";
      if (action == "name") return table.mapSet(index(4))->setName(word(5).c_str()), "";
    }
    if (verb == "map") {
      QVMmessageNodeAddress address;
      std::istringstream In(word(5));
      uint32_t step = 0;
      for (std::string Node; std::getline(In, Node, '/');)
        if (!Node.empty()) address.setNodeAndRepeatIndex(step++, std::stoul(Node), 0);
      return table.mapSet(index(3))->map(index(4)).setNodeAddress(address), "";
    }
    if (verb == "maps") {
      // Each map set as "name:" and its columns' addresses, "-" for none.
      const size_t c = Words.size() > 3 ? index(3) : Engine.currentConfig();
      std::string text;
      QVMtableConfig& record = table.tableConfig(c);
      for (size_t s = 0; s < record.countOfMapSet(); ++s) {
        text += (s ? " | " : "") + record.mapSet(s)->name().str() + (record.mapSet(s)->tableDefinition() == &table ? ":" : "?:");
        for (size_t k = 0; k < record.mapSet(s)->countOfMap(); ++k) {
          const QVMmessageNodeAddress& address = record.mapSet(s)->map(k).nodeAddress();
          std::string path;
          for (uint32_t d = 0; d < address.depth(); ++d)
            path += (d ? "/" : "") + std::to_string(address.nodeIndex(d)) +
                    (address.repeatIndex(d) ? "." + std::to_string(address.repeatIndex(d)) : "");
          text += " " + (path.empty() ? std::string("-") : path);
        }
      }
      return text;
    }
    unknown();
  }

  std::string parse() {
    const std::string& Message = word(1);
    if (!Context) Context = std::make_unique<QVJparseContext>(&Engine);
    std::string Lines;
    try {
      Lines = QVJhl7ToXml(*Context, Message.c_str());
    } catch (const COLerror& Error) {
      // The report's description line alone.
      std::string Text = Error.description().str();
      if (const size_t At = Text.find("Description: "); At != std::string::npos) Text.erase(0, At + 13);
      throw COLerror(Text.substr(0, Text.find_first_of("\r\n")).c_str(), 0);
    }
    std::string Joined;
    std::istringstream In(Lines);
    for (std::string Line; std::getline(In, Line);) {
      Line.erase(0, Line.find_first_not_of(' '));
      if (!Line.empty() && Line.back() == '\r') Line.pop_back();
      if (!Line.empty()) Joined += (Joined.empty() ? "" : "|") + Line;
    }
    return Joined;
  }

  QVMengineInternal Engine;
  std::optional<QVMengineConfig> Scratch;
  std::unique_ptr<QVJparseContext> Context;
};

class QVMeditData : public ::testing::TestWithParam<TSTdataCase> {};

TEST_P(QVMeditData, Steps) {
  TSTrunSteps(GetParam(), [&] {
    auto Model = std::make_unique<Editor>();
    if (GetParam().has("definition"))
      Model->load(TSTreadFile(std::string(MSGBRIDGE_SOURCE_DIR) + "/tests/data/QVM/" + GetParam().argument("definition")));
    return Model;
  });
}

INSTANTIATE_TEST_SUITE_P(Cases, QVMeditData, ::testing::ValuesIn(TSTreadDataArea("QVM/edit")), TSTdataParamName);

}  // namespace
