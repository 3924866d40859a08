#pragma once

#include <boost/functional/hash.hpp>
#include <boost/unordered_map.hpp>

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <memory>
#include <utility>
#include <vector>

namespace foundation {

/// A map that is iterated in the order of insertion and looked up by hash.
///
/// It is a handle over one shared block: copying shares the block (constant time), moving leaves
/// the source empty and usable. A change through one handle never shows in another: a handle that
/// shares its block gets a block of its own before it is changed.
///
/// Threads: handles that share a block may be read and released on different threads; inserting
/// must not run at the same time as another thread copies or releases a handle of the same block.
template <class Key, class Value, class Hash = boost::hash<Key>, class Equal = std::equal_to<Key>>
class SequenceMap {
public:
    /// What entries are looked up by.
    using key_type = Key;
    /// What is found.
    using mapped_type = Value;
    /// An entry.
    using value_type = std::pair<Key, Value>;
    /// Valid until the next insert through the same handle, or the end of the last handle.
    using const_iterator = const value_type*;

    /// No entries; allocates nothing.
    SequenceMap() = default;

    /// Inserts the entries in their order; of several with equal keys the first stays.
    SequenceMap(std::initializer_list<value_type> entries) {
        for (const value_type& entry : entries) {
            insert(entry.first, entry.second);
        }
    }

    /// Appends an entry unless the key is there already, whose value then stays as it is.
    /// Returns whether the entry was inserted. Amortised constant time while the block is not
    /// shared, otherwise linear in the number of entries.
    bool insert(const Key& key, const Value& value) {
        if (find(key) != end()) {
            return false;
        }
        Block& own = ownBlock();
        own.entries.emplace_back(key, value);
        try {
            // Not the caller's key, which may lie in an entry that has just moved.
            own.positions.emplace(own.entries.back().first, own.entries.size() - 1);
        } catch (...) {
            own.entries.pop_back();
            throw;
        }
        return true;
    }

    /// The entry of the key, or end(). Constant time on average.
    const_iterator find(const Key& key) const {
        if (!block) {
            return end();
        }
        const auto position = block->positions.find(key);
        return position == block->positions.end() ? end() : begin() + position->second;
    }

    /// The number of entries.
    std::size_t size() const noexcept { return block ? block->entries.size() : 0; }
    /// Whether there is no entry.
    bool empty() const noexcept { return size() == 0; }

    /// The first entry in the order of insertion.
    const_iterator begin() const noexcept { return block ? block->entries.data() : nullptr; }
    /// Behind the last entry.
    const_iterator end() const noexcept { return begin() + size(); }

private:
    struct Block {
        std::vector<value_type> entries;
        boost::unordered_map<Key, std::size_t, Hash, Equal> positions;
    };

    Block& ownBlock() {
        if (!block) {
            block = std::make_shared<Block>();
        } else if (block.use_count() > 1) {
            block = std::make_shared<Block>(*block);
        }
        return *block;
    }

    std::shared_ptr<Block> block;
};

} // namespace foundation

namespace logging2::core {
using foundation::SequenceMap;
} // namespace logging2::core
