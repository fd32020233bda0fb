#include "QVMenumerationGrammar.h"

#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "QVMgrammarSupport.h"

namespace {

// Texts compare as C strings do (up to the first NUL), so the index keys on that part.
std::string_view QVMenumerationKey(const char* text) { return std::string_view(text ? text : ""); }

struct QVMenumerationHash {
  using is_transparent = void;
  size_t operator()(std::string_view text) const noexcept { return std::hash<std::string_view>()(text); }
};

struct QVMenumerationEqual {
  using is_transparent = void;
  bool operator()(std::string_view a, std::string_view b) const noexcept { return a == b; }
};

}  // namespace

struct QVMenumerationGrammarPrivate {
  COLstring name;
  COLstring description;
  std::vector<COLstring> items;
  // Every item once per occurrence, for the per-value check.
  std::unordered_multiset<std::string, QVMenumerationHash, QVMenumerationEqual> index;

  void indexAdd(const COLstring& item) { index.emplace(QVMenumerationKey(item.c_str())); }
  void indexRemove(const COLstring& item) {
    auto found = index.find(QVMenumerationKey(item.c_str()));
    if (found != index.end()) index.erase(found);
  }
};

QVMenumerationGrammar::QVMenumerationGrammar() : pMember(std::make_unique<QVMenumerationGrammarPrivate>()) {}

QVMenumerationGrammar::QVMenumerationGrammar(const QVMenumerationGrammar& other)
    : QVMlistedGrammar(other), pMember(std::make_unique<QVMenumerationGrammarPrivate>(*other.pMember)) {}

QVMenumerationGrammar& QVMenumerationGrammar::operator=(const QVMenumerationGrammar& other) {
  if (this == &other) return *this;
  COLstring oldName = pMember->name;
  *pMember = *other.pMember;
  QVMgrammarNameChanged(*this, oldName);
  return *this;
}

QVMenumerationGrammar::~QVMenumerationGrammar() = default;

const COLstring& QVMenumerationGrammar::name() const { return pMember->name; }
void QVMenumerationGrammar::setName(const COLstring& name) {
  COLstring oldName = std::exchange(pMember->name, name);
  QVMgrammarNameChanged(*this, oldName);
}
const COLstring& QVMenumerationGrammar::description() const { return pMember->description; }
void QVMenumerationGrammar::setDescription(const COLstring& description) { pMember->description = description; }

uint32_t QVMenumerationGrammar::countOfEnumItem() const { return static_cast<uint32_t>(pMember->items.size()); }

const COLstring& QVMenumerationGrammar::enumItem(uint32_t itemIndex) const {
  COL_PRECONDITION_TEXT(itemIndex < pMember->items.size(), "ItemIndex < pMember->Enum.size()");
  return pMember->items[itemIndex];
}

void QVMenumerationGrammar::setEnumItem(uint32_t itemIndex, const COLstring& text) {
  COL_PRECONDITION_TEXT(itemIndex < pMember->items.size(), "ItemIndex < pMember->Enum.size()");
  pMember->indexRemove(pMember->items[itemIndex]);
  pMember->items[itemIndex] = text;
  pMember->indexAdd(text);
}

void QVMenumerationGrammar::setEnumItemAt(uint32_t itemIndex) {
  COL_PRECONDITION_TEXT(itemIndex <= pMember->items.size(), "ItemIndex <= pMember->Enum.size()");
  pMember->items.insert(pMember->items.begin() + itemIndex, COLstring());
  pMember->indexAdd(COLstring());
}

void QVMenumerationGrammar::addEnumItem() { setEnumItemAt(countOfEnumItem()); }

void QVMenumerationGrammar::removeEnumItem(uint32_t itemIndex) {
  COL_PRECONDITION_TEXT(itemIndex < pMember->items.size(), "ItemIndex < pMember->Enum.size()");
  pMember->indexRemove(pMember->items[itemIndex]);
  pMember->items.erase(pMember->items.begin() + itemIndex);
}

void QVMenumerationGrammar::moveField(uint32_t fromIndex, uint32_t toIndex) {
  QVMmoveElement(pMember->items, fromIndex, toIndex);
}

bool QVMenumerationGrammar::isValid(const COLstring& text) const { return isValid(text.c_str()); }

bool QVMenumerationGrammar::isValid(std::string_view text) const {
  return pMember->index.find(text) != pMember->index.end();
}

bool QVMenumerationGrammar::isValid(const char* text) const {
  return pMember->index.find(QVMenumerationKey(text)) != pMember->index.end();
}
