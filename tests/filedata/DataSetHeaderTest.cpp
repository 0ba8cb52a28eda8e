#include "filedata/DataSetHeader.h"

#include "filedata/DataFileHeader.h"
#include "tests/filedata/FileBuilder.h"
#include "tests/filedata/OpenFile.h"
#include "tests/support/RecordingSocket.h"

#include <gtest/gtest.h>

#include <cstring>

namespace varnox::hdqio {
namespace {

using tests::build;
using tests::FileSpec;
using tests::OpenFile;
using tests::SectionSpec;
using tests::VarSpec;
using tests::ZoneSpec;

constexpr std::uint64_t ALL_ONES = tests::ALL_ONES;

/// A file read up to and with its data set header.
struct Header
{
    explicit Header(std::string const& bytes) : file(bytes)
    {
        std::uint64_t byteOrder = 0;
        std::uint64_t loc = 0;
        haveTags = readDataFileHeader(file.reader, description, byteOrder, loc) &&
                   file.reader.seekToFileLoc(loc) &&
                   readDataSetHeaderTags(file.reader, description, tags);
        haveScalars = haveTags && applyDataSetHeaderScalarTagValues(tags, numVars, numZones);
        result = haveScalars &&
                 readDataSetHeader(file.reader, description, tags, title, metadata, headerLocs);
    }
    explicit Header(FileSpec const& spec) : Header(build(spec)) {}

    OpenFile file;
    FileDescription description;
    TagMap tags;
    int numVars = -1;
    int numZones = -1;
    std::string title = "before";
    ZoneVarMetadata metadata;
    LightweightVector<std::uint64_t> headerLocs;
    bool haveTags = false;
    bool haveScalars = false;
    bool result = false;
};

std::vector<FileSpec> inBothForms(FileSpec spec)
{
    FileSpec text = spec;
    text.isAscii = true;
    return {spec, text};
}

TEST(DataSetHeaderTags, KMaxKeepsBoth)
{
    EXPECT_EQ(ZONE_KMAX_OR_NUM_CORNERS_FILE_LOC_TAG, 265);
    FileSpec spec;
    spec.omittedTags = {265};
    EXPECT_EQ(Header(spec).file.message(),
              "Missing required file header tag 265, 'zoneKMaxOrNumFaces'.");
}

TEST(DataSetHeaderTags, ConstantsAreTheNumbersOfTheFiles)
{
    EXPECT_EQ(NUM_ZONES_TAG, 1);
    EXPECT_EQ(NUM_VARS_TAG, 2);
    EXPECT_EQ(SUBZONE_MAX_I_SIZE_TAG, 3);
    EXPECT_EQ(SUBZONE_MAX_J_SIZE_TAG, 4);
    EXPECT_EQ(SUBZONE_MAX_K_SIZE_TAG, 5);
    EXPECT_EQ(SUBZONE_MAX_FE_SIZE_TAG, 6);
    EXPECT_EQ(AUX_DATA_FILE_LOC_TAG, 7);
    EXPECT_EQ(GEOMETRY_FILE_LOC_TAG, 8);
    EXPECT_EQ(CUSTOM_LABELS_FILE_LOC_TAG, 9);
    EXPECT_EQ(TEXT_FILE_LOC_TAG, 10);
    EXPECT_EQ(DATA_SET_TITLE_TAG, 12);
    EXPECT_EQ(ZONE_NAME_FILE_LOC_TAG, 256);
    EXPECT_EQ(ZONE_TYPE_FILE_LOC_TAG, 257);
    EXPECT_EQ(ZONE_HEADER_FILE_LOC_TAG, 258);
    EXPECT_EQ(ZONE_FACE_NEIGHBOR_MODE_FILE_LOC_TAG, 259);
    EXPECT_EQ(ZONE_SOLUTION_TIME_FILE_LOC_TAG, 260);
    EXPECT_EQ(ZONE_STRAND_ID_FILE_LOC_TAG, 261);
    EXPECT_EQ(ZONE_PARENT_ZONE_FILE_LOC_TAG, 262);
    EXPECT_EQ(ZONE_IMAX_OR_NUM_NODES_FILE_LOC_TAG, 263);
    EXPECT_EQ(ZONE_JMAX_OR_NUM_CELLS_FILE_LOC_TAG, 264);
    EXPECT_EQ(ZONE_SHARE_CONNECTIVITY_FILE_LOC_TAG, 268);
    EXPECT_EQ(ZONE_NUM_SECTIONS_FILE_LOC_TAG, 269);
    EXPECT_EQ(VAR_NAME_FILE_LOC_TAG, 512);
    EXPECT_EQ(VAR_ZONE_MIN_MAX_FILE_LOC_TAG, 768);
    EXPECT_EQ(VAR_ZONE_VALUE_LOCATION_FILE_LOC_TAG, 769);
    EXPECT_EQ(VAR_ZONE_FIELD_DATA_TYPE_FILE_LOC_TAG, 770);
    EXPECT_EQ(VAR_ZONE_IS_PASSIVE_FILE_LOC_TAG, 771);
    EXPECT_EQ(VAR_ZONE_SHARE_FILE_LOC_TAG, 772);
}

struct NamedTag
{
    std::uint16_t number;
    char const* name;
};

NamedTag const requiredTags[] = {{1, "numberOfZones"},
                                 {2, "numberOfVars"},
                                 {3, "subzoneMaxISize"},
                                 {4, "subzoneMaxJSize"},
                                 {5, "subzoneMaxKSize"},
                                 {6, "subzoneMaxFESize"},
                                 {7, "auxDataFileLoc"},
                                 {8, "geometry"},
                                 {9, "customLabels"},
                                 {10, "text"},
                                 {256, "zoneNames"},
                                 {257, "zoneTypes"},
                                 {258, "zoneHeaderFileLocs"},
                                 {259, "zoneFaceNbrModes"},
                                 {260, "zoneSolutionTimes"},
                                 {261, "zoneStrandIDs"},
                                 {262, "zoneParentZones"},
                                 {263, "zoneIMaxOrNumNodes"},
                                 {264, "zoneJMaxOrNumCells"},
                                 {265, "zoneKMaxOrNumFaces"},
                                 {268, "zoneShareConnectivity"},
                                 {512, "varNames"},
                                 {768, "zoneMinMaxes"},
                                 {769, "valueLocations"},
                                 {770, "fieldDataTypes"},
                                 {771, "passiveVar"},
                                 {772, "shareVar"}};

class RequiredTags : public testing::TestWithParam<NamedTag>
{
};

TEST_P(RequiredTags, MustStandInFilesBefore106)
{
    for (char const* version : {"104", "105"}) {
        FileSpec spec;
        spec.version = version;
        spec.omittedTags = {GetParam().number};
        EXPECT_EQ(Header(spec).file.message(), "Missing required file header tag " +
                                                   std::to_string(GetParam().number) + ", '" +
                                                   GetParam().name + "'.");
    }
}

TEST_P(RequiredTags, AreNotAskedForFrom106On)
{
    for (char const* version : {"106", "232"}) {
        FileSpec spec;
        spec.version = version;
        spec.omittedTags = {GetParam().number};
        Header const header(spec);
        EXPECT_EQ(header.file.message().find("Missing required"), std::string::npos);
        EXPECT_EQ(header.haveTags, GetParam().number < 3 || GetParam().number > 6);
    }
}

INSTANTIATE_TEST_SUITE_P(DataSetHeader, RequiredTags, testing::ValuesIn(requiredTags),
                         [](auto const& test) { return std::string(test.param.name); });

TEST(DataSetHeader, FirstMissingTagIsTheOneReported)
{
    FileSpec spec;
    spec.omittedTags = {772, 256, 9};
    EXPECT_EQ(Header(spec).file.message(), "Missing required file header tag 9, 'customLabels'.");
}

std::string withoutTags(std::string const& version)
{
    tests::FileBuilder file(version);
    std::uint64_t const start = file.value<std::uint16_t>("numTags", 0);
    file.raw(file.isAscii() ? "tags\r\n" : "");
    return file.file(start);
}

TEST(DataSetHeader, NoTagsMissTheFirstRequiredOneOrTheFirstLimit)
{
    for (char const* form : {"BF", "TF"}) {
        EXPECT_EQ(Header(withoutTags(std::string("105") + form)).file.message(),
                  "Missing required file header tag 1, 'numberOfZones'.");
        EXPECT_EQ(Header(withoutTags(std::string("106") + form)).file.message(),
                  "Missing value for 'subzoneMaxISize' while reading file header.");
    }
}

struct LimitCase
{
    std::uint16_t tag;
    char const* name;
};

class SubzoneLimits : public testing::TestWithParam<LimitCase>
{
};

TEST_P(SubzoneLimits, AreThereAndNotZero)
{
    FileSpec spec;
    spec.version = "106";
    spec.omittedTags = {GetParam().tag};
    EXPECT_EQ(Header(spec).file.message(), std::string("Missing value for '") + GetParam().name +
                                               "' while reading file header.");
    spec.omittedTags.clear();
    spec.forcedTags[GetParam().tag] = 0;
    EXPECT_EQ(Header(spec).file.message(), std::string("Invalid value (0) for '") +
                                               GetParam().name + "' while reading file header.");
}

TEST_P(SubzoneLimits, AreNotZeroIn16Bits)
{
    FileSpec spec;
    spec.forcedTags[GetParam().tag] = 0x20000;
    std::string const value = GetParam().tag == 6 ? "0" : "131072";
    EXPECT_EQ(Header(spec).file.message(), "Invalid value (" + value + ") for '" + GetParam().name +
                                               "' while reading file header.");
}

LimitCase const limitCases[] = {{3, "subzoneMaxISize"},
                                {4, "subzoneMaxJSize"},
                                {5, "subzoneMaxKSize"},
                                {6, "subzoneMaxFESize"}};
INSTANTIATE_TEST_SUITE_P(DataSetHeader, SubzoneLimits, testing::ValuesIn(limitCases),
                         [](auto const& test) { return std::string(test.param.name); });

TEST(DataSetHeader, LimitsAreKeptWithTheProductOfIAndJ)
{
    FileSpec spec;
    spec.limits[0] = 5;
    spec.limits[1] = 7;
    spec.limits[2] = 3;
    spec.limits[3] = 0x10080;
    Header const header(spec);
    EXPECT_TRUE(header.result) << header.file.message();
    EXPECT_EQ(header.description.getMaxIJKSubzoneSize().i, 5);
    EXPECT_EQ(header.description.getMaxIJKSubzoneSize().j, 7);
    EXPECT_EQ(header.description.getMaxIJKSubzoneSize().k, 3);
    EXPECT_EQ(header.description.getMaxIJKSubzoneSize().ij, 35);
    EXPECT_EQ(header.description.getMaxFESubzoneSize(), 0x80);
}

TEST(DataSetHeader, LimitsWhoseProductOverflowsAreRefused)
{
    FileSpec spec;
    spec.limits[0] = 0x4000000000000001;
    spec.limits[1] = 0x4000000000000001;
    EXPECT_EQ(Header(spec).file.message(), "Invalid values for 'subzoneMaxISize' and "
                                           "'subzoneMaxJSize' while reading file header.");
}

TEST(DataSetHeader, ScalarsAreZonesAndVariables)
{
    FileSpec spec;
    spec.zones.resize(3);
    spec.vars.resize(2);
    Header const header(spec);
    EXPECT_EQ(header.numZones, 3);
    EXPECT_EQ(header.numVars, 2);
}

std::string scalarMessage(TagMap const& tags)
{
    MessageCapture const messages;
    int numVars = 0;
    int numZones = 0;
    EXPECT_FALSE(applyDataSetHeaderScalarTagValues(tags, numVars, numZones));
    return messages.text();
}

TEST(DataSetHeader, ScalarsMustBeThereAndBelowTheirLimit)
{
    EXPECT_EQ(scalarMessage({{1, 1}}),
              "Missing value for 'numberOfVars' while reading file header.");
    EXPECT_EQ(scalarMessage({{2, 1}}),
              "Missing value for 'numberOfZones' while reading file header.");
    EXPECT_EQ(scalarMessage({{1, 0x7FFFFFFF}, {2, 0x7FFFFFFF}}), "File exceeds HDQ variable limit");
    EXPECT_EQ(scalarMessage({{1, 0x7FFFFFFF}, {2, 1}}), "File exceeds HDQ zone limit");
    EXPECT_EQ(scalarMessage({{1, 1}, {2, 0x100000001}}),
              "The file claims 1 zones and 4294967297 variables, more than there can be.");
    EXPECT_EQ(scalarMessage({{1, 0x80000000}, {2, 1}}),
              "The file claims 2147483648 zones and 1 variables, more than there can be.");
}

TEST(DataSetHeader, UnknownTagIsAnnouncedAndTheReadGoesOn)
{
    for (FileSpec const& spec : inBothForms({})) {
        std::string bytes = build(spec);
        if (spec.isAscii) {
            std::size_t const number = bytes.find("  10 ", bytes.find("tags  "));
            bytes.replace(number, 5, "  77 ");
        } else {
            std::string const ten("\x09\0\x0a\0\0\1", 6);
            bytes.replace(bytes.find(ten), 6, std::string("\x09\0\x4d\0\0\1", 6));
        }
        bytes.replace(8, 3, "106"); // 105 would miss tag 10
        Header const header(bytes);
        EXPECT_TRUE(header.haveTags) << header.file.message();
        EXPECT_EQ(header.file.message().substr(0, 73),
                  "Unrecognized tag while reading file header: 77. Attempting to continue...");
    }
}

TEST(DataSetHeader, TitleIsOptionalAndMayBeEmpty)
{
    for (FileSpec spec : inBothForms({})) {
        EXPECT_EQ(Header(spec).title, "");
        EXPECT_TRUE(Header(spec).result);
        spec.title = "";
        EXPECT_EQ(Header(spec).title, "");
        EXPECT_TRUE(Header(spec).result);
        spec.title = "Flow in a tank";
        EXPECT_EQ(Header(spec).title, "Flow in a tank");
    }
}

TEST(DataSetHeader, TitleBeyondTheFileIsRefused)
{
    FileSpec spec;
    spec.title = "x";
    std::string bytes = build(spec);
    std::size_t const at = bytes.find(std::string("\1\0\0\0x", 5));
    bytes.replace(at, 4, "\xff\xff\xff\xff");
    Header const header(bytes);
    EXPECT_FALSE(header.result);
    EXPECT_EQ(header.file.message(), "The file is too short for its title of 4294967295 bytes.");
}

TEST(DataSetHeader, VariableNamesMustBeThere)
{
    FileSpec spec;
    spec.forcedTags[512] = 0;
    EXPECT_EQ(Header(spec).file.message(), "Missing file header tag 512 'varNames'.");
    spec.version = "106";
    spec.forcedTags.clear();
    spec.omittedTags = {512};
    EXPECT_EQ(Header(spec).file.message(), "Missing file header tag 512 'varNames'.");
}

TEST(DataSetHeader, FileWithoutZonesEndsBehindTheVariableNames)
{
    for (FileSpec spec : inBothForms({})) {
        spec.zones.clear();
        spec.vars = {{"p"}, {"q"}};
        spec.title = "t";
        Header const header(spec);
        EXPECT_TRUE(header.result) << header.file.message();
        EXPECT_EQ(header.title, "t");
        EXPECT_EQ(header.metadata.varNames[1], "q");
        EXPECT_EQ(header.metadata.numZones, 0U);
        EXPECT_EQ(header.metadata.numVars, 0U);
    }
}

TEST(DataSetHeader, LocationOfZoneHeadersMustBeThere)
{
    FileSpec spec;
    spec.forcedTags[258] = 0;
    EXPECT_EQ(Header(spec).file.message(), "File does not contain zone header file locations.");
}

FileSpec zonesWithHeaderAt(std::size_t count, std::size_t index, std::uint64_t loc)
{
    FileSpec spec;
    spec.zones.assign(count, ZoneSpec{});
    spec.zones[index].forcedHeaderLoc = loc;
    return spec;
}

TEST(DataSetHeader, SpotCheckCatchesFirstMiddleAndLast)
{
    for (std::uint64_t const loc : {std::uint64_t{0}, ALL_ONES}) {
        for (std::size_t const index : {0U, 1U, 2U})
            EXPECT_EQ(Header(zonesWithHeaderAt(3, index, loc)).file.message(),
                      "This file has invalid zone file locations.");
        EXPECT_FALSE(Header(zonesWithHeaderAt(1, 0, loc)).result);
        EXPECT_FALSE(Header(zonesWithHeaderAt(5, 2, loc)).result);
        EXPECT_FALSE(Header(zonesWithHeaderAt(4, 2, loc)).result);
    }
}

TEST(DataSetHeader, SpotCheckPassesAZeroBetweenItsThreeEntries)
{
    Header const zero(zonesWithHeaderAt(5, 1, 0));
    EXPECT_TRUE(zero.result) << zero.file.message();
    EXPECT_EQ(zero.headerLocs[1], 0U);
    EXPECT_TRUE(Header(zonesWithHeaderAt(5, 3, ALL_ONES)).result);
    EXPECT_TRUE(Header(zonesWithHeaderAt(4, 1, 0)).result);
}

FileSpec twoZones()
{
    FileSpec spec;
    spec.zones = {ZoneSpec{}, ZoneSpec{}};
    ZoneSpec& zone = spec.zones[1];
    zone.letter = 'b';
    zone.i = 100;
    zone.j = 60;
    zone.k = 6;
    zone.name = "second zone";
    zone.faceNbrMode = 3;
    zone.solutionTime = 0.25;
    zone.strandID = 0xFFFFFFFE;
    zone.parentZone = -7;
    zone.shareConnectivity = 0;
    spec.vars = {{"pressure", 1, 1, 0, -1, {-1, 2}}, {"phase", 5, 0, 1, 1, {0, 255}}};
    return spec;
}

TEST(DataSetHeader, ZonesAndVariablesAreReadFromBothForms)
{
    for (FileSpec const& spec : inBothForms(twoZones())) {
        Header const header(spec);
        ASSERT_TRUE(header.result) << header.file.message();
        ZoneVarMetadata const& metadata = header.metadata;
        EXPECT_EQ(metadata.numZones, 2U);
        EXPECT_EQ(metadata.numVars, 2U);
        EXPECT_EQ(metadata.zoneNames[0], "zone");
        EXPECT_EQ(metadata.zoneNames[1], "second zone");
        EXPECT_EQ(metadata.zoneTypes[0], 'O');
        EXPECT_EQ(metadata.zoneTypes[1], 'b');
        EXPECT_EQ(metadata.faceNbrModes[1], 3);
        EXPECT_EQ(metadata.solutionTimes[1], 0.25);
        EXPECT_EQ(metadata.strandIDs[1], 0xFFFFFFFEU);
        EXPECT_EQ(metadata.parentZones[1], -7);
        EXPECT_EQ(metadata.iMaxOrNumNodes[1], 100U);
        EXPECT_EQ(metadata.jMaxOrNumCells[1], 60U);
        EXPECT_EQ(metadata.kMaxOrNumFaces[1], 6U);
        EXPECT_EQ(metadata.shareConnectivity[0], -1);
        EXPECT_EQ(metadata.shareConnectivity[1], 0);
        EXPECT_EQ(metadata.varNames[0], "pressure");
        EXPECT_EQ(metadata.varNames[1], "phase");
        EXPECT_EQ(metadata.fieldDataTypes[0][1], 1);
        EXPECT_EQ(metadata.fieldDataTypes[1][0], 5);
        EXPECT_EQ(metadata.zoneMinMaxes[0][1].min, -1);
        EXPECT_EQ(metadata.zoneMinMaxes[1][1].max, 255);
        EXPECT_EQ(metadata.valueLocations[0][0], 1);
        EXPECT_EQ(metadata.valueLocations[1][1], 0);
        EXPECT_EQ(metadata.passive[0][0], 0);
        EXPECT_EQ(metadata.passive[1][0], 1);
        EXPECT_EQ(metadata.shareVar[0][0], -1);
        EXPECT_EQ(metadata.shareVar[1][1], 1);
        EXPECT_EQ(header.headerLocs.size(), 2U);
    }
}

TEST(DataSetHeader, OlderWordsOfPassiveAndSharedVariablesAreAccepted)
{
    FileSpec spec = twoZones();
    spec.isAscii = true;
    std::string bytes = build(spec);
    for (auto const& [word, older] : {std::pair{"passiveVarForVar1", "passiveForVar1   "},
                                      std::pair{"shareVarForVar2", "shareForVar2   "}})
        bytes.replace(bytes.find(word), std::strlen(word), older);
    Header const header(bytes);
    EXPECT_TRUE(header.result) << header.file.message();
    EXPECT_EQ(header.metadata.shareVar[1][1], 1);
}

FileSpec mixedZones(std::string const& version)
{
    FileSpec spec;
    spec.version = version;
    spec.zones.assign(3, ZoneSpec{});
    spec.zones[1].letter = 'm';
    spec.zones[1].sections = {{100, 4, 1, 0}, {200, 5, 2, 1}};
    spec.zones[2].letter = 'm';
    spec.zones[2].sections = {{300, 2, 3, 2}};
    return spec;
}

TEST(DataSetHeader, SectionsAreReadFrom106On)
{
    for (char const* version : {"106", "231", "232"})
        for (FileSpec const& spec : inBothForms(mixedZones(version))) {
            Header const header(spec);
            ASSERT_TRUE(header.result) << header.file.message();
            ZoneVarMetadata const& metadata = header.metadata;
            EXPECT_EQ(metadata.numSections[0], 0);
            EXPECT_EQ(metadata.numSections[1], 2);
            EXPECT_TRUE(metadata.numElemsPerSection[0].isNull());
            EXPECT_EQ(metadata.numElemsPerSection[1][1], 200);
            EXPECT_EQ(metadata.numElemsPerSection[2][0], 300);
            EXPECT_EQ(metadata.cellShapePerSection[1][1], 5);
            EXPECT_EQ(metadata.gridOrderPerSection[1][1], 2);
            EXPECT_EQ(metadata.gridOrderPerSection[2][0], 3);
            EXPECT_EQ(metadata.basisFuncPerSection[1][1], 1);
            EXPECT_EQ(metadata.basisFuncPerSection[2][0], 2);
        }
}

TEST(DataSetHeader, ElementCountsHave64BitsFrom232On)
{
    FileSpec spec = mixedZones("232");
    spec.zones[1].sections[0].numElems = 0x123456789A;
    EXPECT_EQ(Header(spec).metadata.numElemsPerSection[1][0], 0x123456789A);
    EXPECT_EQ(build(mixedZones("232")).size() - build(mixedZones("231")).size(), 3 * 4U);
}

TEST(DataSetHeader, SectionsAreNotReadBefore106)
{
    for (char const* version : {"104", "105"}) {
        Header const header(mixedZones(version));
        ASSERT_TRUE(header.result) << header.file.message();
        for (std::size_t z = 0; z < 3; ++z) {
            EXPECT_EQ(header.metadata.numSections[z], 0);
            EXPECT_TRUE(header.metadata.numElemsPerSection[z].isNull());
            EXPECT_TRUE(header.metadata.cellShapePerSection[z].isNull());
            EXPECT_TRUE(header.metadata.gridOrderPerSection[z].isNull());
            EXPECT_TRUE(header.metadata.basisFuncPerSection[z].isNull());
        }
    }
}

TEST(DataSetHeader, SectionFieldsAreThereAfterAFailureOfTheZones)
{
    for (DataSetHeaderTag const tag :
         {ZONE_HEADER_FILE_LOC_TAG, ZONE_IMAX_OR_NUM_NODES_FILE_LOC_TAG}) {
        FileSpec spec = mixedZones("106");
        spec.forcedTags[tag] = 1 << 30; // behind the end of the file
        Header const header(spec);
        EXPECT_FALSE(header.result);
        ASSERT_FALSE(header.metadata.numSections.isNull());
        for (std::size_t z = 0; z < 3; ++z)
            EXPECT_EQ(header.metadata.numSections[z], 0);
        EXPECT_EQ(header.metadata.numElemsPerSection.size(), 3U);
        EXPECT_EQ(header.metadata.basisFuncPerSection.size(), 3U);
    }
}

std::size_t minMaxBytes(std::vector<VarSpec> const& vars)
{
    FileSpec spec;
    spec.zones.assign(3, ZoneSpec{});
    spec.vars = vars;
    Header const header(spec);
    EXPECT_TRUE(header.result) << header.file.message();
    for (std::size_t v = 0; v < vars.size(); ++v)
        EXPECT_EQ(header.metadata.zoneMinMaxes[v][2].max, vars[v].range.max);
    return static_cast<std::size_t>(header.tags.at(769) - header.tags.at(768));
}

TEST(DataSetHeader, OneWideVariableWidensTheRangesOfTheWholeFile)
{
    EXPECT_EQ(minMaxBytes({{"a", 1}, {"b", 4}, {"c", 5}, {"d", 6}}), 4 * 3 * 8U);
    EXPECT_EQ(minMaxBytes({{"a", 1}, {"b", 3}, {"c", 5}}), 3 * 3 * 16U);
    EXPECT_EQ(minMaxBytes({{"a", 1}, {"b", 2}}), 2 * 3 * 16U);
}

struct DimensionCase
{
    char const* name;
    char letter;
    std::uint64_t size[3];
    std::uint8_t shape;
    std::uint32_t dimensions;
};

DimensionCase const dimensionCases[] = {
    {"OrderedPoint", 'O', {1, 1, 1}, 0, 1},
    {"OrderedNothing", 'O', {0, 0, 0}, 0, 1},
    {"OrderedLine", 'o', {1, 1, 9}, 0, 1},
    {"OrderedPlane", 'O', {9, 1, 9}, 0, 2},
    {"OrderedVolume", 'O', {2, 2, 2}, 0, 3},
    {"Triangle", 'r', {9, 9, 9}, 0, 2},
    {"Quadrilateral", 'Q', {9, 9, 9}, 0, 2},
    {"Polygon", 'g', {9, 9, 9}, 0, 2},
    {"Tetrahedron", 't', {9, 9, 9}, 0, 3},
    {"Brick", 'b', {9, 9, 9}, 0, 3},
    {"Polyhedron", 'p', {9, 9, 9}, 0, 3},
    {"LineSegment", 'l', {9, 9, 9}, 0, 1},
    {"MixedLine", 'm', {9, 9, 9}, 0, 1},
    {"MixedTriangle", 'm', {9, 9, 9}, 1, 2},
    {"MixedQuadrilateral", 'm', {9, 9, 9}, 2, 2},
    {"MixedTetrahedron", 'm', {9, 9, 9}, 3, 3},
    {"MixedHexahedron", 'm', {9, 9, 9}, 4, 3},
    {"MixedPyramid", 'm', {9, 9, 9}, 5, 3},
    {"MixedPrism", 'm', {9, 9, 9}, 6, 3},
    {"MixedUnknown", 'm', {9, 9, 9}, 7, 0},
    {"UnknownLetterIsOrdered", 'x', {2, 2, 1}, 0, 2},
};

class Dimensions : public testing::TestWithParam<DimensionCase>
{
protected:
    static FileSpec spec()
    {
        FileSpec result;
        result.version = "106";
        ZoneSpec& zone = result.zones[0];
        zone.letter = GetParam().letter;
        zone.i = GetParam().size[0];
        zone.j = GetParam().size[1];
        zone.k = GetParam().size[2];
        if (zone.letter == 'm')
            zone.sections = {{9, GetParam().shape}, {9, 0}};
        return result;
    }
};

TEST_P(Dimensions, FollowTheTypeOfTheZone)
{
    Header const header(spec());
    ASSERT_TRUE(header.result) << header.file.message();
    EXPECT_EQ(header.metadata.numDimensions[0], GetParam().dimensions);
}

TEST_P(Dimensions, StayZeroWithoutVariables)
{
    FileSpec withoutVars = spec();
    withoutVars.vars.clear();
    Header const header(withoutVars);
    ASSERT_TRUE(header.result) << header.file.message();
    EXPECT_EQ(header.metadata.numDimensions[0], 0U);
}

INSTANTIATE_TEST_SUITE_P(DataSetHeader, Dimensions, testing::ValuesIn(dimensionCases),
                         [](auto const& test) { return std::string(test.param.name); });

TEST(DataSetHeader, VariableNamesAloneAreStoredFromTheirStart)
{
    for (FileSpec const& spec : inBothForms(twoZones())) {
        Header header(spec);
        LightweightVector<std::string> names;
        ASSERT_TRUE(names.alloc(3));
        EXPECT_TRUE(readPerVarFileHeader(header.file.reader, header.tags, 1, names));
        EXPECT_EQ(names[0], "");
        EXPECT_EQ(names[1], "pressure");
        EXPECT_EQ(names[2], "phase");
        EXPECT_FALSE(readPerVarFileHeader(header.file.reader, header.tags, 2, names));
        EXPECT_FALSE(readPerVarFileHeader(header.file.reader, header.tags, -1, names));
        LightweightVector<std::string> unused;
        EXPECT_TRUE(readPerVarFileHeader(header.file.reader, header.tags, 0, unused));
        EXPECT_EQ(unused.size(), 2U);
        EXPECT_TRUE(readPerVarFileHeader(header.file.reader, {{2, 0}}, 0, unused));
        EXPECT_FALSE(readPerVarFileHeader(header.file.reader, {{2, 1}}, 0, unused));
    }
}

TEST(DataSetHeader, MoreZonesOrVariablesThanTheFileCanHoldAreRefused)
{
    FileSpec spec;
    for (std::uint64_t const count : {std::uint64_t{3000}, std::uint64_t{0x7FFFFFFE}}) {
        spec.forcedTags = {{1, count}};
        Header const zones(spec);
        EXPECT_FALSE(zones.result);
        EXPECT_EQ(zones.file.message(), "The file is too short for the " + std::to_string(count) +
                                            " zones and 1 variables it claims.");
        EXPECT_TRUE(zones.headerLocs.isNull());
    }
    spec.forcedTags = {{2, 0x7FFFFFFE}};
    Header const vars(spec);
    EXPECT_FALSE(vars.result);
    EXPECT_EQ(vars.file.message(), "Cannot resize string array.");
    EXPECT_TRUE(vars.metadata.varNames.isNull());
}

TEST(DataSetHeader, ProductOfZonesAndVariablesIsHeldAgainstTheFile)
{
    OpenFile file(std::string(300000, '\0'));
    EXPECT_TRUE(checkZoneAndVarCounts(file.reader, 2000, 10));
    EXPECT_TRUE(checkZoneAndVarCounts(file.reader, 1, 20000));
    EXPECT_FALSE(checkZoneAndVarCounts(file.reader, 2000, 100));
    EXPECT_FALSE(checkZoneAndVarCounts(file.reader, 6000, 1));
    EXPECT_TRUE(checkZoneAndVarCounts(file.reader, 0, 100000));
    EXPECT_FALSE(checkZoneAndVarCounts(file.reader, 0, 100001)); // each with arrays of its own
    OpenFile small(std::string(300, '\0'));
    EXPECT_TRUE(checkZoneAndVarCounts(small.reader, 0, 300));
    EXPECT_FALSE(checkZoneAndVarCounts(small.reader, 0, 301));
    EXPECT_TRUE(checkZoneAndVarCounts(file.reader, 0, 0));
}

TEST(DataSetHeader, FileCutAtEveryByteIsRefused)
{
    for (FileSpec const& spec : inBothForms(mixedZones("106"))) {
        std::string const whole = build(spec);
        ASSERT_TRUE(Header(whole).result);
        // The last value of a text file may lack its padding and its line end, and part of its
        // digits.
        std::size_t const last = spec.isAscii ? whole.find_last_not_of(" \r\n") - 16 : whole.size();
        for (std::size_t length = 0; length < last; ++length)
            ASSERT_FALSE(Header(whole.substr(0, length)).result) << length;
    }
}

}
}
