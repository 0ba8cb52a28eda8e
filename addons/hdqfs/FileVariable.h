#pragma once

#include "addons/hdqfs/SubzoneReader.h"
#include "addons/hdqfs/ZoneVariable.h"

namespace varnox::hdqfsloader {

/// A variable whose values stand in a file.
class FileVariable final : public ZoneVariable
{
public:
    FileVariable(SubzoneReader& reader, DataSet::VariableInFile const& place,
                 hdqio::MinMax const& range);

    std::string description() const override;
    Items items() const override { return m_items; }
    hdqio::MinMax range() const override { return m_range; }
    hdqio::MinMax safeRange() override { return joined(partitionRanges()); }
    std::vector<double> const& values(SubzoneAddress const& subzone) override;
    std::vector<hdqio::MinMax> partitionRanges() override;
    std::vector<hdqio::MinMax> subzoneRanges(std::uint32_t partition, Items items) override;

private:
    SubzoneReader& m_reader;
    DataSet::VariableInFile m_place;
    hdqio::MinMax m_range;
    Items m_items;
};

}
