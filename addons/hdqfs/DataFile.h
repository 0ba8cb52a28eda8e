#pragma once

#include "addons/hdqfs/SubzoneLayout.h"
#include "addons/hdqfs/ValueReader.h"

#include "filedata/FileDescription.h"
#include "filedata/ZoneMetadata.h"
#include "filedata/ZoneVarMetadata.h"

#include <cstdint>
#include <string>
#include <vector>

namespace varnox::hdqfsloader {

/// Range of the values of a subzone, a partition or a zone.
struct Range
{
    double min;
    double max;
};

/// One HDQFS file with its headers. Opening reads the data set header; zone and partition headers are
/// read when they are first needed. Zone, partition and variable indices count from 0 in the file.
/// Failures are std::runtime_error with a text for a person.
class DataFile
{
public:
    explicit DataFile(std::string path);
    DataFile(DataFile const&) = delete;
    DataFile& operator=(DataFile const&) = delete;

    std::string const& path() const { return m_path; }
    std::string const& title() const { return m_title; }
    hdqio::FileDescription const& description() const { return m_description; }
    hdqio::ZoneVarMetadata const& headers() const { return m_headers; }
    std::uint32_t numZones() const { return static_cast<std::uint32_t>(m_headers.numZones); }
    std::uint32_t numVars() const { return m_numVars; }

    ValueType valueType(std::uint32_t zoneIndex, std::uint32_t varIndex) const;
    bool isNodal(std::uint32_t zoneIndex, std::uint32_t varIndex) const;
    bool isPassive(std::uint32_t zoneIndex, std::uint32_t varIndex) const;
    /// The zone whose values this one shares, or -1.
    std::int32_t sharedFrom(std::uint32_t zoneIndex, std::uint32_t varIndex) const;

    /// The zone with its own header read.
    hdqio::ZoneMetadata const& zone(std::uint32_t zoneIndex);

    /// How the nodes or the cells of a partition of an HDQ zone lie in subzones.
    SubzoneLayout layout(std::uint32_t zoneIndex, std::uint32_t partition, bool nodes);

    /// The values of a variable in a partition of an HDQ zone.
    ValueArray values(std::uint32_t zoneIndex, std::uint32_t varIndex, std::uint32_t partition);
    /// The values of a variable in a plain zone, all of them.
    ValueArray plainValues(std::uint32_t zoneIndex, std::uint32_t varIndex);

    /// The ranges of a variable's subzones in a partition of an HDQ zone, section after section.
    std::vector<Range> subzoneRanges(std::uint32_t zoneIndex, std::uint32_t varIndex,
                                     std::uint32_t partition, bool nodes);

private:
    void readHeaders();
    void readZone(std::uint32_t zoneIndex);
    void readPartition(std::uint32_t zoneIndex, std::uint32_t partition);
    hdqio::PartitionMetadata const& partition(std::uint32_t zoneIndex, std::uint32_t partition);

    std::string m_path;
    std::string m_title;
    hdqio::FileDescription m_description;
    std::uint32_t m_numVars = 0;
    hdqio::ZoneVarMetadata m_headers;
    hdqio::LightweightVector<std::uint64_t> m_zoneHeaderFileLocs;
    std::vector<hdqio::ZoneMetadata> m_zones;
    std::vector<bool> m_zoneIsRead;
};

}
