#pragma once

#include "varnox/IOException.h"
#include "varnox/socketutil/SocketException.h"

#include <utility>

namespace varnox {

/// Runs an array transfer; a failure of the connection in it becomes an IOException with its text.
template <typename F>
decltype(auto) withIOException(F&& transfer)
{
    try {
        return std::forward<F>(transfer)();
    } catch (socketutil::SocketException const& error) {
        throw IOException(error.what());
    }
}

}
