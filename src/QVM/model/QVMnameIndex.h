// QVMnameIndex: name lookups over one of the model's lists of owned objects (messages, tables,
// grammars of a configuration): the first index that has a name, and the index of an object.
// Appends and renames update it in place, so an editor that renames and looks up in turn stays
// at constant time per lookup; a removal drops it, and the next lookup builds it again.
#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include "COLstring.h"

template <class Item, const COLstring& (Item::*NameOf)() const>
class QVMnameIndex {
public:
  using List = std::vector<std::unique_ptr<Item>>;
  static constexpr uint32_t npos = 0xFFFFFFFF;

  // The first index whose item has `name`, else npos.
  uint32_t find(const List& list, const COLstring& name) const {
    if (!m_Valid) rebuild(list);
    auto it = m_First.find(name);
    return it == m_First.end() ? npos : it->second;
  }

  // The index of `item` in the list, else npos.
  uint32_t position(const List& list, const Item* item) const {
    if (!m_Valid) rebuild(list);
    auto it = m_Position.find(item);
    return it == m_Position.end() ? npos : it->second;
  }

  // After an item was appended to the list.
  void appended(const List& list) {
    if (!m_Valid || list.empty()) return;
    uint32_t index = static_cast<uint32_t>(list.size() - 1);
    const Item* item = list.back().get();
    m_Position.emplace(item, index);
    m_First.emplace((item->*NameOf)(), index);  // an earlier holder of the name stays first
  }

  // After an item was removed or the list reordered.
  void invalidate() {
    m_Valid = false;
    m_First.clear();
    m_Position.clear();
  }

  // After `item` changed its name from `oldName`.  An item not (yet) in the list is ignored.
  void renamed(const List& list, const Item* item, const COLstring& oldName) {
    if (!m_Valid) return;
    auto position = m_Position.find(item);
    if (position == m_Position.end()) return;
    const COLstring& newName = (item->*NameOf)();
    if (newName == oldName) return;
    uint32_t index = position->second;
    auto holder = m_First.find(oldName);
    if (holder != m_First.end() && holder->second == index) {
      // The old name passes to the next item that has it, if any.
      m_First.erase(holder);
      for (size_t i = index + 1; i < list.size(); ++i)
        if ((list[i].get()->*NameOf)() == oldName) {
          m_First.emplace(oldName, static_cast<uint32_t>(i));
          break;
        }
    }
    auto [entry, inserted] = m_First.emplace(newName, index);
    if (!inserted && entry->second > index) entry->second = index;
  }

private:
  void rebuild(const List& list) const {
    m_First.clear();
    m_Position.clear();
    m_First.reserve(list.size());
    m_Position.reserve(list.size());
    for (size_t i = 0; i < list.size(); ++i) {
      m_First.emplace((list[i].get()->*NameOf)(), static_cast<uint32_t>(i));
      m_Position.emplace(list[i].get(), static_cast<uint32_t>(i));
    }
    m_Valid = true;
  }

  mutable std::unordered_map<COLstring, uint32_t> m_First;
  mutable std::unordered_map<const Item*, uint32_t> m_Position;
  mutable bool m_Valid = false;
};
