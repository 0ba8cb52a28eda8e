#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <sys/types.h>

namespace varnox::loadgen {

// What the kernel tells of other processes. Of one that has ended it tells nothing: 0 or empty.

struct ChildProcess
{
    pid_t process;
    bool isZombie;
};

std::vector<ChildProcess> childrenOf(pid_t parent);
/// All processes whose arguments hold this one.
std::vector<pid_t> processesWithArgument(std::string const& argument);
std::vector<std::string> argumentsOf(pid_t process);
/// Bytes in memory, counted page by page.
std::uint64_t residentBytes(pid_t process);
std::size_t numDescriptors(pid_t process);
/// How often a process has been given a processor.
std::uint64_t numTurns(pid_t process);

}
