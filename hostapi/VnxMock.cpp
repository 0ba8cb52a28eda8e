#include "varnox/hostapi/VnxMock.h"

#include <iterator>
#include <stdexcept>
#include <string_view>

namespace varnox {

namespace {

constexpr std::string_view HOST_API_NAMES[] = {
#define HOST_API(result, name, parameters, arguments) #name,
#include "varnox/hostapi/HostApi.def"
};

constexpr bool standInByteOrder()
{
    for (std::size_t i = 1; i < std::size(HOST_API_NAMES); ++i)
        if (!(HOST_API_NAMES[i - 1] < HOST_API_NAMES[i]))
            return false;
    return true;
}

static_assert(std::size(HOST_API_NAMES) == 1433, "the host API has a function too many or too few");
static_assert(standInByteOrder(), "a function of the host API twice or out of order");

VnxMock*& GetVnxMockInstancePtr()
{
    static VnxMock* ptr = nullptr;
    return ptr;
}

}

VnxMock::VnxMock()
{
    GetVnxMockInstancePtr() = this;
}

VnxMock::~VnxMock()
{
    // Deliberate: whichever object was registered. Test: VnxMock.DestroyingAnyObjectClearsTheInstance
    GetVnxMockInstancePtr() = nullptr;
}

VnxMock* VnxMock::GetInstance()
{
    return GetVnxMockInstancePtr();
}

void VnxMock::Unimplemented(std::string const& name) const
{
    throw std::runtime_error("Unimplemented method: " + name +
                             "; Add a MOCK_METHODX to the VnxMock-derived class. Should a unit test "
                             "be written for the use of this VnxUtil function?");
}

// The parameters of a default body are ignored, their names included.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-parameter"
#define HOST_API(result, name, parameters, arguments)                                              \
    result VnxMock::name parameters                                                                \
    {                                                                                              \
        Unimplemented(#name);                                                                      \
        return static_cast<result>(0);                                                             \
    }
#include "varnox/hostapi/HostApi.def"
#pragma GCC diagnostic pop

}
