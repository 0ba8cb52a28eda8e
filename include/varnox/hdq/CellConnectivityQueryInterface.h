#pragma once

#include "varnox/Export.h"
#include "varnox/ItemAddress.h"
#include "varnox/RawArray.h"

namespace varnox::hdq {

/// The cells of one zone: how they lie in subzones, and which nodes they have.
/// Implemented by the add-on, which owns its objects; the library only calls them and never deletes
/// one. The order of the operations is binding: the two sides are compiled apart.
class VNX_EXPORT CellConnectivityQueryInterface
{
public:
    using SubzoneAddress = ItemAddress<long>::SubzoneAddress;

    /// Before the first and after the last use of the object.
    virtual void setup() = 0;
    virtual void teardown() = 0;
    /// The client needs the object no more; the add-on may free it.
    virtual void destroy() = 0;
    /// The client is about to ask for these subzones. The flag is the client's, unread by the
    /// library.
    virtual void checkout(bool flag, RawArray<SubzoneAddress>& subzones) = 0;
    virtual void checkin(RawArray<SubzoneAddress>& subzones) = 0;
    virtual void checkoutAll(bool flag) = 0;
    virtual void checkinAll() = 0;
    /// Holds its place; never called.
    virtual void copyToUniform() = 0;
    /// Between an address in subzone form and one in the uniform form that add-on and client share.
    virtual ItemAddress<long> toUniformAddress(ItemAddress<long> const& item) = 0;
    virtual ItemAddress<long> toHdqAddress(ItemAddress<long> const& item) = 0;
    /// The node subzones that the cells of a cell subzone touch.
    virtual void referencedNodeSubzones(SubzoneAddress const& subzone,
                                        RawArray<SubzoneAddress>& result) = 0;
    /// Cell subzones of the zone.
    virtual long numSubzones() = 0;
    /// Cells in a subzone, at most the subzone limit of the file set.
    virtual unsigned short size(SubzoneAddress const& subzone) = 0;
    /// Corners, nodes and faces of a cell; alike for all cells of a subzone.
    virtual long cornerNodeCount(ItemAddress<long> const& cell) = 0;
    virtual long nodeCount(ItemAddress<long> const& cell) = 0;
    virtual long faceCount(ItemAddress<long> const& cell) = 0;
    /// Fills at most 8 addresses when the array is fixed; corners are the leading nodes of a cell.
    virtual void cornerNodeAddresses(ItemAddress<long> const& cell,
                                     RawArray<ItemAddress<long>>& result) = 0;
    /// The index counts from 0.
    virtual ItemAddress<long> cornerNodeAddress(ItemAddress<long> const& cell, int index) = 0;
    /// Fills at most 125 addresses when the array is fixed.
    virtual void nodeAddresses(ItemAddress<long> const& cell,
                               RawArray<ItemAddress<long>>& result) = 0;
    virtual ItemAddress<long> nodeAddress(ItemAddress<long> const& cell, int index) = 0;
    /// Hold their places; never called.
    virtual void updateInternalFaceNeighbors() = 0;
    virtual void faceNeighbors() = 0;
    virtual void setFaceNeighbors() = 0;
    virtual ~CellConnectivityQueryInterface();
};

}
