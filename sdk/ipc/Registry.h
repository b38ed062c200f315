// The two shapes that registries of application callbacks have. Neither locks: its owner does.
// Either is in a forked child as it was before a change or after it.
#pragma once

#include <os/Fork.h>

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
        const os::ForkHold hold;
        return tables_.try_emplace(key, std::move(table)).second;
    }

    /// False when there is no such id.
    bool Remove(const Key& key)
    {
        const os::ForkHold hold;
        return tables_.erase(key) != 0;
    }

    /// The table of an id, or null.
    Table* Find(const Key& key)
    {
        const auto found = tables_.find(key);
        return found != tables_.end() ? &found->second : nullptr;
    }

    /// The lowest ids in ascending order, at most `most`.
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

/// Values in the order in which they were added.
template <typename Value>
class OrderedList {
  public:
    bool Contains(const Value& value) const
    {
        return std::find(values_.begin(), values_.end(), value) != values_.end();
    }

    /// Adds the value even when it is registered already.
    void Append(const Value& value)
    {
        const os::ForkHold hold;
        values_.push_back(value);
    }

    /// False, with nothing added, when the value is registered already.
    bool AddOnce(const Value& value)
    {
        if (Contains(value)) {
            return false;
        }
        Append(value);
        return true;
    }

    /// Removes the value wherever it stands; false when it is not there.
    bool Remove(const Value& value)
    {
        const os::ForkHold hold;
        return std::erase(values_, value) != 0;
    }

    /// Calls the action with each value. The action may change the list: a value that it adds is
    /// not visited, nor is one that it removes.
    template <typename Action>
    void ForEach(const Action& action) const
    {
        for (const Value& value : std::vector(values_)) {
            if (Contains(value)) {
                action(value);
            }
        }
    }

    std::size_t Size() const { return values_.size(); }
    bool Empty() const { return values_.empty(); }

    auto begin() const { return values_.begin(); }
    auto end() const { return values_.end(); }

  private:
    std::vector<Value> values_;
};

}  // namespace pelacon
