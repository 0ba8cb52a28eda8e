#pragma once

#include "filedata/FileWriterInterface.h"

#include <cstdint>
#include <string>
#include <vector>

namespace varnox::hdqfswriter {

/// A file in the making, which appears under its name when it is committed: until then it stands
/// beside it under another one, and it goes if the object goes. Every failure is a
/// std::runtime_error that names the file and the reason.
class OutputFile final : public hdqio::FileWriterInterface
{
public:
    OutputFile(std::string path, bool isAscii);
    OutputFile(OutputFile const&) = delete;
    OutputFile& operator=(OutputFile const&) = delete;
    ~OutputFile() override;

    /// Brings everything to the disk and gives the file its name. Nothing can be written after.
    void commit();
    /// Replaces bytes that have been written before.
    void overwrite(std::uint64_t fileLoc, void const* bytes, std::size_t numBytes);

    char open() override;
    std::size_t fwrite(void const* buffer, std::size_t size, std::size_t count) override;
    int fprintf(char const* format, ...) override __attribute__((format(printf, 2, 3)));

    char isOpen() const override { return m_descriptor >= 0; }
    /// Gives the file up: without its name there is nothing to keep.
    char close(bool keepFile) override;
    std::uint64_t fileLoc() override { return m_written + m_buffer.size(); }
    /// A file grows at its end only; true if it stands there already.
    char seekToFileStart() override { return seekToFileLoc(0); }
    char seekToFileLoc(std::uint64_t loc) override { return loc == fileLoc(); }
    char seekToFileEnd() override { return 1; }
    std::string const& fileName() const override { return m_path; }
    void setIsAscii(char isAscii) override { m_isAscii = isAscii; }
    char isAscii() const override { return m_isAscii; }
    void setDataFileType(DataFileType_e type) override { m_type = type; }
    DataFileType_e dataFileType() const override { return m_type; }
    hdqio::IOStatistics* statistics() override { return &m_statistics; }

private:
    [[noreturn]] void fail(char const* what) const;
    void flush();
    void writeOut(void const* bytes, std::size_t numBytes);
    void discard();

    std::string m_path;
    std::string m_target; ///< Where a link of that name leads to.
    std::string m_temporaryPath;
    int m_descriptor = -1;
    std::vector<char> m_buffer;
    std::uint64_t m_written = 0;
    char m_isAscii;
    DataFileType_e m_type = DataFileType_Full;
    hdqio::IOStatistics m_statistics{};
};

}
