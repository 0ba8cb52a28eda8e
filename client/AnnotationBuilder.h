#pragma once

#include "client/Annotations.h"

#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <unordered_map>
#include <utility>

namespace varnox::client {

class EngineSocket;
struct DataSet;

/// Serves the commands that decorate a data set.
class AnnotationBuilder
{
public:
    /// Points that a polyline may be ahead of those that have come, in all of a data set: each
    /// takes memory.
    static constexpr std::int64_t MAX_POINTS_AHEAD = 100'000;
    static constexpr std::size_t MAX_POLYLINES = 1'000'000; ///< Of one geometry.

    /// lastId is the last number given to anything of the data set.
    AnnotationBuilder(EngineSocket& socket, DataSet& dataSet, std::int64_t& lastId);

    /// Serves one command whose word has been read; false, with nothing done, for one that isn't
    /// for this class. Throws as DataSetBuilder::serve does.
    bool serve(std::string const& command);

    /// Behind the start of another data set.
    void forget();

    /// The first thing that couldn't be since this was asked last, in words; empty if nothing.
    std::string takeProblem() { return std::exchange(m_problem, std::string()); }
    /// An item whose owner the data set doesn't have, in words; empty if each has one.
    std::string strayAuxData() const;

private:
    using Handler = void (*)(AnnotationBuilder&);

    void textCreate();
    void shapeCreate(Shape shape, int numSizes);
    void flatPolylinesCreate();
    void spacePolylinesCreate();
    void createPolylines(Geometry geometry);
    void setPoint(Shape shape);
    void anchorPos();
    void typeface();
    void textMacroCommand();
    void geometryMacroCommand();
    void labels();
    void auxDataItem();

    /// The text or geometry whose id comes next; null behind a note if there is none.
    Text* receiveText();
    Geometry* receiveGeometry();
    void note(std::string const& problem);
    std::uint64_t newId() { return static_cast<std::uint64_t>(++m_lastId); }

    static std::unordered_map<std::string, Handler> handlers();

    EngineSocket& m_socket;
    DataSet& m_dataSet;
    std::int64_t& m_lastId;
    std::unordered_map<std::string, Handler> m_handlers;
    std::int64_t m_numPointsAhead = 0;
    std::map<std::tuple<AuxData::Owner, int, std::string>, std::size_t> m_auxDataIndex;
    std::string m_problem;
};

}
