#pragma once

#include "varnox/Export.h"
#include "varnox/RawArray.h"

namespace varnox::hdq {

/// The ranges of one variable of one zone, by partition and by subzone. The layout of the vectors
/// is between add-on and client. Implemented by the add-on, which owns its objects; the library
/// only calls them and never deletes one. The order of the operations is binding: the two sides are
/// compiled apart.
class VNX_EXPORT VarSubzoneQueryInterface
{
public:
    virtual void setup() = 0;
    virtual void teardown() = 0;
    virtual void destroy() = 0;
    /// Hold their places; never called. Searches by value are served by ZoneVarIDQueryInterface.
    virtual void findNodeSubzones() = 0;
    virtual void findCellSubzones() = 0;
    virtual void partitionMinMaxes(RawArray<double>& result) = 0;
    virtual void cellSubzoneMinMaxes(unsigned int partition, RawArray<double>& result) = 0;
    virtual void nodeSubzoneMinMaxes(unsigned int partition, RawArray<double>& result) = 0;
    virtual ~VarSubzoneQueryInterface();
};

}
