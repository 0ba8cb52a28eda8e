#include "filedata/ValueInput.h"

#include "filedata/FileStreamReader.h"
#include "filedata/Messages.h"
#include "filedata/ValueFormats.h"
#include "filedata/ValueOutput.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>
#include <type_traits>

namespace varnox::hdqio {

namespace {

/// An array of up to this many bytes is read without a look at what the file holds.
constexpr std::uint64_t SMALL_ARRAY_BYTES = std::uint64_t{64} * 1024;

/// The least that a value takes: its bytes, or a digit and a separator.
template <typename T>
std::uint64_t leastBytes(FileReaderInterface& reader)
{
    return reader.isAscii() ? 1 : sizeof(T);
}

template <typename T, bool hex>
struct Parser
{
    static bool parse(FileReaderInterface& reader, T& out)
    {
        using Info = AsciiInputInfo<T, hex>;
        typename Info::Scanned scanned{};
        if (reader.fscanf(Info::scanFormat, &scanned) != 1 || !fits(scanned))
            return false;
        out = static_cast<T>(scanned);
        return true;
    }

private:
    template <typename Scanned>
    static bool fits(Scanned scanned)
    {
        if constexpr (std::is_same_v<Scanned, T>)
            return true;
        else if constexpr (std::is_same_v<T, std::int16_t>)
            // Deliberate: the smallest value is refused.
            // Test: ValueInput.SmallestInt16IsRefusedInText
            return scanned >= -32767 && scanned <= 32767;
        else
            return scanned <= std::numeric_limits<T>::max();
    }
};

template <typename T>
struct Parser<ValuePair<T>, false>
{
    static bool parse(FileReaderInterface& reader, ValuePair<T>& out)
    {
        return Parser<T, false>::parse(reader, out.first) &&
               Parser<T, false>::parse(reader, out.second);
    }
};

template <typename T, bool hex, int base>
bool readTextValues(FileReaderInterface& reader, std::uint64_t count, T* out)
{
    for (std::uint64_t i = 0; i < count; ++i) {
        if (!Parser<T, hex>::parse(reader, out[i]))
            return false;
        skipWhitespace(reader);
        if constexpr (base != 0)
            out[i] = static_cast<T>(out[i] - base);
    }
    return true;
}

/// Whether a vector holds elements up to an end; only one that keeps its count can tell.
template <typename T>
bool reaches(LightweightVector<T> const& out, std::uint64_t end)
{
    return end <= out.size();
}

template <typename T>
bool reaches(PlainDataVector<T> const& out, std::uint64_t end)
{
    return end == 0 || !out.isNull();
}

/// Gives an unused vector count elements, if that many of at least so many bytes each can come.
/// False also if elements from offset on wouldn't fit into the vector.
template <typename Vector>
bool ensureRoom(FileReaderInterface& reader, std::uint64_t offset, std::uint64_t count, Vector& out,
                std::uint64_t bytesEach)
{
    if (count == 0)
        return true;
    std::uint64_t end = 0;
    if (__builtin_add_overflow(offset, count, &end))
        return false;
    if (out.isNull() &&
        (offset != 0 || !fileCanHold(reader, count, bytesEach) || !out.alloc(count)))
        return false;
    return reaches(out, end);
}

template <typename T, bool hex, int base, typename Vector>
char readArray(FileReaderInterface& reader, std::uint64_t offset, std::uint64_t count, Vector& out,
               IODescription const& description)
{
    if (!ensureRoom(reader, offset, count, out, leastBytes<T>(reader)))
        return errorMessage("Cannot allocate memory for %s data block of %lu %s values.",
                            DescriptionText(description).text(), count,
                            AsciiInputInfo<T, hex>::typeName);
    T* const target = count == 0 ? nullptr : out.data() + offset;
    return readValues<T, hex, base>(reader, count, target, description);
}

}

bool fileCanHold(FileReaderInterface& reader, std::uint64_t count, std::uint64_t bytesEach)
{
    if (count <= SMALL_ARRAY_BYTES / bytesEach)
        return true;
    return count <= bytesLeft(reader) / bytesEach;
}

template <typename T, bool hex>
char readValue(FileReaderInterface& reader, T& out, IODescription const& description)
{
    bool const wasRead = reader.isAscii() ? readAndVerifyDescription(reader, description) &&
                                                readTextValues<T, hex, 0>(reader, 1, &out)
                                          : reader.fread(&out, sizeof(T), 1) == 1;
    return wasRead || errorMessage("Cannot read %s value.", DescriptionText(description).text());
}

template <typename T, bool hex, int base>
char readValues(FileReaderInterface& reader, std::uint64_t count, T* out,
                IODescription const& description)
{
    bool wasRead = true;
    if (reader.isAscii()) {
        // Deliberate: a count of 0 still wants its description, which the writer leaves out.
        // Test: ValueInput.EmptyTextArrayConsumesItsDescription
        if (description.name != nullptr)
            wasRead = readAndVerifyDescription(reader, description);
        wasRead = wasRead && readTextValues<T, hex, base>(reader, count, out);
    } else if (count != 0) {
        wasRead = reader.fread(out, sizeof(T), static_cast<std::size_t>(count)) == count;
    }
    if (wasRead)
        return 1;
    if (description.name == nullptr)
        return 0;
    return errorMessage("Error reading %lu %s values for %s data block.", count,
                        AsciiInputInfo<T, hex>::typeName, DescriptionText(description).text());
}

template <typename T, bool hex, int base>
char readValueArray(FileReaderInterface& reader, std::uint64_t offset, std::uint64_t count,
                    LightweightVector<T>& out, IODescription const& description)
{
    return readArray<T, hex, base>(reader, offset, count, out, description);
}

template <typename T, bool hex, int base>
char readValueArray(FileReaderInterface& reader, std::uint64_t offset, std::uint64_t count,
                    PlainDataVector<T>& out, IODescription const& description)
{
    return readArray<T, hex, base>(reader, offset, count, out, description);
}

template <typename T>
char readMinMaxArray(FileReaderInterface& reader, std::uint64_t offset, std::uint64_t count,
                     LightweightVector<MinMax>& out, IODescription const& description)
{
    using Pair = ValuePair<T>;
    if (!ensureRoom(reader, offset, count, out, reader.isAscii() ? 2 : sizeof(Pair)))
        return errorMessage("Cannot allocate memory for %s data block (%lu %s values).",
                            DescriptionText(description).text(), count, "min-max value");
    if (reader.isAscii() && description.name != nullptr &&
        !readAndVerifyDescription(reader, description))
        return 0;

    std::uint64_t const total = count;
    std::array<Pair, 1024> pairs;
    IODescription const noDescription;
    MinMax* target = count == 0 ? nullptr : out.data() + offset;
    while (count > 0) {
        std::uint64_t const part = std::min<std::uint64_t>(count, pairs.size());
        if (!readValues<Pair, false, 0>(reader, part, pairs.data(), noDescription))
            return errorMessage("Error reading %lu %s values for %s data block.", total,
                                AsciiInputInfo<Pair, false>::typeName,
                                DescriptionText(description).text());
        for (std::uint64_t i = 0; i < part; ++i)
            *target++ = {static_cast<double>(pairs[i].first), static_cast<double>(pairs[i].second)};
        count -= part;
    }
    return 1;
}

template <typename T, bool hex>
char readAndVerifyValue(FileReaderInterface& reader, T expected, IODescription const& description)
{
    T found{};
    bool const wasRead = reader.isAscii() ? readAndVerifyDescription(reader, description) &&
                                                readTextValues<T, hex, 0>(reader, 1, &found)
                                          : reader.fread(&found, sizeof(T), 1) == 1;
    if (wasRead && found == expected)
        return 1;
    char expectedText[100];
    char foundText[100];
    char const* const typeName = AsciiInputInfo<T, hex>::typeName;
    DescriptionText const label(description);
    if (encodeAsciiValue<T, hex, 0>(expectedText, sizeof(expectedText), expected) &&
        encodeAsciiValue<T, hex, 0>(foundText, sizeof(foundText), found))
        return errorMessage("Expected value mismatch for %s %s (expecting %s, found %s).", typeName,
                            label.text(), expectedText, foundText);
    return errorMessage("Expected value mismatch for %s %s.", typeName, label.text());
}

char readString(FileReaderInterface& reader, std::uint64_t length, LightweightVector<char>& out,
                IODescription const& description)
{
    if (reader.isAscii() && !readAndVerifyDescription(reader, description))
        return 0;
    return length <= out.size() &&
           reader.fread(out.data(), 1, static_cast<std::size_t>(length)) == length;
}

namespace {

/// A string up to the carriage return that ends it, in both forms of the file.
template <typename NextCharacter>
char readStringOfArray(NextCharacter const& next, bool isAscii, std::string& out)
{
    std::array<char, 500> text;
    for (std::size_t length = 0; length < text.size(); ++length) {
        int const c = next();
        if (c < 0)
            return errorMessage("Unexpected end of file reading string array.");
        if (c == '\r') {
            out.assign(text.data(), length);
            if (isAscii && next() != '\n')
                return errorMessage("Problem with end of line in ascii string array.");
            return 1;
        }
        text[length] = static_cast<char>(c);
    }
    // Deliberate: an entry that is too long stays as it was, and its rest in the stream.
    // Test: ValueInput.StringOf500BytesStaysEmptyAndLeavesItsRest
    return 1;
}

template <typename NextCharacter>
char readStrings(NextCharacter const& next, bool isAscii, std::uint64_t offset, std::uint64_t count,
                 LightweightVector<std::string>& out)
{
    for (std::uint64_t i = 0; i < count; ++i)
        if (!readStringOfArray(next, isAscii, out[static_cast<std::size_t>(offset + i)]))
            return 0;
    return 1;
}

}

char readStringArray(FileReaderInterface& reader, std::uint64_t offset, std::uint64_t count,
                     LightweightVector<std::string>& out, IODescription const& description)
{
    // Every string takes at least the byte that ends it, and in text the line feed behind that.
    std::uint64_t const bytesEach = reader.isAscii() ? 2 : 1;
    if ((out.isNull() && count > bytesLeft(reader) / bytesEach) ||
        !ensureRoom(reader, offset, count, out, bytesEach))
        return errorMessage("Cannot resize string array.");
    std::uint64_t totalSize = 0;
    if (!readValue<std::uint64_t, false>(reader, totalSize, description.withSuffix("TotalSize")))
        return 0;
    if (reader.isAscii() && !readAndVerifyDescription(reader, description))
        return 0;
    bool const isAscii = reader.isAscii() != 0;
    // The names of a hundred thousand zones are millions of characters: a file is asked for each
    // without a virtual call.
    if (auto const* const file = dynamic_cast<FileStreamReader const*>(&reader))
        return readStrings([stream = file->handle()] { return ::getc_unlocked(stream); }, isAscii,
                           offset, count, out);
    return readStrings([&reader] { return reader.getc(); }, isAscii, offset, count, out);
}

#define VALUE(T, hex)                                                                              \
    template char readValue<T, hex>(FileReaderInterface&, T&, IODescription const&);
VALUE(std::uint8_t, false)
VALUE(std::uint16_t, false)
VALUE(std::int32_t, false)
VALUE(std::uint32_t, false)
VALUE(std::uint64_t, false)
VALUE(std::uint64_t, true)
VALUE(float, false)
VALUE(double, false)
#undef VALUE

#define ARRAY(T, hex, base)                                                                        \
    template char readValues<T, hex, base>(FileReaderInterface&, std::uint64_t, T*,                \
                                           IODescription const&);                                  \
    template char readValueArray<T, hex, base>(FileReaderInterface&, std::uint64_t, std::uint64_t, \
                                               LightweightVector<T>&, IODescription const&);       \
    template char readValueArray<T, hex, base>(FileReaderInterface&, std::uint64_t, std::uint64_t, \
                                               PlainDataVector<T>&, IODescription const&);
#define VALUE_FORMAT(T, hex, scanned, scan, print, width, name) ARRAY(T, hex, 0)
#define PAIR_FORMAT(T, name)                                                                       \
    template char readValues<ValuePair<T>, false, 0>(FileReaderInterface&, std::uint64_t,          \
                                                     ValuePair<T>*, IODescription const&);         \
    template char readMinMaxArray<T>(FileReaderInterface&, std::uint64_t, std::uint64_t,           \
                                     LightweightVector<MinMax>&, IODescription const&);
#include "filedata/ValueFormats.def"
ARRAY(std::uint32_t, false, 1)
#undef ARRAY

template char readAndVerifyValue<std::uint32_t, false>(FileReaderInterface&, std::uint32_t,
                                                       IODescription const&);

}
