#pragma once

#include <string>

namespace varnox::hdqfsloader {

/// Refuses a query that has no answer yet. Throws std::runtime_error.
[[noreturn]] void throwNotServed(std::string const& what);

}
