#include "fuzz/support/InputFile.h"

#include "fuzz/support/Entry.h"

#include <sys/mman.h>
#include <unistd.h>

namespace varnox::fuzz {

InputFile::InputFile()
    : m_descriptor(::memfd_create("input", MFD_CLOEXEC)),
      m_path("/proc/self/fd/" + std::to_string(m_descriptor))
{
    expect(m_descriptor >= 0, "no file in memory");
}

InputFile::~InputFile()
{
    ::close(m_descriptor);
}

void InputFile::set(std::uint8_t const* data, std::size_t size)
{
    cutTo(0);
    for (std::size_t done = 0; done < size;) {
        ssize_t const written =
            ::pwrite(m_descriptor, data + done, size - done, static_cast<off_t>(done));
        expect(written > 0, "the file in memory can't be written");
        done += static_cast<std::size_t>(written);
    }
}

void InputFile::cutTo(std::size_t size)
{
    expect(::ftruncate(m_descriptor, static_cast<off_t>(size)) == 0,
           "the file in memory can't be cut");
}

}
