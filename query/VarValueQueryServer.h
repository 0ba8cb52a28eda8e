#pragma once

#include "varnox/hostapi/VnxTypes.h"

#include <memory>

namespace varnox::socketutil {
class SocketInterface;
}

namespace varnox::hdq {
class CellConnectivityQueryInterface;
class NodeConnectivityQueryInterface;
class VarValueQueryInterface;
}

namespace varnox::hdqremote {

/// Serves the values of one variable of one zone, in its nodal or its cell-centred form. Keeps no
/// values between commands: an answer is pulled from the add-on, narrowed to the variable's type
/// and sent. Owns none of the interfaces.
class VarValueQueryServer : public std::enable_shared_from_this<VarValueQueryServer>
{
public:
    /// Cell-centred. subzoneMaxSize is the largest number of items in a subzone, zone counts from
    /// 0.
    VarValueQueryServer(hdq::VarValueQueryInterface* queryInterface,
                        hdq::CellConnectivityQueryInterface* cellConnectivity,
                        socketutil::SocketInterface& socket, unsigned short subzoneMaxSize,
                        int zone, FieldDataType_e fieldDataType);
    /// Nodal.
    VarValueQueryServer(hdq::VarValueQueryInterface* queryInterface,
                        hdq::NodeConnectivityQueryInterface* nodeConnectivity,
                        socketutil::SocketInterface& socket, unsigned short subzoneMaxSize,
                        int zone, FieldDataType_e fieldDataType);
    VarValueQueryServer(VarValueQueryServer const&) = delete;
    VarValueQueryServer& operator=(VarValueQueryServer const&) = delete;
    ~VarValueQueryServer();

    /// Receives a method and serves it.
    void handleMethod();

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

}
