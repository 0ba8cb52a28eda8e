#pragma once

#include "filedata/FileIOStreamInterface.h"

#include <cstdio>

namespace varnox::hdqio {

/// A file through the C stream library. Opens nothing by itself; closes what is still open in the
/// end.
class FileIOStream : public FileIOStreamInterface
{
public:
    explicit FileIOStream(std::string const& fileName);
    FileIOStream(FileIOStream const&) = delete;
    FileIOStream& operator=(FileIOStream const&) = delete;
    ~FileIOStream() override;

    char open(std::string const& mode);
    /// Null while closed.
    std::FILE* handle() const { return m_file; }

    char isOpen() const override;
    char close(bool keepFile) override;
    std::uint64_t fileLoc() override;
    char seekToFileStart() override;
    char seekToFileLoc(std::uint64_t loc) override;
    char seekToFileEnd() override;
    std::string const& fileName() const override;
    void setIsAscii(char isAscii) override;
    char isAscii() const override;
    void setDataFileType(DataFileType_e type) override;
    DataFileType_e dataFileType() const override;
    IOStatistics* statistics() override;

private:
    IOStatistics m_statistics{};
    std::FILE* m_file = nullptr;
    std::string m_fileName;
    char m_isAscii = 0;
    DataFileType_e m_dataFileType = DataFileType_Full;
};

}
