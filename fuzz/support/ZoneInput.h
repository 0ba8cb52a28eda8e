#pragma once

#include "filedata/FileDescription.h"
#include "filedata/ZoneVarMetadata.h"
#include "fuzz/support/Bytes.h"

#include <cstdint>
#include <string>

namespace varnox::fuzz {

/// What a file says of one zone elsewhere than in the block that a target reads:
///   uint8      version      index into VERSIONS
///   uint8      flags        1 text; 2 grid file, 4 solution file
///   uint8      zone type    index into ZONE_LETTERS
///   uint8      variables    at most MOST_VARS
///   uint8[4]   their types
///   uint8      sections     at most MOST_SECTIONS
///   uint8[4]   their shapes
///   uint8[4]   their orders
///   uint32[4]  their cells
///   uint64[3]  size of the zone
///   uint32     fileLoc of the block
struct ZoneInput
{
    static constexpr std::uint32_t VERSIONS[] = {104, 105, 106, 231, 232};
    static constexpr char ZONE_LETTERS[] = "oORrQqTtBbLlMmGgPp";
    static constexpr std::size_t MOST_VARS = 4;
    static constexpr std::size_t MOST_SECTIONS = 4;

    ZoneInput() = default;
    explicit ZoneInput(Bytes& input);
    /// What the constructor reads.
    std::string bytes() const;

    bool isAscii() const { return (flags & 1) != 0; }
    std::uint32_t fileVersion() const { return VERSIONS[version % std::size(VERSIONS)]; }
    char letter() const { return ZONE_LETTERS[zoneType % (sizeof(ZONE_LETTERS) - 1)]; }
    bool isMixed() const { return letter() == 'M' || letter() == 'm'; }
    int numVars() const { return variables % (MOST_VARS + 1); }
    int numSections() const { return sections % (MOST_SECTIONS + 1); }
    hdqio::FileDescription description() const;
    /// As the data set header has it, with this zone alone.
    hdqio::ZoneVarMetadata table() const;

    std::uint8_t version = 0;
    std::uint8_t flags = 0;
    std::uint8_t zoneType = 0;
    std::uint8_t variables = 0;
    std::uint8_t varTypes[MOST_VARS]{};
    std::uint8_t sections = 0;
    std::uint8_t shapes[MOST_SECTIONS]{};
    std::uint8_t orders[MOST_SECTIONS]{};
    std::uint32_t cells[MOST_SECTIONS]{};
    std::uint64_t size[3]{};
    std::uint32_t fileLoc = 0;
};

}
