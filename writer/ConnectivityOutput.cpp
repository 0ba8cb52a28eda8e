#include "writer/ConnectivityOutput.h"

#include "filedata/FileDescription.h"
#include "filedata/PackedNumbers.h"

#include <algorithm>

namespace varnox::hdqfswriter {

namespace {

using hdqio::PackedElement;

/// High bits first.
template <int N>
std::vector<PackedElement<N>> packed(std::vector<std::uint16_t> const& numbers)
{
    std::vector<PackedElement<N>> result(hdqio::numPackedElements<N>(numbers.size()));
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        if constexpr (N >= 8) {
            result[i] = static_cast<PackedElement<N>>(numbers[i]);
        } else {
            constexpr std::size_t PER_BYTE = 8 / N;
            auto const shift = static_cast<unsigned>(8 - N - N * (i % PER_BYTE));
            result[i / PER_BYTE] =
                static_cast<std::uint8_t>(result[i / PER_BYTE] | (unsigned{numbers[i]} << shift));
        }
    }
    return result;
}

template <int N>
void writePacked(BlockWriter& blocks, char const* name, bool isHex,
                 std::vector<std::uint16_t> const& numbers)
{
    if (isHex)
        blocks.array<PackedElement<N>, true>({name}, packed<N>(numbers));
    else
        blocks.array<PackedElement<N>>({name}, packed<N>(numbers));
}

std::uint16_t placeIn(std::vector<std::uint32_t> const& partitions, std::uint32_t partition)
{
    auto const found = std::lower_bound(partitions.begin(), partitions.end(), partition);
    return static_cast<std::uint16_t>(found - partitions.begin());
}

void writePartitionNumbers(BlockWriter& blocks, RecordForm const& form,
                           std::vector<SubzoneReference> const& references)
{
    std::vector<std::uint16_t> numbers;
    numbers.reserve(references.size());
    for (SubzoneReference const& reference : references)
        numbers.push_back(placeIn(form.refPartitions, reference.partition));
    std::size_t const count = form.refPartitions.size();
    if (count < 5)
        writePacked<2>(blocks, "refPtn2BitOffsets", true, numbers);
    else if (count < 17)
        writePacked<4>(blocks, "refPtn4BitOffsets", true, numbers);
    else if (count < 257)
        writePacked<8>(blocks, "refPtn8BitOffsets", true, numbers);
    else
        writePacked<16>(blocks, "refPtn16BitOffsets", true, numbers);
}

// Referenced subzones:
//   uint8[] or uint16[]  number of each one's partition in the list of partitions; only where one
//                        is another than the own
//   uint32[]             subzone in its partition. Text counts from one
//   uint8[]              section of each, 4 bits; of cell subzones of a mixed zone alone

void writeReferences(BlockWriter& blocks, RecordForm const& form, char const* name,
                     bool withSections, std::vector<SubzoneReference> const& references)
{
    if (refersToOthers(form, references))
        writePartitionNumbers(blocks, form, references);
    std::vector<std::uint32_t> subzones;
    std::vector<std::uint16_t> sections;
    for (SubzoneReference const& reference : references) {
        subzones.push_back(reference.subzone);
        sections.push_back(static_cast<std::uint16_t>(reference.section));
    }
    blocks.array<std::uint32_t, false, 1>({name}, subzones);
    if (withSections && form.isMixedZone && form.version >= hdqio::FIRST_VERSION_WITH_SECTIONS)
        writePacked<4>(blocks, name, false, sections);
}

/// Up to version 104 the records begin with the counts themselves, numbers are decimal in text, and
/// there is no 2-bit form.
bool hasCountsInHeaders(RecordForm const& form)
{
    return form.version >= hdqio::FIRST_VERSION_WITH_FILE_TYPE;
}

void writeReferenceNumbers(BlockWriter& blocks, RecordForm const& form, std::size_t numReferences,
                           std::vector<std::uint16_t> const& numbers)
{
    bool const isHex = hasCountsInHeaders(form);
    if (numReferences < 5 && isHex)
        writePacked<2>(blocks, "refNsz2BitOffsets", isHex, numbers);
    else if (numReferences < 17)
        writePacked<4>(blocks, "refNsz4BitOffsets", isHex, numbers);
    else if (numReferences < 257)
        writePacked<8>(blocks, "refNsz8BitOffsets", isHex, numbers);
    else
        writePacked<16>(blocks, "refNsz16BitOffsets", isHex, numbers);
}

}

bool refersToOthers(RecordForm const& form, std::vector<SubzoneReference> const& references)
{
    return std::any_of(references.begin(), references.end(),
                       [&](SubzoneReference const& r) { return r.partition != form.ownPartition; });
}

std::uint64_t writeCellSubzone(BlockWriter& blocks, RecordForm const& form,
                               CellSubzoneRecord const& record)
{
    std::uint64_t const start = blocks.loc();
    if (!hasCountsInHeaders(form))
        blocks.value({"numRefNodeSubzones"},
                     static_cast<std::uint16_t>(record.nodeSubzones.size()));
    writeReferences(blocks, form, "refNodeSubzones", false, record.nodeSubzones);
    writeReferenceNumbers(blocks, form, record.nodeSubzones.size(), record.numbers);
    blocks.array({"nszOffsets"}, record.offsets);
    return start;
}

std::uint64_t writeNodeSubzone(BlockWriter& blocks, RecordForm const& form,
                               std::vector<SubzoneReference> const& cellSubzones)
{
    std::uint64_t const start = blocks.loc();
    if (!hasCountsInHeaders(form))
        blocks.value({"numRefCellSubzones"}, static_cast<std::uint16_t>(cellSubzones.size()));
    writeReferences(blocks, form, "refCellSubzones", true, cellSubzones);
    return start;
}

}
