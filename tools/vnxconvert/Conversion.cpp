#include "tools/vnxconvert/Conversion.h"

#include "tools/vnxconvert/GridSource.h"
#include "tools/vnxconvert/Staging.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <stdexcept>

namespace varnox::convert {

using hdqfswriter::DataSet;
using hdqfswriter::FileType;
using hdqfswriter::Zone;
using hdqfswriter::ZoneType;
using hdqfswriter::ZoneVariable;

namespace {

using Clock = std::chrono::steady_clock;

/// In as few digits as bring it back.
std::string shortest(double number)
{
    std::array<char, 32> digits{};
    auto const end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    return std::string(digits.data(), end);
}

char const* nameOf(ZoneType type)
{
    static constexpr std::array<char const*, 9> NAMES{"ordered",    "triangles", "quadrilaterals",
                                                      "tetrahedra", "bricks",    "lines",
                                                      "polygons",   "polyhedra", "mixed"};
    return NAMES[static_cast<std::size_t>(type)];
}

bool hasValues(ZoneLayout const& zone, Variable const& variable)
{
    return variable.axis != Variable::NO_AXIS || fieldOf(zone, variable) != nullptr;
}

ZoneVariable describe(ZoneLayout const& zone, Variable const& variable, Precision precision)
{
    ZoneVariable result;
    result.location = variable.location;
    if (variable.axis != Variable::NO_AXIS) {
        auto const axis = static_cast<std::size_t>(variable.axis);
        result.type = valueTypeOf(coordinateType(*zone.grid, axis), precision);
    } else if (Field const* const field = fieldOf(zone, variable)) {
        result.type = valueTypeOf(field->values.type, precision);
    } else {
        result.isPassive = true;
    }
    return result;
}

/// Bytes of values and cells, by which progress is measured.
std::uint64_t sizeOf(DataSet const& dataSet, std::vector<ZoneSummary> const& zones)
{
    static constexpr std::array<std::uint64_t, 7> WIDTHS{0, 4, 8, 4, 2, 1, 1};
    std::uint64_t result = 0;
    for (std::size_t z = 0; z < zones.size(); ++z)
        for (ZoneVariable const& variable : dataSet.zones[z].variables)
            if (!variable.isPassive)
                result += WIDTHS[static_cast<std::size_t>(variable.type)] *
                          (variable.location == ValueLocation::Nodes ? zones[z].numNodes
                                                                     : zones[z].numCells);
    return result;
}

class Conversion
{
public:
    explicit Conversion(ConversionOptions const& options)
        : m_options(options), m_variables(options.variables),
          m_frames(framesOf(options.inputs, options.asSeries),
                   {options.cutPolyhedra, options.partitionCells, options.keepOrder}, reading())
    {
    }

    ConversionSummary run()
    {
        auto const start = Clock::now();
        chooseTimes();
        if (m_times.size() == 1)
            writeOneTime();
        else if (!writeSeries())
            writeAllTimes();
        m_summary.numTimes = m_times.size();
        m_summary.secondsOfReading = m_frames.timeOfReading().count();
        m_summary.seconds = std::chrono::duration<double>(Clock::now() - start).count();
        std::vector<std::string> const& read = m_frames.remarks().all();
        m_summary.remarks.insert(m_summary.remarks.begin(), read.begin(), read.end());
        for (std::string const& remark : m_remarks.all())
            m_summary.remarks.push_back(remark);
        return m_summary;
    }

private:
    ReadOptions reading()
    {
        ReadOptions result;
        result.wants = [this](std::string const& array) { return m_variables.mayWant(array); };
        result.progress = [this](std::string const&, double part) {
            report("Reading", static_cast<std::uint64_t>(part * 1000), 1000);
        };
        return result;
    }

    void report(char const* action, std::uint64_t done, std::uint64_t total) const
    {
        if (m_options.progress)
            m_options.progress(action, done, total);
    }

    std::string timesThereAre()
    {
        std::string const first = shortest(m_frames.timeOf(0));
        std::size_t const count = m_frames.size();
        return count == 1 ? "there is only " + first
                          : "the " + std::to_string(count) + " go from " + first + " to " +
                                shortest(m_frames.timeOf(count - 1));
    }

    void chooseTimes()
    {
        for (std::size_t i = 0; i < m_frames.size(); ++i)
            if (!m_options.times || m_options.times->contains(m_frames.timeOf(i)))
                m_times.push_back(i);
        if (m_times.empty())
            throw std::runtime_error("No time lies in the range of --time: " + timesThereAre() +
                                     ".");
        m_frames.keep(m_times.front());
    }

    bool add(Frame const& frame)
    {
        bool isNew = false;
        for (auto const& zone : frame.zones)
            isNew = m_variables.add(*zone->grid) || isNew;
        return isNew;
    }

    std::shared_ptr<Frame const> frameWithZones(std::size_t index)
    {
        auto result = m_frames.at(index);
        if (result->zones.empty())
            throw std::runtime_error("There is nothing to convert: no grid with cells" +
                                     (m_frames.remarks().all().empty()
                                          ? "."
                                          : " (" + m_frames.remarks().all().front() + ")"));
        return result;
    }

    Zone zoneOf(std::size_t index, Frame const& frame, std::size_t zoneIndex, std::uint32_t strand,
                std::vector<Variable> const& variables)
    {
        ZoneLayout const& layout = *frame.zones[zoneIndex];
        Zone zone;
        zone.name = layout.name;
        zone.type = layout.type;
        zone.isInSubzones = layout.isInSubzones;
        if (layout.type == ZoneType::Ordered)
            zone.size = layout.grid->size;
        if (layout.type == ZoneType::Mixed)
            for (auto const shape : layout.shapes)
                zone.sections.push_back({shape, 1, 0});
        zone.partitions = layout.partitions;
        zone.solutionTime = frame.time;
        zone.strandID = strand;
        for (Variable const& variable : variables) {
            zone.variables.push_back(describe(layout, variable, m_options.precision));
            if (!hasValues(layout, variable))
                m_remarks.add("'" + layout.name + "' has no '" + variable.name +
                              "' at some time, and 0 stands for it.");
        }
        zone.source = std::make_shared<GridSource>(m_frames, index, zoneIndex, variables,
                                                   m_options.precision);
        return zone;
    }

    void addZones(DataSet& dataSet, std::size_t index, bool isSteady,
                  std::vector<Variable> const& variables)
    {
        auto const frame = frameWithZones(index);
        for (std::size_t z = 0; z < frame->zones.size(); ++z)
            dataSet.zones.push_back(zoneOf(
                index, *frame, z, isSteady ? 0 : static_cast<std::uint32_t>(z + 1), variables));
    }

    DataSet dataSetOf(std::vector<Variable> const& variables) const
    {
        DataSet result;
        result.title = m_options.title.value_or(
            std::filesystem::path(m_options.inputs.front()).stem().string());
        for (Variable const& variable : variables)
            result.variableNames.push_back(variable.name);
        return result;
    }

    static std::vector<ZoneSummary> summaryOf(Frame const& frame)
    {
        std::vector<ZoneSummary> result;
        for (auto const& zone : frame.zones)
            result.push_back({zone->name, nameOf(zone->type), zone->numNodes(), zone->numCells(),
                              std::max<std::size_t>(1, zone->partitions.size())});
        return result;
    }

    void write(std::string const& path, DataSet const& dataSet, FileType fileType,
               std::vector<ZoneSummary> const& zones)
    {
        hdqfswriter::Options options;
        options.fileType = fileType;
        options.isText = m_options.isText;
        options.version = m_options.version;
        options.subzoneSize = m_options.subzoneSize;
        options.order =
            m_options.keepOrder ? hdqfswriter::ItemOrder::Keep : hdqfswriter::ItemOrder::Hilbert;
        std::uint64_t const total = sizeOf(dataSet, zones) * (m_options.isText ? 4 : 1);
        options.progress = [&](std::uint64_t numBytes) { report("Writing", numBytes, total); };
        report("Writing", 0, total);
        hdqfswriter::Summary const summary = hdqfswriter::writeFile(path, dataSet, options);
        m_summary.version = summary.version;
        m_summary.numBytes += summary.numBytes;
    }

    void setVariables(std::vector<Variable> const& variables)
    {
        m_summary.variables.clear();
        for (Variable const& variable : variables)
            m_summary.variables.push_back(variable.name);
    }

    void writeOneTime()
    {
        std::size_t const index = m_times.front();
        auto const frame = frameWithZones(index);
        add(*frame);
        m_variables.requireWanted();
        std::vector<Variable> const variables = m_variables.all();
        DataSet dataSet = dataSetOf(variables);
        addZones(dataSet, index, true, variables);
        m_summary.zones = summaryOf(*frame);
        m_summary.files = {m_options.output};
        setVariables(variables);
        write(m_options.output, dataSet, FileType::Full, m_summary.zones);
    }

    std::string pathWith(std::string const& suffix) const
    {
        std::filesystem::path const output(m_options.output);
        return (output.parent_path() /
                (output.stem().string() + suffix + output.extension().string()))
            .string();
    }

    std::string pathOfStep(std::size_t step) const
    {
        std::size_t const width =
            std::max<std::size_t>(2, std::to_string(m_times.size() - 1).size());
        std::string number = std::to_string(step);
        number.insert(0, width - number.size(), '0');
        return pathWith("_t" + number);
    }

    static std::vector<Variable> only(std::vector<Variable> const& variables, bool coordinates)
    {
        std::vector<Variable> result;
        std::copy_if(variables.begin(), variables.end(), std::back_inserter(result),
                     [&](Variable const& variable) {
                         return (variable.axis != Variable::NO_AXIS) == coordinates;
                     });
        return result;
    }

    void writeGrid(Staging& staging, std::vector<Variable> const& variables)
    {
        auto const frame = frameWithZones(m_times.front());
        DataSet dataSet = dataSetOf(variables);
        for (std::size_t z = 0; z < frame->zones.size(); ++z) {
            dataSet.zones.push_back(zoneOf(m_times.front(), *frame, z, 0, variables));
            dataSet.zones.back().solutionTime = 0;
        }
        std::string const path = pathWith("_grid");
        m_summary.files.push_back(path);
        m_summary.zones = summaryOf(*frame);
        write(staging.placeFor(path), dataSet, FileType::Grid, m_summary.zones);
    }

    /// A grid file and a solution file for each time. False if the grid changes. Files of solutions
    /// all have the same variables: where a later time brings a new one, it starts again.
    bool writeSeries()
    {
        Staging staging(m_options.output);
        add(*frameWithZones(m_times.front()));
        for (bool isComplete = false; !isComplete;) {
            staging.clear();
            m_summary.files.clear();
            m_summary.numBytes = 0;
            std::vector<Variable> const variables = m_variables.all();
            std::vector<Variable> const ofSolutions = only(variables, false);
            if (ofSolutions.empty())
                return because("There are no variables but the coordinates");
            setVariables(variables);
            writeGrid(staging, only(variables, true));
            isComplete = true;
            for (std::size_t step = 0; step < m_times.size() && isComplete; ++step) {
                auto const frame = frameWithZones(m_times[step]);
                if (!haveSameGrids(*frameWithZones(m_times.front()), *frame))
                    return because("The grid changes in time");
                isComplete = !add(*frame);
                if (isComplete)
                    writeStep(staging, step, ofSolutions);
            }
        }
        m_variables.requireWanted();
        staging.publish();
        return true;
    }

    /// Why there are no solution files.
    bool because(std::string const& reason)
    {
        m_remarks.add(reason + ": all times are in one file.");
        return false;
    }

    void writeStep(Staging& staging, std::size_t step, std::vector<Variable> const& variables)
    {
        DataSet dataSet = dataSetOf(variables);
        addZones(dataSet, m_times[step], false, variables);
        std::string const path = pathOfStep(step);
        m_summary.files.push_back(path);
        write(staging.placeFor(path), dataSet, FileType::Solution, m_summary.zones);
    }

    /// One full file with the zones of all times.
    void writeAllTimes()
    {
        m_summary.files = {m_options.output};
        m_summary.zones.clear();
        m_summary.numBytes = 0;
        for (std::size_t const index : m_times) {
            auto const frame = frameWithZones(index);
            add(*frame);
            for (ZoneSummary const& zone : summaryOf(*frame))
                m_summary.zones.push_back(zone);
        }
        m_variables.requireWanted();
        std::vector<Variable> const variables = m_variables.all();
        setVariables(variables);
        DataSet dataSet = dataSetOf(variables);
        for (std::size_t const index : m_times)
            addZones(dataSet, index, false, variables);
        write(m_options.output, dataSet, FileType::Full, m_summary.zones);
    }

    ConversionOptions const& m_options;
    Variables m_variables;
    Frames m_frames;
    std::vector<std::size_t> m_times; ///< Numbers of frames.
    ConversionSummary m_summary;
    Remarks m_remarks;
};

}

ConversionSummary convert(ConversionOptions const& options)
{
    return Conversion(options).run();
}

}
