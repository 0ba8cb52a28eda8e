#pragma once

#include "tests/malformed/Table.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace varnox::malformed {

using Said = std::vector<std::pair<std::string, std::string>>;

/// Reads an input and gives what is said of it. Who is asked reads the base as well, to know what
/// is said of a sound one.
using Ask = std::function<Said(Case const& each, std::string const& input)>;

/// Gives the bytes of a base by what a case says of it.
using BaseOf = std::function<std::string(Case const& each)>;

/// Holds each case of a group to what has to be said of it, to 64 MiB and 2 n of memory, and to a
/// second and another one for each 10 MB. A signal names its case. With VNX_RECORD=1 in the
/// environment it writes what is said into the table instead.
void runGroup(std::string const& tablePath, std::string const& group, BaseOf const& baseOf,
              Ask const& ask);

/// A file of bases/.
std::string baseFile(std::string const& name);

}
