#include "varnox/hdqfswriter/ZoneSource.h"

#include <stdexcept>

namespace varnox::hdqfswriter {

ZoneSource::~ZoneSource() = default;

void const* ZoneSource::values(std::uint32_t, std::uint32_t, void*)
{
    throw std::logic_error("The source of a finite-element zone gives no values.");
}

void const* ZoneSource::boxValues(Box const&, std::uint32_t, void*)
{
    throw std::logic_error("The source of an ordered zone gives no values.");
}

std::uint64_t const* ZoneSource::cells(std::uint32_t, std::uint32_t, std::uint64_t*)
{
    throw std::logic_error("The source of a finite-element zone gives no cells.");
}

double const* ZoneSource::positions(std::uint32_t, double*)
{
    return nullptr;
}

std::vector<std::int32_t> ZoneSource::faceNeighbors()
{
    return {};
}

}
