#include "varnox/hdqremote/AddonProxy.h"

#include "command/CommandCache.h"
#include "command/CommandLoop.h"
#include "command/FileListing.h"
#include "command/LoaderCommands.h"
#include "command/ScopedExitAction.h"
#include "proxy/VnxUtilProxy.h"
#include "query/CellConnectivityQueryServer.h"
#include "query/LoaderServer.h"
#include "query/NodeConnectivityQueryServer.h"
#include "query/OrderedSubzoneQueryServer.h"
#include "query/VarSubzoneQueryServer.h"
#include "query/VarValueQueryServer.h"
#include "query/ZoneVarIDQueryServer.h"
#include "varnox/hdqremote/DataSetRegistrationServer.h"
#include "varnox/hostapi/VnxUtil.h"
#include "varnox/socketutil/SocketException.h"
#include "varnox/socketutil/SocketInterface.h"
#include "varnox/socketutil/WriteCache.h"

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/lexical_cast.hpp>

#include <exception>
#include <functional>
#include <iostream>
#include <unordered_map>
#include <vector>

#include <dlfcn.h>

namespace varnox::hdqremote {

using socketutil::SocketException;
using socketutil::SocketInterface;
using socketutil::WriteCache;

namespace {

constexpr char ADDON_ENTRY[] = "InitVnxAddOn113";

/// A lookup that gave no server: the client asked for what it wasn't told of.
template <typename Server>
Server& existing(Server* server, std::string const& what)
{
    if (server == nullptr)
        throw DataSetRegistrationServer::Error("There is no query service for " + what + ".");
    return *server;
}

std::string nameOf(std::string const& what, int zone)
{
    return what + " of zone " + std::to_string(zone);
}

std::string nameOf(std::string const& what, int zone, int var)
{
    return what + " of variable " + std::to_string(var) + " in zone " + std::to_string(zone);
}

/// The standard syntax in which a loader gets its files. False if memory is short.
bool appendInstructions(StringList_s* instructions, std::vector<std::string> const& filePaths)
{
    auto const append = [&](std::string const& word) {
        return VnxUtilStringListAppendString(instructions, word.c_str()) != 0;
    };
    if (instructions == nullptr || !append(STANDARD_SYNTAX) || !append(STANDARD_SYNTAX_VERSION))
        return false;
    if (filePaths.size() == 1)
        return append(FILENAME_FILE) && append(filePaths.front());
    if (!append(FILELIST_DATAFILES) || !append(boost::lexical_cast<std::string>(filePaths.size())))
        return false;
    for (std::string const& path : filePaths)
        if (!append(path))
            return false;
    return true;
}

}

class VNX_LOCAL AddonProxy::Impl
{
public:
    Impl(std::string const& addonPath, SocketInterface& connection, AddonProxy& owner)
        : socket(connection),
          commandCache(socket, [this](std::string const& command) { handleCommand(command); }),
          registrationServer(socket, commandCache),
          proxy(socket, registrationServer, owner, commandCache)
    {
        std::cout << "Attempting to load addon" << std::endl;
        loadCommandHandlers();
        loadAddon(addonPath);
        if (proxy.loaderCallback() == nullptr)
            throw Error("Loader add-on did not register a loader callback.");
        std::cout << "Success" << std::endl;
    }

    void handleCommand(std::string const& command)
    {
        auto const handler = commandHandlers.find(command);
        if (handler == commandHandlers.end())
            throw Error("Unrecognized command received: " + command);
        if (numCommandsUnderWay == MAX_COMMANDS_UNDER_WAY)
            throw Error("Too many commands were sent while others were under way; at most " +
                        std::to_string(MAX_COMMANDS_UNDER_WAY) + " can be.");
        ++numCommandsUnderWay;
        (this->*handler->second)();
        --numCommandsUnderWay; // not where the handler throws: its command is never finished
    }

    bool isBetweenCommands() const { return numCommandsUnderWay == 0; }

    void restrictPaths(std::function<bool(std::string const&)> const& allowed) { maySee = allowed; }

    void serviceUntil(std::string const& endCommand)
    {
        hdqremote::serviceCommandsUntil(
            endCommand, socket, [this](std::string const& command) { handleCommand(command); });
    }

private:
    using Handler = void (Impl::*)();

    /// While an add-on waits for the client, the client may send commands, and so on: each takes
    /// from the stack.
    static constexpr int MAX_COMMANDS_UNDER_WAY = 100;

    /// The add-on stays in the process until the process ends, whatever happens.
    static void loadAddon(std::string const& path)
    {
        void* const library = ::dlopen(path.c_str(), RTLD_LAZY);
        if (library == nullptr) {
            char const* const reason = ::dlerror();
            throw Error("Unable to load library " + path + " (" +
                        (reason != nullptr ? reason : "") + ")");
        }
        auto* const entry = reinterpret_cast<void (*)()>(::dlsym(library, ADDON_ENTRY));
        if (entry == nullptr)
            // cppcheck-suppress resourceLeak ; it stays, as said above
            throw Error(std::string("Function ") + ADDON_ENTRY + " not found in load library " +
                        path);
        entry();
    }

    void loadCommandHandlers()
    {
        commandHandlers = {
            {LIST_FILE_TYPES, &Impl::handleListFileTypes},
            {LIST_FILES, &Impl::handleListFiles},
            {LOAD_DATASET, &Impl::handleLoadDataset},
            {CELL_CONNECTIVITY_QUERY, &Impl::handleCellConnectivityQuery},
            {NODE_CONNECTIVITY_QUERY, &Impl::handleNodeConnectivityQuery},
            {NODAL_VAR_QUERY, &Impl::handleNodalVarQuery},
            {CELL_CENTERED_VAR_QUERY, &Impl::handleCellCenteredVarQuery},
            {ORDERED_SUBZONE_QUERY, &Impl::handleOrderedSubzoneQuery},
            {VAR_SUBZONE_QUERY, &Impl::handleVarSubzoneQuery},
            {ZONE_VARID_QUERY, &Impl::handleZoneVarIDQuery},
            {LOAD_FACE_NEIGHBORS, &Impl::handleLoadFaceNeighbors},
            {LOAD_NODE_MAP, &Impl::handleLoadNodeMap},
            {LOAD_FIELD_DATA, &Impl::handleLoadFieldData},
            {UNLOAD_FACE_NEIGHBORS, &Impl::handleUnloadFaceNeighbors},
            {UNLOAD_NODE_MAP, &Impl::handleUnloadNodeMap},
            {UNLOAD_FIELD_DATA, &Impl::handleUnloadFieldData},
            {CLEAN_UP_FACE_NEIGHBORS, &Impl::handleCleanUpFaceNeighbors},
            {CLEAN_UP_NODE_MAP, &Impl::handleCleanUpNodeMap},
            {CLEAN_UP_FIELD_DATA, &Impl::handleCleanUpFieldData},
            {LOADER_QUERY, &Impl::handleLoaderQuery},
        };
    }

    void handleListFileTypes()
    {
        WriteCache reply;
        reply.addString(proxy.loaderName());
        reply.addString(proxy.fileExtensions());
        reply.addString(COMMAND_FINISHED);
        socket.sendCache(reply);
    }

    void handleListFiles()
    {
        WriteCache reply;
        addFileListing(reply, socket.receiveString(), maySee);
        reply.addString(COMMAND_FINISHED);
        socket.sendCache(reply);
    }

    void refuseHiddenPaths(std::vector<std::string> const& filePaths) const
    {
        constexpr std::size_t ENOUGH = 200;
        for (std::string const& path : filePaths)
            if (maySee && !maySee(path))
                throw Error("'" + path.substr(0, ENOUGH) + (path.size() > ENOUGH ? "..." : "") +
                            "' can't be loaded: it is in none of the directories that this data "
                            "server shares.");
    }

    /// Receives the paths, runs the loader and shows what went wrong in a dialog.
    bool loadDataset(std::string& errorMessage)
    {
        std::vector<std::string> filePaths;
        bool loaded = false;
        bool pathsWereRead = false;
        try {
            std::string const paths = socket.receiveString();
            boost::split(filePaths, paths, boost::is_any_of("\n"), boost::token_compress_off);
            pathsWereRead = true;
        } catch (std::exception const& error) {
            errorMessage = error.what();
        }
        StringList_s* instructions = VnxUtilStringListAlloc();
        ScopedExitAction const dealloc([&] { VnxUtilStringListDealloc(&instructions); });
        if (pathsWereRead && appendInstructions(instructions, filePaths)) {
            try {
                refuseHiddenPaths(filePaths);
                registrationServer.setFilePaths(filePaths);
                VnxLoaderCallback const callback = proxy.loaderCallback();
                loaded = callback(instructions, proxy.loaderClientData()) != 0;
            } catch (std::exception const& error) {
                errorMessage = error.what();
                loaded = false;
            }
        } else if (errorMessage.empty()) {
            errorMessage = "Insufficient memory resources were available to load the data.";
        }
        if (!loaded && !errorMessage.empty())
            VnxUtilDialogErrMsg(errorMessage.c_str());
        return loaded;
    }

    void handleLoadDataset()
    {
        std::string errorMessage;
        bool const loaded = loadDataset(errorMessage);
        socket.sendString(COMMAND_FINISHED);
        socket.sendUInt32(loaded ? 1 : 0);
        if (!loaded)
            throw Error(errorMessage);
    }

    void handleCellConnectivityQuery()
    {
        int const zone = socket.receiveInt();
        existing(registrationServer.cellConnectivityQueryServer(zone), nameOf("the cells", zone))
            .handleMethod();
    }

    void handleNodeConnectivityQuery()
    {
        int const zone = socket.receiveInt();
        existing(registrationServer.nodeConnectivityQueryServer(zone), nameOf("the nodes", zone))
            .handleMethod();
    }

    void handleNodalVarQuery()
    {
        int const zone = socket.receiveInt();
        int const var = socket.receiveInt();
        existing(registrationServer.nodalVarQueryServer(zone, var),
                 nameOf("the nodal values", zone, var))
            .handleMethod();
    }

    void handleCellCenteredVarQuery()
    {
        int const zone = socket.receiveInt();
        int const var = socket.receiveInt();
        existing(registrationServer.cellCenteredVarQueryServer(zone, var),
                 nameOf("the cell-centred values", zone, var))
            .handleMethod();
    }

    void handleOrderedSubzoneQuery()
    {
        int const zone = socket.receiveInt();
        existing(registrationServer.orderedSubzoneQueryServer(zone),
                 nameOf("the ordered subzones", zone))
            .handleMethod();
    }

    void handleVarSubzoneQuery()
    {
        int const zone = socket.receiveInt();
        int const var = socket.receiveInt();
        existing(registrationServer.varSubzoneQueryServer(zone, var),
                 nameOf("the subzone ranges", zone, var))
            .handleMethod();
    }

    void handleZoneVarIDQuery()
    {
        int const zone = socket.receiveInt();
        existing(registrationServer.zoneVarIDQueryServer(zone), nameOf("the identity", zone))
            .handleMethod();
    }

    void handleLoaderQuery()
    {
        existing(registrationServer.loaderServer(), "the loader").handleMethod();
    }

    void handleLoadFaceNeighbors() { proxy.handleLoadFaceNeighbors(); }
    void handleLoadNodeMap() { proxy.handleLoadNodeMap(); }
    void handleLoadFieldData() { proxy.handleLoadFieldData(); }
    void handleUnloadFaceNeighbors() { proxy.handleUnloadFaceNeighbors(); }
    void handleUnloadNodeMap() { proxy.handleUnloadNodeMap(); }
    void handleUnloadFieldData() { proxy.handleUnloadFieldData(); }
    void handleCleanUpFaceNeighbors() { proxy.handleCleanUpFaceNeighbors(); }
    void handleCleanUpNodeMap() { proxy.handleCleanUpNodeMap(); }
    void handleCleanUpFieldData() { proxy.handleCleanUpFieldData(); }

    SocketInterface& socket;
    CommandCache commandCache;
    DataSetRegistrationServer registrationServer;
    VnxUtilProxy proxy;
    std::unordered_map<std::string, Handler> commandHandlers;
    int numCommandsUnderWay = 0;
    std::function<bool(std::string const&)> maySee; ///< empty: everything
};

AddonProxy::Error::Error(std::string const& message) : ExceptionBase(message, false)
{
}
AddonProxy::Error::~Error() = default;

AddonProxy::CommunicationError::CommunicationError(std::string const& message)
    : ExceptionBase(message, false)
{
}

AddonProxy::CommunicationError::~CommunicationError() = default;

AddonProxy::AddonProxy(std::string const& addonPath, SocketInterface& socket)
    : m_impl(std::make_unique<Impl>(addonPath, socket, *this))
{
}

AddonProxy::~AddonProxy() = default;

bool AddonProxy::isBetweenCommands() const
{
    return m_impl->isBetweenCommands();
}

void AddonProxy::restrictPaths(std::function<bool(std::string const&)> const& maySee)
{
    m_impl->restrictPaths(maySee);
}

void AddonProxy::serviceCommandsUntil(std::string const& endCommand)
{
    try {
        m_impl->serviceUntil(endCommand);
    } catch (SocketException const& error) {
        throw CommunicationError(error.what());
    }
}

}
