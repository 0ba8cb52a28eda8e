#include "fuzz/support/SessionRun.h"

#include "fuzz/support/Entry.h"
#include "tests/support/RecordingSocket.h"
#include "varnox/hdqremote/AddonProxy.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string_view>

namespace varnox::fuzz {

namespace {

namespace fs = std::filesystem;

constexpr char PREFIX[] = "data/";

class SessionSocket : public tests::RecordingSocket
{
public:
    SessionSocket(std::string const& bytes, std::string folder)
        : RecordingSocket(bytes), m_folder(std::move(folder))
    {
    }

    std::string receiveString() override { return placed(RecordingSocket::receiveString()); }

private:
    /// Each line names a file of a list.
    std::string placed(std::string const& text) const
    {
        std::string result;
        for (std::size_t begin = 0; begin <= text.size();) {
            std::size_t const end = std::min(text.find('\n', begin), text.size());
            std::string_view line(text.data() + begin, end - begin);
            if (line.starts_with(PREFIX)) {
                result += m_folder + "/";
                line.remove_prefix(sizeof PREFIX - 1);
            }
            result += line;
            if (end != text.size())
                result += '\n';
            begin = end + 1;
        }
        return result;
    }

    std::string m_folder;
};

/// What the library writes to standard output doesn't appear.
class Silence
{
public:
    Silence() : m_out(std::cout.rdbuf(nullptr)) {}
    Silence(Silence const&) = delete;
    Silence& operator=(Silence const&) = delete;
    ~Silence()
    {
        std::cout.rdbuf(m_out);
        std::cout.clear();
    }

private:
    std::streambuf* m_out;
};

}

SampleFolder::SampleFolder()
{
    std::string path = (fs::temp_directory_path() / "vnxfuzzXXXXXX").string();
    expect(::mkdtemp(path.data()) != nullptr, "no folder");
    m_path = path;
    fs::path const seeds = fs::path(VNX_SOURCE_DIR) / "fuzz/corpus/file";
    for (char const* const name : SAMPLES)
        fs::copy_file(seeds / (std::string("seed-") + name), m_path / fs::path(name));
    // Their names tell an add-on of tests what to do.
    for (char const* const name : {"everything.hdqfs", "throws.hdqfs"})
        fs::copy_file(seeds / "seed-ordered105", m_path / fs::path(name));
}

SampleFolder::~SampleFolder()
{
    fs::remove_all(m_path);
}

std::string const& sampleFolder()
{
    static SampleFolder const folder;
    return folder.path();
}

bool serve(std::string const& addon, std::uint8_t const* data, std::size_t size)
{
    Silence const silence;
    SessionSocket socket(std::string(reinterpret_cast<char const*>(data), size), sampleFolder());
    try {
        hdqremote::AddonProxy proxy(addon, socket);
        proxy.serviceCommandsUntil("close data server");
        return true;
    } catch (std::exception const&) {
        return false; // however the session ends, the process goes on
    }
}

}
