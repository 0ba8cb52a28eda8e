// Malformed files: files.txt has them, each with what the loader, vnxinfo --check and the library
// say.

#include "addons/hdqfs/DataSet.h"
#include "filedata/FileSetMetadata.h"
#include "filedata/Messages.h"
#include "fuzz/support/InputFile.h"
#include "fuzz/support/LoaderQuestions.h"
#include "tests/malformed/Run.h"
#include "tools/vnxinfo/Check.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

namespace varnox::malformed {
namespace {

std::string const TABLE = VNX_SOURCE_DIR "/tests/malformed/files.txt";

/// In every text the path is FILE.
std::string withoutPath(std::string text, std::string const& path)
{
    for (std::size_t at = 0; (at = text.find(path, at)) != std::string::npos;)
        text.replace(at, path.size(), "FILE");
    return text;
}

/// All that the loader refuses when it is asked for everything.
std::vector<std::string> refusals(std::string const& path)
{
    hdqio::MessageCapture const quiet;
    fuzz::Refusals const collected;
    fuzz::ask([&] {
        hdqfsloader::DataSet dataSet({path});
        fuzz::loadOnDemand(dataSet);
        fuzz::query(dataSet);
    });
    std::vector<std::string> result;
    for (std::string const& text : collected.texts())
        result.push_back(withoutPath(text, path));
    return result;
}

/// A sound file is refused what it doesn't have, too.
std::set<std::string> const& refusalsOfBase(std::string const& base)
{
    static std::map<std::string, std::set<std::string>> known;
    auto const [found, isNew] = known.try_emplace(base);
    if (isNew) {
        fuzz::InputFile file;
        file.set(baseFile(base));
        auto const all = refusals(file.path());
        found->second.insert(all.begin(), all.end());
    }
    return found->second;
}

/// The first thing that the loader refuses, and wouldn't of a sound file. It is also asked for what
/// no file has, which says nothing of this one.
std::string loaderOn(Case const& each, std::string const& path)
{
    std::set<std::string> const& usual = refusalsOfBase(each.base);
    for (std::string const& text : refusals(path))
        if (usual.count(text) == 0 && !text.starts_with("There is no "))
            return text;
    return "(nothing)";
}

/// The first fault that vnxinfo --check reports.
std::string checkOn(std::string const& path)
{
    hdqio::MessageCapture const quiet;
    tools::Faults const faults = tools::findFaults(path);
    if (faults.isEmpty())
        return "(nothing)";
    tools::Fault const& first = faults.kept().front();
    return withoutPath(first.place + ": " + first.text, path);
}

/// What ends the opening of the file in the server, or the question for a zone.
std::string libraryOn(std::string const& path)
{
    hdqio::MessageCapture const quiet;
    try {
        hdqio::FileSetMetadata set({path});
        int const numZones = std::min(set.numFileSetZones(), 4);
        for (int z = 0; z < numZones; ++z)
            set.zoneMetadata(0, z);
    } catch (std::bad_alloc const&) {
        return "std::bad_alloc";
    } catch (std::runtime_error const& error) {
        return withoutPath(error.what(), path);
    }
    return "(nothing)";
}

Said ask(Case const& each, std::string const& input)
{
    static fuzz::InputFile file;
    file.set(input);
    return {{"load", loaderOn(each, file.path())},
            {"check", checkOn(file.path())},
            {"library", libraryOn(file.path())}};
}

class MalformedFiles : public testing::TestWithParam<std::string>
{
};

std::string nameOf(testing::TestParamInfo<std::string> const& group)
{
    std::string result = group.param;
    std::replace_if(
        result.begin(), result.end(),
        [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0; }, '_');
    return result;
}

INSTANTIATE_TEST_SUITE_P(Files, MalformedFiles, testing::ValuesIn(Table(TABLE).groups()), nameOf);

TEST_P(MalformedFiles, AreRefusedAsTheTableSays)
{
    auto const baseOf = [](Case const& each) {
        refusalsOfBase(each.base); // apart from the case's own memory and time
        return baseFile(each.base);
    };
    runGroup(TABLE, GetParam(), baseOf, ask);
}

TEST(MalformedFilesTable, HasFiveHundredFilesOfDifferentNames)
{
    Table table(TABLE);
    std::set<std::string> names;
    for (Case const& each : table.cases())
        names.insert(each.name);
    EXPECT_EQ(names.size(), table.cases().size());
    EXPECT_GE(names.size(), 500U);
}

TEST(MalformedFilesTable, HasNoFileOfWhichNothingIsSaid)
{
    Table table(TABLE);
    for (Case const& each : table.cases())
        EXPECT_TRUE(std::any_of(each.said.begin(), each.said.end(), [](auto const& said) {
            return said.first != "library" && said.second != "(nothing)";
        })) << each.name;
}

}
}
