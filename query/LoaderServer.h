#pragma once

#include <memory>

namespace varnox::hdqremote {

class DataSetRegistrationServer;

/// Announces the data set when it is made, and answers requests for zone metadata. Belongs to the
/// registration server.
class LoaderServer
{
public:
    explicit LoaderServer(DataSetRegistrationServer& registrationServer);
    LoaderServer(LoaderServer const&) = delete;
    LoaderServer& operator=(LoaderServer const&) = delete;
    ~LoaderServer();

    void handleMethod();

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

}
