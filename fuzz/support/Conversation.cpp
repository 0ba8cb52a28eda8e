#include "fuzz/support/Conversation.h"

#include "client/Errors.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

namespace varnox::fuzz {

using client::Axis;
using client::Engine;

namespace {

constexpr std::size_t MOST_ZONES = 3;
constexpr std::size_t MOST_VARIABLES = 4;
constexpr std::size_t MOST_SUBZONES = 3;

/// A question that a server may refuse. What leaves the session unusable ends it.
template <typename Question>
void ask(Question const& question)
{
    try {
        question();
    } catch (client::ConnectionLost const&) {
        throw;
    } catch (client::ProtocolViolation const&) {
        throw;
    } catch (client::LoadFailed const&) {
        throw;
    } catch (client::Error const&) {
    }
}

std::vector<client::SubzoneAddress> someSubzones(Engine& engine, int zone, ValueLocation_e kind)
{
    auto subzones = engine.subzonesOf(zone, kind);
    subzones.resize(std::min(subzones.size(), MOST_SUBZONES));
    return subzones;
}

void askForVariable(Engine& engine, int zone, int var)
{
    ask([&] { engine.values(zone, var); });
    ask([&] { engine.hasVariable(zone, var); });
    ask([&] {
        if (!engine.hasSubzoneValues(zone, var))
            return;
        engine.allSubzoneValues(zone, var, [](auto, auto const&) {});
        engine.partitionRanges(zone, var);
        engine.subzoneRanges(zone, var, 0);
        engine.subzoneRanges(zone, var, 0, ValueLocation_CellCentered);
        engine.subzoneRanges(zone, var, 0, ValueLocation_Nodal);
        engine.subzonesThatMayHold(zone, {{var, 0.25}}, ValueLocation_Nodal);
        engine.subzonesThatMayHold(zone, {{var, 0.25}}, ValueLocation_CellCentered);
    });
}

void askForZone(Engine& engine, int zone)
{
    ask([&] { engine.shape(zone); });
    ask([&] {
        engine.cells(zone, someSubzones(engine, zone, ValueLocation_CellCentered),
                     [](auto const&) {});
    });
    ask([&] { engine.nodeSubzones(zone, someSubzones(engine, zone, ValueLocation_Nodal)); });
    ask([&] { engine.subzonesOfPlane(zone, Axis::K, 0, ValueLocation_Nodal); });
    ask([&] { engine.subzonesOfLine(zone, Axis::I, 0, 0, ValueLocation_CellCentered); });
    ask([&] { engine.faceNeighbors(zone); });
}

void askForCalculation(Engine& engine, int zone)
{
    ask([&] {
        std::string const name = engine.dataSet().variables.front().name;
        std::string const formula = "sqrt(abs({" + name + "})) + 2";
        int const var = engine.createCalcVar(zone, "calculated", formula);
        engine.partitionRanges(zone, var);
        engine.allSubzoneValues(zone, var, [](auto, auto const&) {});
    });
    ask([&] { engine.duplicateZone(zone); });
}

void load(Engine& engine, std::string const& path)
{
    engine.load({path});
    std::size_t const numZones = std::min(engine.dataSet().zones.size(), MOST_ZONES);
    std::size_t const numVars = std::min(engine.dataSet().variables.size(), MOST_VARIABLES);
    for (std::size_t z = 1; z <= numZones; ++z) {
        auto const zone = static_cast<int>(z);
        askForZone(engine, zone);
        for (std::size_t v = 1; v <= numVars; ++v)
            askForVariable(engine, zone, static_cast<int>(v));
    }
    if (numZones != 0 && numVars != 0)
        askForCalculation(engine, 1);
    engine.close();
}

void askFurther(Engine& engine, std::string const& path)
{
    engine.load({path});
    std::size_t const numZones = std::min(engine.dataSet().zones.size(), MOST_ZONES);
    std::size_t const numVars = std::min(engine.dataSet().variables.size(), MOST_VARIABLES);
    for (std::size_t z = 1; z <= numZones; ++z) {
        auto const zone = static_cast<int>(z);
        ask([&] { engine.allCells(zone, [](auto const&) {}); });
        ask([&] { engine.subzonesOfLine(zone, Axis::J, 0, 0, ValueLocation_Nodal); });
        for (std::size_t v = 1; v <= numVars; ++v)
            ask([&] {
                engine.subzoneValues(zone, static_cast<int>(v), {client::SubzoneAddress(0, 0, 0)},
                                     [](auto, auto const&) {});
            });
    }
    engine.close();
}

}

void converseToTheEnd(Engine& engine, Opening opening, std::string const& path)
{
    switch (opening) {
    case Opening::Greeting:
        engine.greet("token", std::chrono::seconds(1));
        break;
    case Opening::Browsing:
        engine.listFileTypes();
        engine.listFiles("/");
        break;
    case Opening::Loading:
        load(engine, path);
        break;
    case Opening::Further:
        askFurther(engine, path);
        break;
    }
}

void converse(Engine& engine, Opening opening, std::string const& path)
{
    try {
        converseToTheEnd(engine, opening, path);
    } catch (client::Error const&) {
        // A server may say what it likes.
    }
}

}
