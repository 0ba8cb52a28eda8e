#pragma once

#include "addons/hdqfs/DataFile.h"

#include "filedata/Numbers.h"
#include "varnox/ItemAddress.h"

#include <cstdint>
#include <string>
#include <vector>

namespace varnox::hdqfsloader {

/// One variable in one HDQ zone, wherever its values come from. The query objects of a variable and
/// the searches by value rest on this. Failures are std::runtime_error or std::out_of_range with a
/// text for a person.
class ZoneVariable
{
public:
    using SubzoneAddress = ItemAddress<long>::SubzoneAddress;

    ZoneVariable() = default;
    ZoneVariable(ZoneVariable const&) = delete;
    ZoneVariable& operator=(ZoneVariable const&) = delete;
    virtual ~ZoneVariable() = default;

    /// For messages, such as "Variable 7 in /data/wing.hdqfs".
    virtual std::string description() const = 0;
    /// Where the values stand.
    virtual Items items() const = 0;
    /// Of all values in the zone.
    virtual hdqio::MinMax range() const = 0;

    /// The same, but no value lies outside it, whatever digits the header of a text file has.
    virtual hdqio::MinMax safeRange() { return range(); }

    /// The values of a subzone of items(), in item order. Valid until the next call on any variable
    /// of the data set.
    virtual std::vector<double> const& values(SubzoneAddress const& subzone) = 0;

    /// One for each partition: of the values at its own items(). A cell at the border of a partition
    /// may have nodes in the next one, so the ranges of the other kind of subzones can be wider.
    virtual std::vector<hdqio::MinMax> partitionRanges() = 0;
    /// One for each node subzone or cell subzone of a partition, section after section; of either
    /// kind, wherever the values stand. No value lies outside the range of its subzone.
    virtual std::vector<hdqio::MinMax> subzoneRanges(std::uint32_t partition, Items items) = 0;
};

}
