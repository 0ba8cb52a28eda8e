#pragma once

#include "varnox/ExceptionBase.h"
#include "varnox/hdq/DataSetRegistrationInterface.h"
#include "varnox/hostapi/VnxTypes.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace varnox::socketutil {
class SocketInterface;
}

namespace varnox::hdqremote {

class CellConnectivityQueryServer;
class CommandCache;
class LoaderServer;
class NodeConnectivityQueryServer;
class OrderedSubzoneQueryServer;
class VarSubzoneQueryServer;
class VarValueQueryServer;
class ZoneVarIDQueryServer;

/// Knows which zones and variables of the loaded data set can be queried, and through which server.
/// The add-on hands in its query objects, the load command the file paths, and the command loop
/// asks for servers. Zone and variable numbers count from 0 across the whole data set.
///
/// Owns the servers and the metadata of the files, and none of the add-on's objects.
class VNX_EXPORT DataSetRegistrationServer : public hdq::DataSetRegistrationInterface
{
public:
    /// A file doesn't fit the data set, or a zone or variable doesn't exist.
    class VNX_EXPORT Error : public ExceptionBase
    {
    public:
        explicit Error(std::string const& message);
        ~Error() override;
    };

    DataSetRegistrationServer(socketutil::SocketInterface& socket, CommandCache& commandCache);
    DataSetRegistrationServer(DataSetRegistrationServer const&) = delete;
    DataSetRegistrationServer& operator=(DataSetRegistrationServer const&) = delete;

    void registerZoneConnectivityQueryServices(hdq::CellConnectivityQueryInterface* cell,
                                               hdq::NodeConnectivityQueryInterface* node,
                                               int zone) override;
    void registerZoneConnectivityQueryServices(hdq::CellConnectivityQueryInterface* cell,
                                               hdq::NodeConnectivityQueryInterface* node,
                                               hdq::OrderedSubzoneQueryInterface* ordered,
                                               int zone) override;
    void registerZoneVarIDQueryServices(hdq::ZoneVarIDQueryInterface* zoneVarID, int zone) override;
    void registerVarQueryServices(hdq::VarValueQueryInterface* cellCentered,
                                  hdq::VarValueQueryInterface* nodal,
                                  hdq::VarSubzoneQueryInterface* subzones, int zone,
                                  int var) override;
    ~DataSetRegistrationServer() override;

    /// Opens and classifies the data set's files. The tables of a data set before are released.
    /// Throws Error, and what reading the files throws.
    void setFilePaths(std::vector<std::string> const& paths);
    /// How often file paths were set: tells one data set from the next.
    std::uint64_t numLoads() const;
    /// Adds a calculated variable to a zone; returns its number.
    int registerCalcVarQueryServices(hdq::VarValueQueryInterface* cellCentered,
                                     hdq::VarValueQueryInterface* nodal,
                                     hdq::VarSubzoneQueryInterface* subzones,
                                     FieldDataType_e fieldDataType, int zone);
    /// Clones a zone; returns the new zone's number.
    int createDuplicateZoneVarIDQueryService(int zone, hdq::ZoneVarIDQueryInterface* zoneVarID);

    /// Null before the first registration.
    LoaderServer* loaderServer();
    /// The lookups throw Error for a number out of range, and give null for an entry without a
    /// server.
    CellConnectivityQueryServer* cellConnectivityQueryServer(int zone);
    NodeConnectivityQueryServer* nodeConnectivityQueryServer(int zone);
    OrderedSubzoneQueryServer* orderedSubzoneQueryServer(int zone);
    ZoneVarIDQueryServer* zoneVarIDQueryServer(int zone);
    VarValueQueryServer* nodalVarQueryServer(int zone, int var);
    VarValueQueryServer* cellCenteredVarQueryServer(int zone, int var);
    VarSubzoneQueryServer* varSubzoneQueryServer(int zone, int var);

    /// Announces the data set to the client.
    void handleLoaderMetadataRequest();
    /// Answers one request for a zone's metadata.
    void handleZoneMetadataRequest();

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

}
