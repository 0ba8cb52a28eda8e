#pragma once

#include "addons/hdqfs/DataSet.h"

#include "filedata/FileStreamReader.h"
#include "varnox/ItemAddress.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <vector>

namespace varnox::hdqfsloader {

/// The cells of one cell subzone.
struct SubzoneCells
{
    std::uint32_t numCells = 0;
    std::uint32_t numCornersPerCell = 0; ///< The first nodes of a cell.
    std::uint32_t numNodesPerCell = 0;
    std::vector<ItemAddress<long>> nodes;                              ///< Cell by cell.
    std::vector<ItemAddress<long>::SubzoneAddress> referencedSubzones; ///< Sorted, each once.

    ItemAddress<long> const* nodesOf(std::size_t cell) const
    {
        return nodes.data() + cell * numNodesPerCell;
    }
};

/// Reads the connectivity records of finite-element zones. Every reference is held to the zone:
/// what is given out exists. The subzones last read are kept, a bounded number of them, and one
/// file stays open. Failures are std::runtime_error with a text for a person.
class ConnectivityReader
{
public:
    using SubzoneAddress = ItemAddress<long>::SubzoneAddress;

    static constexpr std::size_t MAX_KEPT = 32;

    ConnectivityReader();
    ConnectivityReader(ConnectivityReader const&) = delete;
    ConnectivityReader& operator=(ConnectivityReader const&) = delete;
    ~ConnectivityReader();

    /// Valid until the next call. Throws std::out_of_range for a subzone that doesn't exist.
    SubzoneCells const& cells(DataSet::ZoneInFile const& zone, SubzoneAddress const& subzone);
    /// The cell subzones at the nodes of a node subzone, in the order of the file. Throws like
    /// cells().
    std::vector<SubzoneAddress> cellSubzones(DataSet::ZoneInFile const& zone,
                                             SubzoneAddress const& subzone);

private:
    struct Kept
    {
        DataSet::ZoneInFile zone;
        SubzoneAddress subzone;
        SubzoneCells cells;

        bool isOf(DataSet::ZoneInFile const& other, SubzoneAddress const& address) const
        {
            return subzone == address && zone.file == other.file && zone.zone == other.zone;
        }
    };

    hdqio::FileStreamReader& open(DataFile const& file);
    SubzoneCells read(DataSet::ZoneInFile const& zone, SubzoneAddress const& subzone);

    std::unique_ptr<hdqio::FileStreamReader> m_file;
    std::list<Kept> m_kept; ///< The last used first.
};

}
