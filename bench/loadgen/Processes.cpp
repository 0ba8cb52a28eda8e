#include "bench/loadgen/Processes.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>

namespace varnox::loadgen {

namespace {

namespace fs = std::filesystem;

fs::path folderOf(pid_t process)
{
    return fs::path("/proc") / std::to_string(process);
}

std::vector<pid_t> allProcesses()
{
    std::vector<pid_t> result;
    for (auto const& entry : fs::directory_iterator("/proc")) {
        std::string const name = entry.path().filename();
        pid_t number = 0;
        auto const [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
        if (error == std::errc() && end == name.data() + name.size())
            result.push_back(number);
    }
    return result;
}

std::string contents(fs::path const& path)
{
    std::ifstream const file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf(); // stops without a word where the process ends meanwhile
    return text.str();
}

}

std::vector<ChildProcess> childrenOf(pid_t parent)
{
    std::vector<ChildProcess> result;
    for (pid_t const process : allProcesses()) {
        // "NUMBER (NAME) STATE PARENT ...", and the name may hold anything.
        std::string const stat = contents(folderOf(process) / "stat");
        std::size_t const nameEnd = stat.rfind(')');
        if (nameEnd == std::string::npos)
            continue;
        std::istringstream rest(stat.substr(nameEnd + 1));
        char state = 0;
        pid_t itsParent = 0;
        if (rest >> state >> itsParent && itsParent == parent)
            result.push_back({process, state == 'Z'});
    }
    return result;
}

std::vector<std::string> argumentsOf(pid_t process)
{
    std::istringstream words(contents(folderOf(process) / "cmdline"));
    std::vector<std::string> result;
    for (std::string word; std::getline(words, word, '\0');)
        result.push_back(word);
    return result;
}

std::vector<pid_t> processesWithArgument(std::string const& argument)
{
    std::vector<pid_t> result;
    for (pid_t const process : allProcesses()) {
        auto const arguments = argumentsOf(process);
        if (std::find(arguments.begin(), arguments.end(), argument) != arguments.end())
            result.push_back(process);
    }
    return result;
}

std::uint64_t residentBytes(pid_t process)
{
    std::istringstream lines(contents(folderOf(process) / "smaps_rollup"));
    for (std::string word; lines >> word;)
        if (std::uint64_t kilobytes = 0; word == "Rss:" && lines >> kilobytes)
            return kilobytes * 1024;
    return 0;
}

std::size_t numDescriptors(pid_t process)
{
    std::error_code error;
    fs::directory_iterator const entries(folderOf(process) / "fd", error);
    return error ? 0 : static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

std::uint64_t numTurns(pid_t process)
{
    std::istringstream numbers(contents(folderOf(process) / "schedstat"));
    std::uint64_t ran = 0;
    std::uint64_t waited = 0;
    std::uint64_t turns = 0;
    numbers >> ran >> waited >> turns;
    return turns;
}

}
