#include "filedata/ValueOutput.h"

#include "filedata/LightweightVector.h"
#include "filedata/ValueFormats.h"

#include <cstdio>
#include <string>
#include <type_traits>

#include <emmintrin.h>

namespace varnox::hdqio {

namespace {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

/// Returns what snprintf returns: the length that the text wants.
template <typename T, bool hex, int base>
struct Printer
{
    static int print(char* buffer, std::size_t size, T const& value)
    {
        using Info = AsciiOutputInfo<T, hex>;
        if constexpr (base != 0)
            return std::snprintf(buffer, size, Info::printFormat, Info::width,
                                 static_cast<T>(value + base));
        else
            return std::snprintf(buffer, size, Info::printFormat, Info::width, value);
    }
};

template <typename T>
struct Printer<ValuePair<T>, false, 0>
{
    static int print(char* buffer, std::size_t size, ValuePair<T> const& value)
    {
        using Info = AsciiOutputInfo<T, false>;
        std::string const format =
            std::string(Info::printFormat) + " " + std::string(Info::printFormat);
        return std::snprintf(buffer, size, format.c_str(), Info::width, value.first, Info::width,
                             value.second);
    }
};

#pragma GCC diagnostic pop

/// Toward zero for integers. A value out of range is what the processor makes of it: a cast of it
/// would be undefined.
template <typename T>
T fromDouble(double value)
{
    if constexpr (std::is_integral_v<T>)
        return static_cast<T>(_mm_cvttsd_si32(_mm_set_sd(value)));
    else
        return static_cast<T>(value);
}

}

bool layOutAsciiValues(std::string& text, std::uint64_t count, std::uint64_t valuesPerLine,
                       AsciiEncoder const& encode)
{
    bool result = true;
    char value[100] = "";
    for (std::uint64_t n = 1; n <= count; ++n) {
        // Deliberate: from the first value on that doesn't fit, the last text is repeated.
        // Test: ValueOutput.TextThatDoesNotFitRepeatsTheLastOne
        if (result && !encode(value, sizeof(value), n - 1))
            result = false;
        text += value;
        text += n % valuesPerLine == 0 || n == count ? "\r\n" : "  ";
    }
    return result;
}

template <typename T, bool hex, int base>
bool encodeAsciiValue(char* buffer, int size, T const& value)
{
    int const length =
        Printer<T, hex, base>::print(buffer, size > 0 ? static_cast<std::size_t>(size) : 0, value);
    return length > 0 && length < size;
}

template <typename T, bool hex, int base>
char writeValueArray(FileWriterInterface& writer, char const* name, std::int64_t index,
                     std::uint64_t count, T const* values, std::uint64_t valuesPerLine)
{
    if (count == 0)
        return 1;
    if (!writer.isAscii()) {
        // Deliberate: true whatever was written.
        // Test: ValueOutput.BinaryWriteIsTrueWhateverWasWritten
        writer.fwrite(values, sizeof(T), static_cast<std::size_t>(count));
        return 1;
    }
    std::string label = name;
    if (index != NO_ARRAY_INDEX)
        label += std::to_string(index + 1);
    if (count == 1)
        writer.fprintf("%*s  ", -40, label.c_str());
    else
        writer.fprintf("%*s\r\n", -40, label.c_str());

    std::string text;
    bool const result = layOutAsciiValues(
        text, count, valuesPerLine, [values](char* buffer, int size, std::uint64_t i) {
            return encodeAsciiValue<T, hex, base>(buffer, size, values[i]);
        });
    writer.fwrite(text.data(), 1, text.size());
    return result;
}

template <typename T>
char writeMinMaxArray(FileWriterInterface& writer, char const* name, std::int64_t index,
                      std::uint64_t count, MinMax const* values, std::uint64_t valuesPerLine)
{
    if (count == 0)
        return 1;
    LightweightVector<ValuePair<T>> pairs;
    if (!pairs.alloc(count))
        return 0;
    for (std::size_t i = 0; i < pairs.size(); ++i)
        pairs[i] = {fromDouble<T>(values[i].min), fromDouble<T>(values[i].max)};
    return writeValueArray<ValuePair<T>, false, 0>(writer, name, index, count, pairs.data(),
                                                   valuesPerLine);
}

#define ARRAY(T, hex, base)                                                                        \
    template char writeValueArray<T, hex, base>(FileWriterInterface&, char const*, std::int64_t,   \
                                                std::uint64_t, T const*, std::uint64_t);
#define VALUE_FORMAT(T, hex, scanned, scan, print, width, name) ARRAY(T, hex, 0)
#define PAIR_FORMAT(T, name)                                                                       \
    ARRAY(ValuePair<T>, false, 0)                                                                  \
    template char writeMinMaxArray<T>(FileWriterInterface&, char const*, std::int64_t,             \
                                      std::uint64_t, MinMax const*, std::uint64_t);                \
    template bool encodeAsciiValue<ValuePair<T>, false, 0>(char*, int, ValuePair<T> const&);
#include "filedata/ValueFormats.def"
ARRAY(std::uint32_t, false, 1)
#undef ARRAY
template bool encodeAsciiValue<std::uint32_t, false, 0>(char*, int, std::uint32_t const&);

}
