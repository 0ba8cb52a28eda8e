#pragma once

#include "tools/vnxconvert/FileReaders.h"
#include "tools/vnxconvert/ZoneLayout.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace varnox::convert {

/// What stands at one time: files, each with the name of a zone where a file of files gives one.
struct FrameFiles
{
    struct File
    {
        std::string path;
        std::string name;
        std::optional<std::size_t> step{}; ///< Which time of a file that has several.
    };
    std::optional<double> time; ///< None: what the files say.
    std::vector<File> files;
};

/// One time, read.
struct Frame
{
    double time = 0;
    std::vector<std::shared_ptr<ZoneLayout const>> zones;
};

/// The times of the input, read when they are asked for. The one that was asked for first and
/// the latest stay in memory.
class Frames
{
public:
    Frames(std::vector<FrameFiles> files, LayoutOptions const& layout, ReadOptions const& reading)
        : m_files(std::move(files)), m_layout(layout), m_reading(reading)
    {
    }

    std::size_t size() const { return m_files.size(); }
    std::shared_ptr<Frame const> at(std::size_t index);
    /// Reads the files if these alone know their time.
    double timeOf(std::size_t index);
    /// Which one stays in memory beside the latest.
    void keep(std::size_t index) { m_kept = index; }

    Remarks const& remarks() const { return m_remarks; }
    std::chrono::duration<double> timeOfReading() const { return m_timeOfReading; }

private:
    std::shared_ptr<Frame const> read(FrameFiles const& files);

    std::vector<FrameFiles> m_files;
    LayoutOptions m_layout;
    ReadOptions m_reading;
    std::size_t m_kept = 0;
    std::map<std::size_t, std::shared_ptr<Frame const>> m_frames;
    Remarks m_remarks;
    std::chrono::duration<double> m_timeOfReading{0};
};

/// Whether two times have the same nodes and cells in the same places.
bool haveSameGrids(Frame const& a, Frame const& b);

}
