#include "query/LoaderServer.h"

#include "varnox/hdqremote/DataSetRegistrationServer.h"

namespace varnox::hdqremote {

class LoaderServer::Impl
{
public:
    explicit Impl(DataSetRegistrationServer& server) : registrationServer(server) {}

    DataSetRegistrationServer& registrationServer;
};

LoaderServer::LoaderServer(DataSetRegistrationServer& registrationServer)
    : m_impl(std::make_unique<Impl>(registrationServer))
{
    registrationServer.handleLoaderMetadataRequest();
}

LoaderServer::~LoaderServer() = default;

void LoaderServer::handleMethod()
{
    m_impl->registrationServer.handleZoneMetadataRequest();
}

}
