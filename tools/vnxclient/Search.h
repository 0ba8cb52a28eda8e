#pragma once

#include "client/Engine.h"
#include "tools/support/Output.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace varnox::tools {

/// What `range` is asked for. Zone and variable are named by number or by name.
struct RangeRequest
{
    std::string zone;
    std::string variable;
    bool byPartition = false;
    std::optional<std::uint32_t> partition; ///< For the ranges of its subzones.
    std::string kind;                       ///< "nodes", "cells", or empty: where the values stand.
};

/// What `find` is asked for.
struct FindRequest
{
    std::string zone;
    std::vector<std::pair<std::string, double>> values; ///< Variable and value.
    std::string kind; ///< Empty: where the values of the first variable stand.
};

/// What `plane` is asked for: one index names a plane, two name a line.
struct PlaneRequest
{
    std::string zone;
    std::optional<std::int64_t> i;
    std::optional<std::int64_t> j;
    std::optional<std::int64_t> k;
    std::string kind; ///< Empty: nodes.
};

/// "VARIABLE=VALUE"; the variable may have equals signs in its name. Throws WrongUsage.
std::pair<std::string, double> parseWantedValue(std::string const& text);

/// Throws WrongUsage.
void requireOneOrTwoIndices(PlaneRequest const& request);

void reportRange(client::Engine& engine, RangeRequest const& request, bool asJson, Output& output);
void reportFound(client::Engine& engine, FindRequest const& request, bool asJson, Output& output);
void reportPlane(client::Engine& engine, PlaneRequest const& request, bool asJson, Output& output);

}
