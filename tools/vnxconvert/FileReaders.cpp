#include "tools/vnxconvert/FileReaders.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string_view>

#include <unistd.h>

namespace varnox::convert {

namespace {

constexpr std::array<std::string_view, 12> VTK_EXTENSIONS{".vtu",  ".vts",  ".vti",  ".vtr",
                                                          ".vtp",  ".pvtu", ".pvts", ".pvti",
                                                          ".pvtr", ".pvtp", ".vtm",  ".vtk"};

bool isVtk(std::string const& extension)
{
    return std::find(VTK_EXTENSIONS.begin(), VTK_EXTENSIONS.end(), extension) !=
           VTK_EXTENSIONS.end();
}

}

std::string extensionOf(std::string const& path)
{
    std::string result = std::filesystem::path(path).extension().string();
    for (char& c : result)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return result;
}

bool isReadable(std::string const& path)
{
    std::string const extension = extensionOf(path);
    return isVtk(extension) || extension == ".cgns";
}

void failReading(std::string const& path, std::string const& reason, std::string const& advice)
{
    throw std::runtime_error("Cannot read " + path + ": " + reason + "\n" + advice);
}

namespace {

void requireReadable(std::string const& path)
{
    std::error_code error;
    if (std::filesystem::is_directory(path, error))
        failReading(path, "it is a folder.", "Name the files in it.");
    if (::access(path.c_str(), R_OK) != 0)
        failReading(path, std::string(std::strerror(errno)) + ".",
                    "Check the name, and that you may read the file.");
    // Readers wait for what comes out of a pipe, and go back in a file.
    if (!std::filesystem::is_regular_file(path, error))
        failReading(path, "it is no ordinary file.", "Make a file of what comes out of it.");
}

}

std::vector<double> timesIn(std::string const& path)
{
    if (extensionOf(path) != ".cgns")
        return {};
    requireReadable(path);
    return timesInCgnsFile(path);
}

std::uint64_t memoryOfMachine()
{
    return static_cast<std::uint64_t>(::sysconf(_SC_PHYS_PAGES)) *
           static_cast<std::uint64_t>(::sysconf(_SC_PAGE_SIZE));
}

std::vector<Grid> readFile(std::string const& path, ReadOptions const& options)
{
    requireReadable(path);
    std::string const extension = extensionOf(path);
    if (isVtk(extension))
        return readVtkFile(path, options);
    if (extension == ".cgns")
        return readCgnsFile(path, options);
    failReading(path, "files with the extension '" + extension + "' are of no known format.",
                "Known are .vtu .vts .vti .vtr .vtp, their parallel forms .pvtu .pvts .pvti .pvtr "
                ".pvtp, .vtm, .vtk, .cgns, and series .pvd .series.");
}

}
