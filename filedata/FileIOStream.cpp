#include "filedata/FileIOStream.h"

#include "command/FileSystem.h"

#include <limits>

namespace varnox::hdqio {

FileIOStream::FileIOStream(std::string const& fileName) : m_fileName(fileName)
{
}

FileIOStream::~FileIOStream()
{
    if (m_file != nullptr)
        std::fclose(m_file);
}

char FileIOStream::open(std::string const& mode)
{
    if (m_file != nullptr)
        std::fclose(m_file);
    m_file = filesystem::fileOpen(m_fileName, mode);
    return isOpen();
}

char FileIOStream::isOpen() const
{
    return m_file != nullptr;
}

char FileIOStream::close(bool keepFile)
{
    if (m_file == nullptr)
        return 0;
    std::fclose(m_file);
    m_file = nullptr;
    return keepFile || filesystem::fileRemove(m_fileName) == 0;
}

std::uint64_t FileIOStream::fileLoc()
{
    return m_file != nullptr ? static_cast<std::uint64_t>(::ftello(m_file)) : 0;
}

char FileIOStream::seekToFileStart()
{
    return seekToFileLoc(0);
}

char FileIOStream::seekToFileLoc(std::uint64_t loc)
{
    if (m_file != nullptr)
        std::clearerr(m_file); // a read that failed says nothing about another place
    return m_file != nullptr &&
           loc <= static_cast<std::uint64_t>(std::numeric_limits<off_t>::max()) &&
           ::fseeko(m_file, static_cast<off_t>(loc), SEEK_SET) == 0;
}

char FileIOStream::seekToFileEnd()
{
    return m_file != nullptr && ::fseeko(m_file, 0, SEEK_END) == 0;
}

std::string const& FileIOStream::fileName() const
{
    return m_fileName;
}

void FileIOStream::setIsAscii(char isAscii)
{
    m_isAscii = isAscii;
}

char FileIOStream::isAscii() const
{
    return m_isAscii;
}

void FileIOStream::setDataFileType(DataFileType_e type)
{
    m_dataFileType = type;
}

DataFileType_e FileIOStream::dataFileType() const
{
    return m_dataFileType;
}

IOStatistics* FileIOStream::statistics()
{
    return &m_statistics;
}

}
