#include "query/OrderedSubzoneQueryServer.h"

#include "command/LoaderCommands.h"
#include "query/Arrays.h"
#include "varnox/hdq/OrderedSubzoneQueryInterface.h"

namespace varnox::hdqremote {

using socketutil::SocketInterface;

OrderedSubzoneQueryServer::OrderedSubzoneQueryServer(
    hdq::OrderedSubzoneQueryInterface& queryInterface, SocketInterface& socket)
    : m_queryInterface(queryInterface), m_socket(socket),
      m_methods{{SETUP, &OrderedSubzoneQueryServer::setup},
                {TEARDOWN, &OrderedSubzoneQueryServer::teardown},
                {DESTROY, &OrderedSubzoneQueryServer::destroy},
                {FIND_IJKPLANE_CELL_SUBZONES, &OrderedSubzoneQueryServer::findIJKPlaneCellSubzones},
                {FIND_IJKLINE_CELL_SUBZONES, &OrderedSubzoneQueryServer::findIJKLineCellSubzones},
                {FIND_IJKPLANE_NODE_SUBZONES, &OrderedSubzoneQueryServer::findIJKPlaneNodeSubzones},
                {FIND_IJKLINE_NODE_SUBZONES, &OrderedSubzoneQueryServer::findIJKLineNodeSubzones}}
{
}

void OrderedSubzoneQueryServer::handleMethod()
{
    auto const kept = weak_from_this().lock(); // the add-on may have it replaced meanwhile
    dispatch(*this, m_methods, m_socket);
}

void OrderedSubzoneQueryServer::setup()
{
    m_queryInterface.setup();
}

void OrderedSubzoneQueryServer::teardown()
{
    m_queryInterface.teardown();
}

void OrderedSubzoneQueryServer::destroy()
{
    m_queryInterface.destroy();
}

void OrderedSubzoneQueryServer::findIJKPlaneCellSubzones()
{
    int const plane = m_socket.receiveInt32();
    long const index = m_socket.receiveInt64();
    OwnedArray<SubzoneAddress> result;
    m_queryInterface.findIJKPlaneCellSubzones(plane, index, result.view());
    hdqlib::send64BitTypeRawArray(m_socket, result.view());
}

void OrderedSubzoneQueryServer::findIJKLineCellSubzones()
{
    // Deliberate: the two indices come as plain ints, those of the other three searches in 64 bits.
    // Test: OrderedSubzoneQueryServer.LineThroughCellsTakesPlainInts
    int const line = m_socket.receiveInt32();
    long const first = m_socket.receiveInt();
    long const second = m_socket.receiveInt();
    // Deliberate: this search alone hands out a block, of no capacity; the first growth replaces
    // it. Test: OrderedSubzoneQueryServer.LineThroughCellsStartsWithABlockOfNoCapacity
    OwnedArray<SubzoneAddress> result(1);
    result.view().capacity = 0;
    m_queryInterface.findIJKLineCellSubzones(line, first, second, result.view());
    hdqlib::send64BitTypeRawArray(m_socket, result.view());
}

void OrderedSubzoneQueryServer::findIJKPlaneNodeSubzones()
{
    int const plane = m_socket.receiveInt32();
    long const index = m_socket.receiveInt64();
    OwnedArray<SubzoneAddress> result;
    m_queryInterface.findIJKPlaneNodeSubzones(plane, index, result.view());
    hdqlib::send64BitTypeRawArray(m_socket, result.view());
}

void OrderedSubzoneQueryServer::findIJKLineNodeSubzones()
{
    int const line = m_socket.receiveInt32();
    long const first = m_socket.receiveInt64();
    long const second = m_socket.receiveInt64();
    OwnedArray<SubzoneAddress> result;
    m_queryInterface.findIJKLineNodeSubzones(line, first, second, result.view());
    hdqlib::send64BitTypeRawArray(m_socket, result.view());
}

}
