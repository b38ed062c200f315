// The two shapes that registries of application callbacks have. Neither locks: its owner does.
#pragma once

#include <algorithm>
#include <cstddef>
#include <map>
#include <vector>

namespace pelacon {

/// Tables by id, in ascending order of the ids. The first table of an id stays.
template <typename Key, typename Table>
class KeyedRegistry {
  public:
    /// False when the id is taken; its table then stays as it is.
    bool Add(const Key& key, Table table)
    {
        return tables_.try_emplace(key, std::move(table)).second;
    }

    /// False when there is no such id.
    bool Remove(const Key& key) { return tables_.erase(key) != 0; }

    /// The table of an id, or null.
    Table* Find(const Key& key)
    {
        const auto found = tables_.find(key);
        return found != tables_.end() ? &found->second : nullptr;
    }

    /// The lowest ids in ascending order, at most so many.
    std::vector<Key> LowestKeys(std::size_t most) const
    {
        std::vector<Key> keys;
        for (auto entry = tables_.begin(); entry != tables_.end() && keys.size() < most; ++entry) {
            keys.push_back(entry->first);
        }
        return keys;
    }

    bool Empty() const { return tables_.empty(); }

    auto begin() const { return tables_.begin(); }
    auto end() const { return tables_.end(); }

  private:
    std::map<Key, Table> tables_;
};

/// Pointers in the order in which they were added.
template <typename Table>
class PointerList {
  public:
    bool Contains(const Table* table) const
    {
        return std::find(tables_.begin(), tables_.end(), table) != tables_.end();
    }

    /// Adds the pointer even when it is there already.
    void Append(Table* table) { tables_.push_back(table); }

    /// False, with nothing added, when the pointer is there already.
    bool AddOnce(Table* table)
    {
        if (Contains(table)) {
            return false;
        }
        Append(table);
        return true;
    }

    /// Removes the pointer wherever it stands; false when it is not there.
    bool Remove(const Table* table) { return std::erase(tables_, table) != 0; }

    std::size_t Size() const { return tables_.size(); }
    bool Empty() const { return tables_.empty(); }

    auto begin() const { return tables_.begin(); }
    auto end() const { return tables_.end(); }

  private:
    std::vector<Table*> tables_;
};

}  // namespace pelacon
