#pragma once

#include "varnox/hostapi/VnxUtil.h"

#include <memory>

namespace varnox::hdqfsloader {

struct HostDealloc
{
    void operator()(StringList_s* list) const { VnxUtilStringListDealloc(&list); }
    void operator()(_ArgList_s* list) const { VnxUtilArgListDealloc(&list); }
};

/// Lists of the host that go with their scope: what they are given to may throw.
using ArgList = std::unique_ptr<_ArgList_s, HostDealloc>;
using StringList = std::unique_ptr<StringList_s, HostDealloc>;

}
