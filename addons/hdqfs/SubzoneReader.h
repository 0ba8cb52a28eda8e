#pragma once

#include "addons/hdqfs/DataSet.h"
#include "addons/hdqfs/ValueReader.h"

#include "varnox/ItemAddress.h"

#include <vector>

namespace varnox::hdqfsloader {

/// Reads the values of one subzone. Shared by the variables of a data set, of which there may be
/// millions.
class SubzoneReader
{
public:
    explicit SubzoneReader(DescriptorCache& descriptors) : m_reader(descriptors) {}

    /// Valid until the next call.
    std::vector<double> const& read(DataSet::VariableInFile const& variable, Items items,
                                    ItemAddress<long>::SubzoneAddress const& subzone);

private:
    ValueReader m_reader;
    std::vector<double> m_values;
};

}
