// Writes the seeds of the corpus into a folder: vnx_fuzz_seeds fuzz/corpus

#include "expressions/ExpressionSerializer.h"
#include "filedata/DataFileHeader.h"
#include "filedata/DataSetHeader.h"
#include "filedata/FileSetMetadata.h"
#include "filedata/FileStreamReader.h"
#include "filedata/Messages.h"
#include "filedata/ZoneMetadataSerializer.h"
#include "formula/Formula.h"
#include "fuzz/support/Conversation.h"
#include "fuzz/support/Entry.h"
#include "fuzz/support/FileMutator.h"
#include "fuzz/support/HeldConversation.h"
#include "fuzz/support/InputFile.h"
#include "fuzz/support/SessionRun.h"
#include "fuzz/support/ZoneInput.h"
#include "query/SubzoneCellConnectivity.h"
#include "query/SubzoneNodeConnectivity.h"
#include "tests/filedata/FileBuilder.h"
#include "tests/filedata/GroupBuilder.h"
#include "tests/support/RecordingSocket.h"
#include "tests/support/Wire.h"
#include "tests/writer/DataSets.h"
#include "tests/writer/MemoryZone.h"
#include "varnox/UniformAddress.h"
#include "varnox/hdqfswriter/FileWriter.h"
#include "varnox/socketutil/WriteCache.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>

namespace {

using namespace varnox;
namespace fs = std::filesystem;
namespace writing = hdqfswriter;
using hdqio::tests::FileBuilder;
using tests::cached;

fs::path folder;

void save(std::string const& target, std::string const& name, std::string const& bytes)
{
    fs::create_directories(folder / target);
    std::ofstream file(folder / target / ("seed-" + name), std::ios::binary);
    file << bytes;
    fuzz::expect(file.good(), "a seed can't be written");
}

// Whole files.

std::string written(writing::DataSet const& dataSet, writing::Options const& options)
{
    fs::path const path = folder / "being-written.hdqfs";
    writing::writeFile(path.string(), dataSet, options);
    std::ifstream file(path, std::ios::binary);
    std::string result{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    fs::remove(path);
    return result;
}

/// Three variables, of two types, at nodes and at cells.
std::vector<writing::ZoneVariable> fewVariables()
{
    auto all = writing::tests::variablesOfAllTypes();
    return {all[0], all[1], all.back()};
}

writing::DataSet dataSetOf(std::vector<writing::Zone> zones)
{
    writing::DataSet result;
    result.title = "seed";
    result.variableNames = writing::tests::namesOf(zones.front().variables.size());
    result.zones = std::move(zones);
    for (std::size_t z = 0; z < result.zones.size(); ++z)
        result.zones[z].name = "z" + std::to_string(z + 1);
    return result;
}

writing::Zone mesh(writing::ZoneType type, std::array<std::uint64_t, 3> const& blocks,
                   std::uint32_t numPartitions, bool isInSubzones = true)
{
    writing::tests::MeshSpec spec;
    spec.type = type;
    spec.numBlocks = blocks;
    spec.numPartitions = numPartitions;
    spec.isInSubzones = isInSubzones;
    return writing::tests::meshZone(spec, fewVariables());
}

/// Everything that stands beside zones and variables, of each kind.
writing::DataSet annotated()
{
    using writing::Geometry;
    writing::DataSet result = dataSetOf({writing::tests::orderedZone({3, 2, 2}, fewVariables())});
    result.texts.resize(2);
    result.texts[0].textString = "a text";
    result.texts[1].textIsAttached = 1;
    result.texts[1].textMacroFunctionCmd = "command";
    for (std::uint8_t type = Geometry::LINE_SEGMENTS; type <= Geometry::ELLIPSE; ++type) {
        Geometry& geometry = result.geometries.emplace_back();
        geometry.geomType = type;
        if (type == Geometry::LINE_SEGMENTS) {
            geometry.segments = {{{0, 0}, {1, 1}}, {{2, 2}}};
            result.geometries.push_back(geometry);
            result.geometries.back().posCoordMode = Geometry::IN_THREE_DIMENSIONS;
        }
    }
    result.customLabelSets = {{"Mon", "Tue"}, {"one"}};
    for (std::uint8_t location = 0; location <= 4; ++location)
        result.auxiliaryData.push_back({location, 0, "name", 0, "value"});
    return result;
}

/// Zones that have their cells, and a variable, of the first; another is passive.
writing::DataSet sharing()
{
    writing::Zone const first = mesh(writing::ZoneType::Brick, {2, 1, 1}, 2);
    writing::Zone second = first;
    second.connectivityFrom = 0;
    second.parentZone = 0;
    second.strandID = 1;
    second.solutionTime = 0.5;
    second.variables[0].sharedFrom = 0;
    second.variables[1].isPassive = true;
    return dataSetOf({first, second});
}

void fillAnew(writing::Zone const& zone)
{
    for (std::uint32_t v = 0; v < zone.variables.size(); ++v)
        writing::tests::fillValues(zone, v, v);
}

/// Zones in one piece, of each shape that isn't a volume.
writing::DataSet shapes()
{
    using writing::ZoneType;
    auto const zoneOf = [](ZoneType type, std::vector<std::uint64_t> const& nodesOfTwoCells) {
        writing::Zone zone = mesh(ZoneType::Brick, {1, 1, 1}, 1, false);
        zone.type = type;
        zone.partitions[0].numCells = {2};
        auto source = std::make_shared<writing::tests::MemorySource>();
        source->mesh = {{nodesOfTwoCells}};
        zone.source = source;
        fillAnew(zone);
        return zone;
    };
    return dataSetOf({zoneOf(ZoneType::LineSegment, {0, 1, 1, 2}),
                      zoneOf(ZoneType::Triangle, {0, 1, 2, 1, 2, 3}),
                      zoneOf(ZoneType::Quadrilateral, {0, 1, 3, 2, 4, 5, 7, 6})});
}

/// A mixed zone in one piece with a section of each shape, of one cell.
writing::DataSet mixedShapes()
{
    using writing::CellShape;
    writing::Zone zone = mesh(writing::ZoneType::Brick, {1, 1, 1}, 1, false);
    auto source = std::make_shared<writing::tests::MemorySource>();
    zone.type = writing::ZoneType::Mixed;
    zone.source = source;
    zone.partitions[0].numCells.clear();
    source->mesh.resize(1);
    for (auto const& [shape, numNodes] :
         {std::pair{CellShape::Line, 2U}, std::pair{CellShape::Triangle, 3U},
          std::pair{CellShape::Quadrilateral, 4U}, std::pair{CellShape::Pyramid, 5U},
          std::pair{CellShape::Prism, 6U}, std::pair{CellShape::Hexahedron, 8U}}) {
        zone.sections.push_back({shape, 1, 0});
        zone.partitions[0].numCells.push_back(1);
        auto& nodes = source->mesh[0].emplace_back();
        for (std::uint64_t node = 0; node < numNodes; ++node)
            nodes.push_back(node);
    }
    fillAnew(zone);
    return dataSetOf({zone});
}

/// Zones with neighbours across their faces, which are read as numbers and not understood.
writing::DataSet withNeighbors()
{
    std::vector<writing::Zone> zones{mesh(writing::ZoneType::Brick, {2, 1, 1}, 1),
                                     mesh(writing::ZoneType::Brick, {2, 1, 1}, 1, false)};
    for (writing::Zone& zone : zones) {
        zone.faceNeighborMode = 1;
        static_cast<writing::tests::MemorySource&>(*zone.source).neighbors = {1, 2, 1, 2, 1, 2};
    }
    return dataSetOf(zones);
}

/// A mesh of more nodes and cells than one subzone holds, with two variables.
writing::Zone severalSubzones(writing::ZoneType type, std::array<std::uint64_t, 3> const& blocks,
                              std::uint32_t numPartitions)
{
    writing::tests::MeshSpec spec;
    spec.type = type;
    spec.numBlocks = blocks;
    spec.numPartitions = numPartitions;
    auto const all = writing::tests::variablesOfAllTypes();
    return writing::tests::meshZone(spec, {all[0], all[1]});
}

struct FileSeed
{
    char const* name;
    writing::DataSet dataSet;
    std::optional<std::uint32_t> oldest{};
    writing::FileType type = writing::FileType::Full;
    bool hasText = true;
};

std::vector<FileSeed> fileSeeds()
{
    using writing::ZoneType;
    using writing::tests::orderedZone;
    auto const plain = [](writing::Zone zone) {
        zone.isInSubzones = false;
        return zone;
    };
    std::vector<FileSeed> result;
    result.push_back({"ordered", dataSetOf({orderedZone({5, 4, 3}, fewVariables()),
                                            orderedZone({8, 2, 2}, fewVariables())})});
    result.push_back(
        {"allTypes", dataSetOf({orderedZone({3, 2, 2}, writing::tests::variablesOfAllTypes())})});
    result.push_back(
        {"boxes", dataSetOf({orderedZone({7, 4, 3}, fewVariables(), {{{3}, {2}, {}}})})});
    result.push_back({"plainOrdered", dataSetOf({plain(orderedZone({4, 3, 2}, fewVariables()))})});
    result.push_back({"bricks", dataSetOf({mesh(ZoneType::Brick, {2, 2, 1}, 1)})});
    result.push_back({"brickPartitions", dataSetOf({mesh(ZoneType::Brick, {4, 1, 1}, 2)})});
    result.push_back({"tetrahedra", dataSetOf({mesh(ZoneType::Tetrahedron, {2, 1, 1}, 1)})});
    result.push_back({"mixed", dataSetOf({mesh(ZoneType::Mixed, {2, 2, 2}, 1)}), 106});
    result.push_back({"mixedPartitions", dataSetOf({mesh(ZoneType::Mixed, {3, 1, 2}, 3)}), 106});
    result.push_back({"plainBricks", dataSetOf({mesh(ZoneType::Brick, {2, 1, 1}, 1, false)})});
    result.push_back({"annotated", annotated()});
    result.push_back({"sharing", sharing()});
    writing::tests::MeshSpec spec;
    spec.numBlocks = {2, 1, 1};
    spec.numPartitions = 2;
    result.push_back(
        {"bricksOfAllTypes",
         dataSetOf({writing::tests::meshZone(spec, writing::tests::variablesOfAllTypes())})});
    spec.type = ZoneType::Mixed;
    spec.numBlocks = {2, 1, 2};
    spec.numPartitions = 1;
    spec.gridOrder = 2;
    result.push_back(
        {"secondOrder", dataSetOf({writing::tests::meshZone(spec, fewVariables())}), 106});
    result.push_back({"shapes", shapes()});
    result.push_back({"mixedShapes", mixedShapes(), 106});
    result.push_back({"neighbors", withNeighbors()});
    result.push_back(
        {"plainAllTypes",
         dataSetOf({plain(orderedZone({3, 2, 2}, writing::tests::variablesOfAllTypes())),
                    plain(orderedZone({3, 1, 1}, writing::tests::variablesOfAllTypes()))})});
    result.push_back({"line", dataSetOf({orderedZone({9, 1, 1}, fewVariables()),
                                         orderedZone({1, 7, 3}, fewVariables())})});
    for (auto const& [name, zone] :
         {std::pair{"severalBrickSubzones", severalSubzones(ZoneType::Brick, {8, 7, 5}, 1)},
          std::pair{"severalTetrahedronSubzones",
                    severalSubzones(ZoneType::Tetrahedron, {6, 6, 5}, 2)}}) {
        FileSeed seed{name, dataSetOf({zone})};
        seed.hasText = false;
        result.push_back(seed);
    }
    // As small as can be: what is changed in them is seldom one value among many.
    auto const all = writing::tests::variablesOfAllTypes();
    std::vector<writing::ZoneVariable> const one{all[8]};
    std::vector<writing::ZoneVariable> const ofCells{all[1]};
    writing::tests::MeshSpec smallest;
    smallest.numBlocks = {1, 1, 1};
    writing::tests::MeshSpec smallestPartitions;
    smallestPartitions.numBlocks = {2, 1, 1};
    smallestPartitions.numPartitions = 2;
    result.push_back({"tinyOrdered", dataSetOf({orderedZone({2, 2, 1}, one)})});
    result.push_back({"tinyBoxes", dataSetOf({orderedZone({3, 2, 2}, ofCells, {{{1}, {}, {}}})})});
    result.push_back({"tinyPlainOrdered", dataSetOf({plain(orderedZone({2, 2, 1}, one))})});
    result.push_back({"tinyBrick", dataSetOf({writing::tests::meshZone(smallest, one)})});
    result.push_back({"tinyBrickPartitions",
                      dataSetOf({writing::tests::meshZone(smallestPartitions, ofCells)})});
    smallest.isInSubzones = false;
    result.push_back({"tinyPlainBrick", dataSetOf({writing::tests::meshZone(smallest, one)})});
    smallest.isInSubzones = true;
    smallest.type = ZoneType::Mixed;
    result.push_back({"tinyMixed", dataSetOf({writing::tests::meshZone(smallest, one)}), 106});
    for (auto const& [name, type] : {std::pair{"grid", writing::FileType::Grid},
                                     std::pair{"solution", writing::FileType::Solution}})
        result.push_back({name, dataSetOf({mesh(ZoneType::Brick, {3, 1, 1}, 1)}), 105, type});
    return result;
}

// The headers and records of a file's zones, as inputs of their own.

void saveBlocks(std::string const& name, std::string const& bytes)
{
    using namespace hdqio;
    fuzz::InputFile file;
    file.set(bytes);
    FileStreamReader reader(file.path());
    reader.open();
    FileDescription description;
    std::uint64_t byteOrder = 0;
    std::uint64_t loc = 0;
    TagMap tags;
    std::string title;
    ZoneVarMetadata table;
    LightweightVector<std::uint64_t> headerLocs;
    fuzz::expect(readDataFileHeader(reader, description, byteOrder, loc) &&
                     reader.seekToFileLoc(loc) &&
                     readDataSetHeaderTags(reader, description, tags) &&
                     readDataSetHeader(reader, description, tags, title, table, headerLocs),
                 "a seed can't be read");
    FileSetMetadata set({file.path()});
    for (std::size_t z = 0; z < table.numZones; ++z) {
        fuzz::ZoneInput input;
        input.version = static_cast<std::uint8_t>(std::find(std::begin(fuzz::ZoneInput::VERSIONS),
                                                            std::end(fuzz::ZoneInput::VERSIONS),
                                                            description.getFileVersion()) -
                                                  std::begin(fuzz::ZoneInput::VERSIONS));
        input.flags = description.isAscii() ? 1 : 0;
        input.zoneType = static_cast<std::uint8_t>(
            std::strchr(fuzz::ZoneInput::ZONE_LETTERS, table.zoneTypes[z]) -
            fuzz::ZoneInput::ZONE_LETTERS);
        if (table.numVars > fuzz::ZoneInput::MOST_VARS ||
            table.numSections[z] > fuzz::ZoneInput::MOST_SECTIONS)
            return;
        input.variables = static_cast<std::uint8_t>(table.numVars);
        for (std::size_t v = 0; v < table.numVars; ++v)
            input.varTypes[v] = table.fieldDataTypes[v][z];
        input.sections = table.numSections[z];
        for (std::size_t s = 0; s < table.numSections[z]; ++s) {
            input.shapes[s] = table.cellShapePerSection[z][s];
            input.orders[s] = table.gridOrderPerSection[z][s];
            input.cells[s] = static_cast<std::uint32_t>(table.numElemsPerSection[z][s]);
        }
        input.size[0] = table.iMaxOrNumNodes[z];
        input.size[1] = table.jMaxOrNumCells[z];
        input.size[2] = table.kMaxOrNumFaces[z];
        input.fileLoc = static_cast<std::uint32_t>(headerLocs[z]);
        save("zoneHeader", name + std::to_string(z), input.bytes() + bytes);

        ZoneMetadata& zone = set.zoneMetadata(0, static_cast<int>(z));
        if (zone.isHdqZone) {
            save("zoneMetadata", name + std::to_string(z), cached([&](auto& cache) {
                     hdqlib::ZoneMetadataSerializer(zone).addToCache(cache);
                 }));
        }
        if (!zone.isHdqZone || zone.numPartitions < 2)
            continue;
        input.size[0] = static_cast<std::uint64_t>(zone.numNodesPerPtn[1]);
        for (std::size_t s = 0; s < zone.numCellsPerSecPtn.size(); ++s)
            input.cells[s] = static_cast<std::uint32_t>(zone.numCellsPerSecPtn[s][1]);
        input.fileLoc = static_cast<std::uint32_t>(zone.ptnFileLocs[1]);
        save("connectivity", name + std::to_string(z), input.bytes() + bytes);
    }
}

/// All locations lead to the head of the data set header, and so each block leads to itself.
std::string inACircle(std::string bytes)
{
    std::vector<std::size_t> const words = fuzz::FileMutator::locationWords(bytes);
    for (std::size_t const at : words) // the first is that of the header
        std::memcpy(bytes.data() + at, bytes.data() + words.front(), sizeof(std::uint64_t));
    return bytes;
}

void saveFiles()
{
    for (FileSeed const& seed : fileSeeds())
        for (std::uint32_t const version : {104U, 105U, 106U, 232U})
            for (bool const isText : {false, true}) {
                // Text files are long; of one version they are enough.
                if (version < seed.oldest.value_or(104) ||
                    (isText && (version != 232 || !seed.hasText)))
                    continue;
                writing::Options options;
                options.version = version;
                options.isText = isText;
                options.fileType = seed.type;
                std::string const name =
                    seed.name + std::to_string(version) + (isText ? "text" : "");
                std::string const bytes = written(seed.dataSet, options);
                if (version == 104 || version == 232)
                    save("check", name, bytes);
                if (version == 105 || version == 232)
                    save("file", name, bytes);
                if (version == 232 && !isText)
                    save("changingFile", name,
                         tests::wire::u16(bytes.size() / 2) + tests::wire::u64(1) +
                             tests::wire::u16(bytes.size() / 3) + bytes);
                if (version == 105)
                    save("file", name + "-circle", inACircle(bytes));
                saveBlocks(name, bytes);
            }
}

/// A grid of zones of each kind, one of which has the cells of another, and its solution.
void saveGridOfEach()
{
    using writing::ZoneType;
    writing::Zone const partitions = mesh(ZoneType::Brick, {2, 1, 1}, 2);
    writing::Zone sharer = partitions;
    sharer.connectivityFrom = 0;
    writing::DataSet const dataSet =
        dataSetOf({partitions, sharer, mesh(ZoneType::Tetrahedron, {1, 1, 1}, 1),
                   writing::tests::orderedZone({4, 3, 2}, fewVariables(), {{{2}, {}, {}}}),
                   mesh(ZoneType::Mixed, {1, 1, 2}, 1)});
    for (bool const isText : {false, true}) {
        writing::Options options;
        options.isText = isText;
        options.fileType = writing::FileType::Grid;
        std::string const name = isText ? "OfEach232text" : "OfEach232";
        save("check", "grid" + name, written(dataSet, options));
        options.fileType = writing::FileType::Solution;
        save("check", "solution" + name, written(dataSet, options));
    }
}

/// Headers alone, of files with groups, with all letters, and with what only old ones have.
void saveHeaders()
{
    using namespace hdqio::tests;
    for (std::string const version : {"104", "105", "232"})
        for (bool const isText : {false, true}) {
            FileSpec spec;
            spec.version = version;
            spec.isAscii = isText;
            spec.title = "a title";
            for (char const letter : std::string("oqTM")) {
                ZoneSpec zone;
                zone.letter = letter;
                if (letter == 'M')
                    zone.sections = {{3, 4}, {4, 5}};
                spec.zones.push_back(zone);
            }
            save("dataSetHeader", version + (isText ? "text" : ""), build(spec));
        }
    for (bool const isText : {false, true}) {
        FileBuilder file(isText ? "105TF" : "105BF");
        auto const aux =
            addGroup(file, AUX, 1, [](FileBuilder& f) { addAuxData(f, 1, 2, "n", "v"); });
        auto const text =
            addGroup(file, TEXT, 1, [](FileBuilder& f) { addText(f, "text", "cmd"); });
        auto const labels = addGroup(file, LABELS, 1, [](FileBuilder& f) {
            f.value<std::uint32_t>("numLabels", 2);
            f.strings("customLabelSet", {"Mon", "Tue"});
        });
        auto const geoms = addGroup(file, GEOMETRY, 2, [](FileBuilder& f) {
            addGeom(f, 3, 0, "");
            f.value<double>("radius", 2);
            addGeom(f, 0, 0, "cmd");
            f.value<std::uint32_t>("numSegments", 1);
            addSegment(f, {1, 2}, {3, 4}, {});
        });
        auto const loc = file.tagList({{1, "numberOfZones", 0},
                                       {2, "numberOfVars", 0},
                                       {3, "subzoneMaxISize", 6},
                                       {4, "subzoneMaxJSize", 6},
                                       {5, "subzoneMaxKSize", 6},
                                       {6, "subzoneMaxFESize", 256},
                                       {7, "auxDataFileLoc", aux},
                                       {8, "geometry", geoms},
                                       {9, "customLabels", labels},
                                       {10, "text", text}});
        save("dataSetHeader", isText ? "groupsText" : "groups", file.file(loc));
    }
}

// Messages.

char const* const formulas[] = {"aa + bb * 2 - cc / 3",
                                "-(aa ^ 2) ^ bb",
                                "sqrt(abs(aa)) >= 1e-3",
                                "atan2(aa, bb) + min(aa, bb)",
                                "plane({x y}, bb, cc, 1, 2, 3, 4)",
                                "round(aa) != trunc(bb)",
                                "((((aa))))\n< 3"};

void saveFormulas()
{
    int number = 0;
    for (char const* const formula : formulas) {
        std::string const name = std::to_string(++number);
        save("formula", name, formula);
        try {
            auto const expression = formula::parseFormula(formula, 7, [](std::string const& n) {
                return std::optional<unsigned long>(n.size());
            });
            save("expression", name, cached([&](auto& cache) {
                     hdqlib::ExpressionSerializer(expression).addToCache(cache);
                 }));
        } catch (std::exception const&) {
            // A formula in error is a seed of the formula's target alone.
        }
    }
}

void savePayloads()
{
    using namespace tests::wire;
    save("payloads", "floats", u8(0) + vec({f32(1), f32(2)}));
    save("payloads", "doubles", u8(1) + vec({f64(1), f64(2)}));
    save("payloads", "ints", u8(2) + vec({i32(1), i32(-2)}));
    save("payloads", "shorts", u8(3) + vec({u16(1), u16(2)}));
    save("payloads", "bytes", u8(4) + vec({u8(1), u8(2)}));
    ItemAddress<long>::SubzoneAddress const subzone(1, 0, 3);
    save("payloads", "cells",
         u8(5) + cached([&](auto& cache) {
             std::vector<ItemAddress<long>> nodes(8, ItemAddress<long>(0));
             for (std::size_t i = 0; i < nodes.size(); ++i)
                 nodes[i].assign(subzone, static_cast<std::uint8_t>(i));
             hdqlib::SubzoneCellConnectivity(2, 4, 4, 4, nodes).addToCache(cache);
         }));
    save("payloads", "nodes", u8(6) + cached([&](auto& cache) {
                                  hdqlib::SubzoneNodeConnectivity(2, {subzone}).addToCache(cache);
                              }));
    save("payloads", "addresses", u8(7) + u64(1) + u64(2) + vec({u64(3), u64(4)}));
    save("payloads", "vectors",
         u8(8) + vec({u8(1)}) + vec({u16(1)}) + vec({u32(3)}) + vec({text("a"), text("bc")}) +
             vec({f32(1)}) + text("d"));
    save("greeting", "token", text("VNXDATASERVER 1") + text("token"));
    save("greeting", "none", text("VNXDATASERVER 1") + text(""));
    save("greeting", "otherVersion", text("VNXDATASERVER 02") + text(""));
    std::string const everyOperation = [] {
        std::string result(24, '\0');
        for (std::size_t i = 0; i < result.size(); ++i)
            result[i] = static_cast<char>(i);
        return result;
    }();
    save("scanner", "everyOperation",
         u8(24) + everyOperation + "ab 12 -3.5e2, \"x\"\r\nab\n1 2 3 4 5");
}

// Whole conversations.

/// Formulas that have every function and operation of an operand.
std::vector<std::string> everyFormula(std::string const& operand)
{
    std::vector<std::string> result;
#define ONE_ARG(number, constant, name, doubleFunction, intervalFunction)                          \
    result.push_back(name "(" + operand + ")");
#define TWO_ARG(number, constant, name, doubleFunction, intervalFunction)                          \
    result.push_back(name "(" + operand + ", 2)");                                                 \
    result.push_back(name "(-1.5, " + operand + ")");
#include "expressions/Functions.def"
    for (char const* const operation : {"+", "-", "*", "/", "^", "<", "<=", ">", ">=", "==", "!="})
        result.push_back(operand + operation + "0.5");
    result.push_back("-" + operand);
    result.push_back("1.5");
    result.push_back("plane(" + operand + "," + operand + ",3,1,2,3,4)");
    return result;
}

/// Asks for every formula of what is made of the first variable with this text ahead of it and that
/// behind it.
void calculate(client::Engine& engine, std::vector<std::string> const& paths,
               std::string const& ahead = "", std::string const& behind = "")
{
    engine.load(paths);
    std::string const name = "{" + engine.dataSet().variables.front().name + "}";
    for (std::string const& formula : everyFormula(ahead + name + behind)) {
        int const var = engine.createCalcVar(1, formula, formula);
        engine.allSubzoneValues(1, var, [](auto, auto const&) {});
        engine.partitionRanges(1, var);
        engine.subzonesThatMayHold(1, {{var, 0.25}}, ValueLocation_Nodal);
    }
    engine.close();
}

/// Every question of the query services about a zone, as a client could put it in the words of the
/// wire: ours has no need of many of them.
std::vector<std::string> everyQuestion(int zone, std::vector<std::uint64_t> const& ids)
{
    using namespace tests::wire;
    using Address = ItemAddress<long>;
    using Arguments = std::vector<std::string>;
    std::vector<std::string> result;
    auto const ask = [&](std::string const& service, std::vector<char const*> const& methods,
                         Arguments const& arguments = {""}) {
        for (std::string const method : methods)
            for (std::string const& argument : arguments)
                result.push_back(service + text(method) + argument);
    };
    Arguments subzones;
    Arguments items;
    for (auto const& subzone :
         {Address::SubzoneAddress(0, 0, 0), Address::SubzoneAddress(1, 0, 0),
          Address::SubzoneAddress(0, 1, 0), Address::SubzoneAddress(0, 0, 1)}) {
        subzones.push_back(u64(subzone.word()));
        for (std::uint8_t const item : {std::uint8_t{0}, std::uint8_t{3}})
            items.push_back(u64(Address(subzone, item).word()));
    }
    items.push_back(u64(uniformAddress(5).word()));
    Arguments const some{vec({subzones[0]}), vec({}), vec(subzones)};
    Arguments nodeOfItem;
    for (std::string const& item : items)
        nodeOfItem.push_back(item + u32(1));

    std::string const cells = text("CellConnectivityQuery") + i32(zone);
    std::string const nodes = text("NodeConnectivityQuery") + i32(zone);
    for (std::string const& service : {cells, nodes}) {
        ask(service, {"setup", "numSubzones"});
        ask(service, {"subzoneSize"}, subzones);
        ask(service, {"toUniformAddress", "toHdqAddress"}, items);
        ask(service, {"checkin"}, some);
    }
    ask(cells, {"checkout"}, {u8(0) + some[0], u8(1) + some[1], u8(1) + some[2]});
    ask(cells, {"checkoutAll"}, {u8(0), u8(1)});
    ask(cells, {"referencedNodeSubzones"}, subzones);
    ask(cells,
        {"cornerNodeCount", "nodeCount", "faceCount", "cornerNodeAddresses", "nodeAddresses"},
        items);
    ask(cells, {"cornerNodeAddress", "nodeAddress"}, nodeOfItem);
    ask(cells,
        {"copyToUniformNM", "updateInternalFaceNeighbors", "faceNeighbors", "setFaceNeighbors"});
    ask(nodes, {"checkout"}, some);
    ask(nodes, {"checkoutAll"});
    ask(nodes, {"referencedCellSubzones"}, subzones);
    std::string const ordered = text("OrderedSubzoneQuery") + i32(zone);
    ask(ordered, {"setup"});
    for (int const axis : {0, 1, 2}) {
        ask(ordered, {"findIJKPlaneCellSubzones", "findIJKPlaneNodeSubzones"},
            {i32(axis) + i64(1)});
        ask(ordered, {"findIJKLineCellSubzones"}, {i32(axis) + i32(0) + i32(1)});
        ask(ordered, {"findIJKLineNodeSubzones"}, {i32(axis) + i64(0) + i64(1)});
    }
    for (std::size_t var = 0; var < ids.size(); ++var) {
        std::string const variable = i32(zone) + i32(static_cast<int>(var));
        for (char const* const name : {"NodalVarQuery", "CellCenteredVarQuery"}) {
            std::string const values = text(name) + variable;
            ask(values, {"setup"});
            ask(values, {"checkout", "checkin"}, some);
            ask(values, {"checkoutAll", "copyToUniformFD", "fieldValue", "fieldValues",
                         "checkinAll", "teardown", "destroy"});
        }
        std::string const ranges = text("VarSubzoneQuery") + variable;
        ask(ranges, {"setup", "findNodeSubzones", "findCellSubzones", "partitionMinMaxes",
                     "teardown", "destroy"});
        ask(ranges, {"cellSubzoneMinMaxes", "nodeSubzoneMinMaxes"}, {u32(0), u32(1)});
    }
    std::string const identity = text("ZoneVarIDQuery") + i32(zone);
    ask(identity, {"varExists"}, {u64(ids.front()), u64(99999)});
    ask(identity, {"findCellSubzones", "findNodeSubzones"},
        {vec({f64(0.25)}) + vec({u64(ids.front())}),
         vec({f64(0.25), f64(0.5)}) + vec({u64(ids.front()), u64(ids.back())})});
    for (std::string const& service : {cells, nodes, ordered})
        ask(service, {"checkinAll", "teardown", "destroy"});
    ask(identity, {"duplicate", "destroy"});
    std::string const number = i32(zone + 1);
    ask("",
        {"load node map", "unload node map", "clean up node map", "load face neighbors",
         "unload face neighbors", "clean up face neighbors"},
        {number, number + u32(1)}); // the client takes the neighbours
    for (std::size_t var = 1; var <= ids.size(); ++var)
        ask("", {"load field data", "unload field data", "clean up field data"},
            {number + i32(static_cast<int>(var))});
    for (std::uint32_t const file : {0U, 1U})
        result.push_back(text("loaderQuery") + text("zoneMetadata") + u32(0) + u32(file) +
                         i32(zone));
    return result;
}

/// Sessions that load files and ask about a zone all that is answered, each a part of it: short
/// inputs are quick ones.
void saveEveryQuestion(std::string const& name, std::vector<std::string> const& paths, int zone)
{
    constexpr std::size_t ENOUGH = 2048;
    std::vector<std::uint64_t> ids;
    std::string const addon = VNX_LIB_DIR "/vnxhdqfsloader.so";
    std::string const closing = tests::wire::text("close data server");
    std::string loading = fuzz::held(addon, [&](auto& engine) {
                              engine.load(paths);
                              for (auto const& variable : engine.dataSet().variables)
                                  ids.push_back(static_cast<std::uint64_t>(variable.uniqueId));
                              engine.close();
                          }).client;
    fuzz::expect(loading.ends_with(closing), "a session doesn't end with its last word");
    loading.resize(loading.size() - closing.size());
    std::string session = loading;
    int number = 0;
    auto const saveSession = [&] {
        if (session != loading)
            save("session", "everyQuestion-" + name + "-" + std::to_string(++number), session);
        session = loading;
    };
    for (std::string const& question : everyQuestion(zone, ids)) {
        std::string const all = session + question + closing;
        if (fuzz::serve(addon, reinterpret_cast<std::uint8_t const*>(all.data()), all.size()))
            session += question;
        if (session.size() > loading.size() + ENOUGH)
            saveSession();
    }
    saveSession();
}

void saveConversations()
{
    fuzz::SampleFolder const samples;
    fs::create_directory_symlink(samples.path(), samples.path() + "/data");
    fs::current_path(samples.path());
    auto const saveBoth = [](char const* target, std::string const& name, char const* addon,
                             fuzz::Opening opening, std::string const& path) {
        auto const conversation =
            fuzz::held(std::string(VNX_LIB_DIR "/") + addon,
                       [&](auto& engine) { fuzz::converse(engine, opening, path); });
        save(target, name, conversation.client);
        save("client", target + name,
             std::string(1, static_cast<char>(opening)) + conversation.server);
    };
    auto const loading = fuzz::Opening::Loading;
    saveBoth("server", "browsing", "vnxenginetestaddon.so", fuzz::Opening::Browsing, "");
    for (char const* const name : {"everything.hdqfs", "throws.hdqfs"})
        saveBoth("server", name, "vnxenginetestaddon.so", loading, std::string("data/") + name);
    for (std::string const name : fuzz::SAMPLES) {
        saveBoth("session", name, "vnxhdqfsloader.so", loading, "data/" + name);
        saveBoth("session", "further-" + name, "vnxhdqfsloader.so", fuzz::Opening::Further,
                 "data/" + name);
    }
    for (auto const& [name, paths] :
         {std::pair{"calculations", std::vector<std::string>{"data/ordered105"}},
          std::pair{"calculationsOfSeveralFiles",
                    std::vector<std::string>{"data/grid232", "data/solution232", "data/mixed232"}}})
        save("session", name,
             fuzz::held(VNX_LIB_DIR "/vnxhdqfsloader.so", [&files = paths](auto& engine) {
                 calculate(engine, files);
             }).client);
    // Operands whose bounds are those of the variable no more: of zeros, of very large and very
    // small numbers, of either sign, of nothing, and of no more than one number.
    int number = 0;
    for (auto const& [ahead, behind] :
         {std::pair{"(0*", ")"}, std::pair{"(1e300*", "*1e300)"}, std::pair{"(-1e300*abs(", "))"},
          std::pair{"(1e-200*", "*1e-200)"}, std::pair{"(", "-2)"}, std::pair{"sqrt(-1-abs(", "))"},
          std::pair{"(-0.5+0*", ")"}, std::pair{"(4*", "/5)"}})
        save("session", "calculations-" + std::to_string(++number),
             fuzz::held(VNX_LIB_DIR "/vnxhdqfsloader.so", [&, a = ahead, b = behind](auto& engine) {
                 calculate(engine, {"data/allTypes232"}, a, b);
             }).client);
    for (std::string const name : fuzz::SAMPLES)
        if (name != "solution232") // it needs its grid
            saveEveryQuestion(name, {"data/" + name}, 0);
    saveEveryQuestion("ofASolution", {"data/grid232", "data/solution232"}, 0);
    saveEveryQuestion("ofAnotherZone", {"data/sharing232"}, 1);
    save("client", "accepted", std::string(1, '\0') + tests::wire::u8(1) + tests::wire::text(""));
    save("client", "refused", std::string(1, '\0') + tests::wire::u8(0) + tests::wire::text("no"));
}

}

int main(int argc, char** argv)
{
    if (argc != 2)
        return 2;
    folder = fs::absolute(argv[1]);
    fs::create_directories(folder);
    hdqio::MessageCapture const quiet;
    saveFiles();
    saveGridOfEach();
    saveHeaders();
    saveFormulas();
    savePayloads();
    saveConversations(); // which read files that are seeds
    return 0;
}
