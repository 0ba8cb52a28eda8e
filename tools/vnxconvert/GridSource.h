#pragma once

#include "tools/vnxconvert/Frames.h"
#include "tools/vnxconvert/Variables.h"
#include "varnox/hdqfswriter/ZoneSource.h"

#include <memory>
#include <vector>

namespace varnox::convert {

/// Hands the writer what a zone of some time holds, which is read again if need be. frames must
/// outlive it. What it hands out is valid until a source asks for another time.
class GridSource final : public hdqfswriter::ZoneSource
{
public:
    GridSource(Frames& frames, std::size_t frameIndex, std::size_t zoneIndex,
               std::vector<Variable> variables, Precision precision);

    void const* values(std::uint32_t partition, std::uint32_t variable, void* buffer) override;
    void const* boxValues(hdqfswriter::Box const& box, std::uint32_t variable,
                          void* buffer) override;
    std::uint64_t const* cells(std::uint32_t partition, std::uint32_t section,
                               std::uint64_t* buffer) override;
    double const* positions(std::uint32_t partition, double* buffer) override;

private:
    /// Valid until another time is asked for.
    ZoneLayout const& zone();

    Frames& m_frames;
    std::size_t m_frameIndex;
    std::size_t m_zoneIndex;
    std::vector<Variable> m_variables;
    Precision m_precision;
};

}
