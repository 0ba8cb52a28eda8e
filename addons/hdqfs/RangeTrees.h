#pragma once

#include "addons/hdqfs/ZoneVariable.h"

#include "filedata/MinMaxTree.h"

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <tuple>
#include <utility>
#include <vector>

namespace varnox::hdqfsloader {

/// The ranges of variables as trees, in which a search leaves out what can't hold a value. Trees
/// over subzones stay for the next search while they fit into the limit; the longest unused go
/// first. A bound that a file gives as not-a-number bounds nothing.
class RangeTrees
{
public:
    using Tree = std::shared_ptr<hdqio::MinMaxTree const>;

    static constexpr std::size_t DEFAULT_MAX_BYTES = std::size_t{64} << 20;

    explicit RangeTrees(std::size_t maxBytes = DEFAULT_MAX_BYTES) : m_maxBytes(maxBytes) {}
    RangeTrees(RangeTrees const&) = delete;
    RangeTrees& operator=(RangeTrees const&) = delete;

    /// Over the partitions of the variable's zone: the range of all node or cell subzones of each.
    /// Those of the other kind than the variable's values are joined from all their subzones at the
    /// first call, as they reach into the partitions around.
    Tree partitions(ZoneVariable& variable, Items items);
    /// Over the subzones of each section of a partition; null for a section that has none. counts:
    /// subzones of each section. Throws std::runtime_error if the variable has ranges of another
    /// number.
    std::vector<Tree> subzones(ZoneVariable& variable, std::uint32_t partition, Items items,
                               std::vector<std::uint64_t> const& counts);

    /// Of the trees over subzones.
    std::size_t byteCount() const { return m_byteCount; }

private:
    using Key = std::tuple<ZoneVariable const*, Items, std::uint32_t>;

    struct Entry
    {
        Key key;
        std::vector<std::uint64_t> counts;
        std::vector<Tree> trees;
        std::size_t byteCount;
    };

    /// The entry, moved to the front, or null.
    Entry const* find(Key const& key);
    std::vector<Tree> keep(Entry entry);

    std::size_t m_maxBytes;
    std::size_t m_byteCount = 0;
    std::list<Entry> m_entries; ///< The last used first.
    std::map<Key, std::list<Entry>::iterator> m_byKey;
    std::map<std::pair<ZoneVariable const*, Items>, Tree> m_partitions;
};

}
