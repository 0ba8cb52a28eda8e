#pragma once

#include "filedata/FileStreamReader.h"
#include "tools/vnxinfo/Place.h"

#include <cstdint>
#include <string>
#include <vector>

namespace varnox::tools {

/// Bytes of a file, from begin up to but excluding end.
struct Extent
{
    std::uint64_t begin;
    std::uint64_t end;
    Place place;
};

/// Reads a file and, while it watches, keeps which of its bytes have been read, and for what. Blank
/// space behind a text belongs to the text.
class WatchedReader : public hdqio::FileReaderInterface
{
public:
    explicit WatchedReader(std::string const& path) : m_file(path) {}

    /// What is read from here on is for this place.
    void watch(Place const& place);
    void unwatch();
    /// In the order of their reading, adjoining ones of a kind joined.
    std::vector<Extent> const& extents() const { return m_extents; }
    /// Bytes read while it watched, each time that they were.
    std::uint64_t numWatched() const { return m_numWatched; }
    /// To read unwatched.
    hdqio::FileStreamReader& file() { return m_file; }

    char isOpen() const override { return m_file.isOpen(); }
    char close(bool keepFile) override { return m_file.close(keepFile); }
    std::uint64_t fileLoc() override { return m_file.fileLoc(); }
    char seekToFileStart() override;
    char seekToFileLoc(std::uint64_t loc) override;
    char seekToFileEnd() override;
    std::string const& fileName() const override { return m_file.fileName(); }
    void setIsAscii(char isAscii) override { m_file.setIsAscii(isAscii); }
    char isAscii() const override { return m_file.isAscii(); }
    void setDataFileType(DataFileType_e type) override { m_file.setDataFileType(type); }
    DataFileType_e dataFileType() const override { return m_file.dataFileType(); }
    hdqio::IOStatistics* statistics() override { return m_file.statistics(); }
    char open() override { return m_file.open(); }
    std::size_t fread(void* buffer, std::size_t size, std::size_t count) override
    {
        return m_file.fread(buffer, size, count);
    }
    char* fgets(char* buffer, int size) override { return m_file.fgets(buffer, size); }
    int feof() override { return m_file.feof(); }
    int getc() override { return m_file.getc(); }
    int ungetc(int c) override { return m_file.ungetc(c); }
    int fscanf(char const* format, void* a) override { return m_file.fscanf(format, a); }
    int fscanf(char const* format, void* a, void* b) override
    {
        return m_file.fscanf(format, a, b);
    }
    int fscanf(char const* format, void* a, void* b, void* c) override
    {
        return m_file.fscanf(format, a, b, c);
    }

private:
    /// Keeps what has been read since the last seek.
    void keep();
    void restart() { m_begin = m_file.fileLoc(); }

    std::uint64_t m_numWatched = 0;
    hdqio::FileStreamReader m_file;
    std::vector<Extent> m_extents;
    Place m_place{""};
    std::uint64_t m_begin = 0;
    bool m_isWatching = false;
};

}
