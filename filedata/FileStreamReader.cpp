#include "filedata/FileStreamReader.h"

#include "filedata/Messages.h"

#include <cstdio>

#include <sys/stat.h>

namespace varnox::hdqio {

namespace {

/// Opening a pipe would wait for its writer, and a folder opens but can't be read.
bool isRegularFile(std::string const& path)
{
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

/// A read that fails ends a number like the end of the file does, perhaps in the middle of it.
int unlessCut(int numScanned, std::FILE* stream)
{
    return std::ferror(stream) != 0 ? EOF : numScanned;
}

}

std::uint64_t bytesLeft(FileReaderInterface& reader)
{
    std::uint64_t const loc = reader.fileLoc();
    if (!reader.seekToFileEnd())
        return 0;
    std::uint64_t const end = reader.fileLoc();
    return reader.seekToFileLoc(loc) && end > loc ? end - loc : 0;
}

FileStreamReader::FileStreamReader(std::string const& fileName) : m_stream(fileName)
{
}

FileStreamReader::~FileStreamReader()
{
    m_stream.close(true);
}

char FileStreamReader::open()
{
    if (!isRegularFile(fileName()) || !m_stream.open("rb"))
        return errorMessage("Cannot read file %s", fileName().c_str());
    return 1;
}

char FileStreamReader::seekToFileLoc(std::uint64_t loc)
{
    return m_stream.seekToFileLoc(loc) || errorMessage("Cannot seek to location %lu.", loc);
}

std::size_t FileStreamReader::fread(void* buffer, std::size_t size, std::size_t count)
{
    return std::fread(buffer, size, count, m_stream.handle());
}

char* FileStreamReader::fgets(char* buffer, int size)
{
    return std::fgets(buffer, size, m_stream.handle());
}

int FileStreamReader::feof()
{
    return std::feof(m_stream.handle());
}

int FileStreamReader::getc()
{
    return ::getc_unlocked(m_stream.handle()); // a reader belongs to one thread at a time
}

int FileStreamReader::ungetc(int c)
{
    return std::ungetc(c, m_stream.handle());
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

int FileStreamReader::fscanf(char const* format, void* a)
{
    return unlessCut(std::fscanf(m_stream.handle(), format, a), m_stream.handle());
}

int FileStreamReader::fscanf(char const* format, void* a, void* b)
{
    return unlessCut(std::fscanf(m_stream.handle(), format, a, b), m_stream.handle());
}

int FileStreamReader::fscanf(char const* format, void* a, void* b, void* c)
{
    return unlessCut(std::fscanf(m_stream.handle(), format, a, b, c), m_stream.handle());
}

#pragma GCC diagnostic pop

}
