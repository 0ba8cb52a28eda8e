#include "query/CellConnectivityQueryServer.h"

#include "command/LoaderCommands.h"
#include "query/Arrays.h"
#include "query/MethodTable.h"
#include "query/SubzoneCellConnectivity.h"
#include "varnox/hdq/CellConnectivityQueryInterface.h"
#include "varnox/socketutil/WriteCache.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

namespace varnox::hdqremote {

using socketutil::SocketInterface;
using socketutil::WriteCache;
using Address = ItemAddress<long>;

namespace {

/// What the add-on may return for one cell.
constexpr std::size_t MAX_CORNER_NODES = 8;
constexpr std::size_t MAX_NODES = 125;

}

class CellConnectivityQueryServer::Impl
{
public:
    Impl(hdq::CellConnectivityQueryInterface& iface, char ordered, SocketInterface& connection,
         int zoneIndex)
        : queryInterface(iface), isOrdered(ordered), socket(connection), zone(zoneIndex),
          methods{{SETUP, &Impl::setup},
                  {TEARDOWN, &Impl::teardown},
                  {DESTROY, &Impl::destroy},
                  {CHECKOUT, &Impl::checkout},
                  {CHECKIN, &Impl::checkin},
                  {CHECKOUT_ALL, &Impl::checkoutAll},
                  {CHECKIN_ALL, &Impl::checkinAll},
                  {TO_UNIFORM_ADDRESS, &Impl::toUniformAddress},
                  {TO_HDQ_ADDRESS, &Impl::toHdqAddress},
                  {REFERENCED_NODE_SUBZONES, &Impl::referencedNodeSubzones},
                  {NUM_SUBZONES, &Impl::numSubzones},
                  {SUBZONE_SIZE, &Impl::subzoneSize},
                  {CORNER_NODE_COUNT, &Impl::cornerNodeCount},
                  {NODE_COUNT, &Impl::nodeCount},
                  {FACE_COUNT, &Impl::faceCount},
                  {CORNER_NODE_ADDRESSES, &Impl::cornerNodeAddresses},
                  {CORNER_NODE_ADDRESS, &Impl::cornerNodeAddress},
                  {NODE_ADDRESSES, &Impl::nodeAddresses},
                  {NODE_ADDRESS, &Impl::nodeAddress},
                  // Deliberate: these read nothing and send nothing.
                  // Test: CellConnectivityQueryServer.FaceNeighborMethodsConsumeNothing
                  {COPY_TO_UNIFORM_NM, &Impl::doNothing},
                  {UPDATE_INTERNAL_FACE_NEIGHBORS, &Impl::doNothing},
                  {FACE_NEIGHBORS, &Impl::doNothing},
                  {SET_FACE_NEIGHBORS, &Impl::doNothing}}
    {
    }

    void setup() { queryInterface.setup(); }
    void teardown() { queryInterface.teardown(); }
    void destroy() { queryInterface.destroy(); }
    void checkinAll() { queryInterface.checkinAll(); }
    void doNothing() {}

    void checkout()
    {
        bool const flag = socket.receiveUInt8() != 0;
        std::vector<SubzoneAddress> subzones = receiveSubzoneAddresses(socket);
        RawArray<SubzoneAddress> view = viewOf(subzones);
        queryInterface.checkout(flag, view);
        // Deliberate: an ordered zone answers nothing.
        // Test: CellConnectivityQueryServer.CheckoutOfAnOrderedZoneAnswersNothing
        if (isOrdered)
            return;
        WriteCache cache;
        for (SubzoneAddress const& subzone : subzones)
            cacheSubzoneConnectivity(subzone, cache);
        socket.sendCache(cache);
    }

    void cacheSubzoneConnectivity(SubzoneAddress const& subzone, WriteCache& cache)
    {
        unsigned short const size = queryInterface.size(subzone);
        // One cell stands for the whole subzone.
        Address const first(subzone.word() & Address::SUBZONE_MASK);
        auto const corners = static_cast<unsigned long>(queryInterface.cornerNodeCount(first));
        auto const nodeCount = static_cast<unsigned long>(queryInterface.nodeCount(first));
        auto const faces = static_cast<unsigned long>(queryInterface.faceCount(first));
        if (size > 256 || nodeCount > MAX_NODES)
            throw std::length_error("The add-on reports " + std::to_string(size) + " cells of " +
                                    std::to_string(nodeCount) + " nodes for a subzone of zone " +
                                    std::to_string(zone) + "; at most 256 of 125 are possible.");

        // The add-on may let the client ask this server for other cells meanwhile.
        std::vector<Address> nodes = std::move(nodesOfCells);
        nodes.resize(size * nodeCount);
        OwnedArray<Address> cell;
        for (unsigned short c = 0; c < size; ++c) {
            cell.view().size = 0;
            std::uint64_t const capacity = cell.view().capacity;
            queryInterface.nodeAddresses(Address(subzone, static_cast<std::uint8_t>(c)),
                                         cell.view());
            requireRoom(cell.view());
            // Deliberate: more elements are cut, and of fewer the rest keeps what stood there.
            // Test: CellConnectivityQueryServer.FewerNodeAddressesLeaveOldContents
            if (cell.view().capacity < nodeCount)
                reserveInitialised(cell.view(), nodeCount);
            else if (cell.view().capacity != capacity && cell.view().size < nodeCount)
                std::fill(cell.view().data + cell.view().size, cell.view().data + nodeCount,
                          Address(0)); // the add-on's new block
            std::copy_n(cell.view().data, nodeCount, nodes.data() + c * nodeCount);
        }
        nodesOfCells = std::move(nodes);
        references.reset(nodesOfCells.size());
        references.add(nodesOfCells.data(), nodesOfCells.size());
        hdqlib::addCells(size, corners, nodeCount, faces, references, cache);
    }

    /// Room for n elements, the new ones zero: what stands in them goes to the client.
    static void reserveInitialised(RawArray<Address>& array, std::uint64_t n)
    {
        reserve(array, n);
        std::fill(array.data + array.size, array.data + n, Address(0));
    }

    void checkin()
    {
        std::vector<SubzoneAddress> subzones = receiveSubzoneAddresses(socket);
        RawArray<SubzoneAddress> view = viewOf(subzones);
        queryInterface.checkin(view);
    }

    void checkoutAll() { queryInterface.checkoutAll(socket.receiveUInt8() != 0); }

    void toUniformAddress()
    {
        sendItemAddress(socket, queryInterface.toUniformAddress(receiveItemAddress(socket)));
    }

    void toHdqAddress()
    {
        sendItemAddress(socket, queryInterface.toHdqAddress(receiveItemAddress(socket)));
    }

    void referencedNodeSubzones()
    {
        SubzoneAddress const subzone = receiveSubzoneAddress(socket);
        OwnedArray<SubzoneAddress> result;
        queryInterface.referencedNodeSubzones(subzone, result.view());
        hdqlib::send64BitTypeRawArray(socket, result.view());
    }

    void numSubzones()
    {
        socket.sendUInt64(static_cast<std::uint64_t>(queryInterface.numSubzones()));
    }

    void subzoneSize() { socket.sendUInt16(queryInterface.size(receiveSubzoneAddress(socket))); }

    void cornerNodeCount()
    {
        Address const cell = receiveItemAddress(socket);
        socket.sendUInt64(static_cast<std::uint64_t>(queryInterface.cornerNodeCount(cell)));
    }

    void nodeCount()
    {
        Address const cell = receiveItemAddress(socket);
        socket.sendUInt64(static_cast<std::uint64_t>(queryInterface.nodeCount(cell)));
    }

    void faceCount()
    {
        Address const cell = receiveItemAddress(socket);
        socket.sendUInt64(static_cast<std::uint64_t>(queryInterface.faceCount(cell)));
    }

    void cornerNodeAddresses()
    {
        Address const cell = receiveItemAddress(socket);
        std::array<Address, MAX_CORNER_NODES> nodes{}; // zeros for what the add-on leaves out
        RawArray<Address> result{nullptr, nodes.data(), nodes.size(), 0};
        queryInterface.cornerNodeAddresses(cell, result);
        sendNodes(result, nodes.size());
    }

    void nodeAddresses()
    {
        Address const cell = receiveItemAddress(socket);
        std::array<Address, MAX_NODES> nodes{}; // as above
        RawArray<Address> result{nullptr, nodes.data(), nodes.size(), 0};
        queryInterface.nodeAddresses(cell, result);
        sendNodes(result, nodes.size());
    }

    void sendNodes(RawArray<Address> const& nodes, std::size_t limit)
    {
        if (nodes.size > limit)
            throw std::length_error("The add-on reports " + std::to_string(nodes.size) +
                                    " nodes for a cell of zone " + std::to_string(zone) +
                                    ", more than the " + std::to_string(limit) +
                                    " there is room for.");
        hdqlib::send64BitTypeRawArray(socket, nodes);
    }

    void cornerNodeAddress()
    {
        Address const cell = receiveItemAddress(socket);
        auto const index = static_cast<int>(socket.receiveUInt32());
        sendItemAddress(socket, queryInterface.cornerNodeAddress(cell, index));
    }

    void nodeAddress()
    {
        Address const cell = receiveItemAddress(socket);
        auto const index = static_cast<int>(socket.receiveUInt32());
        sendItemAddress(socket, queryInterface.nodeAddress(cell, index));
    }

    hdq::CellConnectivityQueryInterface& queryInterface;
    char isOrdered;
    SocketInterface& socket;
    int zone;
    MethodTable<Impl> methods;
    std::vector<Address> nodesOfCells; // of a subzone; kept for its memory alone, as is
    hdqlib::NodeReferences references;
};

CellConnectivityQueryServer::CellConnectivityQueryServer(
    hdq::CellConnectivityQueryInterface& queryInterface, char isOrdered, SocketInterface& socket,
    int zone)
    : m_impl(std::make_unique<Impl>(queryInterface, isOrdered, socket, zone))
{
}

CellConnectivityQueryServer::~CellConnectivityQueryServer() = default;

void CellConnectivityQueryServer::handleMethod()
{
    auto const kept = weak_from_this().lock(); // the add-on may have it replaced meanwhile
    dispatch(*m_impl, m_impl->methods, m_impl->socket);
}

bool CellConnectivityQueryServer::isOrdered() const
{
    return m_impl->isOrdered != 0;
}

hdq::CellConnectivityQueryInterface& CellConnectivityQueryServer::queryInterface() const
{
    return m_impl->queryInterface;
}

}
