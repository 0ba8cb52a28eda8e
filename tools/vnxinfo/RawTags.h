#pragma once

#include "filedata/FileStreamReader.h"
#include "tools/support/Output.h"
#include "tools/vnxinfo/Description.h"

#include <cstdint>
#include <string>
#include <vector>

namespace varnox::tools {

/// One entry of a tag list as it stands in the file.
struct RawTag
{
    std::uint16_t number;
    std::string name; ///< Empty for a tag that nobody knows.
    std::uint64_t value;
    std::uint64_t valueLoc; ///< Where the value stands; in text the word before it.
};

enum class TagOwner { DataSet, Zone, Partition };

/// Reads a tag list, unknown tags and repeated ones included. The number, from 1, is that of the
/// zone or of the partition. Throws std::runtime_error.
std::vector<RawTag> readRawTags(hdqio::FileStreamReader& reader, std::uint64_t fileLoc,
                                TagOwner owner, std::uint32_t number);

/// The tag lists of a file: of the data set, of each zone, or of one, and of its partitions. A list
/// that can't be read has an "error" in its place.
void describeTags(hdqfsloader::DataFile& file, std::optional<std::uint32_t> onlyZone, Report& out);

/// Writes what describeTags() tells, a line a tag.
class TagsReport final : public Report
{
public:
    explicit TagsReport(Output& output) : m_output(output) {}

private:
    void takeMembers(Json const& object) override;
    void takeBegin(std::string const&, bool, std::size_t) override {}
    void takeItem(Json const& tag) override;
    void takeEnd() override {}

    Output& m_output;
    std::string m_zone; ///< The present one.
};

}
