// The destructors of the query interfaces, so that their virtual tables and type information lie in
// the library, where add-ons and hosting programs share them.

#include "varnox/hdq/CellConnectivityQueryInterface.h"
#include "varnox/hdq/DataSetRegistrationInterface.h"
#include "varnox/hdq/LoaderInterface.h"
#include "varnox/hdq/NodeConnectivityQueryInterface.h"
#include "varnox/hdq/OrderedSubzoneQueryInterface.h"
#include "varnox/hdq/VarSubzoneQueryInterface.h"
#include "varnox/hdq/VarValueQueryInterface.h"
#include "varnox/hdq/ZoneVarIDQueryInterface.h"

namespace varnox::hdq {

CellConnectivityQueryInterface::~CellConnectivityQueryInterface() = default;
DataSetRegistrationInterface::~DataSetRegistrationInterface() = default;
LoaderInterface::~LoaderInterface() = default;
NodeConnectivityQueryInterface::~NodeConnectivityQueryInterface() = default;
OrderedSubzoneQueryInterface::~OrderedSubzoneQueryInterface() = default;
VarSubzoneQueryInterface::~VarSubzoneQueryInterface() = default;
VarValueQueryInterface::~VarValueQueryInterface() = default;
ZoneVarIDQueryInterface::~ZoneVarIDQueryInterface() = default;

}
