#include "tools/vnxconvert/Staging.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

#include <unistd.h>

namespace varnox::convert {

namespace fs = std::filesystem;

Staging::Staging(std::string const& target)
    : m_folder(target + ".part-" + std::to_string(::getpid()))
{
    std::error_code error;
    if (!fs::create_directory(m_folder, error))
        throw std::runtime_error("Cannot create " + m_folder + ": " +
                                 (error ? error.message() : "it is there already") + ".");
}

Staging::~Staging()
{
    std::error_code ignored;
    fs::remove_all(m_folder, ignored);
}

std::string Staging::placeFor(std::string const& path)
{
    if (std::find(m_paths.begin(), m_paths.end(), path) == m_paths.end())
        m_paths.push_back(path);
    return (fs::path(m_folder) / fs::path(path).filename()).string();
}

void Staging::publish()
{
    for (std::string const& path : m_paths)
        if (fs::is_directory(path))
            throw std::runtime_error("Cannot write " + path + ": it is a folder.");
    for (std::string const& path : m_paths)
        fs::rename(placeFor(path), path);
    m_paths.clear();
}

void Staging::clear()
{
    for (auto const& entry : fs::directory_iterator(m_folder))
        fs::remove(entry.path());
    m_paths.clear();
}

}
