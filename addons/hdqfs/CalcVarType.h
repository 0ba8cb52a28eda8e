#pragma once

#include "varnox/Interval.h"

#include <cstddef>

namespace varnox::hdqfsloader {

/// The value type of a calculated variable: how computed numbers are kept, and what that does to
/// the range in which they lie. Not-a-number, the mark of a point without a value, is 0 in types
/// that have none.
class CalcVarType
{
public:
    /// A number of the host API. Throws std::invalid_argument for none that a query can serve.
    explicit CalcVarType(int fieldDataType);

    void narrow(double* values, std::size_t count) const;
    /// The range of narrowed values: for types without not-a-number it holds 0.
    Interval narrowed(Interval const& range) const;

private:
    void (*m_narrow)(double*, std::size_t);
    Interval (*m_narrowed)(Interval const&);
};

}
