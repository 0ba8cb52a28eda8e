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

    /// Of the subzones of a partition.
    struct SubzoneTrees
    {
        std::vector<Tree> sections; ///< Null for a section that has no subzones.
        /// The subzone of each entry, for all sections; null where these are the same numbers.
        std::shared_ptr<std::vector<std::uint32_t> const> order;
    };

    static constexpr std::size_t DEFAULT_MAX_BYTES = std::size_t{64} << 20;

    explicit RangeTrees(std::size_t maxBytes = DEFAULT_MAX_BYTES) : m_maxBytes(maxBytes) {}
    RangeTrees(RangeTrees const&) = delete;
    RangeTrees& operator=(RangeTrees const&) = delete;

    /// Over the partitions of the variable's zone: the range of all node or cell subzones of each.
    /// Those of the other kind than the variable's values are joined from all their subzones at the
    /// first call, as they reach into the partitions around.
    Tree partitions(ZoneVariable& variable, Items items);
    /// Over the subzones of a partition of this layout. Throws std::runtime_error if the variable
    /// has ranges of another number.
    SubzoneTrees subzones(ZoneVariable& variable, std::uint32_t partition, Items items,
                          SubzoneLayout const& layout);

    /// Of the trees over subzones.
    std::size_t byteCount() const { return m_byteCount; }

private:
    using Key = std::tuple<ZoneVariable const*, Items, std::uint32_t>;

    struct Entry
    {
        Key key;
        std::vector<std::uint64_t> shape; ///< Of the layout.
        SubzoneTrees trees;
        std::size_t byteCount;
    };

    /// The entry, moved to the front, or null.
    Entry const* find(Key const& key);
    SubzoneTrees keep(Entry entry);

    std::size_t m_maxBytes;
    std::size_t m_byteCount = 0;
    std::list<Entry> m_entries; ///< The last used first.
    std::map<Key, std::list<Entry>::iterator> m_byKey;
    std::map<std::pair<ZoneVariable const*, Items>, Tree> m_partitions;
};

}
