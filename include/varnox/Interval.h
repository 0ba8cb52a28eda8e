#pragma once

namespace varnox {

/// A range of numbers, both ends included. It may lie the wrong way round: some functions of
/// expressions give lower above upper.
struct Interval
{
    double lower;
    double upper;
};

}
