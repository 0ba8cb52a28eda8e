#include "tools/vnxconvert/Frames.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <set>
#include <stdexcept>

namespace varnox::convert {

namespace {

bool isEqual(Column const& a, Column const& b)
{
    if (a.type != b.type || a.count != b.count)
        return false;
    std::size_t const width = widthOf(a.type);
    auto const* first = static_cast<unsigned char const*>(a.first.get());
    auto const* second = static_cast<unsigned char const*>(b.first.get());
    if (first == second)
        return a.stride == b.stride;
    if (a.stride == 1 && b.stride == 1)
        return a.count == 0 || std::memcmp(first, second, a.count * width) == 0;
    for (std::size_t i = 0; i < a.count; ++i, first += a.stride * width, second += b.stride * width)
        if (std::memcmp(first, second, width) != 0)
            return false;
    return true;
}

bool isEqual(Points const& a, Points const& b)
{
    if (a.kind != b.kind)
        return false;
    if (a.kind == Points::Kind::Uniform)
        return a.origin == b.origin && a.spacing == b.spacing && a.direction == b.direction &&
               a.firstIndex == b.firstIndex;
    for (std::size_t axis = 0; axis < 3; ++axis)
        if (!isEqual(a.columns[axis], b.columns[axis]))
            return false;
    return true;
}

template <typename T>
bool isEqual(std::shared_ptr<T> const& a, std::shared_ptr<T> const& b, std::size_t count)
{
    return count == 0 || a == b || std::equal(a.get(), a.get() + count, b.get());
}

/// Cells after cutting: faces have no part in these.
bool isEqual(Cells const& a, Cells const& b)
{
    return a.count == b.count && a.numNodes == b.numNodes && isEqual(a.kinds, b.kinds, a.count) &&
           (a.count == 0 || isEqual(a.offsets, b.offsets, a.count + 1)) &&
           isEqual(a.nodes, b.nodes, a.numNodes);
}

bool isEqual(ZoneLayout const& a, ZoneLayout const& b)
{
    return a.name == b.name && a.type == b.type && a.grid->size == b.grid->size &&
           a.grid->numNodes == b.grid->numNodes && a.shapes == b.shapes && a.nodes == b.nodes &&
           a.cellNumbers == b.cellNumbers && isEqual(a.cells, b.cells) &&
           isEqual(a.grid->points, b.grid->points);
}

/// Names of zones come from their files where these give none; each is made to be the only one.
void nameZones(FrameFiles::File const& file, std::vector<Grid>& grids, std::set<std::string>& taken)
{
    std::string const stem =
        !file.name.empty() ? file.name : std::filesystem::path(file.path).stem().string();
    for (Grid& grid : grids) {
        if (grid.name.empty())
            grid.name = stem;
        std::string const wanted = grid.name;
        for (int n = 2; !taken.insert(grid.name).second; ++n)
            grid.name = wanted + "_" + std::to_string(n);
    }
}

}

bool haveSameGrids(Frame const& a, Frame const& b)
{
    return std::equal(a.zones.begin(), a.zones.end(), b.zones.begin(), b.zones.end(),
                      [](auto const& one, auto const& other) { return isEqual(*one, *other); });
}

std::shared_ptr<Frame const> Frames::at(std::size_t index)
{
    auto const found = m_frames.find(index);
    if (found != m_frames.end())
        return found->second;
    if (m_frames.empty())
        m_kept = index;
    std::erase_if(m_frames, [this](auto const& entry) { return entry.first != m_kept; });
    return m_frames[index] = read(m_files.at(index));
}

double Frames::timeOf(std::size_t index)
{
    return m_files.at(index).time ? *m_files[index].time : at(index)->time;
}

std::shared_ptr<Frame const> Frames::read(FrameFiles const& files)
{
    auto result = std::make_shared<Frame>();
    std::optional<double> time = files.time;
    std::set<std::string> names;
    for (FrameFiles::File const& file : files.files) {
        auto const start = std::chrono::steady_clock::now();
        m_reading.step = file.step;
        std::vector<Grid> grids = readFile(file.path, m_reading);
        m_timeOfReading += std::chrono::steady_clock::now() - start;
        nameZones(file, grids, names);
        for (Grid& grid : grids) {
            if (!time)
                time = grid.time;
            auto const zones =
                layOut(std::make_shared<Grid const>(std::move(grid)), m_layout, m_remarks);
            result->zones.insert(result->zones.end(), zones.begin(), zones.end());
        }
    }
    result->time = time.value_or(0);
    return result;
}

}
