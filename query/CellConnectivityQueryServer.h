#pragma once

#include <memory>

namespace varnox::socketutil {
class SocketInterface;
}

namespace varnox::hdq {
class CellConnectivityQueryInterface;
}

namespace varnox::hdqremote {

/// Serves the cells of one zone. In an ordered zone there is no stored connectivity to send: a
/// checkout tells the add-on and answers nothing. Doesn't own the interface; the zone counts from
/// 0.
class CellConnectivityQueryServer : public std::enable_shared_from_this<CellConnectivityQueryServer>
{
public:
    CellConnectivityQueryServer(hdq::CellConnectivityQueryInterface& queryInterface, char isOrdered,
                                socketutil::SocketInterface& socket, int zone);
    CellConnectivityQueryServer(CellConnectivityQueryServer const&) = delete;
    CellConnectivityQueryServer& operator=(CellConnectivityQueryServer const&) = delete;
    ~CellConnectivityQueryServer();

    void handleMethod();
    bool isOrdered() const;
    hdq::CellConnectivityQueryInterface& queryInterface() const;

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

}
