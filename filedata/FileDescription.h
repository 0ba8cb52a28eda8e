#pragma once

#include "filedata/AltVnxUtil.h"
#include "filedata/Numbers.h"
#include "varnox/hostapi/VnxTypes.h"

#include <cstdint>

namespace varnox::hdqio {

/// The format versions at which files change.
constexpr std::uint32_t OLDEST_FILE_VERSION = 104;
constexpr std::uint32_t FIRST_VERSION_WITH_FILE_TYPE = 105;
constexpr std::uint32_t FIRST_VERSION_WITH_SECTIONS = 106;
constexpr std::uint32_t FIRST_VERSION_WITH_64_BIT_COUNTS = 232;
constexpr std::uint32_t NEWEST_FILE_VERSION = 232;

/// What a file says of itself in its first line, and its subzone limits.
class FileDescription
{
public:
    FileDescription() = default;
    FileDescription(std::uint32_t fileVersion, char isAscii, DataFileType_e dataFileType,
                    IJK const& maxIJKSubzoneSize, std::uint16_t maxFESubzoneSize);

    void invalidate();

    void setIsAscii(char isAscii) { m_isAscii = isAscii; }
    void setDataFileType(DataFileType_e type) { m_dataFileType = type; }
    void setMaxIJKSubzoneSize(IJK const& size) { m_maxIJKSubzoneSize = size; }
    void setMaxFESubzoneSize(std::uint16_t size) { m_maxFESubzoneSize = size; }
    void setFileVersion(std::uint32_t version) { m_fileVersion = version; }
    void setCodeRevision(std::uint32_t revision) { m_codeRevision = revision; }

    char isAscii() const { return m_isAscii; }
    DataFileType_e dataFileType() const { return m_dataFileType; }
    IJK const& getMaxIJKSubzoneSize() const { return m_maxIJKSubzoneSize; }
    std::uint16_t getMaxFESubzoneSize() const { return m_maxFESubzoneSize; }
    std::uint32_t getFileVersion() const { return m_fileVersion; }
    std::uint32_t getCodeRevision() const { return m_codeRevision; }

    static bool validIsAscii(char isAscii);
    static bool validDataFileType(DataFileType_e type);
    /// At most 256 items in a subzone.
    static bool validIJKSubzoneSize(IJK const& size);
    static bool validFESubzoneSize(std::uint16_t size);
    static bool validFileVersion(std::uint32_t version);

    /// The version that a writer should give the zones, all of them where the set is null: the
    /// newest as soon as an enabled zone is mixed.
    static std::uint32_t surveyZonesForFileVersion(AltVnxUtil const& host, Set_s* zones);

private:
    static constexpr std::int64_t UNSET_SIZE = 0x7FFFFFFFFFFFFFFF;

    char m_isAscii = -1;
    DataFileType_e m_dataFileType = static_cast<DataFileType_e>(255);
    IJK m_maxIJKSubzoneSize{UNSET_SIZE, UNSET_SIZE, UNSET_SIZE, UNSET_SIZE};
    std::uint16_t m_maxFESubzoneSize = 256;
    std::uint32_t m_fileVersion = 0;
    std::uint32_t m_codeRevision = 0;
};

}
