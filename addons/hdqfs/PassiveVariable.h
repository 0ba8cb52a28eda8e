#pragma once

#include "addons/hdqfs/DataSet.h"
#include "addons/hdqfs/ZoneVariable.h"

namespace varnox::hdqfsloader {

/// A variable without values in the file: each of them is 0.
class PassiveVariable final : public ZoneVariable
{
public:
    PassiveVariable(DataSet::ZoneInFile const& grid, std::uint32_t var, Items items)
        : m_grid(grid), m_var(var), m_items(items)
    {
    }

    std::string description() const override;
    Items items() const override { return m_items; }
    hdqio::MinMax range() const override { return {0, 0}; }
    std::vector<double> const& values(SubzoneAddress const& subzone) override;
    std::vector<hdqio::MinMax> partitionRanges() override;
    std::vector<hdqio::MinMax> subzoneRanges(std::uint32_t partition, Items items) override;

private:
    DataSet::ZoneInFile m_grid;
    std::uint32_t m_var;
    Items m_items;
    std::vector<double> m_zeros;
};

}
