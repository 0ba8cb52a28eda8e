#pragma once

#include <functional>
#include <string>

namespace varnox::tests {

/// The text of the exception that an action throws; other exceptions pass.
template <typename Exception>
std::string messageOf(std::function<void()> const& action)
{
    try {
        action();
    } catch (Exception const& error) {
        return error.what();
    }
    return "nothing was thrown";
}

}
