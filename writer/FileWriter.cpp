#include "varnox/hdqfswriter/FileWriter.h"

#include "writer/BlockWriter.h"
#include "writer/FilePlan.h"
#include "writer/HeaderOutput.h"
#include "writer/OutputFile.h"
#include "writer/ZoneWriter.h"

#include <cstdio>
#include <vector>

namespace varnox::hdqfswriter {

namespace {

void enterHeaderLocation(OutputFile& file, std::uint64_t place, std::uint64_t headerLoc)
{
    if (!file.isAscii()) {
        file.overwrite(place, &headerLoc, sizeof(headerLoc));
        return;
    }
    char text[17];
    std::snprintf(text, sizeof(text), "%016lx", static_cast<unsigned long>(headerLoc));
    file.overwrite(place, text, 16);
}

}

// A file from its start: the first line; the zones one after the other, each with its values and
// cells ahead of its header; the tables of all zones and variables; the groups; the data set
// header. Only the location of that last one has to be entered afterwards.

Summary writeFile(std::string const& path, DataSet const& dataSet, Options const& options)
{
    FilePlan const plan(dataSet, options);
    OutputFile file(path, options.isText);
    BlockWriter blocks(file);
    std::uint64_t const place = writeFileStart(plan, blocks);
    std::vector<ZoneRecord> records;
    for (std::size_t z = 0; z < dataSet.zones.size(); ++z)
        records.push_back(writeZone(plan, blocks, z, records));
    std::uint64_t const headerLoc = writeDataSetHeader(plan, blocks, records);
    Summary result{plan.version, blocks.loc(), plan.variables};
    enterHeaderLocation(file, place, headerLoc);
    file.commit();
    return result;
}

}
