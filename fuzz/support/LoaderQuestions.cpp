#include "fuzz/support/LoaderQuestions.h"

#include "addons/hdqfs/Annotations.h"
#include "addons/hdqfs/Loading.h"
#include "addons/hdqfs/QueryObjects.h"
#include "fuzz/support/Entry.h"
#include "tests/hdqfs/RecordingEngine.h"
#include "varnox/UniformAddress.h"
#include "varnox/hdq/CellConnectivityQueryInterface.h"
#include "varnox/hdq/DataSetRegistrationInterface.h"
#include "varnox/hdq/NodeConnectivityQueryInterface.h"
#include "varnox/hdq/OrderedSubzoneQueryInterface.h"
#include "varnox/hdq/VarSubzoneQueryInterface.h"
#include "varnox/hdq/VarValueQueryInterface.h"
#include "varnox/hdq/ZoneVarIDQueryInterface.h"

#include <algorithm>
#include <vector>

namespace varnox::fuzz {

using namespace hdqfsloader;

namespace {

using Address = ItemAddress<long>;
using SubzoneAddress = Address::SubzoneAddress;

constexpr std::uint32_t MOST_ZONES = 4;
constexpr std::uint32_t MOST_VARS = 8;
constexpr std::size_t MOST_SUBZONES = 16;
constexpr unsigned short MOST_ITEMS = 16;

/// An array that an add-on may grow.
template <typename T>
class Growable
{
public:
    Growable() = default;
    Growable(Growable const&) = delete;
    Growable& operator=(Growable const&) = delete;
    ~Growable() { delete[] m_owner; }

    RawArray<T>& array() { return m_array; }

private:
    T* m_owner = nullptr;
    RawArray<T> m_array{&m_owner, nullptr, 0, 0};
};

/// A host that takes everything.
class AnyEngine : public hdqfsloader::tests::RecordingEngine
{
public:
    void Unimplemented(std::string const&) const override {}
};

class Registration final : public hdq::DataSetRegistrationInterface
{
public:
    void registerZoneConnectivityQueryServices(hdq::CellConnectivityQueryInterface* cell,
                                               hdq::NodeConnectivityQueryInterface* node,
                                               int zone) override
    {
        registerZoneConnectivityQueryServices(cell, node, nullptr, zone);
    }
    void registerZoneConnectivityQueryServices(hdq::CellConnectivityQueryInterface* cell,
                                               hdq::NodeConnectivityQueryInterface* node,
                                               hdq::OrderedSubzoneQueryInterface* ordered,
                                               int) override
    {
        zones.push_back({cell, node, ordered});
    }
    void registerZoneVarIDQueryServices(hdq::ZoneVarIDQueryInterface* identity, int) override
    {
        identities.push_back(identity);
    }
    void registerVarQueryServices(hdq::VarValueQueryInterface* cellCentered,
                                  hdq::VarValueQueryInterface* nodal,
                                  hdq::VarSubzoneQueryInterface* subzones, int, int) override
    {
        variables.push_back({cellCentered, nodal, subzones});
    }

    struct Zone
    {
        hdq::CellConnectivityQueryInterface* cells;
        hdq::NodeConnectivityQueryInterface* nodes;
        hdq::OrderedSubzoneQueryInterface* ordered;
    };
    struct Variable
    {
        hdq::VarValueQueryInterface* cellCentered;
        hdq::VarValueQueryInterface* nodal;
        hdq::VarSubzoneQueryInterface* subzones;
    };
    std::vector<Zone> zones;
    std::vector<hdq::ZoneVarIDQueryInterface*> identities;
    std::vector<Variable> variables;
};

/// The first subzones of three partitions and two sections, and one that no file has. Of what isn't
/// there the first is enough: refusals take most of the time.
template <typename Question>
void forSomeSubzones(Question const& isAnswered)
{
    for (std::uint32_t partition = 0; partition < 3; ++partition)
        for (std::uint32_t section = 0; section < 2; ++section)
            if (isAnswered(SubzoneAddress(partition, section, 0)))
                isAnswered(SubzoneAddress(partition, section, 1));
    isAnswered(SubzoneAddress(9, 9, 99999));
}

Address itemOf(SubzoneAddress const& subzone, unsigned short item)
{
    Address result(0);
    result.assign(subzone, static_cast<std::uint8_t>(item));
    return result;
}

/// An address in both of its forms, and back.
template <typename Connectivity>
void askForNumbers(Connectivity& items, Address const& item)
{
    ask([&] {
        Address const uniform = items.toUniformAddress(item);
        expect(items.toUniformAddress(items.toHdqAddress(uniform)) == uniform,
               "an item has another number than it had");
    });
    ask([&] { items.toHdqAddress(uniformAddress(item.itemOffset())); });
}

void askForCells(hdq::CellConnectivityQueryInterface& cells)
{
    ask([&] { cells.numSubzones(); });
    forSomeSubzones([&](SubzoneAddress const& subzone) {
        unsigned short size = 0;
        Growable<SubzoneAddress> subzones;
        bool const exists = ask([&] { size = std::min(cells.size(subzone), MOST_ITEMS); });
        ask([&] { cells.referencedNodeSubzones(subzone, subzones.array()); });
        askForNumbers(cells, itemOf(subzone, 0));
        for (unsigned short item = 0; item <= size; ++item)
            ask([&] {
                Address const cell = itemOf(subzone, item);
                Growable<Address> nodes;
                cells.nodeAddresses(cell, nodes.array());
                cells.cornerNodeAddresses(cell, nodes.array());
                expect(cells.nodeCount(cell) >= cells.cornerNodeCount(cell),
                       "a cell has more corners than nodes");
                cells.faceCount(cell);
                cells.cornerNodeAddress(cell, 0);
                cells.nodeAddress(cell, 1);
            });
        return exists;
    });
}

void askForNodes(hdq::NodeConnectivityQueryInterface& nodes)
{
    ask([&] { nodes.numSubzones(); });
    forSomeSubzones([&](SubzoneAddress const& subzone) {
        return ask([&] {
            Growable<SubzoneAddress> subzones;
            nodes.size(subzone);
            nodes.referencedCellSubzones(subzone, subzones.array());
            askForNumbers(nodes, itemOf(subzone, 0));
        });
    });
}

void askForOrder(hdq::OrderedSubzoneQueryInterface& ordered)
{
    for (int axis = 0; axis < 3; ++axis)
        ask([&] {
            Growable<SubzoneAddress> subzones;
            ordered.findIJKPlaneCellSubzones(axis, 1, subzones.array());
            ordered.findIJKPlaneNodeSubzones(axis, 1, subzones.array());
            ordered.findIJKLineCellSubzones(axis, 0, 1, subzones.array());
            ordered.findIJKLineNodeSubzones(axis, 0, 1, subzones.array());
        });
}

void askForValues(hdq::VarValueQueryInterface* values)
{
    if (values == nullptr)
        return;
    forSomeSubzones([&](SubzoneAddress const& subzone) {
        return ask([&] {
            double min = 0;
            double max = 0;
            SubzoneAddress one = subzone;
            RawArray<SubzoneAddress> checkedOut{nullptr, &one, 1, 1};
            Address items[] = {itemOf(subzone, 0), itemOf(subzone, 1)};
            Growable<double> result;
            values->minMax(min, max);
            values->checkout(checkedOut);
            values->fieldValues({nullptr, items, 2, 2}, result.array());
            values->checkin(checkedOut);
        });
    });
}

void askForRanges(hdq::VarSubzoneQueryInterface* ranges)
{
    if (ranges == nullptr)
        return;
    Growable<double> result;
    ask([&] { ranges->partitionMinMaxes(result.array()); });
    for (unsigned partition = 0; partition < 3; ++partition) {
        ask([&] { ranges->cellSubzoneMinMaxes(partition, result.array()); });
        ask([&] { ranges->nodeSubzoneMinMaxes(partition, result.array()); });
    }
}

void search(hdq::ZoneVarIDQueryInterface& identity)
{
    double values[] = {0.25};
    long ids[] = {1000};
    Growable<SubzoneAddress> subzones;
    ask([&] {
        identity.varExists(1000);
        identity.findNodeSubzones({nullptr, values, 1, 1}, {nullptr, ids, 1, 1}, subzones.array());
    });
    ask([&] {
        identity.findCellSubzones({nullptr, values, 1, 1}, {nullptr, ids, 1, 1}, subzones.array());
    });
}

}

namespace {

Refusals* collecting = nullptr;

}

Refusals::Refusals()
{
    collecting = this;
}

Refusals::~Refusals()
{
    collecting = nullptr;
}

void Refusals::add(std::string const& text)
{
    if (collecting != nullptr)
        collecting->m_texts.push_back(text);
}

void loadOnDemand(DataSet& dataSet)
{
    for (std::uint32_t zone = 0; zone < std::min(dataSet.numZones(), MOST_ZONES); ++zone) {
        ask([&] { dataSet.zone(zone); });
        for (std::uint32_t var = 0; var < std::min(dataSet.numVars(), MOST_VARS); ++var)
            ask([&] {
                hdqfsloader::tests::RecordingEngine engine;
                DataSet::Variable const variable = dataSet.variable(zone, var);
                engine.valueSize = valueSize(variable.type);
                if (variable.hasValues())
                    sendValues(dataSet, zone, var, nullptr);
            });
        ask([&] {
            hdqfsloader::tests::RecordingEngine const engine;
            sendNodeMap(dataSet, zone, nullptr);
        });
        ask([&] {
            AnyEngine const engine;
            sendFaceNeighbors(dataSet, zone, nullptr);
        });
    }
    ask([&] {
        AnyEngine const engine;
        std::string const notShown = sendAnnotations(dataSet);
        if (!notShown.empty())
            Refusals::add(notShown);
    });
}

void query(DataSet& dataSet)
{
    std::vector<long> ids;
    for (std::uint32_t var = 0; var < dataSet.numVars(); ++var)
        ids.push_back(1000 + long{var});
    QueryObjects queries(dataSet, ids);
    Registration registration;
    queries.registerAll(registration);
    for (std::size_t z = 0; z < std::min<std::size_t>(registration.zones.size(), MOST_ZONES); ++z) {
        Registration::Zone const& zone = registration.zones[z];
        askForCells(*zone.cells);
        askForNodes(*zone.nodes);
        if (zone.ordered != nullptr)
            askForOrder(*zone.ordered);
    }
    std::size_t const numVariables =
        std::min<std::size_t>(registration.variables.size(), MOST_SUBZONES);
    for (std::size_t v = 0; v < numVariables; ++v) {
        askForValues(registration.variables[v].cellCentered);
        askForValues(registration.variables[v].nodal);
        askForRanges(registration.variables[v].subzones);
    }
    for (std::size_t z = 0; z < std::min<std::size_t>(registration.identities.size(), MOST_ZONES);
         ++z)
        search(*registration.identities[z]);
}

}
