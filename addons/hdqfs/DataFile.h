#pragma once

#include "addons/hdqfs/SubzoneLayout.h"
#include "addons/hdqfs/ValueReader.h"

#include "filedata/FileDescription.h"
#include "filedata/FileStreamReader.h"
#include "filedata/HeaderBudget.h"
#include "filedata/TagList.h"
#include "filedata/ZoneMetadata.h"
#include "filedata/ZoneVarMetadata.h"

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace varnox::hdqfsloader {

/// The two kinds of items that values stand at.
enum class Items { Cells, Nodes };

/// One HDQFS file with its headers. Opening reads the data set header; the headers of zones and
/// partitions are read when they are first needed. Zone, partition and variable indices count from 0
/// in the file. Failures are std::runtime_error with a text for a person.
class DataFile
{
public:
    explicit DataFile(std::string path);
    DataFile(DataFile const&) = delete;
    DataFile& operator=(DataFile const&) = delete;

    /// While one lives, the headers of partitions are read through one open file. Otherwise each
    /// opens it, so that a data set of many files needs no descriptor for each.
    class KeptOpen
    {
    public:
        explicit KeptOpen(DataFile& file) : m_file(file) { m_file.m_isKeptOpen = true; }
        KeptOpen(KeptOpen const&) = delete;
        KeptOpen& operator=(KeptOpen const&) = delete;
        ~KeptOpen()
        {
            m_file.m_isKeptOpen = false;
            m_file.m_kept.reset();
        }

    private:
        DataFile& m_file;
    };

    /// For messages.
    std::string zoneName(std::uint32_t zone) const;
    std::string const& path() const { return m_path; }
    std::string const& title() const { return m_title; }
    DataFileType_e type() const { return m_description.dataFileType(); }
    hdqio::ZoneVarMetadata const& headers() const { return m_headers; }
    std::uint32_t numZones() const { return m_numZones; }
    std::uint32_t numVars() const { return m_numVars; }
    hdqio::FileDescription const& description() const { return m_description; }
    /// Of the data set header.
    hdqio::TagMap const& tags() const { return m_tags; }
    std::uint64_t zoneHeaderFileLoc(std::uint32_t zone) const { return m_zoneHeaderFileLocs[zone]; }

    bool isNodal(std::uint32_t zone, std::uint32_t var) const;
    bool isPassive(std::uint32_t zone, std::uint32_t var) const;
    /// The zone whose values this one shares, or -1.
    std::int32_t sharedFrom(std::uint32_t zone, std::uint32_t var) const;
    ValueType valueType(std::uint32_t zone, std::uint32_t var) const;

    /// The zone that has the connectivity of this one: itself, unless it shares another's.
    std::uint32_t connectivityOf(std::uint32_t zone) const { return m_connectivityOf[zone]; }

    /// The zone with its own header read.
    hdqio::ZoneMetadata const& zone(std::uint32_t zone);
    /// A partition of an HDQ zone with its header read, which is then in the zone as well.
    hdqio::PartitionMetadata const& partition(std::uint32_t zone, std::uint32_t partition);

    /// How the nodes or the cells of a partition of an HDQ zone lie in subzones.
    SubzoneLayout const& layout(std::uint32_t zone, std::uint32_t partition, Items items);

    /// The number of values that a variable has in a zone of its size.
    std::uint64_t numValues(std::uint32_t zone, std::uint32_t var) const;
    /// The values of a variable in a partition of an HDQ zone.
    ValueArray values(std::uint32_t zone, std::uint32_t var, std::uint32_t partition);
    /// The values of a variable in a plain zone, all of them.
    ValueArray plainValues(std::uint32_t zone, std::uint32_t var);
    /// The nodes of the cells of a plain finite-element zone, section after section.
    ValueArray nodeMap(std::uint32_t zone);

    /// Ranges of a variable in an HDQ zone: one for each partition, of the values in it.
    std::vector<hdqio::MinMax> partitionRanges(std::uint32_t zone, std::uint32_t var);
    /// One for each subzone of a partition, section after section.
    std::vector<hdqio::MinMax> subzoneRanges(std::uint32_t zone, std::uint32_t var,
                                             std::uint32_t partition, Items items);

private:
    void readHeaders();
    bool hasArrays(int numZones, int numVars) const;
    void checkHeaders() const;
    void requireValues(std::uint64_t location, std::uint32_t zone, std::uint32_t var) const;
    void resolveConnectivitySharing();
    hdqio::FileStreamReader& opened(std::optional<hdqio::FileStreamReader>& reader) const;

    std::string m_path;
    std::string m_title;
    hdqio::FileDescription m_description;
    std::uint32_t m_numZones = 0;
    std::uint32_t m_numVars = 0;
    hdqio::TagMap m_tags;
    hdqio::ZoneVarMetadata m_headers;
    hdqio::LightweightVector<std::uint64_t> m_zoneHeaderFileLocs;
    std::vector<std::uint32_t> m_connectivityOf; ///< By zone.
    std::unordered_map<std::uint32_t, hdqio::ZoneMetadata> m_zones;
    hdqio::HeaderBudget m_headerBudget;
    bool m_isKeptOpen = false;
    std::optional<hdqio::FileStreamReader> m_kept;
    std::unordered_set<std::uint32_t> m_damagedZones; ///< Those found so far.
    std::set<std::pair<std::uint32_t, std::uint32_t>> m_readPartitions; ///< Zone and partition.
    std::map<std::tuple<std::uint32_t, std::uint32_t, Items>, SubzoneLayout> m_layouts;
};

/// How the nodes or the cells of a partition lie in subzones, in an HDQ zone whose header has been read.
SubzoneLayout layoutOf(hdqio::ZoneMetadata const& zone, std::uint32_t partition, Items items);

/// What all ranges lie in; a bound that is not-a-number bounds nothing. Of none [+infinity, -infinity].
hdqio::MinMax joined(std::vector<hdqio::MinMax> const& ranges);

/// The product of three sizes; a negative one or an overflow is an error in the file named.
std::uint64_t itemCount(std::int64_t a, std::int64_t b, std::int64_t c, std::string const& path);

/// Cells along an axis of an ordered zone: one at least.
std::int64_t numCellsAlong(std::int64_t nodes);

}
