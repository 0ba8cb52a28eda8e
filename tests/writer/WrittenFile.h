#pragma once

#include "addons/hdqfs/DataFile.h"
#include "tools/vnxinfo/Check.h"
#include "varnox/hdqfswriter/FileWriter.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>

namespace varnox::hdqfswriter::tests {

/// A folder that is gone at the end of the test.
class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        std::string path = (std::filesystem::temp_directory_path() / "vnxwriterXXXXXX").string();
        if (::mkdtemp(path.data()) == nullptr)
            throw std::runtime_error("no temporary folder");
        m_path = path;
    }
    TemporaryFolder(TemporaryFolder const&) = delete;
    TemporaryFolder& operator=(TemporaryFolder const&) = delete;
    ~TemporaryFolder() { std::filesystem::remove_all(m_path); }

    std::string file(std::string const& name) const { return (m_path / name).string(); }
    std::size_t numFiles() const
    {
        std::size_t result = 0;
        for ([[maybe_unused]] auto const& entry : std::filesystem::directory_iterator(m_path))
            ++result;
        return result;
    }
    std::filesystem::path const& path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

inline std::string contentsOf(std::string const& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// A file of a data set, in a folder of its own. Whatever is written must be found without a fault.
class WrittenFile
{
public:
    explicit WrittenFile(DataSet const& dataSet, Options const& options = {})
        : m_path(m_folder.file("test.hdqfs")), summary(writeFile(m_path, dataSet, options))
    {
        tools::Faults const faults = tools::findFaults(m_path);
        for (tools::Fault const& fault : faults.kept())
            ADD_FAILURE() << "vnxinfo --check: " << fault.place << ": " << fault.text;
    }

    std::string const& path() const { return m_path; }
    std::uint64_t size() const { return std::filesystem::file_size(m_path); }
    std::shared_ptr<hdqfsloader::DataFile> open() const
    {
        return std::make_shared<hdqfsloader::DataFile>(m_path);
    }

private:
    TemporaryFolder m_folder;
    std::string m_path;

public:
    Summary const summary;
};

}
