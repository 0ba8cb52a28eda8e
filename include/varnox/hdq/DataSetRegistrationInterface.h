#pragma once

#include "varnox/Export.h"

namespace varnox::hdq {

class CellConnectivityQueryInterface;
class NodeConnectivityQueryInterface;
class OrderedSubzoneQueryInterface;
class VarSubzoneQueryInterface;
class VarValueQueryInterface;
class ZoneVarIDQueryInterface;

/// What an add-on receives from VnxUtilDataSetGetHDQRegistration: here it hands in its query
/// objects. Implemented by the library. Zone and variable numbers count from 0 across the whole
/// data set. The objects stay the add-on's and must live until their destroy operation or the end
/// of the process. Register a zone's connectivity before its variables. The order of the operations
/// is binding.
class VNX_EXPORT DataSetRegistrationInterface
{
public:
    /// A finite-element zone.
    virtual void registerZoneConnectivityQueryServices(CellConnectivityQueryInterface* cell,
                                                       NodeConnectivityQueryInterface* node,
                                                       int zone) = 0;
    /// An ordered zone.
    virtual void registerZoneConnectivityQueryServices(CellConnectivityQueryInterface* cell,
                                                       NodeConnectivityQueryInterface* node,
                                                       OrderedSubzoneQueryInterface* ordered,
                                                       int zone) = 0;
    virtual void registerZoneVarIDQueryServices(ZoneVarIDQueryInterface* zoneVarID, int zone) = 0;
    /// One variable of a zone, in its cell-centred and its nodal form, with its ranges.
    virtual void registerVarQueryServices(VarValueQueryInterface* cellCentered,
                                          VarValueQueryInterface* nodal,
                                          VarSubzoneQueryInterface* subzones, int zone,
                                          int var) = 0;
    virtual ~DataSetRegistrationInterface();
};

}
