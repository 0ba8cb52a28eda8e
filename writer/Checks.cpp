#include "writer/Checks.h"

#include "filedata/FileDescription.h"
#include "filedata/IODescription.h"
#include "filedata/MinMaxTree.h"
#include "writer/ZoneShape.h"

#include <boost/geometry.hpp>
#include <boost/geometry/geometries/box.hpp>
#include <boost/geometry/geometries/point.hpp>
#include <boost/geometry/index/rtree.hpp>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace varnox::hdqfswriter {

namespace {

/// Items of a partition have 32-bit numbers in memory.
constexpr std::uint64_t MOST_ITEMS = 0xFFFFFFF0;
constexpr std::uint64_t MOST_NODES_OF_A_ZONE = std::uint64_t{hdqio::MinMaxTree::MAX_ENTRIES} * 256;
/// A section is 4 bits of an address.
constexpr std::size_t MOST_SECTIONS = 16;

class Checker
{
public:
    Checker(DataSet const& dataSet, Options const& options, std::uint32_t version)
        : m_dataSet(dataSet), m_options(options), m_version(version)
    {
    }

    void check()
    {
        checkOptions();
        require(m_dataSet.title.size() <= 0xFFFFFFFF, "A title can't be longer than 4 GiB.");
        require(!m_dataSet.zones.empty(), "A file needs a zone.");
        require(!m_dataSet.variableNames.empty(), "A file needs a variable.");
        require(m_dataSet.zones.size() < 0x7FFFFFFF && m_dataSet.variableNames.size() < 0x7FFFFFFF,
                "A file can't have that many zones and variables.");
        for (m_zoneIndex = 0; m_zoneIndex < m_dataSet.zones.size(); ++m_zoneIndex)
            checkZone();
        checkParents();
        for (AuxiliaryData const& aux : m_dataSet.auxiliaryData)
            require(aux.auxDataLocation != AuxiliaryData::OF_A_VARIABLE ||
                        aux.auxDataEntity < m_dataSet.variableNames.size(),
                    "The auxiliary data '" + aux.auxDataName +
                        "' belong to a variable that doesn't exist.");
    }

private:
    static void require(bool holds, std::string const& otherwise)
    {
        if (!holds)
            throw std::runtime_error(otherwise);
    }

    /// A sentence about the zone.
    void requireOfZone(bool holds, std::string const& otherwise) const
    {
        if (!holds)
            throw std::runtime_error("Cannot write " + nameOf(m_dataSet, m_zoneIndex) + ": " +
                                     otherwise + ".");
    }

    Zone const& zone() const { return m_dataSet.zones[m_zoneIndex]; }

    /// Readers go from a zone to its parents up to the last one.
    void checkParents()
    {
        enum class State : std::uint8_t { Unknown, OnTheWay, Ends };
        std::vector<State> states(m_dataSet.zones.size(), State::Unknown);
        for (m_zoneIndex = 0; m_zoneIndex < states.size(); ++m_zoneIndex) {
            std::vector<std::size_t> way;
            std::size_t z = m_zoneIndex;
            while (states[z] == State::Unknown) {
                states[z] = State::OnTheWay;
                way.push_back(z);
                if (m_dataSet.zones[z].parentZone == -1)
                    break;
                z = static_cast<std::size_t>(m_dataSet.zones[z].parentZone);
                requireOfZone(states[z] != State::OnTheWay, "its parents go round in a ring");
            }
            for (std::size_t const passed : way)
                states[passed] = State::Ends;
        }
    }

    void checkOptions() const
    {
        require(m_options.fileType <= FileType::Solution, "There is no such type of file.");
        require(m_options.order <= ItemOrder::Keep, "There is no such order of items.");
        require(m_version >= hdqio::OLDEST_FILE_VERSION && m_version <= hdqio::NEWEST_FILE_VERSION,
                "There is no file version " + std::to_string(m_version) + ": 104 to 232.");
        require(m_version >= hdqio::FIRST_VERSION_WITH_FILE_TYPE ||
                    m_options.fileType == FileType::Full,
                "Files of version 104 are full files.");
        std::uint32_t items = 1;
        for (std::uint16_t const size : m_options.subzoneSize) {
            require(size != 0, "A subzone size can't be 0.");
            items = items > 256 ? items : items * size;
        }
        require(items <= 256, "A subzone can't hold more than 256 items.");
    }

    void checkZone() const
    {
        requireOfZone(zone().type <= ZoneType::Mixed, "it has no type");
        requireOfZone(zone().source != nullptr, "it has no source");
        requireOfZone(std::isfinite(zone().solutionTime), "its solution time is no finite number");
        requireOfZone(zone().variables.size() == m_dataSet.variableNames.size(),
                      "it describes " + std::to_string(zone().variables.size()) + " of " +
                          std::to_string(m_dataSet.variableNames.size()) + " variables");
        if (isOrdered(zone()))
            checkOrdered();
        else
            checkFiniteElement();
        checkRelations();
        for (std::size_t v = 0; v < zone().variables.size(); ++v)
            checkVariable(v);
    }

    void checkOrdered() const
    {
        std::uint64_t nodes = 1;
        for (std::uint64_t const size : zone().size) {
            requireOfZone(size != 0, "it has no nodes");
            requireOfZone(!__builtin_mul_overflow(nodes, size, &nodes) &&
                              nodes <= MOST_NODES_OF_A_ZONE,
                          "it has more nodes than subzones can hold");
        }
        requireOfZone(zone().sections.empty(), "only a mixed zone has sections");
        if (!zone().partitions.empty())
            checkBoxes();
    }

    void checkBoxes() const
    {
        namespace bg = boost::geometry;
        using Corner = bg::model::point<double, 3, bg::cs::cartesian>;
        using Region = bg::model::box<Corner>;
        checkPartitionCount();
        for (std::uint64_t const size : zone().size)
            requireOfZone(zone().partitions.size() == 1 || size > 1,
                          "a zone in partitions can't be flat along an axis");
        bg::index::rtree<Region, bg::index::quadratic<8>> taken;
        std::uint64_t nodes = 0;
        for (Partition const& partition : zone().partitions) {
            Box const& box = partition.nodes;
            for (std::size_t axis = 0; axis < 3; ++axis)
                requireOfZone(box.begin[axis] < box.end[axis] && box.end[axis] <= zone().size[axis],
                              "a partition is no box inside the zone");
            // Half a node less on each side, so that neighbours don't touch.
            auto const cornerOf = [](std::array<std::uint64_t, 3> const& at, double by) {
                return Corner(static_cast<double>(at[0]) + by, static_cast<double>(at[1]) + by,
                              static_cast<double>(at[2]) + by);
            };
            Region const region(cornerOf(box.begin, 0.25), cornerOf(box.end, -0.25));
            requireOfZone(taken.qbegin(bg::index::intersects(region)) == taken.qend(),
                          "its partitions overlap");
            taken.insert(region);
            nodes += box.numItems();
        }
        requireOfZone(nodes == numNodes(zone()), "its partitions don't fill it");
    }

    void checkPartitionCount() const
    {
        requireOfZone(zone().partitions.size() <= 1 || zone().isInSubzones,
                      "only a zone in subzones can be partitioned");
        requireOfZone(zone().partitions.size() <= hdqio::IODescription::UNSET_PARTITION,
                      "it has more partitions than addresses can name");
    }

    void checkFiniteElement() const
    {
        requireOfZone(!zone().isInSubzones || isVolume(zone()),
                      "only ordered zones and zones of volumes can be in subzones");
        requireOfZone(!zone().partitions.empty(), "it has no partition");
        checkPartitionCount();
        checkSections();
        std::size_t const numSections = sectionsOf(zone()).size();
        std::uint64_t nodes = 0;
        std::uint64_t cells = 0;
        for (Partition const& partition : zone().partitions) {
            requireOfZone(partition.numCells.size() == numSections,
                          "a partition must tell the cells of each section");
            requireOfZone(partition.numNodes != 0, "a partition has no nodes");
            requireOfZone(partition.numNodes <= MOST_ITEMS,
                          "a partition has more than 4 billion nodes");
            std::uint64_t cellsHere = 0;
            for (std::uint64_t const count : partition.numCells) {
                requireOfZone(count <= MOST_ITEMS && cellsHere + count <= MOST_ITEMS,
                              "a partition has more than 4 billion cells");
                cellsHere += count;
            }
            nodes += partition.numNodes;
            cells += cellsHere;
        }
        requireOfZone(zone().isInSubzones || nodes <= MOST_ITEMS,
                      "it has more than 4 billion nodes");
        requireOfZone(m_version >= hdqio::FIRST_VERSION_WITH_64_BIT_COUNTS ||
                          (nodes <= 0xFFFFFFFF && cells <= 0xFFFFFFFF),
                      "so many nodes and cells need file version 232");
    }

    void checkSections() const
    {
        if (zone().type != ZoneType::Mixed) {
            requireOfZone(zone().sections.empty(), "only a mixed zone has sections");
            return;
        }
        requireOfZone(m_version >= hdqio::FIRST_VERSION_WITH_SECTIONS,
                      "a mixed zone needs file version 106 or above");
        requireOfZone(!zone().sections.empty() && zone().sections.size() <= MOST_SECTIONS,
                      "a mixed zone has 1 to 16 sections");
        for (Section const& section : zone().sections)
            requireOfZone(section.shape <= CellShape::Prism && section.gridOrder != 0,
                          "a section has no shape or no order");
    }

    bool isZone(std::int32_t index) const
    {
        return index >= 0 && static_cast<std::size_t>(index) < m_dataSet.zones.size();
    }

    void checkRelations() const
    {
        requireOfZone(zone().parentZone == -1 || isZone(zone().parentZone),
                      "its parent doesn't exist");
        std::int32_t const from = zone().connectivityFrom;
        if (from == -1)
            return;
        requireOfZone(isZone(from) && static_cast<std::size_t>(from) != m_zoneIndex,
                      "the zone whose connectivity it shares doesn't exist");
        Zone const& other = m_dataSet.zones[static_cast<std::size_t>(from)];
        requireOfZone(!isOrdered(zone()), "an ordered zone has no connectivity to share");
        requireOfZone(other.connectivityFrom == -1,
                      "the zone whose connectivity it shares shares another's");
        requireOfZone(isCutAlike(zone(), other),
                      "the zone whose connectivity it shares is cut up in another way");
    }

    static bool isCutAlike(Zone const& a, Zone const& b)
    {
        if (a.type != b.type || a.isInSubzones != b.isInSubzones || a.size != b.size ||
            numPartitions(a) != numPartitions(b) || a.sections.size() != b.sections.size())
            return false;
        for (std::size_t s = 0; s < a.sections.size(); ++s)
            if (a.sections[s].shape != b.sections[s].shape ||
                a.sections[s].gridOrder != b.sections[s].gridOrder)
                return false;
        for (std::size_t p = 0; p < a.partitions.size() && p < b.partitions.size(); ++p) {
            Partition const& one = a.partitions[p];
            Partition const& other = b.partitions[p];
            if (one.nodes.begin != other.nodes.begin || one.nodes.end != other.nodes.end ||
                one.numNodes != other.numNodes || one.numCells != other.numCells)
                return false;
        }
        return true;
    }

    void checkVariable(std::size_t v) const
    {
        ZoneVariable const& variable = zone().variables[v];
        std::string const name = "variable '" + m_dataSet.variableNames[v] + "' ";
        requireOfZone(variable.type >= ValueType::Float && variable.type <= ValueType::Bit,
                      name + "has no type");
        requireOfZone(variable.location <= ValueLocation::Nodes, name + "has no location");
        if (variable.sharedFrom == -1)
            return;
        requireOfZone(!variable.isPassive, name + "is passive and shared");
        requireOfZone(variable.sharedFrom >= 0 &&
                          static_cast<std::size_t>(variable.sharedFrom) < m_zoneIndex,
                      name + "can only be shared from a zone ahead of it");
        Zone const& other = m_dataSet.zones[static_cast<std::size_t>(variable.sharedFrom)];
        ZoneVariable const& source = other.variables[v];
        requireOfZone(!source.isPassive && source.sharedFrom == -1,
                      name + "is shared from a zone without values of its own");
        requireOfZone(source.type == variable.type && source.location == variable.location &&
                          isCutAlike(zone(), other),
                      name + "is shared from a zone where it is of another kind");
    }

    DataSet const& m_dataSet;
    Options const& m_options;
    std::uint32_t m_version;
    std::size_t m_zoneIndex = 0;
};

}

void checkDataSet(DataSet const& dataSet, Options const& options, std::uint32_t version)
{
    Checker(dataSet, options, version).check();
}

}
