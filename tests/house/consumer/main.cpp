#include <varnox/hdqremote/AddonProxy.h>
#include <varnox/hostapi/VnxMock.h>
#include <varnox/hostapi/VnxUtil.h>
#include <varnox/socketutil/SocketException.h>

#include <iostream>
#include <stdexcept>

namespace {

class Host : public varnox::VnxMock
{
public:
    int VnxUtilDataSetGetNumZones() override { return 42; }
};

}

int main()
{
    Host const host;
    if (VnxUtilDataSetGetNumZones() != 42)
        return 1;
    try {
        VnxUtilDataSetGetNumVars();
        return 2;
    } catch (std::runtime_error const& error) {
        std::cout << error.what() << "\n";
    }
    // Both exceptions must be known here by their types.
    try {
        throw varnox::hdqremote::AddonProxy::Error("a test");
    } catch (varnox::ExceptionBase const& error) {
        std::cout << error.what() << "\n";
    }
    return 0;
}
