#include "filedata/HeaderBudget.h"

#include "filedata/Messages.h"
#include "filedata/ZoneMetadata.h"

namespace varnox::hdqio {

namespace {

/// So much is little, whatever the file's size is.
constexpr std::uint64_t FEW_BYTES = std::uint64_t{4} << 20;

template <typename T>
std::uint64_t bytesOf(LightweightVector<T> const& array)
{
    return array.size() * sizeof(T);
}

template <typename T>
std::uint64_t bytesOf(LightweightVector<LightweightVector<T>> const& arrays)
{
    std::uint64_t result = 0;
    for (auto const& array : arrays)
        result += bytesOf(array);
    return result;
}

}

char HeaderBudget::take(FileReaderInterface& reader, std::uint64_t byteCount)
{
    m_taken += byteCount;
    m_isSpent = m_isSpent ||
                (m_taken > FEW_BYTES && (!reader.seekToFileStart() || m_taken > bytesLeft(reader)));
    return requireMore(reader.fileName());
}

char HeaderBudget::requireMore(std::string const& fileName) const
{
    return !m_isSpent ||
           errorMessage("File %s is too short for the headers of its zones and partitions.",
                        fileName.c_str());
}

std::uint64_t bytesSince(FileReaderInterface& reader, std::uint64_t start)
{
    constexpr auto UNKNOWN = static_cast<std::uint64_t>(-1);
    std::uint64_t const end = reader.fileLoc();
    return end != UNKNOWN && end > start ? end - start : 0;
}

std::uint64_t bytesInFile(PartitionMetadata const& partition)
{
    return partition.tagListBytes + bytesOf(partition.cszConnFileLocs) +
           bytesOf(partition.nszConnFileLocs) + bytesOf(partition.refPartitions) +
           bytesOf(partition.cszNumRefNszs) + bytesOf(partition.nszNumRefCszs) +
           bytesOf(partition.cszInclPtnBitArray) + bytesOf(partition.nszInclPtnBitArray) +
           bytesOf(partition.varFileLocs);
}

std::uint64_t bytesInFile(ZoneMetadata const& zone)
{
    std::uint64_t result = zone.tagListBytes;
    if (!zone.ptnFileLocs.isNull())
        result += zone.numPartitions * (sizeof(std::uint32_t) + sizeof(std::uint64_t));
    if (zone.numPartitions == 1 && !zone.ptnMetadata.isNull())
        result += bytesInFile(zone.ptnMetadata[0]);
    return result;
}

}
