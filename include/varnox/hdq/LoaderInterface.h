#pragma once

#include "varnox/Export.h"

namespace varnox::hdq {

/// A loader as a query object. The library never calls it; the two operations hold their places.
class VNX_EXPORT LoaderInterface
{
public:
    virtual void reservedFirst() = 0;
    virtual void reservedSecond() = 0;
    virtual ~LoaderInterface();
};

}
