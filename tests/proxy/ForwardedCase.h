#pragma once

#include "tests/proxy/ProxyTest.h"

namespace varnox::tests {

enum class Traffic {
    Direct,  ///< Sent at once, overtaking the batch.
    Flushed, ///< The batch goes first; a failed flush gives 0.
    Cached   ///< Waits in the batch; its reply is read at the next flush.
};

struct ForwardedCase
{
    char const* name;
    Traffic traffic;
    std::function<long(VnxUtilProxy&)> call;
    std::string sent;
    std::string answers;
    long result;
};

/// The calls for texts, geometries and labels.
std::vector<ForwardedCase> annotationCases();

}
