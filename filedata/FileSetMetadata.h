#pragma once

#include "filedata/Numbers.h"
#include "filedata/ZoneMetadata.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace varnox::hdqio {

/// One logical data set made of a full file, or of a grid file and its solution files: each of
/// these holds the same zones for one more solution time, with variables of its own. All headers
/// are read at construction, a zone's own header when it is first asked for. Failures are
/// std::runtime_error, or std::bad_alloc; what led to them has gone to the message sink.
class FileSetMetadata
{
public:
    /// The first path is the grid or full file.
    explicit FileSetMetadata(std::vector<std::string> const& fileNames);
    FileSetMetadata(FileSetMetadata const&) = delete;
    FileSetMetadata& operator=(FileSetMetadata const&) = delete;
    ~FileSetMetadata();

    IJK subzoneMaxIJK() const;
    std::uint16_t subzoneMaxSize() const;
    std::uint32_t numFilesInFileSet() const;
    std::int32_t numFileSetVars() const;
    std::int32_t numGridOrFullFileVars() const;
    std::int32_t numFileSetZones() const;
    std::int32_t numGridOrFullFileZones() const;
    /// By zone of the set: the zone whose connectivity it shares, or -1.
    PlainDataVector<std::int32_t> const& zoneShareConnectivity() const;
    /// By variable of the set, then by zone: the zone whose values it shares, or -1.
    LightweightVector<PlainDataVector<std::int32_t>> const& varZoneShareVar() const;

    /// A zone of a file with its own header read. Both count from 0; throws std::out_of_range.
    ZoneMetadata& zoneMetadata(std::uint32_t fileIndex, int zone);

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

}
