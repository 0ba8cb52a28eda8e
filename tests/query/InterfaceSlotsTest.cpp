// An add-on is compiled apart and reaches the operations by their positions in the virtual table.

#include "query/SubzoneVarValues.h"
#include "tests/support/Slots.h"
#include "varnox/hdq/CellConnectivityQueryInterface.h"
#include "varnox/hdq/DataSetRegistrationInterface.h"
#include "varnox/hdq/LoaderInterface.h"
#include "varnox/hdq/NodeConnectivityQueryInterface.h"
#include "varnox/hdq/OrderedSubzoneQueryInterface.h"
#include "varnox/hdq/VarSubzoneQueryInterface.h"
#include "varnox/hdq/VarValueQueryInterface.h"
#include "varnox/hdq/ZoneVarIDQueryInterface.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

namespace varnox::hdq {
namespace {

using tests::slot;

/// The positions of operations that are named in the order in which they must stand.
template <typename... Members>
void expectSlots(Members... members)
{
    std::vector<std::size_t> const slots{slot(members)...};
    for (std::size_t i = 0; i < slots.size(); ++i)
        EXPECT_EQ(slots[i], i);
}

TEST(InterfaceSlots, DataSetRegistration)
{
    using I = DataSetRegistrationInterface;
    using Plain =
        void (I::*)(CellConnectivityQueryInterface*, NodeConnectivityQueryInterface*, int);
    using Ordered = void (I::*)(CellConnectivityQueryInterface*, NodeConnectivityQueryInterface*,
                                OrderedSubzoneQueryInterface*, int);
    expectSlots(static_cast<Plain>(&I::registerZoneConnectivityQueryServices),
                static_cast<Ordered>(&I::registerZoneConnectivityQueryServices),
                &I::registerZoneVarIDQueryServices, &I::registerVarQueryServices);
}

TEST(InterfaceSlots, Loader)
{
    expectSlots(&LoaderInterface::reservedFirst, &LoaderInterface::reservedSecond);
}

TEST(InterfaceSlots, CellConnectivity)
{
    using I = CellConnectivityQueryInterface;
    expectSlots(&I::setup, &I::teardown, &I::destroy, &I::checkout, &I::checkin, &I::checkoutAll,
                &I::checkinAll, &I::copyToUniform, &I::toUniformAddress, &I::toHdqAddress,
                &I::referencedNodeSubzones, &I::numSubzones, &I::size, &I::cornerNodeCount,
                &I::nodeCount, &I::faceCount, &I::cornerNodeAddresses, &I::cornerNodeAddress,
                &I::nodeAddresses, &I::nodeAddress, &I::updateInternalFaceNeighbors,
                &I::faceNeighbors, &I::setFaceNeighbors);
}

TEST(InterfaceSlots, NodeConnectivity)
{
    using I = NodeConnectivityQueryInterface;
    expectSlots(&I::setup, &I::teardown, &I::destroy, &I::checkout, &I::checkin, &I::checkoutAll,
                &I::checkinAll, &I::toUniformAddress, &I::toHdqAddress, &I::referencedCellSubzones,
                &I::numSubzones, &I::size);
}

TEST(InterfaceSlots, OrderedSubzones)
{
    using I = OrderedSubzoneQueryInterface;
    expectSlots(&I::setup, &I::teardown, &I::destroy, &I::findIJKPlaneCellSubzones,
                &I::findIJKLineCellSubzones, &I::findIJKPlaneNodeSubzones,
                &I::findIJKLineNodeSubzones);
}

TEST(InterfaceSlots, VarSubzones)
{
    using I = VarSubzoneQueryInterface;
    expectSlots(&I::setup, &I::teardown, &I::destroy, &I::findNodeSubzones, &I::findCellSubzones,
                &I::partitionMinMaxes, &I::cellSubzoneMinMaxes, &I::nodeSubzoneMinMaxes);
}

TEST(InterfaceSlots, VarValues)
{
    using I = VarValueQueryInterface;
    expectSlots(&I::setup, &I::teardown, &I::destroy, &I::reservedFirst, &I::reservedSecond,
                &I::minMax, &I::checkout, &I::checkin, &I::checkoutAll, &I::checkinAll,
                &I::copyToUniform, &I::fieldValue, &I::fieldValues);
}

TEST(InterfaceSlots, ZoneVarID)
{
    using I = ZoneVarIDQueryInterface;
    expectSlots(&I::destroy, &I::duplicate, &I::createCalcVar, &I::varExists, &I::findCellSubzones,
                &I::findNodeSubzones);
}

TEST(InterfaceSlots, SubzoneVarValues)
{
    using I = hdqlib::SubzoneVarValuesAbstract;
    // The destructor takes two slots and stands first here.
    EXPECT_EQ(slot(&I::fieldValue), 2U);
    EXPECT_EQ(slot(&I::fieldValues), 3U);
    EXPECT_EQ(slot(&I::size), 4U);
    EXPECT_EQ(slot(&I::addToCache), 5U);
}

}
}
