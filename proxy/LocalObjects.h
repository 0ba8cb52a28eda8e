#pragma once

#include "varnox/hostapi/VnxTypes.h"

#include <boost/thread/mutex.hpp>

#include <set>
#include <string>
#include <vector>

// What the handles of the host API really are. The add-on owns these objects and frees them through
// the host API.

struct StringList_s
{
    std::vector<std::string> strings;
};

struct Set_s
{
    std::set<long> members;
};

struct Mutex_s
{
    Mutex_s() = default;
    Mutex_s(Mutex_s const&) = delete;
    Mutex_s& operator=(Mutex_s const&) = delete;
    /// A mutex that is still locked is freed all the same, where a debug build of Boost would stop.
    ~Mutex_s()
    {
        mutex.try_lock();
        mutex.unlock();
    }

    boost::mutex mutex;
};

/// One variable of one zone, both counted from one. Lives in a handler's frame during one callback.
struct FieldData_s
{
    int zone;
    int var;
};
