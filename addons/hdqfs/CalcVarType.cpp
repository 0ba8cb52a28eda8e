#include "addons/hdqfs/CalcVarType.h"

#include "expressions/Narrowing.h"
#include "varnox/hostapi/VnxTypes.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <type_traits>

namespace varnox::hdqfsloader {

namespace {

template <typename T>
void narrowValues(double* values, std::size_t count)
{
    if constexpr (std::is_same_v<T, double>)
        return;
    for (std::size_t i = 0; i < count; ++i) {
        if (!std::is_floating_point_v<T> && std::isnan(values[i]))
            values[i] = 0;
        values[i] = hdqlib::narrow<T>(values[i]);
    }
}

template <typename T>
Interval narrowedRange(Interval const& range)
{
    if constexpr (std::is_same_v<T, double>) {
        return range;
    } else if constexpr (std::is_same_v<T, float>) {
        return {hdqlib::narrow<float>(range.lower), hdqlib::narrow<float>(range.upper)};
    } else {
        constexpr double LOWEST = std::numeric_limits<T>::lowest();
        constexpr double HIGHEST = std::numeric_limits<T>::max();
        double const lower = std::trunc(range.lower);
        double const upper = std::trunc(range.upper);
        if (!(lower >= LOWEST && upper <= HIGHEST))
            return {LOWEST, HIGHEST}; // what doesn't fit may become any number
        return {std::min(lower, 0.0), std::max(upper, 0.0)};
    }
}

}

CalcVarType::CalcVarType(int fieldDataType)
{
    auto const use = [this](auto number) {
        m_narrow = narrowValues<decltype(number)>;
        m_narrowed = narrowedRange<decltype(number)>;
    };
    switch (fieldDataType) {
    case FieldDataType_Float:
        use(float{});
        break;
    case FieldDataType_Double:
        use(double{});
        break;
    case FieldDataType_Int32:
        use(int{});
        break;
    case FieldDataType_Int16:
        use(short{});
        break;
    case FieldDataType_Byte:
        use(static_cast<unsigned char>(0));
        break;
    default:
        throw std::invalid_argument("A calculated variable can't have the value type " +
                                    std::to_string(fieldDataType) + ".");
    }
}

void CalcVarType::narrow(double* values, std::size_t count) const
{
    m_narrow(values, count);
}

Interval CalcVarType::narrowed(Interval const& range) const
{
    return m_narrowed(range);
}

}
