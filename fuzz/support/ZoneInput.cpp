#include "fuzz/support/ZoneInput.h"

#include "fuzz/support/Entry.h"

#include <vector>

namespace varnox::fuzz {

using hdqio::FileDescription;
using hdqio::ZoneVarMetadata;

namespace {

/// Calls f for each field, in the order of the input.
template <typename Input, typename F>
void forEachField(Input& input, F const& f)
{
    f(input.version);
    f(input.flags);
    f(input.zoneType);
    f(input.variables);
    f(input.varTypes);
    f(input.sections);
    f(input.shapes);
    f(input.orders);
    f(input.cells);
    f(input.size);
    f(input.fileLoc);
}

}

ZoneInput::ZoneInput(Bytes& input)
{
    forEachField(*this, [&](auto& field) {
        std::string const taken = input.string(sizeof field);
        std::memcpy(&field, taken.data(), taken.size());
    });
}

std::string ZoneInput::bytes() const
{
    std::string result;
    forEachField(*this, [&](auto const& field) {
        result.append(reinterpret_cast<char const*>(&field), sizeof field);
    });
    return result;
}

FileDescription ZoneInput::description() const
{
    DataFileType_e const type = (flags & 2) != 0   ? DataFileType_Grid
                                : (flags & 4) != 0 ? DataFileType_Solution
                                                   : DataFileType_Full;
    return FileDescription(fileVersion(), isAscii(), type, {6, 6, 6, 36}, 256);
}

ZoneVarMetadata ZoneInput::table() const
{
    ZoneVarMetadata result;
    auto const count = static_cast<std::size_t>(isMixed() ? numSections() : 0);
    auto const varCount = static_cast<std::size_t>(numVars());
    expect(result.alloc(1, varCount, {static_cast<std::uint8_t>(count)}), "no memory for a zone");
    result.zoneTypes[0] = letter();
    result.iMaxOrNumNodes[0] = size[0];
    result.jMaxOrNumCells[0] = size[1];
    result.kMaxOrNumFaces[0] = size[2];
    for (std::size_t v = 0; v < varCount; ++v)
        result.fieldDataTypes[v][0] = varTypes[v];
    result.numSections[0] = static_cast<std::uint8_t>(count);
    for (std::size_t s = 0; s < count; ++s) {
        result.numElemsPerSection[0][s] = cells[s];
        result.cellShapePerSection[0][s] = shapes[s];
        result.gridOrderPerSection[0][s] = orders[s];
    }
    result.numDimensions[0] = result.dimensionsOf(0);
    return result;
}

}
