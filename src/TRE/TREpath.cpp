#include "TREpath.h"

#include <cctype>
#include <cstdlib>
#include <mutex>

#include "COLerror.h"

namespace {
[[noreturn]] void raise(const COLstring& text) { throw COLerror(text, COL_ERROR_PRECONDITION); }

// Paths nest through expressions; a text this deep is no path anyone wrote.
constexpr unsigned MaximumNesting = 64;
}  // namespace

// One node of an expression: an operator with two sides, or a leaf.
struct TREpathExpression {
  enum Kind { Binary, Path, String, Index, Variable };
  Kind kind;
  COLstring op;    // Binary: "!=", ">=", ">", "<=", "<", "=", "*", "%", "+"
  COLstring text;  // String, Variable
  int32_t index = 0;
  TREpath path;
  std::shared_ptr<const TREpathExpression> left, right;

  static std::shared_ptr<const TREpathExpression> parse(const COLstring& text, unsigned depth);
  COLstring toXPath() const;
  TREvariant evaluate(TREinstance& instance, const TREvariableTable* variables) const;
};

namespace {
TREpath parsePath(const COLstring& text, unsigned depth);

COLstring trimmed(const COLstring& text) {
  size_t start = 0, end = text.size();
  while (start < end && std::strchr(" \t\r\n", text[start])) ++start;
  while (end > start && std::strchr(" \t\r\n", text[end - 1])) --end;
  return COLstring(text.str().substr(start, end - start));
}

// The position of the "]" that closes the "[" at `open`, or npos.
size_t closingBracket(const std::string& text, size_t open) {
  int depth = 0;
  char quote = 0;
  for (size_t i = open; i < text.size(); ++i) {
    char c = text[i];
    if (quote) {
      if (c == quote) quote = 0;
    } else if (c == '\'' || c == '"') {
      quote = c;
    } else if (c == '[') {
      ++depth;
    } else if (c == ']' && --depth == 0) {
      return i;
    }
  }
  return std::string::npos;
}

TREpath::Step stepOf(const std::string& text, bool first, unsigned depth) {
  TREpath::Step step{TREpath::Member, COLstring(text), 0, nullptr};
  if (!text.empty() && text.back() == '#') {
    step.kind = TREpath::Global;
    step.name = COLstring(text.substr(0, text.size() - 1));
  } else if (text == "..") {
    step.kind = TREpath::ComplexParent;
  } else if (!text.empty() && text[0] == '.') {
    step.kind = TREpath::Current;
  } else if (text.find_first_of("=!*") != std::string::npos || text.find("()") != std::string::npos) {
    // A step that is a condition: it stays where it is and tests it.
    step.kind = TREpath::ExpressionOnly;
    step.expression = TREpathExpression::parse(COLstring(text), depth + 1);
  } else if (!text.empty() && text[0] == '$') {
    if (!first) raise(COLstring("a variable may only start a path: ") + text.c_str());
    step.kind = TREpath::Variable;
    step.name = COLstring(text.substr(1));
  } else if (text.rfind("ID:", 0) == 0 && text.find('.') != std::string::npos) {
    size_t dot = text.rfind('.');
    step.kind = TREpath::ById;
    step.name = COLstring(text.substr(3, dot - 3));
    step.id = uint32_t(std::strtoul(text.c_str() + dot + 1, nullptr, 10));
  }
  return step;
}

TREpath parsePath(const COLstring& whole, unsigned depth) {
  if (depth > MaximumNesting) raise("path nested too deeply");
  TREpath path;
  std::string rest = whole.str();
  if (!rest.empty() && rest[0] == '/') {
    path.append({TREpath::Root, COLstring(), 0, nullptr});
    rest.erase(0, 1);
  }
  bool first = true;
  while (!rest.empty()) {
    size_t slash = rest.find('/'), bracket = rest.find('[');
    TREpath::Step step;
    if (bracket != std::string::npos && (slash == std::string::npos || bracket < slash)) {
      size_t close = closingBracket(rest, bracket);
      if (close == std::string::npos) raise(COLstring("bracket in path must have close ") + rest.c_str());
      step = stepOf(rest.substr(0, bracket), first, depth);
      if (step.kind == TREpath::ExpressionOnly) raise(COLstring("a condition can't be indexed: ") + rest.c_str());
      step.expression = TREpathExpression::parse(COLstring(rest.substr(bracket + 1, close - bracket - 1)), depth + 1);
      rest.erase(0, close + 1);
      if (!rest.empty() && rest[0] == '/') rest.erase(0, 1);
    } else {
      step = stepOf(rest.substr(0, slash), first, depth);
      rest.erase(0, slash == std::string::npos ? rest.size() : slash + 1);
    }
    path.append(std::move(step));
    first = false;
  }
  return path;
}

std::mutex GlobalLock;
std::unordered_map<COLstring, TREinstance*>& globals() {
  static std::unordered_map<COLstring, TREinstance*> Globals;
  return Globals;
}

TREinstance* member(TREinstance& instance, const COLstring& name) {
  if (instance.classType() != TREinstance::eComplex)
    raise(COLstring("Cannot bind to member ") + name + " on non-complex object.");
  TREinstanceSimple* slot = static_cast<TREinstanceComplex&>(instance).member(name);
  return slot ? &TREinstance::toInstance(*slot) : nullptr;
}

const TREvariant& simpleValue(TREinstance& instance) {
  COL_PRECONDITION_TEXT(instance.classType() == TREinstance::eSimple, "pVariableValue->classType() == eSimple");
  return static_cast<TREinstanceSimple&>(instance).value();
}
}  // namespace

std::shared_ptr<const TREpathExpression> TREpathExpression::parse(const COLstring& source, unsigned depth) {
  if (depth > MaximumNesting) raise("expression nested too deeply");
  COLstring text = trimmed(source);
  auto node = std::make_shared<TREpathExpression>();
  const std::string& raw = text.str();
  if (!raw.empty() && raw[0] == '(') {
    size_t close = raw.rfind(')');
    if (close == std::string::npos) raise(COLstring("parenthesis in expression must have close ") + text);
    if (trimmed(COLstring(raw.substr(close + 1))).empty()) return parse(COLstring(raw.substr(1, close - 1)), depth + 1);
  }
  for (const char* op : {"!=", ">=", ">", "<=", "<", "=", "*", "%", "+"}) {
    size_t at = raw.find(op);
    if (at == std::string::npos) continue;
    node->kind = Binary;
    node->op = op;
    node->left = parse(COLstring(raw.substr(0, at)), depth + 1);
    node->right = parse(COLstring(raw.substr(at + std::strlen(op))), depth + 1);
    return node;
  }
  if (raw.find('/') != std::string::npos) {
    node->kind = Path;
    node->path = parsePath(text, depth + 1);
  } else if (raw.find("()") != std::string::npos) {
    raise(COLstring("illegal function name ") + COLstring(raw.substr(0, raw.find('('))));
  } else if (!raw.empty() && (raw[0] == '\'' || raw[0] == '"')) {
    if (raw.size() < 2 || raw.back() != raw[0]) raise(COLstring("quoted string must end with a quote ") + text);
    node->kind = String;
    node->text = COLstring(raw.substr(1, raw.size() - 2));
  } else if (!raw.empty() && raw[0] == '$') {
    node->kind = Variable;
    node->text = COLstring(raw.substr(1));
  } else if (!raw.empty() && std::isdigit(static_cast<unsigned char>(raw[0]))) {
    node->kind = Index;
    node->index = std::atoi(raw.c_str());
  } else {
    if (raw.empty()) raise("empty expression");
    node->kind = Path;
    node->path = parsePath(text, depth + 1);
  }
  return node;
}

COLstring TREpathExpression::toXPath() const {
  switch (kind) {
    case Binary: return left->toXPath() + op + right->toXPath();
    case Path: return path.toXPath();
    case String: return COLstring("'") + text + "'";
    case Index: return COLstring(std::to_string(index));
    case Variable: return COLstring("$") + text;
  }
  return COLstring();
}

TREvariant TREpathExpression::evaluate(TREinstance& instance, const TREvariableTable* variables) const {
  switch (kind) {
    case Binary: {
      TREvariant a = left->evaluate(instance, variables), b = right->evaluate(instance, variables);
      if (op == "*" || op == "%" || op == "+") {
        int64_t x = a.integerValue(), y = b.integerValue();
        if (op == "%" && y == 0) raise("division by zero in expression " + toXPath());
        return TREvariant(int32_t(op == "*" ? x * y : op == "%" ? x % y : x + y));
      }
      int order = a.compare(b);
      if (op == "=") return TREvariant(order == 0);
      if (op == "!=") return TREvariant(order != 0);
      if (op == "<") return TREvariant(order < 0);
      if (op == "<=") return TREvariant(order <= 0);
      if (op == ">") return TREvariant(order > 0);
      return TREvariant(order >= 0);
    }
    case Path: {
      TREinstance* found = path.bind(instance, variables);
      if (!found) raise(COLstring("can't bind to ") + path.toXPath());
      return simpleValue(*found);
    }
    case String: return TREvariant(text);
    case Index: return TREvariant(index);
    case Variable: {
      auto found = variables ? variables->find(text) : TREvariableTable::const_iterator();
      if (!variables || found == variables->end()) raise(COLstring("unknown variable name ") + text);
      return simpleValue(*found->second);
    }
  }
  return TREvariant();
}

TREpath TREpath::fromXPath(const COLstring& text) { return parsePath(text, 0); }

COLstring TREpath::toXPath() const {
  COLstring text;
  for (size_t i = 0; i < m_Steps.size(); ++i) {
    const Step& step = m_Steps[i];
    if (i > 0) text += "/";
    switch (step.kind) {
      case Root: break;
      case Current: text += "."; break;
      case ComplexParent: text += ".."; break;
      case Member: text += step.name; break;
      case Global: text += step.name + "#"; break;
      case Variable: text += COLstring("$") + step.name; break;
      case ById: text += COLstring("ID:") + step.name + "." + std::to_string(step.id); break;
      case ExpressionOnly: text += step.expression->toXPath(); continue;
    }
    if (step.expression) text += COLstring("[") + step.expression->toXPath() + "]";
  }
  if (m_Steps.size() == 1 && m_Steps[0].kind == Root) text = "/";
  return text;
}

TREinstance* TREpathParent(TREinstance& instance) {
  // A complex or a collection hangs in the slot of its member or item; the owner is the slot's
  // parent.  A simple value is a slot itself.
  if (instance.classType() == TREinstance::eSimple) return instance.parent();
  TREinstance* slot = instance.parent();
  return slot ? slot->parent() : nullptr;
}

TREinstance* TREpath::bind(TREinstance& from, const TREvariableTable* variables) const {
  TREinstance* current = &from;
  for (const Step& step : m_Steps) {
    switch (step.kind) {
      case Root: current = current->root() ? &current->root()->instance() : nullptr; break;
      case Current:
      case ExpressionOnly: break;
      case ComplexParent:
        current = TREpathParent(*current);
        while (current && current->classType() == TREinstance::eVector) current = TREpathParent(*current);
        break;
      case Member: current = member(*current, step.name); break;
      case Global: {
        std::lock_guard<std::mutex> guard(GlobalLock);
        auto found = globals().find(step.name);
        current = found == globals().end() ? nullptr : found->second;
        break;
      }
      case Variable: {
        auto found = variables ? variables->find(step.name) : TREvariableTable::const_iterator();
        if (!variables || found == variables->end()) raise(COLstring("unknown variable name ") + step.name);
        current = found->second;
        break;
      }
      case ById:
        current = current->root() ? current->root()->instanceGlobal(step.name, step.id) : nullptr;
        break;
    }
    if (!current) return nullptr;
    if (!step.expression) continue;
    if (current->classType() == TREinstance::eVector) {
      auto& items = static_cast<TREinstanceVector&>(*current);
      TREinstance* chosen = nullptr;
      for (size_t i = 0; i < items.size() && !chosen; ++i) {
        TREinstance& item = TREinstance::toInstance(items[i]);
        TREvariant result = step.expression->evaluate(item, variables);
        int64_t n = 0;
        if (result.getNumericValue(n)) {
          if (n >= 1 && uint64_t(n) <= items.size()) chosen = &TREinstance::toInstance(items[size_t(n - 1)]);
          break;
        }
        if (result.baseType() != TREbaseType::Boolean)
          raise(COLstring("expression must evaulate to an integer or boolean value ") + step.expression->toXPath());
        if (result.boolean()) chosen = &item;
      }
      current = chosen;
    } else {
      TREvariant result = step.expression->evaluate(*current, variables);
      if (result.baseType() != TREbaseType::Boolean)
        raise(COLstring("expression must evaulate to a boolean value ") + step.expression->toXPath());
      if (!result.boolean()) current = nullptr;
    }
    if (!current) return nullptr;
  }
  return current;
}

void TREpath::addGlobalReference(const COLstring& name, TREinstance* instance) {
  COL_PRECONDITION_TEXT(!name.empty(), "!Name.is_null()");
  std::lock_guard<std::mutex> guard(GlobalLock);
  globals()[name] = instance;
}

void TREpath::removeGlobalReference(const COLstring& name) {
  std::lock_guard<std::mutex> guard(GlobalLock);
  globals().erase(name);
}

bool TREpath::hasGlobalReference(const COLstring& name) {
  std::lock_guard<std::mutex> guard(GlobalLock);
  return globals().count(name) != 0;
}
