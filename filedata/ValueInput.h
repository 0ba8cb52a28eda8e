#pragma once

#include "filedata/FileReaderInterface.h"
#include "filedata/IODescription.h"
#include "filedata/LightweightVector.h"
#include "filedata/Numbers.h"
#include "filedata/PlainDataVector.h"

#include <cstdint>
#include <string>

/// Typed reading, for both forms of the file: binary, where a value is its bytes, and text, where
/// every value or array stands behind its description. hex is the hexadecimal text form; base is
/// subtracted from a value in the text form alone. Results are false behind a message, except where
/// a null name leaves the message to the caller. The templates are compiled for the members that
/// files need.
namespace varnox::hdqio {

/// One value behind its description.
template <typename T, bool hex>
char readValue(FileReaderInterface& reader, T& out, IODescription const& description);

/// Into the caller's buffer. With a null name no description is expected and failure is silent.
template <typename T, bool hex, int base>
char readValues(FileReaderInterface& reader, std::uint64_t count, T* out,
                IODescription const& description);

/// Into a vector from element offset on; an unused vector gets count elements. What the file can't
/// hold is refused before memory is taken, and so is what wouldn't fit into the vector; of a
/// PlainDataVector in use the caller answers for the room.
template <typename T, bool hex, int base>
char readValueArray(FileReaderInterface& reader, std::uint64_t offset, std::uint64_t count,
                    LightweightVector<T>& out, IODescription const& description);
template <typename T, bool hex, int base>
char readValueArray(FileReaderInterface& reader, std::uint64_t offset, std::uint64_t count,
                    PlainDataVector<T>& out, IODescription const& description);

/// Pairs of T, widened.
template <typename T>
char readMinMaxArray(FileReaderInterface& reader, std::uint64_t offset, std::uint64_t count,
                     LightweightVector<MinMax>& out, IODescription const& description);

/// One value that must be the expected one.
template <typename T, bool hex>
char readAndVerifyValue(FileReaderInterface& reader, T expected, IODescription const& description);

/// length bytes into a vector that has room for them. No terminator is read or stored.
char readString(FileReaderInterface& reader, std::uint64_t length, LightweightVector<char>& out,
                IODescription const& description);

/// Strings that end in a carriage return each, from element offset on.
char readStringArray(FileReaderInterface& reader, std::uint64_t offset, std::uint64_t count,
                     LightweightVector<std::string>& out, IODescription const& description);

/// Whether count values of at least this many bytes each can still come in the file.
bool fileCanHold(FileReaderInterface& reader, std::uint64_t count, std::uint64_t bytesEach);

}
