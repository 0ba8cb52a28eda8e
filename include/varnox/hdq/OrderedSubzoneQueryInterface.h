#pragma once

#include "varnox/Export.h"
#include "varnox/ItemAddress.h"
#include "varnox/RawArray.h"

namespace varnox::hdq {

/// The subzones of an ordered zone that a plane or a line of constant indices passes through. Each
/// search appends to a growable array. Codes and index base are between add-on and client.
/// Implemented by the add-on, which owns its objects; the library only calls them and never deletes
/// one. The order of the operations is binding: the two sides are compiled apart.
class VNX_EXPORT OrderedSubzoneQueryInterface
{
public:
    using SubzoneAddress = ItemAddress<long>::SubzoneAddress;

    virtual void setup() = 0;
    virtual void teardown() = 0;
    virtual void destroy() = 0;
    virtual void findIJKPlaneCellSubzones(int plane, long index,
                                          RawArray<SubzoneAddress>& result) = 0;
    virtual void findIJKLineCellSubzones(int line, long first, long second,
                                         RawArray<SubzoneAddress>& result) = 0;
    virtual void findIJKPlaneNodeSubzones(int plane, long index,
                                          RawArray<SubzoneAddress>& result) = 0;
    virtual void findIJKLineNodeSubzones(int line, long first, long second,
                                         RawArray<SubzoneAddress>& result) = 0;
    virtual ~OrderedSubzoneQueryInterface();
};

}
