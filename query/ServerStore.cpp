#include "query/ServerStore.h"

namespace varnox::hdqremote {

namespace {

/// Puts an object in the place of a number, or behind the others for 0.
template <typename Objects, typename Object>
ServerStore::Number put(Objects& objects, ServerStore::Number number, Object const& object)
{
    if (number != 0) {
        objects[number - 1] = object;
        return number;
    }
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
    m_numSharers.clear();
}

ServerStore::Number ServerStore::putConnectivity(Number number, Connectivity const& objects)
{
    m_cellServers.erase(number);
    m_nodeServers.erase(number);
    return put(m_connectivities, number, objects);
}

ServerStore::Number ServerStore::putOrdered(Number number,
                                            hdq::OrderedSubzoneQueryInterface& object)
{
    m_orderedServers.erase(number);
    return put(m_ordered, number, &object);
}

ServerStore::Number ServerStore::putIdentity(Number number, hdq::ZoneVarIDQueryInterface& object,
                                             int zone)
{
    m_identityServers.erase(number);
    return put(m_identities, number, Identity{&object, zone});
}

ServerStore::Number ServerStore::putVariable(Number number, Variable const& objects,
                                             Place const& place, FieldDataType_e type)
{
    StoredVariable const variable{objects, numberOf(place), type};
    auto const sharers = m_numSharers.find(number);
    if (sharers == m_numSharers.end()) {
        m_cellCenteredServers.erase(number);
        m_nodalServers.erase(number);
        m_subzoneServers.erase(number);
        return put(m_variables, number, variable);
    }
    Number const own = put(m_variables, 0, variable);
    if (--sharers->second == 0)
        m_numSharers.erase(sharers);
    return own;
}

void ServerStore::shareVariable(Number number)
{
    if (number != 0)
        ++m_numSharers[number];
}

ServerStore::Number ServerStore::numberOf(Place const& place)
{
    if (m_places.empty() || m_places.back() != place) // mostly zone after zone
        m_places.push_back(place);
    return static_cast<Number>(m_places.size());
}

CellConnectivityQueryServer* ServerStore::cellServer(Number connectivity)
{
    return serverOf(m_cellServers, connectivity, [this](std::size_t i) {
        Connectivity const& of = m_connectivities[i];
        return std::make_shared<CellConnectivityQueryServer>(
            *of.cells, static_cast<char>(of.isOrdered), m_socket, of.zone);
    });
}

NodeConnectivityQueryServer* ServerStore::nodeServer(Number connectivity)
{
    return serverOf(m_nodeServers, connectivity, [this](std::size_t i) {
        Connectivity const& of = m_connectivities[i];
        return std::make_shared<NodeConnectivityQueryServer>(*of.nodes, m_socket, of.zone);
    });
}

OrderedSubzoneQueryServer* ServerStore::orderedServer(Number ordered)
{
    return serverOf(m_orderedServers, ordered, [this](std::size_t i) {
        return std::make_shared<OrderedSubzoneQueryServer>(*m_ordered[i], m_socket);
    });
}

ZoneVarIDQueryServer* ServerStore::identityServer(Number identity)
{
    return serverOf(m_identityServers, identity, [this](std::size_t i) {
        Identity const& of = m_identities[i];
        return std::make_shared<ZoneVarIDQueryServer>(*of.object, of.zone, m_socket,
                                                      m_registrationServer);
    });
}

VarValueQueryServer* ServerStore::cellCenteredServer(Number variable)
{
    return serverOf(m_cellCenteredServers, variable, [this](std::size_t i) {
        StoredVariable const& of = m_variables[i];
        Place const& place = placeOf(of);
        return std::make_shared<VarValueQueryServer>(of.objects.cellCentered, place.cells, m_socket,
                                                     place.subzoneMaxSize, place.zone, of.type);
    });
}

VarValueQueryServer* ServerStore::nodalServer(Number variable)
{
    return serverOf(m_nodalServers, variable, [this](std::size_t i) {
        StoredVariable const& of = m_variables[i];
        Place const& place = placeOf(of);
        return std::make_shared<VarValueQueryServer>(of.objects.nodal, place.nodes, m_socket,
                                                     place.subzoneMaxSize, place.zone, of.type);
    });
}

VarSubzoneQueryServer* ServerStore::subzoneServer(Number variable)
{
    return serverOf(m_subzoneServers, variable, [this](std::size_t i) {
        return std::make_shared<VarSubzoneQueryServer>(*m_variables[i].objects.subzones, m_socket);
    });
}

}
