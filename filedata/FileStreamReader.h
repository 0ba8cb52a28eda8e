#pragma once

#include "filedata/FileIOStream.h"
#include "filedata/FileReaderInterface.h"

namespace varnox::hdqio {

/// Reads a file through the C stream library; never deletes it. Only regular files can be opened.
class FileStreamReader : public FileReaderInterface
{
public:
    explicit FileStreamReader(std::string const& fileName);
    ~FileStreamReader() override;

    char isOpen() const override { return m_stream.isOpen(); }
    char close(bool keepFile) override { return m_stream.close(keepFile); }
    std::uint64_t fileLoc() override { return m_stream.fileLoc(); }
    char seekToFileStart() override { return m_stream.seekToFileStart(); }
    char seekToFileLoc(std::uint64_t loc) override;
    char seekToFileEnd() override { return m_stream.seekToFileEnd(); }
    std::string const& fileName() const override { return m_stream.fileName(); }
    void setIsAscii(char isAscii) override { m_stream.setIsAscii(isAscii); }
    char isAscii() const override { return m_stream.isAscii(); }
    void setDataFileType(DataFileType_e type) override { m_stream.setDataFileType(type); }
    DataFileType_e dataFileType() const override { return m_stream.dataFileType(); }
    IOStatistics* statistics() override { return m_stream.statistics(); }

    /// Reports "Cannot read file %s" on failure.
    char open() override;
    std::size_t fread(void* buffer, std::size_t size, std::size_t count) override;
    char* fgets(char* buffer, int size) override;
    int feof() override;
    int getc() override;
    int ungetc(int c) override;
    int fscanf(char const* format, void* a) override;
    int fscanf(char const* format, void* a, void* b) override;
    int fscanf(char const* format, void* a, void* b, void* c) override;

    /// For reading many single characters. Null while closed.
    std::FILE* handle() const { return m_stream.handle(); }

private:
    FileIOStream m_stream;
};

}
