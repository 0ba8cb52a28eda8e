#include "writer/OutputFile.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace varnox::hdqfswriter {

namespace {

constexpr std::size_t BUFFER_SIZE = std::size_t{1} << 20;
/// The kernel takes a little less than 2 GiB at once.
constexpr std::size_t LARGEST_WRITE = std::size_t{1} << 30;

/// A name beside the file that nobody else uses. Rights are those that the user's mask leaves.
int createBeside(std::string const& path, std::string& temporaryPath)
{
    for (unsigned number = 0;; ++number) {
        temporaryPath = path + ".part-" + std::to_string(::getpid()) + "-" + std::to_string(number);
        int const descriptor =
            ::open(temporaryPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (descriptor >= 0 || errno != EEXIST)
            return descriptor;
    }
}

[[noreturn]] void refuse(std::string const& path, char const* why)
{
    throw std::runtime_error("Cannot create " + path + ": " + why + ".");
}

/// A link stays, and what it leads to is replaced.
std::string targetOf(std::string const& path)
{
    struct ::stat status
    {
    };
    if (::lstat(path.c_str(), &status) != 0 || !S_ISLNK(status.st_mode))
        return path;
    std::unique_ptr<char, decltype(&std::free)> const target(::realpath(path.c_str(), nullptr),
                                                             &std::free);
    if (target == nullptr)
        refuse(path, errno == ENOENT ? "it is a link that leads nowhere" : std::strerror(errno));
    return target.get();
}

/// Renaming asks neither what there is under a name nor whether it may be written.
void requireReplaceable(std::string const& path)
{
    struct ::stat existing
    {
    };
    if (::stat(path.c_str(), &existing) != 0)
        return;
    if (S_ISDIR(existing.st_mode))
        refuse(path, std::strerror(EISDIR));
    if (!S_ISREG(existing.st_mode))
        refuse(path, "there is something of that name that is no ordinary file");
    if (::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0)
        refuse(path, std::strerror(errno));
}

std::string folderOf(std::string const& path)
{
    std::size_t const slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

}

OutputFile::OutputFile(std::string path, bool isAscii)
    : m_path(std::move(path)), m_isAscii(isAscii ? 1 : 0)
{
    if (m_path.empty())
        throw std::runtime_error("A file needs a name.");
    if (m_path.find('\0') != std::string::npos)
        throw std::runtime_error("The name of a file can't have a zero byte.");
    m_target = targetOf(m_path);
    m_buffer.reserve(BUFFER_SIZE);
    if (!open())
        fail("create");
}

OutputFile::~OutputFile()
{
    discard();
}

void OutputFile::fail(char const* what) const
{
    throw std::runtime_error("Cannot " + std::string(what) + " " + m_path + ": " +
                             std::strerror(errno) + ".");
}

char OutputFile::open()
{
    if (m_descriptor >= 0)
        return 1;
    requireReplaceable(m_path);
    std::string temporaryPath;
    m_descriptor = createBeside(m_target, temporaryPath);
    if (m_descriptor >= 0)
        m_temporaryPath = std::move(temporaryPath);
    return isOpen();
}

char OutputFile::close(bool)
{
    bool const wasOpen = m_descriptor >= 0;
    discard();
    return wasOpen;
}

void OutputFile::discard()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
    m_descriptor = -1;
    if (!m_temporaryPath.empty())
        ::unlink(m_temporaryPath.c_str());
    m_temporaryPath.clear();
}

void OutputFile::writeOut(void const* bytes, std::size_t numBytes)
{
    auto const* next = static_cast<char const*>(bytes);
    while (numBytes != 0) {
        ssize_t const count =
            ::write(m_descriptor, next, numBytes < LARGEST_WRITE ? numBytes : LARGEST_WRITE);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            fail("write");
        next += count;
        numBytes -= static_cast<std::size_t>(count);
        m_written += static_cast<std::uint64_t>(count);
    }
}

void OutputFile::flush()
{
    writeOut(m_buffer.data(), m_buffer.size());
    m_buffer.clear();
}

std::size_t OutputFile::fwrite(void const* buffer, std::size_t size, std::size_t count)
{
    std::size_t const numBytes = size * count;
    if (numBytes > BUFFER_SIZE - m_buffer.size())
        flush();
    if (numBytes >= BUFFER_SIZE) {
        writeOut(buffer, numBytes);
    } else {
        auto const* const bytes = static_cast<char const*>(buffer);
        m_buffer.insert(m_buffer.end(), bytes, bytes + numBytes);
    }
    return count;
}

int OutputFile::fprintf(char const* format, ...)
{
    char text[512];
    std::va_list arguments;
    va_start(arguments, format);
    int const length = std::vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    if (length < 0 || static_cast<std::size_t>(length) >= sizeof(text))
        throw std::runtime_error("Cannot write " + m_path + ": a description is too long.");
    fwrite(text, 1, static_cast<std::size_t>(length));
    return length;
}

void OutputFile::overwrite(std::uint64_t fileLoc, void const* bytes, std::size_t numBytes)
{
    flush();
    auto const* next = static_cast<char const*>(bytes);
    while (numBytes != 0) {
        ssize_t const count = ::pwrite(m_descriptor, next, numBytes, static_cast<off_t>(fileLoc));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            fail("write");
        next += count;
        fileLoc += static_cast<std::uint64_t>(count);
        numBytes -= static_cast<std::size_t>(count);
    }
}

namespace {

void syncFolder(std::string const& path)
{
    // The file is complete and has its name; where a folder can't be synced there is no more to do.
    int const folder = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return;
    ::fsync(folder);
    ::close(folder);
}

}

void OutputFile::commit()
{
    std::string const folder = folderOf(m_target); // nothing may throw when the file has its name
    flush();
    while (::fsync(m_descriptor) != 0)
        if (errno != EINTR)
            fail("write");
    int const descriptor = m_descriptor;
    m_descriptor = -1;
    if (::close(descriptor) != 0 && errno != EINTR) // it is closed then, and all is on the disk
        fail("write");
    if (::rename(m_temporaryPath.c_str(), m_target.c_str()) != 0)
        fail("write");
    m_temporaryPath.clear();
    syncFolder(folder);
}

}
