#include "filedata/FileDescription.h"

namespace varnox::hdqio {

FileDescription::FileDescription(std::uint32_t fileVersion, char isAscii,
                                 DataFileType_e dataFileType, IJK const& maxIJKSubzoneSize,
                                 std::uint16_t maxFESubzoneSize)
    : m_isAscii(isAscii), m_dataFileType(dataFileType), m_maxIJKSubzoneSize(maxIJKSubzoneSize),
      m_maxFESubzoneSize(maxFESubzoneSize), m_fileVersion(fileVersion)
{
}

void FileDescription::invalidate()
{
    *this = FileDescription();
}

bool FileDescription::validIsAscii(char isAscii)
{
    return static_cast<unsigned char>(isAscii) < 2;
}

bool FileDescription::validDataFileType(DataFileType_e type)
{
    return static_cast<unsigned int>(type) < 3;
}

bool FileDescription::validIJKSubzoneSize(IJK const& size)
{
    std::int64_t items = 0;
    return size.i != UNSET_SIZE && !__builtin_mul_overflow(size.ij, size.k, &items) && items <= 256;
}

bool FileDescription::validFESubzoneSize(std::uint16_t size)
{
    return size >= 1 && size <= 256;
}

bool FileDescription::validFileVersion(std::uint32_t version)
{
    return version >= OLDEST_FILE_VERSION;
}

std::uint32_t FileDescription::surveyZonesForFileVersion(AltVnxUtil const& host, Set_s* zones)
{
    int const numZones = host.dataSetIsAvailable() ? host.numZones() : 0;
    auto const isMixed = [&](long zone) {
        return zone <= numZones && host.zoneIsEnabled(static_cast<int>(zone)) &&
               host.zoneType(static_cast<int>(zone)) == ZoneType_FEMixed;
    };
    if (zones == nullptr) {
        for (long zone = 1; zone <= numZones; ++zone)
            if (isMixed(zone))
                return NEWEST_FILE_VERSION;
    } else {
        for (long zone = host.nextMember(zones, 0); zone != 0; zone = host.nextMember(zones, zone))
            if (isMixed(zone))
                return NEWEST_FILE_VERSION;
    }
    return FIRST_VERSION_WITH_FILE_TYPE;
}

}
