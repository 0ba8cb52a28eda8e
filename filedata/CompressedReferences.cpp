#include "filedata/CompressedReferences.h"

#include "filedata/FileDescription.h"
#include "filedata/Messages.h"
#include "filedata/PackedNumbers.h"
#include "filedata/ValueInput.h"

#include <algorithm>
#include <cstring>

namespace varnox::hdqio {

namespace {

/// The offsets, read into the low half of where the addresses are to stand.
std::uint32_t offsetAt(SubzoneAddress const* out, std::size_t i)
{
    std::uint32_t offset = 0;
    std::memcpy(&offset, reinterpret_cast<char const*>(out) + i * sizeof(offset), sizeof(offset));
    return offset;
}

char refuseMemory()
{
    return errorMessage("Cannot allocate memory for reading referenced subzone addresses");
}

/// Whether each number leads into the list.
template <int N>
bool areNumbersOf(PackedElement<N> const* numbers, std::size_t count,
                  LightweightVector<std::uint32_t> const& list)
{
    for (std::size_t i = 0; i < count; ++i)
        if (packedNumber<N>(numbers, i) >= list.size())
            return false;
    return true;
}

}

// Referenced subzones:
//   uint8[] or uint16[]  number of each one's partition in the list of partitions, N bits each; in
//                        2 and 4 bits only where there is a list. ASCII: hexadecimal
//   uint32[]             subzone in its partition. ASCII: counts from one
//   uint8[]              section of each, 4 bits; of cell subzones of a mixed zone alone

template <int N>
char readCompressedRefSzAddressesForBitSize(FileReaderInterface& reader, std::uint32_t fileVersion,
                                            ZoneType_e zoneType, std::uint32_t numRefPartitions,
                                            std::uint32_t ownPartition,
                                            LightweightVector<std::uint32_t> const& refPartitions,
                                            std::uint16_t numRefs, bool withSections,
                                            SubzoneAddress* out, char const* name,
                                            char const* offsetsName)
{
    static_assert(sizeof(SubzoneAddress) == 2 * sizeof(std::uint32_t));
    std::size_t const numNumbers = numPackedElements<N>(numRefs);
    ShortLivedArray<PackedElement<N>> numbers(numNumbers);
    if (numbers.data() == nullptr)
        return refuseMemory();
    if ((N >= 8 || numRefPartitions != 0) &&
        !readValues<PackedElement<N>, true, 0>(reader, numNumbers, numbers.data(), {offsetsName}))
        return 0;
    if (numRefPartitions != 0 && !areNumbersOf<N>(numbers.data(), numRefs, refPartitions))
        return errorMessage("Bad value for %s.", offsetsName);

    if (!readValues<std::uint32_t, false, 1>(reader, numRefs, reinterpret_cast<std::uint32_t*>(out),
                                             {name}))
        return 0;

    std::size_t const numSectionBytes = numPackedElements<4>(numRefs);
    ShortLivedArray<std::uint8_t> sections(numSectionBytes);
    if (sections.data() == nullptr)
        return refuseMemory();
    std::fill_n(sections.data(), numSectionBytes, std::uint8_t{0});
    if (withSections && fileVersion >= FIRST_VERSION_WITH_SECTIONS &&
        zoneType == ZoneType_FEMixed &&
        !readValues<std::uint8_t, false, 0>(reader, numSectionBytes, sections.data(), {name}))
        return 0;

    // From the end on, so that no address overwrites an offset that is still to come.
    for (std::size_t i = numRefs; i-- > 0;) {
        std::uint32_t const partition = numRefPartitions == 0
                                            ? ownPartition
                                            : refPartitions[packedNumber<N>(numbers.data(), i)];
        out[i] = SubzoneAddress(partition, packedNumber<4>(sections.data(), i), offsetAt(out, i));
    }
    return 1;
}

#define BITS(N)                                                                                    \
    template char readCompressedRefSzAddressesForBitSize<N>(                                       \
        FileReaderInterface&, std::uint32_t, ZoneType_e, std::uint32_t, std::uint32_t,             \
        LightweightVector<std::uint32_t> const&, std::uint16_t, bool, SubzoneAddress*,             \
        char const*, char const*);
BITS(2)
BITS(4)
BITS(8)
BITS(16)
#undef BITS

char readCompressedRefSzAddresses(FileReaderInterface& reader, std::uint32_t fileVersion,
                                  ZoneType_e zoneType, std::uint32_t numRefPartitions,
                                  std::uint32_t ownPartition,
                                  LightweightVector<std::uint32_t> const& refPartitions,
                                  std::uint16_t numRefs, bool withSections, SubzoneAddress* out,
                                  char const* name)
{
    if (numRefPartitions < 17)
        return readCompressedRefSzAddressesForBitSize<4>(
            reader, fileVersion, zoneType, numRefPartitions, ownPartition, refPartitions, numRefs,
            withSections, out, name, "refPtn4BitOffsets");
    if (numRefPartitions < 257)
        return readCompressedRefSzAddressesForBitSize<8>(
            reader, fileVersion, zoneType, numRefPartitions, ownPartition, refPartitions, numRefs,
            withSections, out, name, "refPtn8BitOffsets");
    return readCompressedRefSzAddressesForBitSize<16>(
        reader, fileVersion, zoneType, numRefPartitions, ownPartition, refPartitions, numRefs,
        withSections, out, name, "refPtn16BitOffsets");
}

}
