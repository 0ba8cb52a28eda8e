#include "query/VarSubzoneQueryServer.h"

#include "command/LoaderCommands.h"
#include "query/Arrays.h"
#include "varnox/hdq/VarSubzoneQueryInterface.h"

namespace varnox::hdqremote {

using socketutil::SocketInterface;

VarSubzoneQueryServer::VarSubzoneQueryServer(hdq::VarSubzoneQueryInterface& queryInterface,
                                             SocketInterface& socket)
    : m_queryInterface(queryInterface), m_socket(socket),
      m_methods{{SETUP, &VarSubzoneQueryServer::setup},
                {TEARDOWN, &VarSubzoneQueryServer::teardown},
                {DESTROY, &VarSubzoneQueryServer::destroy},
                // Deliberate: searches by value are served for the zone; here they do nothing.
                // Test: VarSubzoneQueryServer.SearchesByValueAreConsumedWithoutAnAnswer
                {FIND_NODE_SUBZONES, &VarSubzoneQueryServer::doNothing},
                {FIND_CELL_SUBZONES, &VarSubzoneQueryServer::doNothing},
                {PARTITION_MIN_MAXES, &VarSubzoneQueryServer::partitionMinMaxes},
                {CELL_SUBZONE_MIN_MAXES, &VarSubzoneQueryServer::cellSubzoneMinMaxes},
                {NODE_SUBZONE_MIN_MAXES, &VarSubzoneQueryServer::nodeSubzoneMinMaxes}}
{
}

void VarSubzoneQueryServer::handleMethod()
{
    auto const kept = weak_from_this().lock(); // the add-on may have it replaced meanwhile
    dispatch(*this, m_methods, m_socket);
}

void VarSubzoneQueryServer::setup()
{
    m_queryInterface.setup();
}

void VarSubzoneQueryServer::teardown()
{
    m_queryInterface.teardown();
}

void VarSubzoneQueryServer::destroy()
{
    m_queryInterface.destroy();
}

void VarSubzoneQueryServer::doNothing()
{
}

void VarSubzoneQueryServer::partitionMinMaxes()
{
    OwnedArray<double> result;
    m_queryInterface.partitionMinMaxes(result.view());
    send(result.view());
}

void VarSubzoneQueryServer::cellSubzoneMinMaxes()
{
    unsigned int const partition = m_socket.receiveUInt32();
    OwnedArray<double> result;
    m_queryInterface.cellSubzoneMinMaxes(partition, result.view());
    send(result.view());
}

void VarSubzoneQueryServer::nodeSubzoneMinMaxes()
{
    unsigned int const partition = m_socket.receiveUInt32();
    OwnedArray<double> result;
    m_queryInterface.nodeSubzoneMinMaxes(partition, result.view());
    send(result.view());
}

/// Deliberate: a failure of the connection passes as it is, unlike in the searches.
/// Test: VarSubzoneQueryServer.FailedSendIsASocketException
void VarSubzoneQueryServer::send(RawArray<double> const& values)
{
    requireRoom(values);
    m_socket.sendDoubleVector({values.data, values.data + values.size});
}

}
