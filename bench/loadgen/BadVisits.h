#pragma once

#include "bench/loadgen/Work.h"

#include <cstddef>
#include <functional>
#include <random>
#include <string>

namespace varnox::loadgen {

/// What a bad visitor needs.
struct BadVisit
{
    /// A new connection to the server; throws what the client library throws.
    std::function<int()> connect;
    FileSet const& fileSet;
};

/// Goes to the server as nobody should: with a wrong greeting, half a command, a request for what
/// doesn't exist, or not to read the answer. Throws Fault if the server does anything but refuse,
/// answer or close in time.
void runBadVisit(BadVisit const& visit, std::mt19937_64& random);

}
