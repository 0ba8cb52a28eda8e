// A loader add-on that behaves as the last word of the path tells, and writes beside the file, in
// PATH.begun, the number of its process and of each open descriptor before it does.

#include "varnox/Export.h"
#include "varnox/hostapi/VnxUtil.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <unistd.h>

namespace {

void reportBeginning(std::string const& path)
{
    std::ofstream report(path + ".part");
    report << ::getpid();
    for (auto const& entry : std::filesystem::directory_iterator("/proc/self/fd"))
        report << ' ' << entry.path().filename().string();
    report.close();
    std::filesystem::rename(path + ".part", path + ".begun");
}

/// Waits for PATH.go, then writes what opening PATH gave into PATH.opened: 0, or the error's
/// number. PATH.go and PATH.opened lie where the path of the data set leads at first.
void openLater(std::string const& path)
{
    std::filesystem::path const folder = std::filesystem::canonical(path).parent_path();
    while (!std::filesystem::exists(folder / "go"))
        ::usleep(1000);
    std::FILE* const file = std::fopen(path.c_str(), "rb");
    std::ofstream(folder / "opened.part") << (file != nullptr ? 0 : errno);
    if (file != nullptr)
        std::fclose(file);
    std::filesystem::rename(folder / "opened.part", folder / "opened");
}

// What is thrown reaches the client as a text.

[[noreturn]] void tellNumberOfOpenFiles()
{
    int last = 0;
    for (int next = 0; (next = ::dup(STDERR_FILENO)) >= 0;)
        last = next;
    rlimit core = {};
    ::getrlimit(RLIMIT_CORE, &core);
    throw std::runtime_error("last " + std::to_string(last) + ", core " +
                             std::to_string(core.rlim_max));
}

[[noreturn]] void tellEnvironment()
{
    std::string text;
    for (char* const* entry = environ; *entry != nullptr; ++entry)
        text += std::string(*entry) + "\n";
    throw std::runtime_error(text);
}

std::vector<char> ballast;

[[noreturn]] void spin()
{
    for (unsigned volatile i = 0;;)
        i = i + 1;
}

char load(StringList_s* instructions, unsigned long)
{
    long const count = VnxUtilStringListGetCount(instructions);
    std::string const path = VnxUtilStringListGetRawStringPtr(instructions, count);
    std::string const word = path.substr(path.find_last_of('/') + 1);
    reportBeginning(path);
    if (word == "aborts.hdqfs")
        std::abort();
    if (word == "exits.hdqfs")
        ::_exit(7);
    if (word == "spins.hdqfs")
        spin();
    if (word == "asks.hdqfs")
        VnxUtilDataSetGetNumZones();
    if (word == "grows.hdqfs")
        std::vector<char>(256 << 20, 1).swap(ballast);
    if (word == "opensMany.hdqfs")
        tellNumberOfOpenFiles();
    if (word == "environment.hdqfs")
        tellEnvironment();
    if (word == "opens.hdqfs")
        openLater(path);
    if (word == "floods.hdqfs")
        VnxUtilDialogErrMsg(std::string(64 << 20, 'x').c_str());
    if (word == "prints.hdqfs")
        std::puts("printed by the add-on");
    return word == "fails.hdqfs" ? 0 : 1;
}

}

extern "C" VNX_EXPORT void InitVnxAddOn113()
{
#ifdef VNX_ABORTS_AT_START
    std::abort();
#endif
#ifdef VNX_HANGS_AT_START
    spin();
#endif
    VnxUtilLockOn();
    VnxUtilAddOnRegister(113, "Behaving loader", "2026", "Tests");
    _ArgList_s* args = VnxUtilArgListAlloc();
    VnxUtilArgListAppendFunction(args, "LoaderCallback", reinterpret_cast<void const*>(load));
    VnxUtilArgListAppendString(args, "LoaderName", "Behaving");
    VnxUtilArgListAppendString(args, "FileNameExtensions", "hdqfs");
    VnxUtilImportAddLoaderX(args);
    VnxUtilArgListDealloc(&args);
    VnxUtilLockOff();
}
