#pragma once

#include "query/MethodTable.h"
#include "varnox/RawArray.h"

#include <memory>

namespace varnox::hdq {
class VarSubzoneQueryInterface;
}

namespace varnox::hdqremote {

/// Serves the ranges of one variable of one zone. The vectors go on as the add-on filled them.
/// Doesn't own the interface.
class VarSubzoneQueryServer : public std::enable_shared_from_this<VarSubzoneQueryServer>
{
public:
    VarSubzoneQueryServer(hdq::VarSubzoneQueryInterface& queryInterface,
                          socketutil::SocketInterface& socket);
    VarSubzoneQueryServer(VarSubzoneQueryServer const&) = delete;
    VarSubzoneQueryServer& operator=(VarSubzoneQueryServer const&) = delete;

    void handleMethod();

private:
    void setup();
    void teardown();
    void destroy();
    void doNothing();
    void partitionMinMaxes();
    void cellSubzoneMinMaxes();
    void nodeSubzoneMinMaxes();
    void send(RawArray<double> const& values);

    hdq::VarSubzoneQueryInterface& m_queryInterface;
    socketutil::SocketInterface& m_socket;
    MethodTable<VarSubzoneQueryServer> m_methods;
};

}
