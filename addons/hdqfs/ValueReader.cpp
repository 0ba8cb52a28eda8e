#include "addons/hdqfs/ValueReader.h"

#include "addons/hdqfs/DescriptorCache.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <strings.h>

namespace varnox::hdqfsloader {

namespace {

/// The description ahead of a text array: its word in 40 columns and a line end.
constexpr std::uint64_t DESCRIPTION_SIZE = 42;

/// No file is larger; locations and lengths up to here add up without wrapping.
constexpr std::uint64_t LARGEST_LOC = std::numeric_limits<std::int64_t>::max();

/// Columns of a value in a text array, with the separator behind it.
std::uint64_t textWidth(ValueType type)
{
    switch (type) {
    case ValueType::Float:
        return 17;
    case ValueType::Double:
        return 25;
    case ValueType::Int32:
        return 13;
    case ValueType::Int16:
        return 8;
    case ValueType::Byte:
    case ValueType::Bit:
        return 5;
    case ValueType::UInt32:
        return 12;
    }
    throw std::logic_error("A value has no type.");
}

/// Calls f with a value of the type's form in memory.
template <typename F>
void withType(ValueType type, F&& f)
{
    switch (type) {
    case ValueType::Float:
        f(float{});
        return;
    case ValueType::Double:
        f(double{});
        return;
    case ValueType::Int32:
        f(std::int32_t{});
        return;
    case ValueType::Int16:
        f(std::int16_t{});
        return;
    case ValueType::Byte:
    case ValueType::Bit:
        f(std::uint8_t{});
        return;
    case ValueType::UInt32:
        f(std::uint32_t{});
        return;
    }
    throw std::logic_error("A value has no type.");
}

std::string nameOf(ValueArray const& array)
{
    return (array.isNodeMap ? "the node map of zone " : "the values of variable ") +
           std::to_string(array.index + 1) + " in " + *array.path;
}

/// One field: blanks around a number, which must fill it. False if it holds something else.
template <typename T>
bool parseField(char const* begin, char const* end, T& out)
{
    auto const isBlank = [](char c) { return c == ' ' || c == '\r' || c == '\n'; };
    while (begin != end && isBlank(*begin))
        ++begin;
    while (begin != end && isBlank(end[-1]))
        --end;
    if (begin != end && *begin == '+')
        ++begin;
    auto const [stop, error] = std::from_chars(begin, end, out);
    if (stop != end || begin == end)
        return false;
    if constexpr (std::is_floating_point_v<T>) {
        // A magnitude below the type's smallest is 0, one above its largest infinite, as the
        // writer's own type had it.
        if (error == std::errc::result_out_of_range) {
            std::string const field(begin, end);
            out = static_cast<T>(std::strtod(field.c_str(), nullptr));
            return true;
        }
    }
    return error == std::errc();
}

void checkDescription(ValueArray const& array, char const* text)
{
    std::size_t length = 0;
    while (length < DESCRIPTION_SIZE && text[length] != ' ' && text[length] != '\r' &&
           text[length] != '\n')
        ++length;
    std::string const expected = (array.isNodeMap ? "nodeMapForZone" : "valuesForVar") +
                                 std::to_string(array.index + 1);
    if (length != expected.size() || strncasecmp(text, expected.c_str(), length) != 0)
        throw std::runtime_error("Cannot read " + nameOf(array) + ": looking for '" + expected +
                                 "', found '" + std::string(text, length) + "' instead.");
}

}

bool isValueType(std::uint8_t number)
{
    return number >= static_cast<std::uint8_t>(ValueType::Float) &&
           number <= static_cast<std::uint8_t>(ValueType::Bit);
}

std::size_t valueSize(ValueType type)
{
    std::size_t size = 0;
    withType(type, [&](auto value) { size = sizeof(value); });
    return size;
}

void ValueReader::readText(ValueArray const& array, std::uint64_t first, std::uint64_t count,
                           void* out)
{
    m_text.resize(DESCRIPTION_SIZE);
    m_files.read(*array.path, array.fileLoc, m_text.data(), m_text.size());
    checkDescription(array, m_text.data());

    std::uint64_t const width = textWidth(array.type);
    m_text.resize(static_cast<std::size_t>(count * width));
    m_files.read(*array.path, array.fileLoc + DESCRIPTION_SIZE + first * width, m_text.data(),
                 m_text.size());
    withType(array.type, [&](auto value) {
        auto* const values = static_cast<decltype(value)*>(out);
        for (std::uint64_t i = 0; i < count; ++i) {
            char const* const field = m_text.data() + i * width;
            if (!parseField(field, field + width, values[i]))
                throw std::runtime_error("Cannot read " + nameOf(array) + ": value " +
                                         std::to_string(first + i + 1) + " is no number.");
        }
    });
}

bool ValueReader::canBeHeld(ValueArray const& array)
{
    std::uint64_t const width = array.isAscii ? textWidth(array.type) : valueSize(array.type);
    return array.numValues <= m_files.size(*array.path) / width;
}

void ValueReader::readNative(ValueArray const& array, std::uint64_t first, std::uint64_t count,
                             void* out)
{
    if (first > array.numValues || count > array.numValues - first)
        throw std::out_of_range("There is no value " + std::to_string(first + count) + " among " +
                                nameOf(array) + ".");
    if (count == 0)
        return;
    if (array.numValues > LARGEST_LOC / textWidth(ValueType::Double) - DESCRIPTION_SIZE ||
        array.fileLoc > LARGEST_LOC)
        throw std::runtime_error("Cannot read " + nameOf(array) + ": their location " +
                                 std::to_string(array.fileLoc) +
                                 " lies beyond the end of the file.");
    if (array.isAscii) {
        readText(array, first, count, out);
        return;
    }
    std::size_t const size = valueSize(array.type);
    m_files.read(*array.path, array.fileLoc + first * size, out,
                 static_cast<std::size_t>(count * size));
}

void ValueReader::readDoubles(ValueArray const& array, std::uint64_t first, std::uint64_t count,
                              double* out)
{
    if (array.type == ValueType::Double) {
        readNative(array, first, count, out);
        return;
    }
    m_native.resize(static_cast<std::size_t>(count) * valueSize(array.type));
    readNative(array, first, count, m_native.data());
    withType(array.type, [&](auto value) {
        unsigned char const* source = m_native.data();
        for (std::uint64_t i = 0; i < count; ++i, source += sizeof(value)) {
            std::memcpy(&value, source, sizeof(value));
            out[i] = static_cast<double>(value);
        }
    });
}

}
