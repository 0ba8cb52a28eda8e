#include "addons/hdqfs/Announcement.h"

#include "addons/hdqfs/AnnotationReader.h"
#include "tests/filedata/FileBuilder.h"
#include "tests/hdqfs/TemporaryFile.h"
#include "varnox/hostapi/VnxMock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>

namespace varnox::hdqfsloader {
namespace {

using hdqio::tests::build;
using hdqio::tests::FileSpec;
using testing::StartsWith;
using tests::TemporaryFile;

constexpr std::uint16_t NODE_MAP_TAG = 1537;
constexpr std::uint16_t FACE_NEIGHBORS_TAG = 1538;

/// A host that takes everything but, on demand, what is to be loaded on demand.
class RefusingEngine : public VnxMock
{
public:
    char takesValues = 1;
    char takesNodeMaps = 1;
    char takesFaceNeighbors = 1;

    _ArgList_s* VnxUtilArgListAlloc() override { return nullptr; }
    char VnxUtilArgListAppendArray(_ArgList_s*, char const*, void const*) override { return 1; }
    char VnxUtilArgListAppendDouble(_ArgList_s*, char const*, double) override { return 1; }
    char VnxUtilArgListAppendInt(_ArgList_s*, char const*, long) override { return 1; }
    char VnxUtilArgListAppendString(_ArgList_s*, char const*, char const*) override { return 1; }
    char VnxUtilArgListAppendStringList(_ArgList_s*, char const*, StringList_s*) override
    {
        return 1;
    }
    StringList_s* VnxUtilStringListAlloc() override { return nullptr; }
    char VnxUtilStringListAppendString(StringList_s*, char const*) override { return 1; }
    void VnxUtilDataLoadStart() override {}
    char VnxUtilDataSetCreateX(_ArgList_s*) override { return 1; }
    char VnxUtilDataSetAddZoneX(_ArgList_s*) override { return 1; }
    void VnxUtilDataValueSetMinMaxByZoneVar(int, int, double, double) override {}
    char VnxUtilDataValueCustomLOD(int, int, char (*)(FieldData_s*), char (*)(FieldData_s*),
                                   void (*)(FieldData_s*), double (*)(FieldData_s*, long),
                                   void (*)(FieldData_s*, long, double), long) override
    {
        return takesValues;
    }
    char VnxUtilDataNodeCustomLOD(int, char (*)(ElemToNodeMap*), char (*)(ElemToNodeMap*),
                                  void (*)(ElemToNodeMap*), long) override
    {
        return takesNodeMaps;
    }
    char VnxUtilDataFaceNbrCustomLOD(int, char, char (*)(FaceNeighbor_s*),
                                     char (*)(FaceNeighbor_s*), void (*)(FaceNeighbor_s*),
                                     long) override
    {
        return takesFaceNeighbors;
    }
};

/// One zone of triangles with a node map and face neighbours.
FileSpec everything()
{
    FileSpec spec;
    spec.zones[0].letter = 't';
    spec.zones[0].forcedTags[NODE_MAP_TAG] = 1 << 19;
    spec.zones[0].forcedTags[FACE_NEIGHBORS_TAG] = 1 << 18;
    return spec;
}

class HostThatRefuses : public testing::Test
{
protected:
    std::string failure()
    {
        TemporaryFile const file(build(everything()));
        DataSet const dataSet({file.path()});
        std::vector<long> ids;
        try {
            announce(dataSet, {}, ids);
        } catch (std::runtime_error const& error) {
            return error.what();
        }
        return "";
    }

    RefusingEngine engine;
};

TEST_F(HostThatRefuses, NothingLetsTheLoadPass)
{
    EXPECT_EQ(failure(), "");
}

TEST_F(HostThatRefuses, ValuesEndsTheLoad)
{
    engine.takesValues = 0;
    EXPECT_EQ(failure(), "The host could not take how the values of zone 1 are loaded.");
}

TEST_F(HostThatRefuses, NodeMapsEndsTheLoad)
{
    engine.takesNodeMaps = 0;
    EXPECT_EQ(failure(), "The host could not take how the cells of zone 1 are loaded.");
}

TEST_F(HostThatRefuses, FaceNeighborsEndsTheLoad)
{
    engine.takesFaceNeighbors = 0;
    EXPECT_EQ(failure(), "The host could not take how the face neighbours of zone 1 are loaded.");
}

TEST(ZonesWithFaceNeighbors, FileThatCantBeReadAnyMoreIsAnError)
{
    TemporaryFile const file(build(everything()));
    DataFile const opened(file.path());
    EXPECT_EQ(zonesWithFaceNeighbors(opened), std::vector<bool>{true});
    std::filesystem::resize_file(file.path(), 20);
    try {
        zonesWithFaceNeighbors(opened);
        FAIL() << "no exception";
    } catch (std::runtime_error const& error) {
        EXPECT_THAT(error.what(), StartsWith("Cannot read the face neighbours of zone 1 of " +
                                             file.path() + ": "));
    }
}

}
}
