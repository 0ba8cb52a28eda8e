#include "filedata/TagList.h"

#include "filedata/Messages.h"
#include "filedata/ValueInput.h"

#include <exception>

namespace varnox::hdqio {

namespace {

char skipUnknownTag(FileReaderInterface& reader, std::uint16_t tag)
{
    if (!infoMessage("Unrecognized tag while reading file header: %d. Attempting to continue...",
                     tag))
        return 0;
    if (reader.isAscii()) {
        int c = 0;
        while ((c = reader.getc()) != '\n')
            if (c < 0)
                return errorMessage("End-of-file encountered attempting to skip unrecognized tag.");
        return 1;
    }
    std::uint64_t dropped = 0;
    return reader.fread(&dropped, sizeof(dropped), 1) == 1 ||
           errorMessage("Read error while attempting to skip unrecognized tag.");
}

}

std::uint64_t valueOrZero(TagMap const& tags, std::uint16_t tag)
{
    auto const found = tags.find(tag);
    return found == tags.end() ? 0 : found->second;
}

// Tag list, the directory at the head of a data set, zone or partition:
//   uint16     numTags   n
//   uint16[n]  tags      in any order; of a number that occurs twice the last counts
//   uint64[n]  values    in the order of tags: an absolute fileLoc, or the datum itself
// Binary: 2 + 2n + 8n bytes. ASCII: each item behind its word, each value behind its tag's name.

char readTagList(FileReaderInterface& reader, TagNames const& names, TagMap& tags)
{
    try {
        std::uint16_t numTags = 0;
        LightweightVector<std::uint16_t> numbers;
        if (!readValue<std::uint16_t, false>(reader, numTags, {"numTags"}) ||
            !readValueArray<std::uint16_t, false, 0>(reader, 0, numTags, numbers, {"tags"}))
            return 0;
        for (std::uint16_t const tag : numbers) {
            auto const name = names.find(tag);
            if (name == names.end()) {
                if (!skipUnknownTag(reader, tag))
                    return 0;
                continue;
            }
            std::uint64_t value = 0;
            if (!readValue<std::uint64_t, true>(reader, value, {name->second}))
                return 0;
            tags[tag] = value;
        }
        return 1;
    } catch (std::exception const&) {
        return errorMessage("Error while reading file tags, possibly out of memory.");
    }
}

}
