#include "command/CommandCache.h"

#include "command/CommandLoop.h"
#include "command/LoaderCommands.h"
#include "command/ScopedExitAction.h"
#include "varnox/socketutil/SocketException.h"
#include "varnox/socketutil/SocketInterface.h"
#include "varnox/socketutil/WriteCache.h"

#include <utility>
#include <vector>

namespace varnox::hdqremote {

using socketutil::SocketException;
using socketutil::SocketInterface;
using socketutil::WriteCache;

class CommandCache::Impl
{
public:
    Impl(SocketInterface& connection, std::function<void(std::string const&)> const& handler)
        : socket(connection), commandHandler(handler)
    {
    }

    bool booleanReceiveRoutine() { return socket.receiveUInt32() != 0; }

    bool voidReentrantCommandServiceRoutine()
    {
        serviceCommandsUntil(COMMAND_FINISHED, socket, commandHandler);
        return true;
    }

    bool booleanReentrantCommandServiceRoutine()
    {
        serviceCommandsUntil(COMMAND_FINISHED, socket, commandHandler);
        return socket.receiveUInt32() != 0;
    }

    /// Sends the batch and reads its replies. False: a routine stopped the walk. A failed send
    /// leaves the batch and its routines as they were.
    bool processCachedCommands()
    {
        socket.sendCache(*cache);
        // From here on the object isn't caching: what runs inside the routines goes straight to the
        // socket instead of into a batch that nobody would send.
        cache.reset();
        ScopedExitAction const forgetRoutines([this] { receiveRoutines.clear(); });

        // The walk keeps to what stood in the list at its start, and a batch that a nested service
        // sends meanwhile finds only routines of its own.
        std::vector<std::function<bool()>> const routines = std::move(receiveRoutines);
        receiveRoutines.clear();
        for (std::function<bool()> const& routine : routines)
            if (!routine())
                return false;
        return true;
    }

    bool flush()
    {
        try {
            if (!processCachedCommands())
                return false;
        } catch (SocketException const&) {
            return false;
        }
        cache = std::make_unique<WriteCache>();
        return true;
    }

    /// A command without the routine that reads its reply would leave the two sides out of step, so
    /// what the routine takes is there before the command is.
    void makeRoomForRoutine()
    {
        if (receiveRoutines.size() == receiveRoutines.capacity())
            receiveRoutines.reserve(2 * receiveRoutines.size() + 8);
    }

    std::size_t flushThreshold = 15000;
    SocketInterface& socket;
    std::function<void(std::string const&)> commandHandler;
    std::unique_ptr<WriteCache> cache; ///< The pending batch; null while not caching.
    std::vector<std::function<bool()>> receiveRoutines;
};

CommandCache::CommandCache(SocketInterface& socket,
                           std::function<void(std::string const&)> const& commandHandler)
    : m_impl(std::make_unique<Impl>(socket, commandHandler))
{
}

CommandCache::~CommandCache() = default;

void CommandCache::beginCachingCommands()
{
    m_impl->cache = std::make_unique<WriteCache>();
}

bool CommandCache::isCachingCommands() const
{
    return m_impl->cache != nullptr;
}

void CommandCache::appendCache(WriteCache& cache)
{
    if (!m_impl->cache)
        m_impl->cache = std::make_unique<WriteCache>();
    m_impl->makeRoomForRoutine();
    m_impl->cache->appendCache(cache);
}

bool CommandCache::flushCachedCommands()
{
    return !m_impl->cache || m_impl->flush();
}

bool CommandCache::flushCachedCommandsIfNecessary()
{
    if (!m_impl->cache || m_impl->cache->size() <= m_impl->flushThreshold)
        return true;
    return m_impl->flush();
}

bool CommandCache::finishCachingCommands()
{
    if (!m_impl->cache)
        return true;
    try {
        return m_impl->processCachedCommands();
    } catch (SocketException const&) {
        return false;
    }
}

void CommandCache::addBooleanReceiveRoutine()
{
    addReceiveRoutine([impl = m_impl.get()] { return impl->booleanReceiveRoutine(); });
}

void CommandCache::addVoidReentrantCommandServiceRoutine()
{
    addReceiveRoutine([impl = m_impl.get()] { return impl->voidReentrantCommandServiceRoutine(); });
}

void CommandCache::addBooleanReentrantCommandServiceRoutine()
{
    addReceiveRoutine(
        [impl = m_impl.get()] { return impl->booleanReentrantCommandServiceRoutine(); });
}

void CommandCache::addReceiveRoutine(std::function<bool()> routine)
{
    m_impl->receiveRoutines.push_back(std::move(routine));
}

}
