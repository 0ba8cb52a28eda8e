#pragma once

#include "addons/hdqfs/QueryObjects.h"

#include "varnox/hdq/CellConnectivityQueryInterface.h"
#include "varnox/hdq/DataSetRegistrationInterface.h"
#include "varnox/hdq/NodeConnectivityQueryInterface.h"
#include "varnox/hdq/OrderedSubzoneQueryInterface.h"
#include "varnox/hdq/VarSubzoneQueryInterface.h"
#include "varnox/hdq/VarValueQueryInterface.h"
#include "varnox/hdq/ZoneVarIDQueryInterface.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace varnox::hdqfsloader::tests {

/// Keeps what is handed in.
class Registration final : public hdq::DataSetRegistrationInterface
{
public:
    struct Zone
    {
        hdq::CellConnectivityQueryInterface* cells = nullptr;
        hdq::NodeConnectivityQueryInterface* nodes = nullptr;
        hdq::OrderedSubzoneQueryInterface* ordered = nullptr;
    };
    struct Variable
    {
        hdq::VarValueQueryInterface* cellCentered = nullptr;
        hdq::VarValueQueryInterface* nodal = nullptr;
        hdq::VarSubzoneQueryInterface* subzones = nullptr;
    };

    void registerZoneConnectivityQueryServices(hdq::CellConnectivityQueryInterface* cell,
                                               hdq::NodeConnectivityQueryInterface* node,
                                               int zone) override
    {
        zones[zone] = {cell, node, nullptr};
    }
    void registerZoneConnectivityQueryServices(hdq::CellConnectivityQueryInterface* cell,
                                               hdq::NodeConnectivityQueryInterface* node,
                                               hdq::OrderedSubzoneQueryInterface* ordered,
                                               int zone) override
    {
        zones[zone] = {cell, node, ordered};
    }
    void registerZoneVarIDQueryServices(hdq::ZoneVarIDQueryInterface* identity, int zone) override
    {
        identities[zone] = identity;
    }
    void registerVarQueryServices(hdq::VarValueQueryInterface* cellCentered,
                                  hdq::VarValueQueryInterface* nodal,
                                  hdq::VarSubzoneQueryInterface* subzones, int zone,
                                  int var) override
    {
        EXPECT_EQ(zones.count(zone), 1U) << "connectivity comes first";
        variables[{zone, var}] = {cellCentered, nodal, subzones};
    }

    std::map<int, Zone> zones;
    std::map<int, hdq::ZoneVarIDQueryInterface*> identities;
    std::map<std::pair<int, int>, Variable> variables;
};

/// A data set with its query objects as a host gets them.
struct Registered
{
    explicit Registered(std::vector<std::string> const& paths)
        : dataSet(paths), queries(dataSet, idsFor(dataSet))
    {
        queries.registerAll(registration);
    }

    /// Variable 0 has the id 1000, and so on.
    static std::vector<long> idsFor(DataSet const& dataSet)
    {
        std::vector<long> ids;
        for (std::uint32_t var = 0; var < dataSet.numVars(); ++var)
            ids.push_back(1000 + long{var});
        return ids;
    }

    DataSet dataSet;
    QueryObjects queries;
    Registration registration;
};

/// A growable array as the library hands it to an add-on.
template <typename T>
class Growable
{
public:
    Growable() = default;
    Growable(Growable const&) = delete;
    Growable& operator=(Growable const&) = delete;
    ~Growable() { delete[] m_owner; }

    RawArray<T>& array() { return m_array; }
    std::vector<T> values() const { return {m_array.data, m_array.data + m_array.size}; }

private:
    T* m_owner = nullptr;
    RawArray<T> m_array{&m_owner, nullptr, 0, 0};
};

using SubzoneAddress = ItemAddress<long>::SubzoneAddress;

/// The words of what a function appends to a growable array of addresses.
std::vector<std::uint64_t> wordsOf(std::function<void(RawArray<SubzoneAddress>&)> const& fill);

}
