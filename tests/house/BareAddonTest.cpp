// An add-on that was compiled without this project's headers serves its values.

#include "tests/support/RecordingSocket.h"
#include "varnox/hdqremote/AddonProxy.h"
#include "varnox/socketutil/WriteCache.h"

#include <gtest/gtest.h>

namespace varnox::hdqremote {
namespace {

using socketutil::WriteCache;
using tests::cached;
using tests::RecordingSocket;

TEST(BareAddon, ServesItsValuesThroughTheBinaryInterfaceAlone)
{
    RecordingSocket socket(cached([](WriteCache& c) {
        c.addString("load dataset");
        c.addString(VNX_SOURCE_DIR "/examples/data/tjunction_grid.hdqfs");
        c.addString("command finished"); // data set
        c.addUInt32(1);
        c.addString("command finished"); // zone
        c.addUInt32(1);
        c.addInt32(2); // the variable's type: double
        c.addString("command finished"); // end of the load
        c.addInt(1);
        c.addInt64Vector({});
        c.addString("NodalVarQuery");
        c.addInt(0);
        c.addInt(0);
        c.addString("checkout");
        c.addUInt64Vector({0});
        c.addString("close data server");
    }));
    AddonProxy proxy(VNX_LIB_DIR "/vnxbareaddon.so", socket);
    proxy.serviceCommandsUntil("close data server");
    EXPECT_TRUE(socket.allWasRead());

    std::string const values =
        cached([](WriteCache& c) { c.addDoubleVector({10, 11, 12, 13, 14}); });
    ASSERT_GE(socket.sent().size(), values.size());
    EXPECT_EQ(socket.sent().substr(socket.sent().size() - values.size()), values);
    std::string const loaded = cached([](WriteCache& c) {
        c.addString("command finished");
        c.addUInt32(1);
    });
    EXPECT_NE(socket.sent().find(loaded), std::string::npos);
}

}
}
