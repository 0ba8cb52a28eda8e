#include "tools/vnxconvert/Staging.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

#include <unistd.h>

namespace varnox::convert {

namespace fs = std::filesystem;

namespace {

Staging const* last = nullptr;

}

Staging::Staging(std::string const& target)
    : m_folder(target + ".part-" + std::to_string(::getpid()))
{
    std::error_code error;
    if (!fs::create_directory(m_folder, error))
        throw std::runtime_error("Cannot create " + m_folder + ": " +
                                 (error ? error.message() : "it is there already") + ".");
    last = this;
}

Staging::~Staging()
{
    last = nullptr;
    std::error_code ignored;
    fs::remove_all(m_folder, ignored);
}

std::string Staging::placeFor(std::string const& path)
{
    auto found = std::find_if(m_files.begin(), m_files.end(),
                              [&](File const& file) { return file.path == path; });
    if (found == m_files.end())
        found = m_files.insert(found,
                               {path, (fs::path(m_folder) / fs::path(path).filename()).string()});
    return found->place;
}

void Staging::publish()
{
    for (File const& file : m_files) {
        fs::file_status const there = fs::status(file.path);
        if (fs::is_directory(there))
            throw std::runtime_error("Cannot write " + file.path + ": it is a folder.");
        if (fs::exists(there) && !fs::is_regular_file(there))
            throw std::runtime_error("Cannot write " + file.path + ": it is no ordinary file.");
    }
    for (File const& file : m_files)
        fs::rename(file.place, file.path);
    m_files.clear();
}

void Staging::clear()
{
    for (auto const& entry : fs::directory_iterator(m_folder))
        fs::remove(entry.path());
    m_files.clear();
}

void Staging::removeAfterCrash() noexcept
{
    if (last == nullptr)
        return;
    for (File const& file : last->m_files)
        ::unlink(file.place.c_str());
    ::rmdir(last->m_folder.c_str());
}

}
