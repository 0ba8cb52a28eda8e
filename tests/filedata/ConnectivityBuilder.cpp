#include "tests/filedata/ConnectivityBuilder.h"

namespace varnox::hdqio::tests {

std::vector<std::uint8_t> packed(int bits, std::vector<std::uint16_t> const& numbers)
{
    std::size_t const perByte = static_cast<std::size_t>(8 / bits);
    std::vector<std::uint8_t> result((numbers.size() + perByte - 1) / perByte);
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        auto const place = static_cast<int>(perByte - 1 - i % perByte) * bits;
        result[i / perByte] = static_cast<std::uint8_t>(result[i / perByte] | numbers[i] << place);
    }
    return result;
}

namespace {

int bitsFor(std::size_t choices)
{
    return choices < 5 ? 2 : choices < 17 ? 4 : choices < 257 ? 8 : 16;
}

void partitionNumbers(FileBuilder& file, std::size_t numPartitions,
                      std::vector<std::uint16_t> const& numbers)
{
    int const bits = bitsFor(numPartitions);
    std::string const word = "refPtn" + std::to_string(bits) + "BitOffsets";
    if (bits == 16)
        file.array<std::uint16_t, true>(word.c_str(), numbers);
    else
        file.array<std::uint8_t, true>(word.c_str(), packed(bits, numbers));
}

template <bool hex>
void referenceNumbers(FileBuilder& file, int bits, std::vector<std::uint16_t> const& numbers)
{
    std::string const word = "refNsz" + std::to_string(bits) + "BitOffsets";
    if (bits == 16)
        file.array<std::uint16_t, hex>(word.c_str(), numbers);
    else
        file.array<std::uint8_t, hex>(word.c_str(), packed(bits, numbers));
}

}

std::uint64_t references(FileBuilder& file, char const* word, std::size_t numPartitions,
                         std::vector<Reference> const& list, bool withSections)
{
    std::uint64_t const start = file.loc();
    std::vector<std::uint16_t> partitions;
    std::vector<std::uint32_t> subzones;
    std::vector<std::uint16_t> sections;
    for (Reference const& reference : list) {
        partitions.push_back(reference.partitionNumber);
        subzones.push_back(reference.subzone + (file.isAscii() ? 1 : 0));
        sections.push_back(reference.section);
    }
    if (numPartitions != 0)
        partitionNumbers(file, numPartitions, partitions);
    file.array<std::uint32_t>(word, subzones);
    if (withSections)
        file.array<std::uint8_t>(word, packed(4, sections));
    return start;
}

std::uint64_t cellRecord(FileBuilder& file, std::uint32_t version, CellRecord const& record)
{
    std::uint64_t const start = file.loc();
    if (version < 105)
        file.value<std::uint16_t>("numRefNodeSubzones",
                                  static_cast<std::uint16_t>(record.refs.size()));
    references(file, "refNodeSubzones", record.numPartitions, record.refs, false);
    int const bits = bitsFor(record.refs.size());
    if (version < 105)
        referenceNumbers<false>(file, bits == 2 ? 4 : bits, record.refNumbers);
    else
        referenceNumbers<true>(file, bits, record.refNumbers);
    file.array<std::uint8_t>("nszOffsets", record.nszOffsets);
    return start;
}

std::uint64_t nodeRecord(FileBuilder& file, std::uint32_t version, NodeRecord const& record)
{
    std::uint64_t const start = file.loc();
    if (version < 105)
        file.value<std::uint16_t>("numRefCellSubzones",
                                  static_cast<std::uint16_t>(record.refs.size()));
    references(file, "refCellSubzones", record.numPartitions, record.refs, record.withSections);
    return start;
}

}
