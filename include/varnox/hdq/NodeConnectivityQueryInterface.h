#pragma once

#include "varnox/Export.h"
#include "varnox/ItemAddress.h"
#include "varnox/RawArray.h"

namespace varnox::hdq {

/// The nodes of one zone: how they lie in subzones, and which cell subzones touch them.
/// Implemented by the add-on, which owns its objects; the library only calls them and never deletes
/// one. The order of the operations is binding: the two sides are compiled apart.
class VNX_EXPORT NodeConnectivityQueryInterface
{
public:
    using SubzoneAddress = ItemAddress<long>::SubzoneAddress;

    virtual void setup() = 0;
    virtual void teardown() = 0;
    virtual void destroy() = 0;
    /// Without a flag, unlike the cells.
    virtual void checkout(RawArray<SubzoneAddress>& subzones) = 0;
    virtual void checkin(RawArray<SubzoneAddress>& subzones) = 0;
    virtual void checkoutAll() = 0;
    virtual void checkinAll() = 0;
    virtual ItemAddress<long> toUniformAddress(ItemAddress<long> const& item) = 0;
    virtual ItemAddress<long> toHdqAddress(ItemAddress<long> const& item) = 0;
    virtual void referencedCellSubzones(SubzoneAddress const& subzone,
                                        RawArray<SubzoneAddress>& result) = 0;
    /// Node subzones of the zone.
    virtual long numSubzones() = 0;
    /// Nodes in a subzone, at most the subzone limit of the file set.
    virtual unsigned short size(SubzoneAddress const& subzone) = 0;
    virtual ~NodeConnectivityQueryInterface();
};

}
