#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace varnox::fuzz {

/// Changes each byte of some inputs in each of several ways: one change at a time, the shortest
/// input first. Where a single change is enough, nothing is left to chance.
class ByteSweep
{
public:
    static constexpr std::size_t NUM_WAYS = 11;

    explicit ByteSweep(std::vector<std::string> inputs);

    /// The next input with its change; none behind the last.
    std::optional<std::string> next();

private:
    std::vector<std::string> m_inputs;
    std::size_t m_input = 0;
    std::size_t m_byte = 0;
    std::size_t m_way = 0;
};

/// A step of the sweep over the folder that VNX_FUZZ_SWEEP names: the size of what it put into
/// data, or 0 without such a folder and behind the end.
std::size_t sweepStep(std::uint8_t* data, std::size_t maxSize);

}
