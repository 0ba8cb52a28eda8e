#pragma once

#include "query/MethodTable.h"
#include "varnox/ItemAddress.h"

#include <memory>

namespace varnox::socketutil {
class WriteCache;
}

namespace varnox::hdq {
class NodeConnectivityQueryInterface;
}

namespace varnox::hdqremote {

/// Serves the nodes of one zone: subzone sizes, and which cell subzones touch them. Unlike the cell
/// server it always answers a checkout, for an ordered zone too. Doesn't own the interface; the
/// zone counts from 0.
class NodeConnectivityQueryServer : public std::enable_shared_from_this<NodeConnectivityQueryServer>
{
public:
    NodeConnectivityQueryServer(hdq::NodeConnectivityQueryInterface& queryInterface,
                                socketutil::SocketInterface& socket, int zone);
    NodeConnectivityQueryServer(NodeConnectivityQueryServer const&) = delete;
    NodeConnectivityQueryServer& operator=(NodeConnectivityQueryServer const&) = delete;

    void handleMethod();
    hdq::NodeConnectivityQueryInterface& queryInterface() const { return m_queryInterface; }

private:
    void setup();
    void teardown();
    void destroy();
    void checkout();
    void checkin();
    void checkoutAll();
    void checkinAll();
    void toUniformAddress();
    void toHdqAddress();
    void referencedCellSubzones();
    void numSubzones();
    void subzoneSize();
    void cacheSubzoneConnectivity(ItemAddress<long>::SubzoneAddress const& subzone,
                                  socketutil::WriteCache& cache);

    hdq::NodeConnectivityQueryInterface& m_queryInterface;
    socketutil::SocketInterface& m_socket;
    [[maybe_unused]] int m_zone; // kept for whoever looks at a server in a debugger
    MethodTable<NodeConnectivityQueryServer> m_methods;
};

}
