#pragma once

#include "addons/hdqfs/SubzoneReader.h"
#include "addons/hdqfs/ZoneVariable.h"

namespace varnox::hdqfsloader {

/// A variable whose values stand in a file. What the headers of the file say of it is looked up
/// there: there may be millions.
class FileVariable : public ZoneVariable
{
public:
    /// Reader and file must outlive the object.
    FileVariable(SubzoneReader& reader, DataSet::VariableInFile const& place)
        : m_reader(reader), m_place(place)
    {
    }

    std::string description() const override;
    Items items() const override;
    hdqio::MinMax range() const override;
    hdqio::MinMax safeRange() override { return joined(partitionRanges()); }
    std::vector<double> const& values(SubzoneAddress const& subzone) override;
    std::vector<hdqio::MinMax> partitionRanges() override;
    std::vector<hdqio::MinMax> subzoneRanges(std::uint32_t partition, Items items) override;

private:
    SubzoneReader& m_reader;
    DataSet::VariableInFile m_place;
};

}
