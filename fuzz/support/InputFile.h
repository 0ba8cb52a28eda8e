#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace varnox::fuzz {

/// One file in memory that serves for input after input.
class InputFile
{
public:
    InputFile();
    InputFile(InputFile const&) = delete;
    InputFile& operator=(InputFile const&) = delete;
    ~InputFile();

    void set(std::uint8_t const* data, std::size_t size);
    void set(std::string const& bytes)
    {
        set(reinterpret_cast<std::uint8_t const*>(bytes.data()), bytes.size());
    }
    void cutTo(std::size_t size);
    std::string const& path() const { return m_path; }

private:
    int m_descriptor;
    std::string m_path;
};

}
