#pragma once

#include "command/CommandCache.h"
#include "proxy/ArgList.h"
#include "proxy/LocalObjects.h"
#include "proxy/VnxUtilProxy.h"
#include "tests/proxy/FakeAddonProxy.h"
#include "tests/support/CaseName.h"
#include "tests/support/Messages.h"
#include "tests/support/RecordingSocket.h"
#include "tests/support/Wire.h"
#include "varnox/hdq/DataSetRegistrationInterface.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace varnox::tests {

using wire::f32;
using wire::f64;
using wire::i32;
using wire::i64;
using wire::text;
using wire::u32;
using wire::u64;
using wire::u8;
using wire::vec;

inline std::string const FINISHED = text("command finished");

class UnusedRegistration : public hdq::DataSetRegistrationInterface
{
public:
    void registerZoneConnectivityQueryServices(hdq::CellConnectivityQueryInterface*,
                                               hdq::NodeConnectivityQueryInterface*, int) override
    {
    }
    void registerZoneConnectivityQueryServices(hdq::CellConnectivityQueryInterface*,
                                               hdq::NodeConnectivityQueryInterface*,
                                               hdq::OrderedSubzoneQueryInterface*, int) override
    {
    }
    void registerZoneVarIDQueryServices(hdq::ZoneVarIDQueryInterface*, int) override {}
    void registerVarQueryServices(hdq::VarValueQueryInterface*, hdq::VarValueQueryInterface*,
                                  hdq::VarSubzoneQueryInterface*, int, int) override
    {
    }
};

/// An argument list that frees itself.
class Args
{
public:
    Args() : m_list(new _ArgList_s) {}
    Args(Args const&) = delete;
    Args& operator=(Args const&) = delete;
    ~Args() { delete m_list; }
    operator _ArgList_s*() const { return m_list; }

private:
    _ArgList_s* m_list;
};

/// A proxy over a scripted client, with all that stands around it.
struct ProxySession
{
    explicit ProxySession(std::string const& script = "") : socket(script) {}

    /// Gives the data set variables and answers for the client.
    void createDataSet(int numVars);
    /// Adds a zone to the batch, with the arguments that are there.
    void addZone() { proxy.VnxUtilDataSetAddZoneX(Args()); }
    void addZone(char const* name, long value);
    /// Drops a batch that was built up for the test.
    void forgetBatch();
    /// Runs one of the client's load commands.
    void handle(std::string const& command);

    RecordingSocket socket;
    std::vector<std::string> nested; ///< Commands that arrived inside a service.
    hdqremote::CommandCache cache{socket, [this](std::string const& c) { handle(c); }};
    UnusedRegistration registration;
    std::unique_ptr<hdqremote::AddonProxy> addonProxy =
        fakeAddonProxy(socket, [this](std::string const& c) { handle(c); });
    VnxUtilProxy proxy{socket, registration, *addonProxy, cache};
};

class ProxyTest : public testing::Test, protected ProxySession
{
};

}
