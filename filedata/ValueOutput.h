#pragma once

#include "filedata/FileWriterInterface.h"
#include "filedata/Numbers.h"

#include <cstdint>
#include <functional>
#include <string>

/// Typed writing in both forms of the file, the mirror of ValueInput.h. base is added to a value in
/// the text form alone.
namespace varnox::hdqio {

/// Index of an array that has none.
constexpr std::int64_t NO_ARRAY_INDEX = 0x7FFFFFFFFFFFFFFF;

/// An array of nothing isn't written at all. In text the label is the name with index + 1 behind
/// it; valuesPerLine must not be 0.
template <typename T, bool hex, int base>
char writeValueArray(FileWriterInterface& writer, char const* name, std::int64_t index,
                     std::uint64_t count, T const* values, std::uint64_t valuesPerLine);

/// As pairs of T: cut toward zero for integers, rounded for floats.
template <typename T>
char writeMinMaxArray(FileWriterInterface& writer, char const* name, std::int64_t index,
                      std::uint64_t count, MinMax const* values, std::uint64_t valuesPerLine);

/// The text of a value. True if it fits and isn't empty.
template <typename T, bool hex, int base>
bool encodeAsciiValue(char* buffer, int size, T const& value);

/// Puts the text of the value at an index into a buffer; false if it doesn't fit or is empty.
using AsciiEncoder = std::function<bool(char* buffer, int size, std::uint64_t index)>;

/// Appends the texts of count values in lines. False as soon as one doesn't fit: the text before it
/// then stands for it and for all behind it.
bool layOutAsciiValues(std::string& text, std::uint64_t count, std::uint64_t valuesPerLine,
                       AsciiEncoder const& encode);

}
