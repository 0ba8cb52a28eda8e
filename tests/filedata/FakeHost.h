#pragma once

#include "filedata/AltVnxUtil.h"

#include <map>
#include <set>
#include <utility>

namespace varnox::hdqio::tests {

struct FakeZone
{
    ZoneType_e type = ZoneType_Ordered;
    bool isEnabled = true;
    std::string name{};
    std::uint8_t faceNeighborMode = 0;
    IJK size{};
    double solutionTime = 0;
    std::uint32_t strandID = 0;
    int parentZone = 0;
    int connectivitySharingZone = 0;
    std::vector<ZoneSection> sections{};
};

/// A data set behind the host API whose zones are set by the test.
class FakeHost : public AltVnxUtil
{
public:
    bool isAvailable = true;
    std::map<int, FakeZone> zones;
    std::set<long> members;
    std::map<std::pair<int, int>, int> varSharingZones; ///< By zone and variable.

    /// Names the members.
    Set_s* set() { return reinterpret_cast<Set_s*>(&members); }

    bool dataSetIsAvailable() const override { return isAvailable; }
    int numZones() const override { return zones.empty() ? 0 : zones.rbegin()->first; }
    bool zoneIsEnabled(int zone) const override
    {
        return zones.count(zone) != 0 && zones.at(zone).isEnabled;
    }
    ZoneType_e zoneType(int zone) const override { return zones.at(zone).type; }
    long nextMember(Set_s*, long member) const override
    {
        auto const next = members.upper_bound(member);
        return next == members.end() ? 0 : *next;
    }
    std::string zoneName(int zone) const override { return zones.at(zone).name; }
    std::uint8_t faceNeighborMode(int zone) const override
    {
        return zones.at(zone).faceNeighborMode;
    }
    IJK zoneSize(int zone) const override { return zones.at(zone).size; }
    double solutionTime(int zone) const override { return zones.at(zone).solutionTime; }
    std::uint32_t strandID(int zone) const override { return zones.at(zone).strandID; }
    int parentZone(int zone) const override { return zones.at(zone).parentZone; }
    int connectivitySharingZone(int zone) const override
    {
        return zones.at(zone).connectivitySharingZone;
    }
    std::vector<ZoneSection> sections(int zone) const override { return zones.at(zone).sections; }
    std::string varName(int var) const override { return "v" + std::to_string(var); }
    MinMax minMax(int zone, int var) const override { return {1.0 * zone, 10.0 * var}; }
    ValueLocation_e valueLocation(int, int var) const override
    {
        return var == 1 ? ValueLocation_Nodal : ValueLocation_CellCentered;
    }
    FieldDataType_e fieldDataType(int, int var) const override
    {
        return var == 1 ? FieldDataType_Double : FieldDataType_Byte;
    }
    bool varIsPassive(int zone, int var) const override { return zone == 3 && var == 2; }
    int varSharingZone(int zone, int var) const override
    {
        auto const found = varSharingZones.find({zone, var});
        return found == varSharingZones.end() ? 0 : found->second;
    }
};

/// Walks numbers in the order given.
class FakeIterator : public ItemSetIterator
{
public:
    explicit FakeIterator(std::vector<long> numbers) : m_numbers(std::move(numbers)) {}
    bool hasNext() const override { return m_at < m_numbers.size(); }
    long next() override { return m_numbers[m_at++]; }

private:
    std::vector<long> m_numbers;
    std::size_t m_at = 0;
};

}
