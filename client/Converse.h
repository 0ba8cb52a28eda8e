#pragma once

#include "client/Engine.h"
#include "client/Errors.h"
#include "varnox/IOException.h"
#include "varnox/socketutil/SocketException.h"

#include <new>
#include <string>

// For the sources of Engine.

namespace varnox::client {

/// For messages: "variable 7 'Pressure' of zone 1".
std::string nameOfVariable(DataSet const& dataSet, int var, int zone);

/// Runs a part of the conversation. Whatever goes wrong in it leaves the two sides out of step.
template <typename F>
decltype(auto) Engine::converse(std::string const& action, F&& f)
{
    if (m_isBroken)
        throw ConnectionLost("The session with the data server has ended already.");
    auto const lost = [&](char const* reason) {
        m_isBroken = true;
        std::string const log = m_serverLog ? m_serverLog() : std::string();
        std::string const advice = log.empty()
                                       ? "\nThe server's log says why, if the server ended it."
                                       : "\nThe server's last words: " + printable(log, 2000);
        throw ConnectionLost("The connection to the data server was lost while " + action + ". " +
                             reason + advice);
    };
    auto const violated = [&](std::string const& what) {
        m_isBroken = true;
        throw ProtocolViolation(what + " This was while " + action +
                                ". Is it a data server, and of the version of this client?");
    };
    try {
        return f();
    } catch (ProtocolViolation const& error) {
        violated(error.what());
    } catch (socketutil::SocketException const& error) {
        lost(error.what());
    } catch (IOException const& error) {
        lost(error.what());
    } catch (std::bad_alloc const&) {
        violated("The server sent more than there is memory for.");
    } catch (...) {
        m_isBroken = true; // out of whoever takes the values, with an answer half read
        throw;
    }
    throw Error("not reached");
}

}
