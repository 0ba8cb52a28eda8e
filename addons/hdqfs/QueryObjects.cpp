#include "addons/hdqfs/QueryObjects.h"

#include "varnox/hdq/CellConnectivityQueryInterface.h"
#include "varnox/hdq/NodeConnectivityQueryInterface.h"
#include "varnox/hdq/OrderedSubzoneQueryInterface.h"
#include "varnox/hdq/VarSubzoneQueryInterface.h"
#include "varnox/hdq/VarValueQueryInterface.h"

#include <deque>
#include <stdexcept>
#include <string>
#include <vector>

namespace varnox::hdqfsloader {

using hdqio::MinMax;

namespace {

using SubzoneAddress = ItemAddress<long>::SubzoneAddress;

[[noreturn]] void throwNotServed(std::string const& what)
{
    throw std::runtime_error("The HDQFS loader doesn't serve " + what +
                             " yet: it serves values, ranges and sizes of subzones.");
}

std::uint16_t sizeOf(DataSet::ZoneInFile const& grid, SubzoneAddress const& subzone, Items items)
{
    return static_cast<std::uint16_t>(grid.file->layout(grid.zone, subzone.partition(), items)
                                          .run(subzone.section(), subzone.subzoneOffset())
                                          .size);
}

long countSubzones(DataSet::ZoneInFile const& grid, Items items)
{
    std::uint64_t total = 0;
    std::uint32_t const numPartitions = grid.file->zone(grid.zone).numPartitions;
    for (std::uint32_t partition = 0; partition < numPartitions; ++partition)
        total += grid.file->layout(grid.zone, partition, items).numSubzones();
    return static_cast<long>(total);
}

class CellConnectivity final : public hdq::CellConnectivityQueryInterface
{
public:
    explicit CellConnectivity(DataSet::ZoneInFile const& grid) : m_grid(grid) {}

    void setup() override {}
    void teardown() override {}
    void destroy() override {}
    void checkout(bool, RawArray<SubzoneAddress>&) override {}
    void checkin(RawArray<SubzoneAddress>&) override {}
    void checkoutAll(bool) override {}
    void checkinAll() override {}
    void copyToUniform() override {}
    ItemAddress<long> toUniformAddress(ItemAddress<long> const&) override { throwNotServed(WHAT); }
    ItemAddress<long> toHdqAddress(ItemAddress<long> const&) override { throwNotServed(WHAT); }
    void referencedNodeSubzones(SubzoneAddress const&, RawArray<SubzoneAddress>&) override
    {
        throwNotServed(WHAT);
    }
    long numSubzones() override { return countSubzones(m_grid, Items::Cells); }
    unsigned short size(SubzoneAddress const& subzone) override
    {
        return sizeOf(m_grid, subzone, Items::Cells);
    }
    long cornerNodeCount(ItemAddress<long> const&) override { throwNotServed(WHAT); }
    long nodeCount(ItemAddress<long> const&) override { throwNotServed(WHAT); }
    long faceCount(ItemAddress<long> const&) override { throwNotServed(WHAT); }
    void cornerNodeAddresses(ItemAddress<long> const&, RawArray<ItemAddress<long>>&) override
    {
        throwNotServed(WHAT);
    }
    ItemAddress<long> cornerNodeAddress(ItemAddress<long> const&, int) override
    {
        throwNotServed(WHAT);
    }
    void nodeAddresses(ItemAddress<long> const&, RawArray<ItemAddress<long>>&) override
    {
        throwNotServed(WHAT);
    }
    ItemAddress<long> nodeAddress(ItemAddress<long> const&, int) override { throwNotServed(WHAT); }
    void updateInternalFaceNeighbors() override {}
    void faceNeighbors() override {}
    void setFaceNeighbors() override {}

private:
    static constexpr char const* WHAT = "the cells of HDQ zones";
    DataSet::ZoneInFile m_grid;
};

class NodeConnectivity final : public hdq::NodeConnectivityQueryInterface
{
public:
    explicit NodeConnectivity(DataSet::ZoneInFile const& grid) : m_grid(grid) {}

    void setup() override {}
    void teardown() override {}
    void destroy() override {}
    void checkout(RawArray<SubzoneAddress>&) override {}
    void checkin(RawArray<SubzoneAddress>&) override {}
    void checkoutAll() override {}
    void checkinAll() override {}
    ItemAddress<long> toUniformAddress(ItemAddress<long> const&) override { throwNotServed(WHAT); }
    ItemAddress<long> toHdqAddress(ItemAddress<long> const&) override { throwNotServed(WHAT); }
    void referencedCellSubzones(SubzoneAddress const&, RawArray<SubzoneAddress>&) override
    {
        throwNotServed(WHAT);
    }
    long numSubzones() override { return countSubzones(m_grid, Items::Nodes); }
    unsigned short size(SubzoneAddress const& subzone) override
    {
        return sizeOf(m_grid, subzone, Items::Nodes);
    }

private:
    static constexpr char const* WHAT = "the cells at the nodes of HDQ zones";
    DataSet::ZoneInFile m_grid;
};

class OrderedSubzones final : public hdq::OrderedSubzoneQueryInterface
{
public:
    void setup() override {}
    void teardown() override {}
    void destroy() override {}
    void findIJKPlaneCellSubzones(int, long, RawArray<SubzoneAddress>&) override
    {
        throwNotServed(WHAT);
    }
    void findIJKLineCellSubzones(int, long, long, RawArray<SubzoneAddress>&) override
    {
        throwNotServed(WHAT);
    }
    void findIJKPlaneNodeSubzones(int, long, RawArray<SubzoneAddress>&) override
    {
        throwNotServed(WHAT);
    }
    void findIJKLineNodeSubzones(int, long, long, RawArray<SubzoneAddress>&) override
    {
        throwNotServed(WHAT);
    }

private:
    static constexpr char const* WHAT = "searches by plane or line";
};

/// Reads the values of one subzone. Shared by the objects of all variables, of which there may be
/// millions.
class SubzoneReader
{
public:
    explicit SubzoneReader(DescriptorCache& descriptors) : m_reader(descriptors) {}

    /// Valid until the next call.
    std::vector<double> const& read(DataSet::VariableInFile const& variable, Items items,
                                    SubzoneAddress const& subzone)
    {
        DataFile& file = *variable.file;
        SubzoneLayout::Run const run = file.layout(variable.zone, subzone.partition(), items)
                                           .run(subzone.section(), subzone.subzoneOffset());
        m_values.resize(run.size);
        m_reader.readDoubles(file.values(variable.zone, variable.var, subzone.partition()),
                             run.firstItem, run.size, m_values.data());
        return m_values;
    }

private:
    ValueReader m_reader;
    std::vector<double> m_values;
};

/// The values of a variable in the form that the file has; the other form has none.
class VarValues final : public hdq::VarValueQueryInterface
{
public:
    VarValues(SubzoneReader& reader, DataSet::VariableInFile const& variable, MinMax const& range,
              bool isStored)
        : m_reader(reader), m_variable(variable), m_range(range), m_isStored(isStored),
          m_items(variable.file->isNodal(variable.zone, variable.var) ? Items::Nodes
                                                                      : Items::Cells)
    {
    }

    void setup() override {}
    void teardown() override {}
    void destroy() override {}
    void reservedFirst() override {}
    void reservedSecond() override {}
    void minMax(double& min, double& max) override
    {
        min = m_range.min;
        max = m_range.max;
    }
    void checkout(RawArray<SubzoneAddress>&) override { requireStored(); }
    void checkin(RawArray<SubzoneAddress>&) override {}
    void checkoutAll() override { requireStored(); }
    void checkinAll() override {}
    void copyToUniform() override {}
    void fieldValue() override {}

    void fieldValues(RawArray<ItemAddress<long>> const& items, RawArray<double>& values) override
    {
        requireStored();
        resize(values, items.size);
        if (items.size == 0)
            return;
        SubzoneAddress const subzone = items.data[0].subzoneAddress();
        std::vector<double> const& stored = m_reader.read(m_variable, m_items, subzone);
        for (std::uint64_t i = 0; i < items.size; ++i) {
            std::size_t const offset = items.data[i].itemOffset();
            if (offset >= stored.size() || items.data[i].subzoneAddress() != subzone)
                throw std::out_of_range("Variable " + std::to_string(m_variable.var + 1) + " in " +
                                        m_variable.file->path() + " has " +
                                        std::to_string(stored.size()) +
                                        " values in a subzone; number " +
                                        std::to_string(offset + 1) + " was asked for.");
            values.data[i] = stored[offset];
        }
    }

private:
    void requireStored() const
    {
        if (!m_isStored)
            throw std::runtime_error(
                "Variable " + std::to_string(m_variable.var + 1) + " in " + m_variable.file->path() +
                (m_items == Items::Nodes ? " has its values at nodes, not at cells."
                                         : " has its values at cells, not at nodes."));
    }

    SubzoneReader& m_reader;
    DataSet::VariableInFile m_variable;
    MinMax m_range;
    bool m_isStored;
    Items m_items;
};

/// Appends pairs: the lower end of a range, then its upper end.
void appendRanges(RawArray<double>& out, std::vector<MinMax> const& ranges)
{
    reserve(out, out.size + 2 * ranges.size());
    for (MinMax const& range : ranges) {
        append(out, range.min);
        append(out, range.max);
    }
}

class VarRanges final : public hdq::VarSubzoneQueryInterface
{
public:
    explicit VarRanges(DataSet::VariableInFile const& variable) : m_variable(variable) {}

    void setup() override {}
    void teardown() override {}
    void destroy() override {}
    void findNodeSubzones() override {}
    void findCellSubzones() override {}
    void partitionMinMaxes(RawArray<double>& result) override
    {
        appendRanges(result, m_variable.file->partitionRanges(m_variable.zone, m_variable.var));
    }
    void cellSubzoneMinMaxes(unsigned int partition, RawArray<double>& result) override
    {
        appendRanges(result, m_variable.file->subzoneRanges(m_variable.zone, m_variable.var,
                                                            partition, Items::Cells));
    }
    void nodeSubzoneMinMaxes(unsigned int partition, RawArray<double>& result) override
    {
        appendRanges(result, m_variable.file->subzoneRanges(m_variable.zone, m_variable.var,
                                                            partition, Items::Nodes));
    }

private:
    DataSet::VariableInFile m_variable;
};

}

class QueryObjects::Impl
{
public:
    explicit Impl(DataSet& set) : dataSet(set), reader(set.descriptors()) {}

    void registerConnectivity(hdq::DataSetRegistrationInterface& registration, std::uint32_t zone,
                              bool isOrdered)
    {
        DataSet::ZoneInFile const grid = dataSet.grid(zone);
        auto const index = static_cast<int>(zone);
        cells.emplace_back(grid);
        nodes.emplace_back(grid);
        if (!isOrdered) {
            registration.registerZoneConnectivityQueryServices(&cells.back(), &nodes.back(), index);
            return;
        }
        ordered.emplace_back();
        registration.registerZoneConnectivityQueryServices(&cells.back(), &nodes.back(),
                                                           &ordered.back(), index);
    }

    void registerVariable(hdq::DataSetRegistrationInterface& registration, std::uint32_t zone,
                          std::uint32_t var, DataSet::Variable const& variable)
    {
        DataSet::VariableInFile const place = dataSet.values(zone, var);
        values.emplace_back(reader, place, variable.range, !variable.isNodal);
        VarValues& cellCentered = values.back();
        values.emplace_back(reader, place, variable.range, variable.isNodal);
        ranges.emplace_back(place);
        registration.registerVarQueryServices(&cellCentered, &values.back(), &ranges.back(),
                                              static_cast<int>(zone), static_cast<int>(var));
    }

    DataSet& dataSet;
    SubzoneReader reader;
    // Containers in which elements keep their places.
    std::deque<CellConnectivity> cells;
    std::deque<NodeConnectivity> nodes;
    std::deque<OrderedSubzones> ordered;
    std::deque<VarValues> values;
    std::deque<VarRanges> ranges;
};

QueryObjects::QueryObjects(DataSet& dataSet) : m_impl(std::make_unique<Impl>(dataSet)) {}

QueryObjects::~QueryObjects() = default;

void QueryObjects::registerAll(hdq::DataSetRegistrationInterface& registration)
{
    DataSet& dataSet = m_impl->dataSet;
    for (std::uint32_t zone = 0; zone < dataSet.numZones(); ++zone) {
        DataSet::Zone const description = dataSet.zone(zone);
        if (description.isHdq)
            m_impl->registerConnectivity(registration, zone,
                                         description.type == ZoneType_Ordered);
    }
    for (std::uint32_t zone = 0; zone < dataSet.numZones(); ++zone) {
        if (!dataSet.zone(zone).isHdq)
            continue;
        for (std::uint32_t var = 0; var < dataSet.numVars(); ++var) {
            DataSet::Variable const variable = dataSet.variable(zone, var);
            if (variable.hasValues())
                m_impl->registerVariable(registration, zone, var, variable);
        }
    }
}

}
