#pragma once

#include "query/MethodTable.h"

#include <memory>

namespace varnox::hdq {
class OrderedSubzoneQueryInterface;
}

namespace varnox::hdqremote {

/// Serves the searches of one ordered zone: the subzones that a plane or a line passes through.
/// Doesn't own the interface.
class OrderedSubzoneQueryServer : public std::enable_shared_from_this<OrderedSubzoneQueryServer>
{
public:
    OrderedSubzoneQueryServer(hdq::OrderedSubzoneQueryInterface& queryInterface,
                              socketutil::SocketInterface& socket);
    OrderedSubzoneQueryServer(OrderedSubzoneQueryServer const&) = delete;
    OrderedSubzoneQueryServer& operator=(OrderedSubzoneQueryServer const&) = delete;

    void handleMethod();
    hdq::OrderedSubzoneQueryInterface& queryInterface() const { return m_queryInterface; }

private:
    void setup();
    void teardown();
    void destroy();
    void findIJKPlaneCellSubzones();
    void findIJKLineCellSubzones();
    void findIJKPlaneNodeSubzones();
    void findIJKLineNodeSubzones();

    hdq::OrderedSubzoneQueryInterface& m_queryInterface;
    socketutil::SocketInterface& m_socket;
    MethodTable<OrderedSubzoneQueryServer> m_methods;
};

}
