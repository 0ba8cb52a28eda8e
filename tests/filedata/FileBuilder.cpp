#include "tests/filedata/FileBuilder.h"

#include "filedata/ValueFormats.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace varnox::hdqio::tests {

std::size_t StringWriter::fwrite(void const* buffer, std::size_t size, std::size_t count)
{
    bytes.append(static_cast<char const*>(buffer), size * count);
    return count;
}

int StringWriter::fprintf(char const* format, ...)
{
    char text[256];
    std::va_list arguments;
    va_start(arguments, format);
    int const length = std::vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    bytes += text;
    return length;
}

FileBuilder::FileBuilder(std::string const& version)
    : m_writer(version.find('T') != std::string::npos)
{
    m_writer.bytes = "#!HDQFS " + version + "\n";
    hexValue("fileByteOrderIndicator", 1);
    hexValue("dataSetHeaderFileLoc", 0);
    m_headerLocPlace = loc() - (isAscii() ? 18 : 8);
}

std::uint64_t FileBuilder::string(char const* word, std::string const& text)
{
    std::uint64_t const start = loc();
    if (isAscii())
        m_writer.fprintf("%-40s  ", word);
    m_writer.bytes += text;
    if (isAscii())
        m_writer.bytes += "\r\n";
    return start;
}

std::uint64_t FileBuilder::strings(std::string const& word, std::vector<std::string> const& texts)
{
    std::string all;
    for (std::string const& text : texts)
        all += text + (isAscii() ? "\r\n" : "\r");
    std::uint64_t const start = value<std::uint64_t>((word + "TotalSize").c_str(), all.size());
    if (isAscii())
        m_writer.fprintf("%-40s\r\n", word.c_str());
    m_writer.bytes += all;
    return start;
}

std::uint64_t FileBuilder::marker(char const* word, std::uint32_t number)
{
    return isAscii() ? value<std::uint32_t>(word, number) : loc();
}

std::uint64_t FileBuilder::raw(std::string const& bytes)
{
    std::uint64_t const start = loc();
    m_writer.bytes += bytes;
    return start;
}

std::uint64_t FileBuilder::tagList(std::vector<Tag> const& tags)
{
    std::vector<std::uint16_t> numbers;
    for (Tag const& tag : tags)
        numbers.push_back(tag.number);
    std::uint64_t const start =
        value<std::uint16_t>("numTags", static_cast<std::uint16_t>(tags.size()));
    array<std::uint16_t>("tags", numbers);
    for (Tag const& tag : tags)
        hexValue(tag.name, tag.value);
    return start;
}

std::string FileBuilder::file(std::uint64_t dataSetHeaderFileLoc) const
{
    std::string result = m_writer.bytes;
    char text[17];
    if (isAscii()) {
        std::snprintf(text, sizeof(text), "%016lx", dataSetHeaderFileLoc);
        result.replace(m_headerLocPlace, 16, text);
    } else {
        std::memcpy(result.data() + m_headerLocPlace, &dataSetHeaderFileLoc, 8);
    }
    return result;
}

namespace {

using Tag = FileBuilder::Tag;

std::string indexed(char const* word, std::size_t zone)
{
    return word + std::string("ForZone") + std::to_string(zone + 1);
}

/// Leaves tags out and gives others a value.
std::vector<Tag> adjusted(std::vector<Tag> const& tags, std::set<std::uint16_t> const& omitted,
                          std::map<std::uint16_t, std::uint64_t> const& forced)
{
    std::vector<Tag> result;
    for (Tag tag : tags) {
        if (omitted.count(tag.number) != 0)
            continue;
        auto const value = forced.find(tag.number);
        if (value != forced.end())
            tag.value = value->second;
        result.push_back(tag);
    }
    return result;
}

std::vector<Tag> joined(std::vector<Tag> tags, std::vector<Tag> const& more)
{
    tags.insert(tags.end(), more.begin(), more.end());
    return tags;
}

std::uint64_t runs(std::uint64_t items)
{
    return (items + 255) >> 8;
}

/// The header of one zone.
class ZoneBuilder
{
public:
    ZoneBuilder(FileBuilder& file, FileSpec const& spec, std::size_t zone)
        : m_file(file), m_spec(spec), m_zone(spec.zones[zone]), m_index(zone),
          m_version(std::stoul(spec.version))
    {
    }

    std::uint64_t build()
    {
        addArray<std::uint64_t, true>(1536, "varFileLocs",
                                      std::vector<std::uint64_t>(m_spec.vars.size(), 1 << 20));
        bool const isHdq = m_zone.letter >= 'A' && m_zone.letter <= 'Z';
        if (m_zone.makeMesh)
            m_tags = joined(m_tags, m_zone.makeMesh(m_file));
        else if (isHdq && m_zone.partitions.empty())
            addConnectivity();
        else if (!m_zone.partitions.empty())
            addPartitions();
        m_tags.push_back({1537, "nodeMapFileLoc", 4711});
        m_tags.push_back({1538, "userFaceNbrFileLoc", 0});
        m_tags.push_back({1792, "numPartitions", m_zone.partitions.size()});
        std::uint64_t const start = m_file.marker("zoneMarker*", 0x02030405);
        m_file.marker("zoneNum*", static_cast<std::uint32_t>(m_index + 1));
        m_file.tagList(adjusted(m_tags, m_zone.omittedTags, m_zone.forcedTags));
        return start;
    }

private:
    template <typename T, bool hex = false>
    void addArray(std::uint16_t tag, char const* word, std::vector<T> const& values)
    {
        m_tags.push_back({tag, word, m_file.array<T, hex>(indexed(word, m_index).c_str(), values)});
    }

    /// One array per section at one location.
    template <typename T, bool hex = false>
    void addArrays(std::uint16_t tag, char const* word, std::vector<std::vector<T>> const& arrays)
    {
        m_tags.push_back({tag, word, m_file.loc()});
        for (auto const& values : arrays)
            m_file.array<T, hex>(indexed(word, m_index).c_str(), values);
    }

    std::vector<std::uint64_t> cellsBySection() const
    {
        if (m_zone.letter != 'M')
            return {m_zone.j};
        std::vector<std::uint64_t> result;
        for (SectionSpec const& section : m_zone.sections)
            result.push_back(static_cast<std::uint64_t>(section.numElems));
        return result;
    }

    bool isVolume() const { return std::strchr("TBM", m_zone.letter) != nullptr; }

    void addConnectivity()
    {
        if (!isVolume() || m_spec.type == 'S')
            return;
        if (!m_zone.hasConnectivity) {
            for (auto const& [tag, word] :
                 std::map<std::uint16_t, char const*>{{1280, "nszConnFileLocs"},
                                                      {1281, "cszConnFileLocs"},
                                                      {1285, "cszNumRefNszs"},
                                                      {1286, "nszNumRefCszs"},
                                                      {1795, "partitionNumCells"}})
                m_tags.push_back({tag, word, ALL_ONES});
            return;
        }
        std::vector<std::vector<std::uint64_t>> locs;
        std::vector<std::vector<std::uint16_t>> counts;
        for (std::uint64_t const cells : cellsBySection()) {
            locs.emplace_back(runs(cells), 5000);
            counts.emplace_back(runs(cells), 3);
        }
        addArrays<std::uint64_t, true>(1281, "cszConnFileLocs", locs);
        addArray<std::uint64_t, true>(1280, "nszConnFileLocs",
                                      std::vector<std::uint64_t>(runs(m_zone.i), 6000));
        if (m_version < 105)
            return;
        addArrays<std::uint16_t>(1285, "cszNumRefNszs", counts);
        addArray<std::uint16_t>(1286, "nszNumRefCszs",
                                std::vector<std::uint16_t>(runs(m_zone.i), 4));
    }

    template <typename T>
    void addCounts()
    {
        std::size_t const numSections = m_zone.letter == 'M' ? m_zone.sections.size() : 1;
        std::vector<std::vector<T>> cells(numSections);
        std::vector<T> nodes;
        for (PartitionSpec const& partition : m_zone.partitions) {
            for (std::size_t s = 0; s < numSections; ++s)
                cells[s].push_back(static_cast<T>(partition.numCells[s]));
            nodes.push_back(static_cast<T>(partition.numNodes));
        }
        addArrays<T>(1795, "partitionNumCells", cells);
        addArray<T>(1796, "partitionNumNodes", nodes);
    }

    void addPartitions()
    {
        std::size_t const count = m_zone.partitions.size();
        addArray<std::uint32_t>(1793, "partitionFileNums", std::vector<std::uint32_t>(count, 0));
        addArray<std::uint64_t, true>(1794, "partitionFileLocs",
                                      std::vector<std::uint64_t>(count, 7000));
        if (isVolume()) {
            if (m_version < 232)
                addCounts<std::uint32_t>();
            else
                addCounts<std::int64_t>();
        } else {
            std::vector<std::uint64_t> low;
            std::vector<std::uint64_t> high;
            for (PartitionSpec const& partition : m_zone.partitions) {
                low.push_back(partition.minNode);
                high.push_back(partition.maxNode);
            }
            addArray<std::uint64_t>(1798, "partitionMinNodeNumbers", low);
            addArray<std::uint64_t>(1799, "partitionMaxNodeNumbers", high);
        }
        addMinMaxes();
    }

    /// A variable's array begins behind its predecessor's start by the size of its own. Where that
    /// is further than the predecessor is long there is a gap; a narrower type lies on it.
    template <typename T>
    void addMinMaxesOf(std::size_t var)
    {
        std::vector<MinMax> ranges;
        for (std::size_t p = 0; p < m_zone.partitions.size(); ++p)
            ranges.push_back({static_cast<double>(p), static_cast<double>(p + 10 * (var + 1))});
        if (var > 0) {
            std::uint64_t const start =
                m_minMaxLoc + arraySizeInFile<ValuePair<T>, false>(ranges.size(), m_file.isAscii());
            if (start > m_file.loc())
                m_file.raw(std::string(static_cast<std::size_t>(start - m_file.loc()), ' '));
        }
        m_minMaxLoc =
            m_file.minMaxes<T>("partitionMinMaxesForVar", ranges, static_cast<std::int64_t>(var));
    }

    void addMinMaxes()
    {
        m_tags.push_back({1797, "partitionMinMaxes", m_file.loc()});
        for (std::size_t v = 0; v < m_spec.vars.size(); ++v) {
            switch (m_spec.vars[v].type) {
            case 1:
                addMinMaxesOf<float>(v);
                break;
            case 2:
                addMinMaxesOf<double>(v);
                break;
            case 3:
                addMinMaxesOf<std::int32_t>(v);
                break;
            case 4:
                addMinMaxesOf<std::int16_t>(v);
                break;
            default:
                addMinMaxesOf<std::uint8_t>(v);
                break;
            }
        }
    }

    std::uint64_t m_minMaxLoc = 0;
    FileBuilder& m_file;
    FileSpec const& m_spec;
    ZoneSpec const& m_zone;
    std::size_t m_index;
    unsigned long m_version;
    std::vector<Tag> m_tags;
};

class DataSetBuilder
{
public:
    explicit DataSetBuilder(FileSpec const& spec)
        : m_spec(spec), m_version(std::stoul(spec.version)),
          m_file(spec.version + (spec.isAscii ? "T" : "B") +
                 (m_version > 104 ? std::string(1, spec.type) : ""))
    {
    }

    std::string build()
    {
        addScalars();
        addZones();
        if (m_version > 105)
            addSections();
        addVars();
        return m_file.file(m_file.tagList(adjusted(m_tags, m_spec.omittedTags, m_spec.forcedTags)));
    }

private:
    void add(std::uint16_t number, char const* name, std::uint64_t value)
    {
        m_tags.push_back({number, name, value});
    }

    void addScalars()
    {
        add(1, "numberOfZones", m_spec.zones.size());
        add(2, "numberOfVars", m_spec.vars.size());
        add(3, "subzoneMaxISize", m_spec.limits[0]);
        add(4, "subzoneMaxJSize", m_spec.limits[1]);
        add(5, "subzoneMaxKSize", m_spec.limits[2]);
        add(6, "subzoneMaxFESize", m_spec.limits[3]);
        add(7, "auxDataFileLoc", ALL_ONES);
        add(8, "geometry", ALL_ONES);
        add(9, "customLabels", ALL_ONES);
        add(10, "text", ALL_ONES);
        if (!m_spec.title)
            return;
        add(12, "dataSetTitle",
            m_file.value<std::uint32_t>("dataSetTitleLength",
                                        static_cast<std::uint32_t>(m_spec.title->size())));
        m_file.string("dataSetTitle", *m_spec.title);
    }

    template <typename T, typename Get>
    void zoneArray(std::uint16_t tag, char const* name, char const* word, Get const& get)
    {
        std::vector<T> values;
        for (ZoneSpec const& zone : m_spec.zones)
            values.push_back(get(zone));
        add(tag, name, m_file.array<T>(word, values));
    }

    void addZones()
    {
        std::vector<std::string> names;
        std::vector<std::uint64_t> headers;
        for (std::size_t z = 0; z < m_spec.zones.size(); ++z) {
            names.push_back(m_spec.zones[z].name);
            headers.push_back(m_spec.zones[z].forcedHeaderLoc.value_or(0));
            if (headers.back() == 0 && !m_spec.zones[z].forcedHeaderLoc)
                headers.back() = ZoneBuilder(m_file, m_spec, z).build();
        }
        using Zone = ZoneSpec const&;
        add(256, "zoneNames", m_file.strings("zoneNamesArray", names));
        zoneArray<char>(257, "zoneTypes", "zoneTypesArray", [](Zone z) { return z.letter; });
        add(258, "zoneHeaderFileLocs",
            m_file.array<std::uint64_t, true>("zoneHeaderFileLocsArray", headers));
        zoneArray<std::uint8_t>(259, "zoneFaceNbrModes", "zoneFaceNbrModesArray",
                                [](Zone z) { return z.faceNbrMode; });
        zoneArray<double>(260, "zoneSolutionTimes", "zoneSolutionTimesArray",
                          [](Zone z) { return z.solutionTime; });
        zoneArray<std::uint32_t>(261, "zoneStrandIDs", "zoneStrandIDsArray",
                                 [](Zone z) { return z.strandID; });
        zoneArray<std::int32_t>(262, "zoneParentZones", "zoneParentZonesArray",
                                [](Zone z) { return z.parentZone; });
        zoneArray<std::uint64_t>(263, "zoneIMaxOrNumNodes", "zoneIMaxOrNumNodesArray",
                                 [](Zone z) { return z.i; });
        zoneArray<std::uint64_t>(264, "zoneJMaxOrNumCells", "zoneJMaxOrNumCellsArray",
                                 [](Zone z) { return z.j; });
        zoneArray<std::uint64_t>(265, "zoneKMaxOrNumFaces", "zoneKMaxOrNumFacesArray",
                                 [](Zone z) { return z.k; });
        zoneArray<std::int32_t>(268, "zoneShareConnectivity", "zoneShareConnectivityArray",
                                [](Zone z) { return z.shareConnectivity; });
    }

    template <typename T, typename Get>
    void sectionArrays(std::uint16_t tag, char const* name, char const* word, Get const& get)
    {
        add(tag, name, m_file.loc());
        for (ZoneSpec const& zone : m_spec.zones) {
            std::vector<T> values;
            for (SectionSpec const& section : zone.sections)
                values.push_back(static_cast<T>(get(section)));
            m_file.array<T>(word, values);
        }
    }

    void addSections()
    {
        zoneArray<std::uint8_t>(
            269, "zoneNumSections", "zoneNumSectionsArray",
            [](ZoneSpec const& z) { return static_cast<std::uint8_t>(z.sections.size()); });
        auto const elems = [](SectionSpec const& s) { return s.numElems; };
        if (m_version < 232)
            sectionArrays<std::uint32_t>(270, "zoneNumElemsPerSec", "zoneNumElemsPerSecArray",
                                         elems);
        else
            sectionArrays<std::int64_t>(270, "zoneNumElemsPerSec", "zoneNumElemsPerSecArray",
                                        elems);
        sectionArrays<std::uint8_t>(271, "zoneCellShapePerSec", "zoneCellShapePerSecArray",
                                    [](SectionSpec const& s) { return s.cellShape; });
        sectionArrays<std::uint8_t>(272, "zoneGridOrderPerSec", "zoneGridOrderPerSecArray",
                                    [](SectionSpec const& s) { return s.gridOrder; });
        sectionArrays<std::uint8_t>(273, "zoneCellBasisFuncPerSec", "zoneCellBasisFuncPerSecArray",
                                    [](SectionSpec const& s) { return s.basisFunc; });
    }

    template <typename T, typename Get>
    void varArrays(std::uint16_t tag, char const* name, Get const& get)
    {
        add(tag, name, m_file.loc());
        for (std::size_t v = 0; v < m_spec.vars.size(); ++v)
            m_file.array<T>((name + std::string("ForVar")).c_str(),
                            std::vector<T>(m_spec.zones.size(), get(m_spec.vars[v])),
                            static_cast<std::int64_t>(v));
    }

    void addVars()
    {
        std::vector<std::string> names;
        bool isWide = false;
        for (VarSpec const& var : m_spec.vars) {
            names.push_back(var.name);
            isWide = isWide || var.type == 2 || var.type == 3;
        }
        add(512, "varNames", m_file.strings("varNamesArray", names));
        add(768, "zoneMinMaxes", m_file.loc());
        for (std::size_t v = 0; v < m_spec.vars.size(); ++v) {
            std::vector<MinMax> const ranges(m_spec.zones.size(), m_spec.vars[v].range);
            auto const index = static_cast<std::int64_t>(v);
            if (isWide)
                m_file.minMaxes<double>("zoneMinMaxesForVar", ranges, index);
            else
                m_file.minMaxes<float>("zoneMinMaxesForVar", ranges, index);
        }
        using Var = VarSpec const&;
        varArrays<std::uint8_t>(769, "valueLocations", [](Var v) { return v.location; });
        varArrays<std::uint8_t>(770, "fieldDataTypes", [](Var v) { return v.type; });
        varArrays<std::uint8_t>(771, "passiveVar", [](Var v) { return v.isPassive; });
        varArrays<std::int32_t>(772, "shareVar", [](Var v) { return v.shareZone; });
    }

    FileSpec const& m_spec;
    unsigned long m_version;
    FileBuilder m_file;
    std::vector<Tag> m_tags;
};

}

std::string build(FileSpec const& spec)
{
    return DataSetBuilder(spec).build();
}

}
