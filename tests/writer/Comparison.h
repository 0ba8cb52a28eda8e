#pragma once

#include "addons/hdqfs/DataFile.h"
#include "varnox/hdqfswriter/DataSet.h"

#include <memory>
#include <string>

namespace varnox::hdqfswriter::tests {

/// Fails the test for each field, value and cell in which the data sets differ. What has been
/// through the text form is compared with what is left of a number there.
void expectEqual(DataSet const& expected, DataSet const& actual, bool throughText);

/// Fails the test for each range of the file, of subzones, partitions and zones, that isn't exactly
/// that of the values which it is to tell of.
void expectExactRanges(std::shared_ptr<hdqfsloader::DataFile> const& file, DataSet const& dataSet);

/// Fails the test for each node subzone whose record isn't the list of all cell subzones with its
/// nodes.
void expectExactNodeRecords(std::shared_ptr<hdqfsloader::DataFile> const& file,
                            DataSet const& dataSet);

}
