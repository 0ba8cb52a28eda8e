#pragma once

#include "filedata/Messages.h"
#include "tests/filedata/AllocationMeter.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <new>
#include <stdexcept>
#include <string>

namespace varnox::hdqio::tests {

enum class EndOfAction { Success, Failure, BadAlloc };

inline EndOfAction endOf(std::function<bool()> const& action)
{
    try {
        return action() ? EndOfAction::Success : EndOfAction::Failure;
    } catch (std::bad_alloc const&) {
        return EndOfAction::BadAlloc;
    } catch (std::runtime_error const&) {
        return EndOfAction::Failure;
    }
}

inline bool speaksOfMemory(std::string const& text)
{
    return text.find("memory") != std::string::npos ||
           text.find("Cannot resize string array.") != std::string::npos;
}

/// Runs the action again and again: first its first allocation finds no memory, then its second,
/// and so on until all do. Each time but the last it must end in std::bad_alloc, or else fail with
/// a message that speaks of memory. Gives the number of these times.
inline std::size_t expectEveryShortageIsSaid(std::function<bool()> const& action)
{
    for (std::size_t n = 1;; ++n) {
        MessageCapture const messages;
        EndOfAction end = EndOfAction::Success;
        bool hasStruck = false;
        {
            AllocationFault const fault(n);
            end = endOf(action);
            hasStruck = fault.hasStruck();
        }
        if (!hasStruck) {
            EXPECT_EQ(end, EndOfAction::Success) << messages.text();
            return n - 1;
        }
        EXPECT_NE(end, EndOfAction::Success) << "allocation " << n;
        if (end == EndOfAction::Failure) {
            EXPECT_TRUE(speaksOfMemory(messages.text()))
                << "allocation " << n << ": " << messages.text();
        }
    }
}

}
