#include "query/NodeConnectivityQueryServer.h"

#include "command/LoaderCommands.h"
#include "query/Arrays.h"
#include "query/SubzoneNodeConnectivity.h"
#include "varnox/hdq/NodeConnectivityQueryInterface.h"
#include "varnox/socketutil/WriteCache.h"

namespace varnox::hdqremote {

using socketutil::SocketInterface;
using socketutil::WriteCache;

NodeConnectivityQueryServer::NodeConnectivityQueryServer(
    hdq::NodeConnectivityQueryInterface& queryInterface, SocketInterface& socket, int zone)
    : m_queryInterface(queryInterface), m_socket(socket),
      m_zone(zone), m_methods{{SETUP, &NodeConnectivityQueryServer::setup},
                              {TEARDOWN, &NodeConnectivityQueryServer::teardown},
                              {DESTROY, &NodeConnectivityQueryServer::destroy},
                              {CHECKOUT, &NodeConnectivityQueryServer::checkout},
                              {CHECKIN, &NodeConnectivityQueryServer::checkin},
                              {CHECKOUT_ALL, &NodeConnectivityQueryServer::checkoutAll},
                              {CHECKIN_ALL, &NodeConnectivityQueryServer::checkinAll},
                              {TO_UNIFORM_ADDRESS, &NodeConnectivityQueryServer::toUniformAddress},
                              {TO_HDQ_ADDRESS, &NodeConnectivityQueryServer::toHdqAddress},
                              {REFERENCED_CELL_SUBZONES,
                               &NodeConnectivityQueryServer::referencedCellSubzones},
                              {NUM_SUBZONES, &NodeConnectivityQueryServer::numSubzones},
                              {SUBZONE_SIZE, &NodeConnectivityQueryServer::subzoneSize}}
{
}

void NodeConnectivityQueryServer::handleMethod()
{
    auto const kept = weak_from_this().lock(); // the add-on may have it replaced meanwhile
    dispatch(*this, m_methods, m_socket);
}

void NodeConnectivityQueryServer::setup()
{
    m_queryInterface.setup();
}

void NodeConnectivityQueryServer::teardown()
{
    m_queryInterface.teardown();
}

void NodeConnectivityQueryServer::destroy()
{
    m_queryInterface.destroy();
}

void NodeConnectivityQueryServer::checkout()
{
    std::vector<SubzoneAddress> subzones = receiveSubzoneAddresses(m_socket);
    RawArray<SubzoneAddress> view = viewOf(subzones);
    m_queryInterface.checkout(view);
    WriteCache cache;
    for (SubzoneAddress const& subzone : subzones)
        cacheSubzoneConnectivity(subzone, cache);
    m_socket.sendCache(cache);
}

void NodeConnectivityQueryServer::cacheSubzoneConnectivity(SubzoneAddress const& subzone,
                                                           WriteCache& cache)
{
    unsigned short const size = m_queryInterface.size(subzone);
    OwnedArray<SubzoneAddress> referenced;
    m_queryInterface.referencedCellSubzones(subzone, referenced.view());
    requireRoom(referenced.view());
    hdqlib::SubzoneNodeConnectivity(size, {referenced.begin(), referenced.end()}).addToCache(cache);
}

void NodeConnectivityQueryServer::checkin()
{
    std::vector<SubzoneAddress> subzones = receiveSubzoneAddresses(m_socket);
    RawArray<SubzoneAddress> view = viewOf(subzones);
    m_queryInterface.checkin(view);
}

void NodeConnectivityQueryServer::checkoutAll()
{
    m_queryInterface.checkoutAll();
}

void NodeConnectivityQueryServer::checkinAll()
{
    m_queryInterface.checkinAll();
}

void NodeConnectivityQueryServer::toUniformAddress()
{
    sendItemAddress(m_socket, m_queryInterface.toUniformAddress(receiveItemAddress(m_socket)));
}

void NodeConnectivityQueryServer::toHdqAddress()
{
    sendItemAddress(m_socket, m_queryInterface.toHdqAddress(receiveItemAddress(m_socket)));
}

void NodeConnectivityQueryServer::referencedCellSubzones()
{
    SubzoneAddress const subzone = receiveSubzoneAddress(m_socket);
    OwnedArray<SubzoneAddress> result;
    m_queryInterface.referencedCellSubzones(subzone, result.view());
    hdqlib::send64BitTypeRawArray(m_socket, result.view());
}

void NodeConnectivityQueryServer::numSubzones()
{
    m_socket.sendUInt64(static_cast<std::uint64_t>(m_queryInterface.numSubzones()));
}

void NodeConnectivityQueryServer::subzoneSize()
{
    m_socket.sendUInt16(m_queryInterface.size(receiveSubzoneAddress(m_socket)));
}

}
