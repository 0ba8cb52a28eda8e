#pragma once

#include "filedata/Numbers.h"

#include <cstddef>
#include <cstdint>

namespace varnox::hdqio {

/// How a type is read from text. Scanned is the type that the scan format fills.
template <typename T, bool hex>
struct AsciiInputInfo;

/// How a type is written as text: print format and field width, negative for left-justified.
template <typename T, bool hex>
struct AsciiOutputInfo;

#define VALUE_FORMAT(T, hexForm, scanned, scan, print, printWidth, name)                           \
    template <>                                                                                    \
    struct AsciiInputInfo<T, hexForm>                                                              \
    {                                                                                              \
        using Scanned = scanned;                                                                   \
        static constexpr char const* scanFormat = scan;                                            \
        static constexpr char const* typeName = name;                                              \
    };                                                                                             \
    template <>                                                                                    \
    struct AsciiOutputInfo<T, hexForm>                                                             \
    {                                                                                              \
        static constexpr char const* printFormat = print;                                          \
        static constexpr int width = printWidth;                                                   \
        static constexpr std::size_t columns = static_cast<std::size_t>(-(printWidth));            \
    };
#define PAIR_FORMAT(T, name)                                                                       \
    template <>                                                                                    \
    struct AsciiInputInfo<ValuePair<T>, false>                                                     \
    {                                                                                              \
        static constexpr char const* typeName = name;                                              \
    };                                                                                             \
    template <>                                                                                    \
    struct AsciiOutputInfo<ValuePair<T>, false>                                                    \
    {                                                                                              \
        static constexpr std::size_t columns = 2 * AsciiOutputInfo<T, false>::columns + 1;         \
    };
#include "filedata/ValueFormats.def"

/// Columns of a description with the separator behind it.
constexpr std::uint64_t ASCII_DESCRIPTION_SIZE = 42;

/// Bytes of one value of an array.
template <typename T, bool hex>
constexpr std::uint64_t arrayValueSizeInFile(bool isAscii)
{
    return isAscii ? AsciiOutputInfo<T, hex>::columns + 2 : sizeof(T);
}

/// Bytes of a lone value, in text with its description.
template <typename T, bool hex>
constexpr std::uint64_t valueSizeInFile(bool isAscii)
{
    return isAscii ? arrayValueSizeInFile<T, hex>(true) + ASCII_DESCRIPTION_SIZE : sizeof(T);
}

/// Bytes of an array, in text with its description. An array of nothing isn't written at all.
template <typename T, bool hex>
constexpr std::uint64_t arraySizeInFile(std::uint64_t count, bool isAscii)
{
    if (isAscii && count == 0)
        return 0;
    return count * arrayValueSizeInFile<T, hex>(isAscii) + (isAscii ? ASCII_DESCRIPTION_SIZE : 0);
}

}
