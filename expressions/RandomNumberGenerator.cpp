#include "expressions/RandomNumberGenerator.h"

#include "expressions/Narrowing.h"

namespace varnox::hdqlib {

double RandomNumberGenerator::m_previousValue = 0.867454;

double RandomNumberGenerator::next()
{
    double const product = m_previousValue * 46.3423452;
    m_previousValue = product - truncateToInt32(product);
    return m_previousValue;
}

}
