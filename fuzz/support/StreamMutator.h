#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>

namespace varnox::fuzz {

/// Changes what goes over a wire: counts and numbers become extreme, runs of bytes are left out,
/// and whole messages are left out, said twice or moved, and the end is cut off.
class StreamMutator
{
public:
    explicit StreamMutator(std::uint64_t seed) : m_random(seed) {}

    void mutate(std::string& stream);

private:
    void changeBytes(std::string& stream);
    void changeCount(std::string& stream);
    void changeNumber(std::string& stream);
    void moveRun(std::string& stream);
    void moveMessages(std::string& stream);

    enum class Move { LeaveOut, Repeat, Displace };
    Move anyMove() { return static_cast<Move>(below(3)); }
    std::size_t below(std::size_t n) { return n == 0 ? 0 : m_random() % n; }
    std::uint64_t extremeNumber(std::uint64_t present);

    std::mt19937_64 m_random;
};

}
