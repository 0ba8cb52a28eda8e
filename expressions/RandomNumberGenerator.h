#pragma once

namespace varnox::hdqlib {

/// The one sequence of random numbers of the process, shared by all expressions and never seeded
/// again. One thread.
class RandomNumberGenerator
{
public:
    /// The next number, in [0, 1).
    static double next();

private:
    static double m_previousValue;
};

}
