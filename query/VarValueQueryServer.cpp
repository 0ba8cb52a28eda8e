#include "query/VarValueQueryServer.h"

#include "command/LoaderCommands.h"
#include "query/Arrays.h"
#include "query/MethodTable.h"
#include "query/SubzoneVarValues.h"
#include "query/WideLoops.h"
#include "varnox/hdq/CellConnectivityQueryInterface.h"
#include "varnox/hdq/NodeConnectivityQueryInterface.h"
#include "varnox/hdq/VarValueQueryInterface.h"
#include "varnox/socketutil/WriteCache.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace varnox::hdqremote {

using socketutil::SocketInterface;
using socketutil::WriteCache;

class VarValueQueryServer::Impl
{
public:
    Impl(hdq::VarValueQueryInterface* iface, hdq::NodeConnectivityQueryInterface* nodes,
         hdq::CellConnectivityQueryInterface* cells, SocketInterface& connection,
         unsigned short maxSize, int zoneIndex, FieldDataType_e type)
        : queryInterface(iface), nodeConnectivity(nodes), cellConnectivity(cells),
          socket(connection), subzoneMaxSize(maxSize), zone(zoneIndex),
          fieldDataType(type), methods{{SETUP, &Impl::setup},
                                       {TEARDOWN, &Impl::teardown},
                                       {DESTROY, &Impl::destroy},
                                       {CHECKOUT, &Impl::checkout},
                                       {CHECKIN, &Impl::checkin},
                                       {CHECKOUT_ALL, &Impl::checkoutAll},
                                       {CHECKIN_ALL, &Impl::checkinAll},
                                       // Deliberate: these read nothing and answer nothing.
                                       // Test: VarValueQueryServer.FieldValueReadsNothing
                                       {COPY_TO_UNIFORM_FD, &Impl::doNothing},
                                       {FIELD_VALUE, &Impl::doNothing},
                                       {FIELD_VALUES, &Impl::doNothing}}
    {
    }

    void setup() { queryInterface->setup(); }
    void teardown() { queryInterface->teardown(); }
    void destroy() { queryInterface->destroy(); }
    void checkoutAll() { queryInterface->checkoutAll(); }
    void checkinAll() { queryInterface->checkinAll(); }
    void doNothing() {}

    void checkout()
    {
        std::vector<SubzoneAddress> subzones = receiveSubzoneAddresses(socket);
        RawArray<SubzoneAddress> view = viewOf(subzones);
        queryInterface->checkout(view);

        WriteCache cache;
        OwnedArray<ItemAddress<long>> items(subzoneMaxSize);
        OwnedArray<double> values(subzoneMaxSize);
        // What the add-on leaves out of a subzone is 0, or a value of the subzone before.
        std::fill_n(values.view().data, subzoneMaxSize, 0.0);
        for (SubzoneAddress const& subzone : subzones) {
            addressItems(subzone, items.view());
            values.view().size = 0;
            queryInterface->fieldValues(items.view(), values.view());
            requireRoom(values.view());
            addValues(values.view(), cache);
        }
        socket.sendCache(cache);
    }

    void checkin()
    {
        std::vector<SubzoneAddress> subzones = receiveSubzoneAddresses(socket);
        RawArray<SubzoneAddress> view = viewOf(subzones);
        queryInterface->checkin(view);
    }

    /// All the items of a subzone, in order.
    void addressItems(SubzoneAddress const& subzone, RawArray<ItemAddress<long>>& items) const
    {
        unsigned short const size = nodeConnectivity != nullptr ? nodeConnectivity->size(subzone)
                                                                : cellConnectivity->size(subzone);
        if (size > items.capacity)
            throw std::length_error("The add-on reports " + std::to_string(size) +
                                    " items for a subzone of zone " + std::to_string(zone) +
                                    "; the file set's limit is " + std::to_string(subzoneMaxSize) +
                                    ".");
        items.size = size;
        wideLoops().addressItems(subzone, size, items.data);
    }

    void addValues(RawArray<double> const& values, WriteCache& cache) const
    {
        switch (static_cast<int>(fieldDataType)) {
        case FieldDataType_Float:
            hdqlib::addNarrowed<float>(values, cache);
            break;
        case FieldDataType_Double:
            hdqlib::addNarrowed<double>(values, cache);
            break;
        case FieldDataType_Int32:
            hdqlib::addNarrowed<int>(values, cache);
            break;
        case FieldDataType_Int16:
            hdqlib::addNarrowed<short>(values, cache);
            break;
        case FieldDataType_Byte:
            hdqlib::addNarrowed<unsigned char>(values, cache);
            break;
        default:
            // Deliberate: no values and no failure. Test:
            // VarValueQueryServer.UnknownTypeAnswersNothing
            break;
        }
    }

    hdq::VarValueQueryInterface* queryInterface;
    hdq::NodeConnectivityQueryInterface* nodeConnectivity; ///< Null in the cell-centred server.
    hdq::CellConnectivityQueryInterface* cellConnectivity; ///< Null in the nodal server.
    SocketInterface& socket;
    std::uint16_t subzoneMaxSize;
    int zone;
    FieldDataType_e fieldDataType;
    MethodTable<Impl> methods;
};

VarValueQueryServer::VarValueQueryServer(hdq::VarValueQueryInterface* queryInterface,
                                         hdq::CellConnectivityQueryInterface* cellConnectivity,
                                         SocketInterface& socket, unsigned short subzoneMaxSize,
                                         int zone, FieldDataType_e fieldDataType)
    : m_impl(std::make_unique<Impl>(queryInterface, nullptr, cellConnectivity, socket,
                                    subzoneMaxSize, zone, fieldDataType))
{
}

VarValueQueryServer::VarValueQueryServer(hdq::VarValueQueryInterface* queryInterface,
                                         hdq::NodeConnectivityQueryInterface* nodeConnectivity,
                                         SocketInterface& socket, unsigned short subzoneMaxSize,
                                         int zone, FieldDataType_e fieldDataType)
    : m_impl(std::make_unique<Impl>(queryInterface, nodeConnectivity, nullptr, socket,
                                    subzoneMaxSize, zone, fieldDataType))
{
}

VarValueQueryServer::~VarValueQueryServer() = default;

void VarValueQueryServer::handleMethod()
{
    auto const kept = weak_from_this().lock(); // the add-on may have it replaced meanwhile
    dispatch(*m_impl, m_impl->methods, m_impl->socket);
}

}
