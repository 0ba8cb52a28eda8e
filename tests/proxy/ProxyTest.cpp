#include "tests/proxy/ProxyTest.h"

#include <map>
#include <stdexcept>

namespace varnox::tests {

void ProxySession::createDataSet(int numVars)
{
    StringList_s names;
    names.strings.resize(static_cast<std::size_t>(numVars), "v");
    socket.appendScript(FINISHED + u32(1));
    proxy.VnxUtilDataSetCreate("t", &names, 0);
    socket.takeSent();
}

void ProxySession::addZone(char const* name, long value)
{
    Args const args;
    proxy.VnxUtilArgListAppendInt(args, name, value);
    proxy.VnxUtilDataSetAddZoneX(args);
}

void ProxySession::forgetBatch()
{
    // The walk fails at the first reply, for which there is no script, and forgets the rest.
    cache.finishCachingCommands();
    socket.takeSent();
}

void ProxySession::handle(std::string const& command)
{
    static std::map<std::string, void (VnxUtilProxy::*)() const> const handlers = {
        {"load field data", &VnxUtilProxy::handleLoadFieldData},
        {"unload field data", &VnxUtilProxy::handleUnloadFieldData},
        {"clean up field data", &VnxUtilProxy::handleCleanUpFieldData},
        {"load node map", &VnxUtilProxy::handleLoadNodeMap},
        {"unload node map", &VnxUtilProxy::handleUnloadNodeMap},
        {"clean up node map", &VnxUtilProxy::handleCleanUpNodeMap},
        {"load face neighbors", &VnxUtilProxy::handleLoadFaceNeighbors},
        {"unload face neighbors", &VnxUtilProxy::handleUnloadFaceNeighbors},
        {"clean up face neighbors", &VnxUtilProxy::handleCleanUpFaceNeighbors},
    };
    nested.push_back(command);
    auto const found = handlers.find(command);
    if (found == handlers.end())
        throw std::logic_error("unexpected command: " + command);
    (proxy.*found->second)();
}

}
