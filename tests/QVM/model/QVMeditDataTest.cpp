// Model edits as data: the step cases of tests/data/QVM/edit, whose README lists the steps.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <optional>
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

// f(0) .. f(n - 1) joined by `separator`.
template <class Item>
std::string each(size_t n, const char* separator, Item item) {
  std::string text;
  for (size_t i = 0; i < n; ++i) text += (i ? separator : "") + std::string(item(i));
  return text;
}

const char* const typeNames[] = {"string", "integer", "double", "composite", "datetime", "enumeration"};

QVMdataType dataType(const std::string& name) {
  const auto found = std::find(std::begin(typeNames), std::end(typeNames), name);
  return static_cast<QVMdataType>(found == std::end(typeNames) ? std::stoul(name) : found - std::begin(typeNames));
}

// What `stream << value` writes; with `lines`, each line end as "|".
template <class Value>
std::string printed(const Value& value, bool lines = true) {
  COLstring text;
  COLostream stream(text);
  stream << value;
  std::string out = text.str();
  if (lines) std::replace(out.begin(), out.end(), '\n', '|');
  return out;
}

// A node below `grammar` by child indexes "1/0".
template <class Grammar>
Grammar* walk(Grammar* grammar, const std::string& path) {
  std::istringstream In(path);
  for (std::string Step; std::getline(In, Step, '/');)
    if (!Step.empty()) grammar = grammar->subGrammar(std::stoul(Step));
  return grammar;
}

// The four grammar lists of a configuration share their list verbs.
#define EDIT_LIST(Type, Name, name)                                                                           \
  list<Type>(config, &QVMengineConfig::name, &QVMengineConfig::add##Name, &QVMengineConfig::remove##Name,    \
             &QVMengineConfig::name##ByName, &QVMengineConfig::countOf##Name, &QVMengineInternal::delete##Name)

class Editor : public TSTstepModel {
public:
  void load(const std::string& Definition) { ANTloadEngine(Definition, Engine, "definition.vmd"); }

private:
  QVMengineConfig& target() { return Scratch ? *Scratch : Engine.engineConfig(); }
  QVMmessageGrammar* node(size_t m, const std::string& path) { return walk(Engine.message(m)->messageGrammar(), path); }
  const std::string verb() const { return Words.size() > 1 ? word(1) : ""; }

  static std::string tree(const QVMmessageGrammar& grammar) {
    if (grammar.isNode()) return grammar.segment() ? grammar.segment()->name().str() : "-";
    return grammar.grammarName().str() + "(" +
           each(grammar.countOfSubGrammar(), ",", [&](size_t i) { return tree(*grammar.subGrammar(i)); }) + ")";
  }

  static std::string pathOf(const QVMmessageGrammar* grammar) {
    if (!grammar) return "none";
    std::string path;
    for (; grammar->parent(); grammar = grammar->parent()) path = "/" + std::to_string(grammar->childIndex()) + path;
    return path.empty() ? "/" : path;
  }

  std::string step() override {
    const std::string& kind = word(0);
    QVMengineConfig& config = target();
    if (kind == "order") {
      const std::vector<uint32_t> order = config.matchOrder().toVector();
      return each(order.size(), ",", [&](size_t i) { return std::to_string(order[i]); });
    }
    if (kind == "typename") return QVMoutputDataTypeAsString(dataType(word(1))).str();
    if (kind == "postload") return Engine.postLoad(), "";
    if (kind == "matchesall") return std::to_string(Engine.lastMessageMatchesAll());
    if (kind == "ignore" && Words.size() == 1) return number(QVMengineIgnoreMessageIndex(Engine));
    if (kind == "ignore") return QVMengineSetIgnoreMessageIndex(Engine, word(1) == "none" ? npos : index(1)), "";
    if (kind == "ack" && Words.size() == 2) return number(Engine.ackMessageIndex(index(1)));
    if (kind == "ack") return Engine.setAckMessageIndex(index(1), index(2)), "";
    if (kind == "config") return configuration();
    if (kind == "level" || kind == "levels") return levels(config.config());
    if (kind == "db") return databases(config.config());
    if (kind == "xml") return dialect(config.config());
    if (kind == "message") return message();
    if (kind == "table") return table();
    if (kind == "tgrammar") return tableGrammar();
    if (kind == "parse") return parse();
    if (kind == "segment") return segment(config);
    if (kind == "composite") return composite(config);
    if (kind == "enumeration") return enumeration(config);
    if (kind == "datetime") return dateTime(config);
    unknown();
  }

  template <class Grammar>
  std::string list(QVMengineConfig& config, Grammar* (QVMengineConfig::*at)(size_t) const,
                   size_t (QVMengineConfig::*add)(), void (QVMengineConfig::*remove)(size_t),
                   uint32_t (QVMengineConfig::*find)(const COLstring&) const, size_t (QVMengineConfig::*count)() const,
                   void (QVMengineInternal::*cascade)(size_t)) {
    const std::string& verb = word(1);
    if (verb == "add") {
      const size_t i = (config.*add)();
      (config.*at)(i)->setName(word(2).c_str());
      return std::to_string(i);
    }
    if (verb == "rename") return (config.*at)(index(2))->setName(word(3).c_str()), "";
    if (verb == "find") return number((config.*find)(word(2).c_str()));
    if (verb == "remove") return (config.*remove)(index(2)), "";
    if (verb == "delete") return (Engine.*cascade)(index(2)), "";
    if (verb == "assign") return *(config.*at)(index(2)) = *(config.*at)(index(3)), "";
    if (verb == "copy") return Grammar(*(config.*at)(index(2))).setName(word(3).c_str()), "";
    if (verb == "count") return std::to_string((config.*count)());
    if (verb == "name") return (config.*at)(index(2))->name().str();
    unknown();
  }

  bool isListVerb(const std::string& verb) const {
    for (const char* listVerb : {"add", "rename", "find", "remove", "delete", "assign", "copy", "count", "name"})
      if (verb == listVerb) return true;
    return false;
  }

  std::string segment(QVMengineConfig& config) {
    const std::string& verb = word(1);
    if (isListVerb(verb)) return EDIT_LIST(QVMsegmentGrammar, Segment, segment);
    QVMsegmentGrammar& segment = *config.segment(index(2));
    if (verb == "items") return each(segment.countOfField(), ",", [&](size_t f) { return segment.fieldName(f).str(); });
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
    if (verb == "rules")  // per field, its rules as name@the field index the rule holds
      return each(segment.countOfField(), ",", [&](size_t f) {
        const std::string rules = each(segment.countOfValidationRules(f), " ", [&](size_t r) {
          return segment.getValidationRule(f, r)->name().str() + "@" +
                 std::to_string(segment.getValidationRule(f, r)->fieldIndex());
        });
        return rules.empty() ? "-" : rules;
      });
    if (verb == "rulename") return segment.getValidationRule(index(3), index(4))->name().str();
    if (verb == "param" && Words.size() == 6)
      return segment.getValidationRule(index(3), index(4))->parameter(word(5).c_str()).str();
    if (verb == "param")
      return segment.getValidationRule(index(3), index(4))->setParameter(word(5).c_str(), word(6).c_str()), "";
    if (verb == "display") return segment.getValidationRule(index(3), index(4))->displayName().str();
    if (verb == "identify")
      return (Words.size() > 4 ? segment.addIdentifierAt(index(4)) : QVMsegmentGrammarAddIdentifier(segment))
                 ->setValue(word(3).c_str()),
             "";
    if (verb == "unidentify") return segment.removeIdentifier(index(3)), "";
    if (verb == "identifier") return segment.identifier(index(3))->value().str();
    if (verb == "matches") {  // "valid" or "invalid", "null" when it matches no text, then each text's match
      const QVMsegmentIdentifier& identifier = *segment.identifier(index(3));
      std::string text = std::string(identifier.isRegexValid() ? "valid" : "invalid") +
                         (identifier.isNullMatchingValue() ? " null" : "");
      for (size_t at = 4; at < Words.size(); ++at)
        text += " " + std::to_string(word(at) == "null" ? identifier.doesMatch(static_cast<const char*>(nullptr))
                                                        : identifier.doesMatch(word(at).c_str()));
      return text;
    }
    if (verb == "maxrepeat") return segment.setFieldMaxRepeat(index(3), index(4)), "";
    if (verb == "fullname") return QVMsegmentGrammarFullName(segment).str();
    if (verb == "set")
      return segment.setFieldType(index(3), config.composite(config.compositeByName(word(4).c_str()))), "";
    if (verb == "print" && Words.size() > 3) {
      COLstring text;
      COLostream stream(text);
      QVMsegmentGrammarPrintOn(segment, stream, word(3).c_str());
      std::string lines = text.str();
      std::replace(lines.begin(), lines.end(), '\n', '|');
      return lines;
    }
    if (verb == "print") return printed(segment);
    if (verb == "show")
      return each(segment.countOfField(), ",", [&](size_t f) {
        return segment.fieldType(f) ? segment.fieldType(f)->name().str() : std::string("-");
      });
    unknown();
  }

  std::string composite(QVMengineConfig& config) {
    const std::string& verb = word(1);
    if (isListVerb(verb)) return EDIT_LIST(QVMcompositeGrammar, Composite, composite);
    QVMcompositeGrammar& composite = *config.composite(index(2));
    if (verb == "items") return each(composite.countOfField(), ",", [&](size_t f) { return composite.fieldName(f).str(); });
    if (verb == "append") {
      for (size_t at = 3; at < Words.size(); ++at)
        composite.setFieldName(QVMcompositeGrammarAddField(composite), word(at).c_str());
      return "";
    }
    if (verb == "insert") return composite.addFieldAt(index(3)), "";
    if (verb == "move") return composite.moveField(index(3), index(4)), "";
    if (verb == "drop") return composite.removeField(index(3)), "";
    if (verb == "print") return printed(composite);
    if (verb == "valid") return std::to_string(composite.fieldDataTypeIsValid(index(3), dataType(word(4))));
    if (verb == "kind" && word(4) == "composite") return composite.fieldCompositeType(index(3))->name().str();
    if (verb == "kind" && word(4) == "datetime") return composite.fieldDateTimeGrammar(index(3))->name().str();
    if (verb == "kind") return composite.fieldEnumerationGrammar(index(3))->name().str();
    if (verb == "show")
      return each(composite.countOfField(), " ", [&](size_t f) {
        const QVMcompositeSubField& field = *composite.field(f);
        std::string text = static_cast<size_t>(field.dataType()) < 6 ? typeNames[field.dataType()] : "?";
        if (field.compositeType()) text += ">" + field.compositeType()->name().str();
        if (field.dateTimeGrammar()) text += ">" + field.dateTimeGrammar()->name().str();
        if (field.enumerationGrammar()) text += ">" + field.enumerationGrammar()->name().str();
        return field.maxLength() == npos ? text : text + "/" + std::to_string(field.maxLength());
      });
    if (verb != "set") unknown();
    const uint32_t field = index(3);
    const std::string& type = word(4);
    const size_t colon = type.find(':');
    const std::string name = colon == std::string::npos ? "" : type.substr(colon + 1);
    if (type.rfind("composite:", 0) == 0)
      composite.setFieldCompositeType(field, config.composite(config.compositeByName(name.c_str())));
    else if (type.rfind("datetime:", 0) == 0)
      composite.setFieldDateTimeGrammar(field, config.dateTimeGrammar(config.dateTimeGrammarByName(name.c_str())));
    else if (type.rfind("enumeration:", 0) == 0)
      composite.setFieldEnumerationGrammar(field, config.enumerationGrammar(config.enumerationGrammarByName(name.c_str())));
    else if (type.rfind("length:", 0) == 0)
      composite.setFieldMaxLength(field, std::stoul(name));
    else
      composite.setFieldDataType(field, dataType(type));
    return "";
  }

  std::string enumeration(QVMengineConfig& config) {
    const std::string& verb = word(1);
    if (isListVerb(verb)) return EDIT_LIST(QVMenumerationGrammar, EnumerationGrammar, enumerationGrammar);
    QVMenumerationGrammar& enumeration = *config.enumerationGrammar(index(2));
    if (verb == "items")
      return each(enumeration.countOfEnumItem(), ",", [&](size_t k) { return enumeration.enumItem(k).str(); });
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
    unknown();
  }

  std::string dateTime(QVMengineConfig& config) {
    const std::string& verb = word(1);
    if (isListVerb(verb)) return EDIT_LIST(QVMdateTimeGrammar, DateTimeGrammar, dateTimeGrammar);
    QVMdateTimeGrammar& dateTime = *config.dateTimeGrammar(index(2));
    using Item = QVMdateTimeGrammar::QVMdateTimeInternalMaskItem;
    static const std::map<std::string, Item> items = {
        {"Y", QVMdateTimeGrammar::MaskYear},   {"M", QVMdateTimeGrammar::MaskMonth},
        {"D", QVMdateTimeGrammar::MaskDay},    {"h", QVMdateTimeGrammar::MaskHour},
        {"m", QVMdateTimeGrammar::MaskMinute}, {"s", QVMdateTimeGrammar::MaskSecond},
        {"f", QVMdateTimeGrammar::MaskFraction}, {"z", QVMdateTimeGrammar::MaskTimeZone}};
    const auto mask = [](const std::string& item) { return items.count(item) ? items.at(item) : Item(std::stoul(item)); };
    if (verb == "items") return printed(dateTime, false);
    if (verb == "append") {
      for (size_t at = 3; at < Words.size(); ++at) QVMdateTimeGrammarAddMaskItem(dateTime, mask(word(at)));
      return "";
    }
    if (verb == "insert") return dateTime.addMaskItemAt(index(3)), "";
    if (verb == "set") return dateTime.setMaskItem(index(3), mask(word(4))), "";
    if (verb == "move") return dateTime.moveField(index(3), index(4)), "";
    if (verb == "drop") return dateTime.removeMaskItem(index(3)), "";
    if (verb == "required") return dateTime.setFieldsRequired(word(3) == "1"), "";
    unknown();
  }

  // Separator levels: each level's separator as a number, then its position.
  std::string levels(QVMconfig& settings) {
    if (verb() == "move") return settings.moveSepCharInfo(index(2), index(3)), "";
    if (verb() == "insert") return settings.insertSepCharInfo(index(2)), "";
    if (verb() == "remove") return settings.removeSepCharInfo(index(2)), "";
    if (verb() == "pop") return settings.popSepInfo(), "";
    if (verb() == "add") return settings.addCharInfo(), "";
    return each(settings.countOfLevel(), " ", [&](size_t l) {
      return std::to_string(int(settings.sepCharInfo(l).sepCharDefault())) + "@" +
             number(settings.sepCharInfo(l).sepCharPosition());
    });
  }

  // Database connections: label api database user password, "|" between connections.
  std::string databases(QVMconfig& settings) {
    const std::string verb = this->verb();
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
    return each(settings.countOfDatabaseConnections(), " | ", [&](size_t d) {
      const QVMdbInfo& info = *settings.databaseConnection(d);
      return info.label().str() + " " + info.apiName().str() + " " + info.databaseName().str() + " " +
             info.userName().str() + " " + info.password().str();
    });
  }

  std::string dialect(QVMconfig& settings) {
    if (verb() == "set") return settings.setXmlTranslationType(rest(2).c_str()), "";
    if (verb() == "name") return QVMconfigXmlFormatTypeAsString(static_cast<QVMxmlFormatType>(index(2)));
    if (verb() == "type") return std::to_string(QVMconfigStringAsXmlFormatType(rest(2).c_str()));
    return settings.xmlTranslationType();
  }

  std::string configuration() {
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
      const bool ordered = word(2) == "ordered";
      const size_t at = ordered ? QVMengineAddMessage(Engine) : Engine.addMessage();
      Engine.message(at)->setName(word(ordered ? 3 : 2).c_str());
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
    if (verb == "tree") return tree(*Engine.message(index(2))->messageGrammar());
    QVMmessageGrammar& grammar = *node(index(2), word(3));
    if (verb == "insert" && word(4) == "group")
      return grammar.insertGroup(word(5).c_str(), Words.size() > 6 ? index(6) : npos), "";
    if (verb == "insert")
      return grammar.insertSegment(word(5) == "-" ? nullptr : Engine.segment(Engine.segmentByName(word(5).c_str())),
                                   Words.size() > 6 ? index(6) : npos),
             "";
    if (verb == "move") return grammar.moveGrammarTo(node(index(2), word(4))), "";
    if (verb == "remove") return grammar.parent()->remove(grammar.childIndex()), "";
    if (verb == "grammarname") return grammar.setGrammarName(word(4).c_str()), "";
    if (verb == "optional") return grammar.setIsOptional(word(4) == "1"), "";
    if (verb == "unordered") return grammar.setIgnoreSegmentOrder(word(4) == "1"), "";
    if (verb == "state")  // optional as set, optional as the tree makes it, segment order ignored
      return std::to_string(grammar.isOptional()) + std::to_string(grammar.grammarIsOptional()) +
             std::to_string(grammar.ignoreSegmentOrder());
    if (verb == "child") return std::to_string(grammar.childIndex());
    if (verb == "equivalent") return std::to_string(QVMmessageGrammarIsEquivalent(grammar, *node(index(4), word(5))));
    if (verb == "path") return grammar.fullGrammarName().str();
    unknown();
  }

  std::string tableGrammar() {
    const std::string& verb = word(1);
    QVMtableGrammarInternal& grammar = *walk(&Engine.message(index(2))->tableGrammar(), word(3));
    if (verb == "add") return grammar.addSubGrammarAt(grammar.countOfSubGrammar()), "";
    if (verb == "root") return grammar.setMessageGrammar(node(index(2), word(4))), "";
    if (verb == "name") return grammar.name().str();
    if (verb == "show")
      return "root=" + pathOf(grammar.messageGrammar()) + " field=" + number(grammar.messageGrammarFieldIndex()) +
             (grammar.isNode() ? " set=" + number(grammar.tableMapSetIndex()) : "");
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
    if (verb == "columns")
      return each(table.countOfColumn(), " ", [&](size_t k) {
        return table.columnName(k).str() + ":" + table.columnTypeAsString(k).str() + "#" + std::to_string(table.columnId(k));
      });
    const std::string action = Words.size() > 3 ? word(3) : "";
    if (verb == "column" && action == "add") {
      const QVMdataType type = dataType(word(5));
      if (type > QVMdoubleType) unknown();
      return std::to_string(Words.size() > 6 ? table.addColumn(word(4).c_str(), type, index(6))
                                             : table.addColumn(word(4).c_str(), type));
    }
    if (verb == "column" && action == "remove") return table.removeColumn(index(4)), "";
    if (verb == "column" && action == "move") return table.moveColumn(index(4), index(5)), "";
    if (verb == "column" && action == "byid") return number(table.columnIndexFromColumndId(index(4)));
    if (verb == "column" && action == "find") return number(table.columnIndex(word(4).c_str()));
    if (verb == "column" && action == "unique") return QVMtableMakeUniqueColumnName(table, index(4), word(5).c_str()).str();
    if (verb == "mapset" && action == "add") return std::to_string(table.addMapSet());
    if (verb == "mapset" && action == "copy") return std::to_string(table.copyMapSet(index(4)));
    if (verb == "mapset" && action == "remove") return table.removeMapSet(index(4)), "";
    if (verb == "mapset" && action == "clear") return table.mapSetClear(), "";
    if (verb == "mapset" && action == "name") return table.mapSet(index(4))->setName(word(5).c_str()), "";
    if (verb == "map") {
      QVMmessageNodeAddress address;
      std::istringstream In(word(5));
      uint32_t step = 0;
      for (std::string Node; std::getline(In, Node, '/');)
        if (!Node.empty()) address.setNodeAndRepeatIndex(step++, std::stoul(Node), 0);
      return table.mapSet(index(3))->map(index(4)).setNodeAddress(address), "";
    }
    if (verb != "maps") unknown();
    // Each map set as "name:" and its columns' addresses, "-" for none.
    QVMtableConfig& record = table.tableConfig(Words.size() > 3 ? index(3) : Engine.currentConfig());
    return each(record.countOfMapSet(), " | ", [&](size_t s) {
      const QVMtableMapSet& set = *record.mapSet(s);
      return set.name().str() + (set.tableDefinition() == &table ? ":" : "?:") +
             each(set.countOfMap(), "", [&](size_t k) {
               const QVMmessageNodeAddress& address = set.map(k).nodeAddress();
               const std::string path = each(address.depth(), "/", [&](size_t d) {
                 return std::to_string(address.nodeIndex(d)) +
                        (address.repeatIndex(d) ? "." + std::to_string(address.repeatIndex(d)) : "");
               });
               return " " + (path.empty() ? std::string("-") : path);
             });
    });
  }

  std::string parse() {
    if (!Context) Context = std::make_unique<QVJparseContext>(&Engine);
    std::string Lines;
    try {
      Lines = QVJhl7ToXml(*Context, word(1).c_str());
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
