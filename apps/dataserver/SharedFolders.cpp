#include "apps/dataserver/SharedFolders.h"

#include "socket/Descriptor.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>

namespace varnox::dataserver {

namespace fs = std::filesystem;
using socketutil::Descriptor;

namespace {

/// Where an ordinary program finds what it needs to run: libraries, and what they look up.
constexpr char const* SYSTEM_PATHS[] = {
    "/usr",
    "/lib",
    "/lib32",
    "/lib64",
    "/etc/ld.so.cache",
    "/etc/localtime",
    "/dev/null",
    "/dev/zero",
    "/dev/random",
    "/dev/urandom",
    "/proc/self",
    "/proc/cpuinfo",
    "/proc/meminfo",
    "/proc/stat",
    "/sys/devices/system/cpu",
    "/sys/devices/system/node",
};

constexpr std::uint64_t READ_FILE = LANDLOCK_ACCESS_FS_READ_FILE;
constexpr std::uint64_t READ_DIR = LANDLOCK_ACCESS_FS_READ_DIR;

bool isBelow(std::string const& path, std::string const& folder)
{
    return path == folder || folder == "/" || path.starts_with(folder + "/");
}

bool isMissingOrClosed(std::error_code const& error)
{
    return error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory ||
           error == std::errc::permission_denied;
}

/// Adds what lies below a path to what may be read. False if there is nothing of that name.
bool allow(int rules, std::string const& path)
{
    Descriptor const place(::open(path.c_str(), O_PATH | O_CLOEXEC));
    struct stat status = {};
    if (!place.isOpen() || ::fstat(place.get(), &status) != 0)
        return false;
    landlock_path_beneath_attr rule = {};
    rule.parent_fd = place.get();
    rule.allowed_access = S_ISDIR(status.st_mode) ? READ_FILE | READ_DIR : READ_FILE;
    return ::syscall(SYS_landlock_add_rule, rules, LANDLOCK_RULE_PATH_BENEATH, &rule, 0) == 0;
}

/// Where the loader of shared objects was told to look besides.
std::vector<std::string> libraryFolders()
{
    char const* const list = std::getenv("LD_LIBRARY_PATH");
    std::string const text = list != nullptr ? list : "";
    std::vector<std::string> result;
    for (std::size_t begin = 0; begin < text.size();) {
        std::size_t const end = std::min(text.find_first_of(":;", begin), text.size());
        if (text[begin] == '/')
            result.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return result;
}

[[noreturn]] void throwSystemError(std::string const& what)
{
    throw std::runtime_error(what + ": " + std::strerror(errno) + ".");
}

}

SharedFolders::SharedFolders(std::vector<std::string> const& paths)
{
    for (std::string const& path : paths) {
        std::error_code error;
        fs::path const resolved = fs::canonical(path, error);
        if (!error && !fs::is_directory(resolved, error) && !error)
            error = std::make_error_code(std::errc::not_a_directory);
        if (error)
            throw std::runtime_error("Can't share " + path + ": " + error.message() + ".");
        m_paths.push_back(resolved.string());
    }
}

bool SharedFolders::hold(std::string const& text) const
{
    if (areAll())
        return true;
    if (text.find('\0') != std::string::npos)
        return false; // those who open files would see another name than we do
    std::error_code error;
    fs::path path = fs::absolute(text, error);
    while (!error) {
        fs::path const resolved = fs::canonical(path, error);
        if (!error) {
            for (std::string const& folder : m_paths)
                if (isBelow(resolved.string(), folder))
                    return true;
            return false;
        }
        std::error_code ignored;
        bool const isDangling = fs::is_symlink(fs::symlink_status(path, ignored));
        fs::path const parent = path.parent_path();
        if (!isMissingOrClosed(error) || isDangling || path.filename() == ".." || parent == path)
            return false;
        path = parent;
        error.clear();
    }
    return false;
}

void SharedFolders::enter() const
{
    if (!hold(".") && ::chdir(m_paths.front().c_str()) != 0)
        throwSystemError("Can't share " + m_paths.front());
}

Fence fenceSupport()
{
    long const version =
        ::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    return version >= 1 ? Fence::Up : Fence::NotSupported;
}

Fence fenceReading(SharedFolders const& folders, std::string const& addonPath)
{
    if (folders.areAll() || fenceSupport() == Fence::NotSupported)
        return Fence::NotSupported;
    landlock_ruleset_attr attributes = {};
    attributes.handled_access_fs = READ_FILE | READ_DIR;
    Descriptor const rules(static_cast<int>(
        ::syscall(SYS_landlock_create_ruleset, &attributes, sizeof(attributes), 0)));
    if (!rules.isOpen())
        throwSystemError("Can't hold the session to its directories");
    for (char const* const path : SYSTEM_PATHS)
        allow(rules.get(), path);
    for (std::string const& path : libraryFolders())
        allow(rules.get(), path);
    allow(rules.get(), fs::path(addonPath).parent_path().string());
    for (std::string const& path : folders.paths())
        if (!allow(rules.get(), path))
            throwSystemError("Can't share " + path);
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        ::syscall(SYS_landlock_restrict_self, rules.get(), 0) != 0)
        throwSystemError("Can't hold the session to its directories");
    return Fence::Up;
}

}
