#include "query/ServerStore.h"

namespace varnox::hdqremote {

namespace {

template <typename Objects, typename Object>
ServerStore::Number numberOfNew(Objects& objects, Object const& object)
{
    objects.push_back(object);
    return static_cast<ServerStore::Number>(objects.size());
}

/// The server of a number, made by a function if there is none yet.
template <typename Servers, typename Make>
auto* serverOf(Servers& servers, ServerStore::Number number, Make const& make)
{
    using Server = typename Servers::mapped_type::element_type;
    if (number == 0)
        return static_cast<Server*>(nullptr);
    auto& server = servers[number];
    if (server == nullptr)
        server = make(number - 1);
    return server.get();
}

}

void ServerStore::clear()
{
    m_cellServers.clear();
    m_nodeServers.clear();
    m_orderedServers.clear();
    m_identityServers.clear();
    m_cellCenteredServers.clear();
    m_nodalServers.clear();
    m_subzoneServers.clear();
    m_connectivities.clear();
    m_ordered.clear();
    m_identities.clear();
    m_places.clear();
    m_variables.clear();
}

ServerStore::Number ServerStore::addConnectivity(Connectivity const& objects)
{
    return numberOfNew(m_connectivities, objects);
}

ServerStore::Number ServerStore::addOrdered(hdq::OrderedSubzoneQueryInterface& object)
{
    return numberOfNew(m_ordered, &object);
}

ServerStore::Number ServerStore::addIdentity(hdq::ZoneVarIDQueryInterface& object, int zone)
{
    return numberOfNew(m_identities, Identity{&object, zone});
}

ServerStore::Number ServerStore::addVariable(Variable const& objects, Place const& place,
                                             FieldDataType_e type)
{
    if (m_places.empty() || m_places.back() != place) // mostly zone after zone
        m_places.push_back(place);
    return numberOfNew(m_variables,
                       StoredVariable{objects, static_cast<Number>(m_places.size()), type});
}

CellConnectivityQueryServer* ServerStore::cellServer(Number connectivity)
{
    return serverOf(m_cellServers, connectivity, [this](std::size_t i) {
        Connectivity const& of = m_connectivities[i];
        return std::make_unique<CellConnectivityQueryServer>(
            *of.cells, static_cast<char>(of.isOrdered), m_socket, of.zone);
    });
}

NodeConnectivityQueryServer* ServerStore::nodeServer(Number connectivity)
{
    return serverOf(m_nodeServers, connectivity, [this](std::size_t i) {
        Connectivity const& of = m_connectivities[i];
        return std::make_unique<NodeConnectivityQueryServer>(*of.nodes, m_socket, of.zone);
    });
}

OrderedSubzoneQueryServer* ServerStore::orderedServer(Number ordered)
{
    return serverOf(m_orderedServers, ordered, [this](std::size_t i) {
        return std::make_unique<OrderedSubzoneQueryServer>(*m_ordered[i], m_socket);
    });
}

ZoneVarIDQueryServer* ServerStore::identityServer(Number identity)
{
    return serverOf(m_identityServers, identity, [this](std::size_t i) {
        Identity const& of = m_identities[i];
        return std::make_unique<ZoneVarIDQueryServer>(*of.object, of.zone, m_socket,
                                                      m_registrationServer);
    });
}

VarValueQueryServer* ServerStore::cellCenteredServer(Number variable)
{
    return serverOf(m_cellCenteredServers, variable, [this](std::size_t i) {
        StoredVariable const& of = m_variables[i];
        Place const& place = placeOf(of);
        return std::make_unique<VarValueQueryServer>(
            of.objects.cellCentered, connectivity(place.connectivity).cells, m_socket,
            place.subzoneMaxSize, place.zone, of.type);
    });
}

VarValueQueryServer* ServerStore::nodalServer(Number variable)
{
    return serverOf(m_nodalServers, variable, [this](std::size_t i) {
        StoredVariable const& of = m_variables[i];
        Place const& place = placeOf(of);
        return std::make_unique<VarValueQueryServer>(
            of.objects.nodal, connectivity(place.connectivity).nodes, m_socket,
            place.subzoneMaxSize, place.zone, of.type);
    });
}

VarSubzoneQueryServer* ServerStore::subzoneServer(Number variable)
{
    return serverOf(m_subzoneServers, variable, [this](std::size_t i) {
        return std::make_unique<VarSubzoneQueryServer>(*m_variables[i].objects.subzones, m_socket);
    });
}

}
