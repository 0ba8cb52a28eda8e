#pragma once

#include <chrono>
#include <map>
#include <string>
#include <vector>

#include <sys/types.h>

namespace varnox::tests {

/// A program under test, with its standard output and error read to the end.
class Process
{
public:
    struct Setup
    {
        std::map<std::string, std::string> environment;
        std::string folder;           ///< to start in; empty for ours
        bool errorIsTerminal = false; ///< standard error is a terminal
        bool outputIsClosed = false;  ///< nobody reads standard output
        std::string outputPath;       ///< standard output is this file
    };

    explicit Process(std::vector<std::string> const& arguments);
    Process(std::vector<std::string> const& arguments, Setup const& setup);
    Process(Process const&) = delete;
    Process& operator=(Process const&) = delete;
    ~Process();

    pid_t pid() const { return m_pid; }
    void signal(int number) const;
    /// The exit status, or minus the signal. Reads what the program writes.
    int wait();
    std::string const& output() const { return m_output; }
    std::string const& error() const { return m_error; }

    /// True once neither the program nor anything that it has started is left, with their open
    /// descriptors.
    bool isAllGone(std::chrono::milliseconds within) const;

private:
    void readToTheEnd();

    pid_t m_pid = -1;
    int m_outputEnd = -1;
    int m_errorEnd = -1;
    int m_lifeline = -1; ///< Its other end is inherited by all that the program starts.
    std::string m_output;
    std::string m_error;
};

}
