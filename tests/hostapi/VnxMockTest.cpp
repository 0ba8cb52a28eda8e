#include "varnox/hostapi/VnxMock.h"

// Both declare the functions; a difference doesn't compile.
#include "varnox/hostapi/VnxUtil.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#define HOST_API(result, name, parameters, arguments) extern "C" result name parameters;
#define HOST_API_CXX(result, name, parameters, arguments) result name parameters;
#include "varnox/hostapi/HostApi.def"

namespace varnox {
namespace {

/// Keeps the name instead of throwing.
class RecordingMock : public VnxMock
{
public:
    void Unimplemented(std::string const& name) const override { names.push_back(name); }
    mutable std::vector<std::string> names;
};

template <typename T>
bool isZero(T value)
{
    return value == T();
}

/// Calls an exported function with zeros and tells whether it gave the empty result.
template <typename Result, typename... Parameters>
bool givesTheEmptyResult(Result (*function)(Parameters...))
{
    if constexpr (std::is_void_v<Result>) {
        function(Parameters()...);
        return true;
    } else {
        return isZero(function(Parameters()...));
    }
}

struct ExportedFunction
{
    char const* name;
    bool (*givesTheEmptyResult)();
};

constexpr ExportedFunction EXPORTED_FUNCTIONS[] = {
#define HOST_API(result, name, parameters, arguments)                                              \
    {#name, [] { return givesTheEmptyResult(&::name); }},
#include "varnox/hostapi/HostApi.def"
};

TEST(VnxMock, EveryExportedFunctionReportsItsExactNameAndGivesTheEmptyResult)
{
    RecordingMock const mock;
    std::vector<std::string> expected;
    for (ExportedFunction const& function : EXPORTED_FUNCTIONS) {
        EXPECT_TRUE(function.givesTheEmptyResult()) << function.name;
        expected.emplace_back(function.name);
    }
    EXPECT_EQ(mock.names, expected);
    EXPECT_EQ(expected.size(), 1433U);
}

TEST(VnxMock, UnimplementedFunctionThrowsWithItsName)
{
    VnxMock const mock;
    try {
        VnxUtilZoneRename();
        FAIL() << "nothing was thrown";
    } catch (std::runtime_error const& error) {
        EXPECT_STREQ(error.what(),
                     "Unimplemented method: VnxUtilZoneRename; Add a MOCK_METHODX to the "
                     "VnxMock-derived class. Should a unit test be written for the use of this "
                     "VnxUtil function?");
    }
}

TEST(VnxMock, IrregularNameShowsItsSmallT)
{
    RecordingMock const mock;
    VnxUtiltDataSetDefVarLoadFinish();
    EXPECT_EQ(mock.names, (std::vector<std::string>{"VnxUtiltDataSetDefVarLoadFinish"}));
}

TEST(VnxMock, InstanceIsTheLastOneBuilt)
{
    EXPECT_EQ(VnxMock::GetInstance(), nullptr);
    VnxMock const first;
    EXPECT_EQ(VnxMock::GetInstance(), &first);
    VnxMock const second;
    EXPECT_EQ(VnxMock::GetInstance(), &second);
}

TEST(VnxMock, InstanceIsNoneAfterItsDestruction)
{
    {
        VnxMock const mock;
    }
    EXPECT_EQ(VnxMock::GetInstance(), nullptr);
}

TEST(VnxMock, DestroyingAnyObjectClearsTheInstance)
{
    auto first = std::make_unique<VnxMock>();
    VnxMock const second;
    first.reset();
    EXPECT_EQ(VnxMock::GetInstance(), nullptr);
}

class OverridingMock : public VnxMock
{
public:
    long VnxUtilStringListGetCount(StringList_s*) override { return 42; }
    long VnxUtilZoneGetSectionMetrics(long dataSet, int zone, int section, FECellShape_e* shape,
                                      int* order, FECellBasisFunction_e* basis, long* numElems,
                                      int* numCorners, int* numNodes) override
    {
        *shape = FECellShape_Prism;
        *order = 3;
        *basis = FECellBasisFunction_None;
        *numElems = dataSet;
        *numCorners = zone;
        *numNodes = section;
        return 1;
    }
};

TEST(VnxMock, ArgumentsPassInTheirOrder)
{
    OverridingMock const mock;
    FECellShape_e shape = FECellShape_Line;
    auto basis = static_cast<FECellBasisFunction_e>(7);
    long numElems = 0;
    int order = 0;
    int numCorners = 0;
    int numNodes = 0;
    EXPECT_EQ(::VnxUtilZoneGetSectionMetrics(1L << 40, 2, 4, &shape, &order, &basis, &numElems,
                                             &numCorners, &numNodes),
              1);
    EXPECT_EQ(shape, FECellShape_Prism);
    EXPECT_EQ(order, 3);
    EXPECT_EQ(basis, FECellBasisFunction_None);
    EXPECT_EQ(numElems, 1L << 40);
    EXPECT_EQ(numCorners, 2);
    EXPECT_EQ(numNodes, 4);
}

TEST(VnxMock, ExportedFunctionReachesTheOverride)
{
    OverridingMock const mock;
    EXPECT_EQ(::VnxUtilStringListGetCount(nullptr), 42);
}

/// The position of a virtual function in the table, from its pointer to member.
template <typename Function>
std::size_t slotOf(Function function)
{
    static_assert(sizeof(function) >= sizeof(std::size_t));
    std::size_t offset = 0;
    __builtin_memcpy(&offset, &function, sizeof(offset));
    return (offset - 1) / sizeof(void*); // virtual ones hold 1 plus the offset
}

struct Slot
{
    char const* name;
    std::size_t (*slot)();
};

constexpr Slot SLOTS[] = {
#define HOST_API(result, name, parameters, arguments)                                              \
    {#name, [] { return slotOf(&VnxMock::name); }},
#include "varnox/hostapi/HostApi.def"
};

TEST(VnxMock, VirtualsStandInTheOrderOfTheTable)
{
    // Two entries of the destructor, then the report, then the functions.
    EXPECT_EQ(slotOf(&VnxMock::Unimplemented), 2U);
    std::size_t slot = 3;
    for (Slot const& function : SLOTS)
        EXPECT_EQ(function.slot(), slot++) << function.name;
}

}
}
