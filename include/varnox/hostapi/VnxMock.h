#pragma once

#include "varnox/Export.h"
#include "varnox/hostapi/VnxTypes.h"

#include <string>

namespace varnox {

/// The frame of the host API: one virtual function per exported function, with the same name,
/// parameters and result. An exported function calls the virtual of its name on the instance. What a
/// subclass doesn't override reports itself as unimplemented.
///
/// The last object built is the instance; destroying any object clears it. One at a time is meant.
class VNX_EXPORT VnxMock
{
public:
    VnxMock();
    VnxMock(VnxMock const&) = delete;
    VnxMock& operator=(VnxMock const&) = delete;
    virtual ~VnxMock();

    /// The instance, or null.
    static VnxMock* GetInstance();

    /// Throws std::runtime_error with the function's name. A subclass that returns from it makes every
    /// function it doesn't override return zero, 0.0 or nothing.
    virtual void Unimplemented(std::string const& name) const;

#define HOST_API(result, name, parameters, arguments) virtual result name parameters;
#include "varnox/hostapi/HostApi.def"
};

}
