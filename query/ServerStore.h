#pragma once

#include "query/CellConnectivityQueryServer.h"
#include "query/NodeConnectivityQueryServer.h"
#include "query/OrderedSubzoneQueryServer.h"
#include "query/VarSubzoneQueryServer.h"
#include "query/VarValueQueryServer.h"
#include "query/ZoneVarIDQueryServer.h"
#include "varnox/hostapi/VnxTypes.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <unordered_map>

namespace varnox::hdqremote {

/// The query objects that an add-on has handed in, and the servers in front of them. A data set may
/// have millions of objects, of which a client asks a few: an object takes a few words here, and
/// its server is made when it is first asked for. What was put here has a number from 1 on; 0
/// stands for nothing, which has no server. A server that goes while it handles a method ends with
/// that.
class ServerStore
{
public:
    using Number = std::uint32_t;

    struct Connectivity
    {
        hdq::CellConnectivityQueryInterface* cells;
        hdq::NodeConnectivityQueryInterface* nodes;
        int zone;
        bool isOrdered;
    };

    /// What the variables of a zone have in common.
    struct Place
    {
        hdq::CellConnectivityQueryInterface* cells;
        hdq::NodeConnectivityQueryInterface* nodes;
        int zone;
        unsigned short subzoneMaxSize;

        friend bool operator==(Place const&, Place const&) = default;
    };

    struct Variable
    {
        hdq::VarValueQueryInterface* cellCentered;
        hdq::VarValueQueryInterface* nodal;
        hdq::VarSubzoneQueryInterface* subzones;
    };

    ServerStore(socketutil::SocketInterface& socket, DataSetRegistrationServer& registrationServer)
        : m_socket(socket), m_registrationServer(registrationServer)
    {
    }
    ServerStore(ServerStore const&) = delete;
    ServerStore& operator=(ServerStore const&) = delete;

    void clear();

    /// Each of these gives something new a number, or puts it in the place of what had the number,
    /// whose servers go.
    Number putConnectivity(Number number, Connectivity const& objects);
    Number putOrdered(Number number, hdq::OrderedSubzoneQueryInterface& object);
    Number putIdentity(Number number, hdq::ZoneVarIDQueryInterface& object, int zone);
    /// A variable that is shared gets its own number, and is left to the others.
    Number putVariable(Number number, Variable const& objects, Place const& place,
                       FieldDataType_e type);
    /// One zone more has the variable, unless it is nothing.
    void shareVariable(Number number);

    /// Of a number that isn't 0, as below.
    Connectivity const& connectivity(Number number) const { return m_connectivities[number - 1]; }
    hdq::OrderedSubzoneQueryInterface& ordered(Number number) const
    {
        return *m_ordered[number - 1];
    }

    /// Null for 0.
    CellConnectivityQueryServer* cellServer(Number connectivity);
    NodeConnectivityQueryServer* nodeServer(Number connectivity);
    OrderedSubzoneQueryServer* orderedServer(Number ordered);
    ZoneVarIDQueryServer* identityServer(Number identity);
    VarValueQueryServer* cellCenteredServer(Number variable);
    VarValueQueryServer* nodalServer(Number variable);
    VarSubzoneQueryServer* subzoneServer(Number variable);

private:
    struct Identity
    {
        hdq::ZoneVarIDQueryInterface* object;
        int zone;
    };

    struct StoredVariable
    {
        Variable objects;
        Number place;
        FieldDataType_e type;
    };

    template <typename T>
    using Servers = std::unordered_map<Number, std::shared_ptr<T>>;

    Number numberOf(Place const& place);
    Place const& placeOf(StoredVariable const& variable) const
    {
        return m_places[variable.place - 1];
    }

    socketutil::SocketInterface& m_socket;
    DataSetRegistrationServer& m_registrationServer;
    std::deque<Connectivity> m_connectivities;
    std::deque<hdq::OrderedSubzoneQueryInterface*> m_ordered;
    std::deque<Identity> m_identities;
    std::deque<Place> m_places;
    std::deque<StoredVariable> m_variables;
    std::unordered_map<Number, std::size_t> m_numSharers; ///< Without the first.
    Servers<CellConnectivityQueryServer> m_cellServers;
    Servers<NodeConnectivityQueryServer> m_nodeServers;
    Servers<OrderedSubzoneQueryServer> m_orderedServers;
    Servers<ZoneVarIDQueryServer> m_identityServers;
    Servers<VarValueQueryServer> m_cellCenteredServers;
    Servers<VarValueQueryServer> m_nodalServers;
    Servers<VarSubzoneQueryServer> m_subzoneServers;
};

}
