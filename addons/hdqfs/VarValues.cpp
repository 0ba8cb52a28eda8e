#include "addons/hdqfs/VarValues.h"

#include <stdexcept>
#include <string>

namespace varnox::hdqfsloader {

void VarValues::minMax(double& min, double& max)
{
    hdqio::MinMax const range = variable().range();
    min = range.min;
    max = range.max;
}

void VarValues::checkout(RawArray<SubzoneAddress>&)
{
    requireForm();
}

void VarValues::checkin(RawArray<SubzoneAddress>&)
{
}

void VarValues::checkoutAll()
{
    requireForm();
}

void VarValues::fieldValues(RawArray<ItemAddress<long>> const& items, RawArray<double>& values)
{
    requireForm();
    resize(values, items.size);
    if (items.size == 0)
        return;
    SubzoneAddress const subzone = items.data[0].subzoneAddress();
    std::vector<double> const& stored = variable().values(subzone);
    for (std::uint64_t i = 0; i < items.size; ++i) {
        std::size_t const offset = items.data[i].itemOffset();
        if (offset >= stored.size() || items.data[i].subzoneAddress() != subzone)
            throw std::out_of_range(
                variable().description() + " has " + std::to_string(stored.size()) +
                " values in a subzone; number " + std::to_string(offset + 1) + " was asked for.");
        values.data[i] = stored[offset];
    }
}

void VarValues::requireForm()
{
    if (variable().items() != form())
        throw std::runtime_error(variable().description() +
                                 (form() == Items::Cells
                                      ? " has its values at nodes, not at cells."
                                      : " has its values at cells, not at nodes."));
}

}
