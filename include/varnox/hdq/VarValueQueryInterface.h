#pragma once

#include "varnox/Export.h"
#include "varnox/ItemAddress.h"
#include "varnox/RawArray.h"

namespace varnox::hdq {

/// The values of one variable of one zone, in its nodal or its cell-centred form.
/// Implemented by the add-on, which owns its objects; the library only calls them and never deletes
/// one. The order of the operations is binding: the two sides are compiled apart.
class VNX_EXPORT VarValueQueryInterface
{
public:
    using SubzoneAddress = ItemAddress<long>::SubzoneAddress;

    virtual void setup() = 0;
    virtual void teardown() = 0;
    virtual void destroy() = 0;
    /// Hold their places; never called.
    virtual void reservedFirst() = 0;
    virtual void reservedSecond() = 0;
    /// The range of the variable in the zone.
    virtual void minMax(double& min, double& max) = 0;
    /// The client is about to ask for the values of these subzones.
    virtual void checkout(RawArray<SubzoneAddress>& subzones) = 0;
    virtual void checkin(RawArray<SubzoneAddress>& subzones) = 0;
    virtual void checkoutAll() = 0;
    virtual void checkinAll() = 0;
    /// Hold their places; never called.
    virtual void copyToUniform() = 0;
    virtual void fieldValue() = 0;
    /// The values at the items, all of one subzone, in their order. The result is preallocated for
    /// the subzone limit of the file set.
    virtual void fieldValues(RawArray<ItemAddress<long>> const& items,
                             RawArray<double>& values) = 0;
    virtual ~VarValueQueryInterface();
};

}
