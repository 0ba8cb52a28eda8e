#pragma once

#include "tools/vnxconvert/Inputs.h"
#include "tools/vnxconvert/Variables.h"
#include "varnox/hdqfswriter/FileWriter.h"

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace varnox::convert {

struct ConversionOptions
{
    std::vector<std::string> inputs{};
    std::string output{};
    bool asSeries = false;
    bool isText = false;
    std::optional<std::uint32_t> version{};
    std::uint64_t partitionCells = 0;
    std::array<std::uint16_t, 3> subzoneSize{6, 6, 6};
    std::vector<std::string> variables{};
    std::optional<TimeRange> times{};
    Precision precision = Precision::Keep;
    bool keepOrder = false;
    bool cutPolyhedra = false;
    std::optional<std::string> title{};
    /// Called often with what goes on and how far it is. What it throws ends the conversion, which
    /// then leaves nothing behind.
    std::function<void(char const* action, std::uint64_t done, std::uint64_t total)> progress{};
};

struct ZoneSummary
{
    std::string name;
    std::string type;
    std::uint64_t numNodes = 0;
    std::uint64_t numCells = 0;
    std::size_t numPartitions = 1;
};

struct ConversionSummary
{
    std::vector<std::string> files{}; ///< In the order in which a reader wants them.
    std::vector<ZoneSummary> zones{}; ///< Of a series with a fixed grid those of one time.
    std::size_t numTimes = 1;
    std::vector<std::string> variables{};
    std::uint32_t version = 0;
    std::uint64_t numBytes = 0;
    double secondsOfReading = 0;
    double seconds = 0;
    std::vector<std::string> remarks{};
};

/// Reads the inputs and writes one full file, or of a series with a fixed grid OUTPUT_grid.hdqfs
/// and OUTPUT_t00.hdqfs and so on. All files appear at the end or none does. Throws
/// std::runtime_error with a text for a person.
ConversionSummary convert(ConversionOptions const& options);

}
