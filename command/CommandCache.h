#pragma once

#include <functional>
#include <memory>
#include <string>

namespace varnox::socketutil {
class SocketInterface;
class WriteCache;
}

namespace varnox::hdqremote {

/// Batches outgoing commands and reads their replies later, in the order of the commands.
/// Owned by AddonProxy::Impl; VnxUtilProxy and DataSetRegistrationServer hold references. A flush
/// ends caching before it reads replies: what runs inside it is sent at once or starts a new batch.
///
/// The three flushes return false when the connection failed or a reply stopped the walk; the
/// caller then treats its command as failed. Other exceptions of a reply routine come through.
class CommandCache
{
public:
    /// The handler dispatches the commands that arrive inside a re-entrant service.
    CommandCache(socketutil::SocketInterface& socket,
                 std::function<void(std::string const&)> const& commandHandler);
    CommandCache(CommandCache const&) = delete;
    CommandCache& operator=(CommandCache const&) = delete;
    ~CommandCache();

    /// Starts an empty batch. One that is pending is dropped unsent, while its routines stay.
    void beginCachingCommands();
    bool isCachingCommands() const;
    /// Appends to the batch, which it starts if there is none.
    void appendCache(socketutil::WriteCache& cache);

    /// Sends the batch, reads its replies and goes on caching.
    bool flushCachedCommands();
    /// The same, only if the batch holds more than 15000 bytes.
    bool flushCachedCommandsIfNecessary();
    /// Sends the batch, reads its replies and ends caching.
    bool finishCachingCommands();

    /// What reads the reply of the command just appended. A routine that returns false stops the
    /// walk.
    void addBooleanReceiveRoutine();
    void addVoidReentrantCommandServiceRoutine();
    void addBooleanReentrantCommandServiceRoutine();
    void addReceiveRoutine(std::function<bool()> routine);

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

}
