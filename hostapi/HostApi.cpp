// The exported functions. Each passes its call on to the instance and contains no logic; there is no test
// for a null instance, as an add-on only runs while there is one.

#include "varnox/hostapi/VnxMock.h"

#define HOST_API(result, name, parameters, arguments)                                              \
    extern "C" VNX_EXPORT result name parameters                                                   \
    {                                                                                              \
        return varnox::VnxMock::GetInstance()->name arguments;                                     \
    }
#define HOST_API_CXX(result, name, parameters, arguments)                                          \
    VNX_EXPORT result name parameters                                                              \
    {                                                                                              \
        return varnox::VnxMock::GetInstance()->name arguments;                                     \
    }
#include "varnox/hostapi/HostApi.def"
