#pragma once

#include "filedata/FileDescription.h"
#include "filedata/HeaderBudget.h"
#include "filedata/TagList.h"
#include "filedata/ZoneMetadata.h"
#include "filedata/ZoneVarMetadata.h"
#include "tools/vnxinfo/Faults.h"
#include "tools/vnxinfo/WatchedReader.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace varnox::tools {

struct CheckedZone
{
    hdqio::ZoneMetadata metadata;
    bool isRead = false;
    std::vector<bool> isPartitionRead; ///< By partition, of an HDQ zone.
};

/// A file under examination, as far as it could be read, and what is wrong with it.
struct CheckedFile
{
    explicit CheckedFile(std::string const& filePath) : path(filePath), reader(filePath) {}

    /// Runs a read for a place, and takes a false or an exception of it down as a fault, with the
    /// file layer's messages. What it reads belongs to the place.
    bool attempt(Place const& place, std::optional<std::uint64_t> fileLoc,
                 std::function<bool()> const& read);

    bool isAscii() const { return description.isAscii() == 1; }
    std::uint32_t numZones() const { return static_cast<std::uint32_t>(headers.numZones); }
    std::uint32_t numVars() const { return static_cast<std::uint32_t>(headers.numVars); }
    bool isNodal(std::uint32_t zone, std::uint32_t var) const
    {
        return headers.valueLocations[var][zone] != 0;
    }
    /// Whether a variable has values of its own in a zone, neither passive nor shared.
    bool hasOwnValues(std::uint32_t zone, std::uint32_t var) const
    {
        return headers.passive[var][zone] == 0 && headers.shareVar[var][zone] == -1;
    }

    std::string path;
    WatchedReader reader;
    Faults faults;
    std::uint64_t numBytes = 0;
    hdqio::FileDescription description;
    hdqio::TagMap tags;
    std::string title;
    hdqio::ZoneVarMetadata headers;
    hdqio::LightweightVector<std::uint64_t> zoneHeaderFileLocs;
    std::vector<CheckedZone> zones;
    hdqio::HeaderBudget headerBudget; ///< Of zones and partitions.
};

bool isLocation(std::uint64_t value);

}
