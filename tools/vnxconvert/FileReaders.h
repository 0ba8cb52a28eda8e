#pragma once

#include "tools/vnxconvert/Grid.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace varnox::convert {

/// Bytes.
std::uint64_t memoryOfMachine();

struct ReadOptions
{
    /// Whether an array is worth reading; unset for all.
    std::function<bool(std::string const& array)> wants{};
    /// Called now and then with the part that is read, 0 to 1. What it throws ends the reading.
    std::function<void(std::string const& path, double part)> progress{};
    /// Which time of a file that has several.
    std::optional<std::size_t> step{};
    /// Bytes that one array may take. A file that claims more is refused before memory is taken.
    std::uint64_t maxArrayBytes = memoryOfMachine();
};

/// The user has ended the work. Readers let it through.
struct Interrupted : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/// Reads a file by its extension. Throws std::runtime_error with the file, the reason and what
/// could be done.
std::vector<Grid> readFile(std::string const& path, ReadOptions const& options);

/// The times of a file that has several, else none.
std::vector<double> timesIn(std::string const& path);

/// Whether there is a reader for files of this name.
bool isReadable(std::string const& path);

/// The extension of a path in small letters, with its dot.
std::string extensionOf(std::string const& path);

/// The readers. Each throws; a reader that wasn't built says so.
std::vector<Grid> readVtkFile(std::string const& path, ReadOptions const& options);
std::vector<Grid> readCgnsFile(std::string const& path, ReadOptions const& options);
std::vector<double> timesInCgnsFile(std::string const& path);

/// An error of reading a file, in the words of all readers.
[[noreturn]] void failReading(std::string const& path, std::string const& reason,
                              std::string const& advice);

}
