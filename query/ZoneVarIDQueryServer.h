#pragma once

#include <memory>

namespace varnox::socketutil {
class SocketInterface;
}

namespace varnox::hdq {
class ZoneVarIDQueryInterface;
}

namespace varnox::hdqremote {

class DataSetRegistrationServer;

/// Serves one zone as a whole: which variables it has, which subzones may hold given values, its
/// duplicate, and new variables made of expressions. Owns neither the interface nor the
/// registration server; the zone counts from 0.
class ZoneVarIDQueryServer : public std::enable_shared_from_this<ZoneVarIDQueryServer>
{
public:
    ZoneVarIDQueryServer(hdq::ZoneVarIDQueryInterface& queryInterface, int zone,
                         socketutil::SocketInterface& socket,
                         DataSetRegistrationServer& registrationServer);
    ZoneVarIDQueryServer(ZoneVarIDQueryServer const&) = delete;
    ZoneVarIDQueryServer& operator=(ZoneVarIDQueryServer const&) = delete;
    ~ZoneVarIDQueryServer();

    void handleMethod();
    hdq::ZoneVarIDQueryInterface& queryInterface() const;

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

}
