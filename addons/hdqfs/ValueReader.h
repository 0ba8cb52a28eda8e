#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace varnox::hdqfsloader {

class DescriptorCache;

/// The type of a variable's values as files number it.
enum class ValueType : std::uint8_t {
    Float = 1,
    Double = 2,
    Int32 = 3,
    Int16 = 4,
    Byte = 5,
    Bit = 6,    ///< One byte, 0 or 1.
    UInt32 = 7, ///< Of node maps; no type of a variable.
};

/// True for the types that a variable can have.
bool isValueType(std::uint8_t number);

/// Bytes of a value in memory and in a binary file.
std::size_t valueSize(ValueType type);

/// A run of values of one type in a file: a variable's values in a zone or in one partition of it, or
/// a zone's node map.
struct ValueArray
{
    std::string const* path; ///< Owned by the data set.
    std::uint64_t fileLoc;   ///< Where the array starts, in a text file its description.
    std::uint64_t numValues;
    std::uint32_t index;     ///< Of the variable, or of the node map's zone; from 0.
    ValueType type;
    bool isAscii;
    bool isNodeMap = false;
};

/// Reads parts of value arrays, each with one positioned read. Keeps a buffer between calls.
/// Failures are std::runtime_error with a text for a person: the file, the variable and what is
/// wrong.
class ValueReader
{
public:
    explicit ValueReader(DescriptorCache& files) : m_files(files) {}

    /// Whether the file is long enough for so many values, wherever they lie.
    bool canBeHeld(ValueArray const& array);

    /// Values first up to but excluding first + count, in their own type, to out.
    void readNative(ValueArray const& array, std::uint64_t first, std::uint64_t count, void* out);
    /// The same, each as a double. Not for node maps.
    void readDoubles(ValueArray const& array, std::uint64_t first, std::uint64_t count,
                     double* out);

private:
    void readText(ValueArray const& array, std::uint64_t first, std::uint64_t count, void* out);

    DescriptorCache& m_files;
    std::vector<char> m_text;
    std::vector<unsigned char> m_native;
};

}
