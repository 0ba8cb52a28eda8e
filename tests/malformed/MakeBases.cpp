// Writes the sound files and streams whose edits are the malformed ones: vnx_malformed_bases FOLDER

#include "fuzz/support/Conversation.h"
#include "fuzz/support/Entry.h"
#include "fuzz/support/HeldConversation.h"
#include "fuzz/support/SessionRun.h"
#include "tests/faults/SampleFiles.h"
#include "tests/writer/DataSets.h"
#include "varnox/hdqfswriter/FileWriter.h"

#include <filesystem>
#include <fstream>
#include <string>

namespace {

using namespace varnox;
namespace fs = std::filesystem;

fs::path folder;

void save(std::string const& name, std::string const& bytes)
{
    std::ofstream file(folder / name, std::ios::binary);
    file << bytes;
    fuzz::expect(file.good(), "a base can't be written");
}

void saveFiles()
{
    fs::path const seeds = VNX_SOURCE_DIR "/fuzz/corpus/file";
    for (char const* const name :
         {"allTypes232", "boxes232", "brickPartitions232", "bricks232", "mixed232",
          "mixedPartitions232", "ordered105", "ordered232", "plainBricks232", "tetrahedra232",
          "boxes232text", "brickPartitions232text", "bricks232text", "mixed232text",
          "ordered232text", "plainBricks232text"})
        fs::copy_file(seeds / (std::string("seed-") + name), folder / name,
                      fs::copy_options::overwrite_existing);
    fs::copy_file(VNX_SOURCE_DIR "/fuzz/corpus/check/seed-brickPartitions104",
                  folder / "brickPartitions104", fs::copy_options::overwrite_existing);
    for (bool const isText : {false, true})
        fs::copy_file(tests::SampleFiles::get().path("annotated", isText),
                      folder / (isText ? "annotatedtext" : "annotated"),
                      fs::copy_options::overwrite_existing);
}

/// Two zones, of which the second one has the first one's connectivity and a variable of it.
void saveSharing()
{
    using hdqfswriter::DataSet;
    using hdqfswriter::Options;
    using hdqfswriter::ValueLocation;
    using hdqfswriter::ValueType;
    using hdqfswriter::ZoneType;
    auto const zone = [] {
        return hdqfswriter::tests::meshZone({ZoneType::Brick, {2, 1, 1}},
                                            {{ValueType::Float, ValueLocation::Nodes, false, -1},
                                             {ValueType::Byte, ValueLocation::Cells, false, -1}});
    };
    DataSet dataSet;
    dataSet.variableNames = {"p", "q"};
    dataSet.zones = {zone(), zone(), zone()};
    for (std::size_t z = 0; z < dataSet.zones.size(); ++z)
        dataSet.zones[z].name = "zone " + std::to_string(z + 1);
    dataSet.zones[1].connectivityFrom = 0;
    dataSet.zones[1].variables[0].sharedFrom = 0;
    dataSet.zones[2].variables[1].isPassive = true;
    for (bool const isText : {false, true}) {
        Options options;
        options.isText = isText;
        hdqfswriter::writeFile(folder / (isText ? "sharedtext" : "shared"), dataSet, options);
    }
}

/// All that a client says, without its farewell, and all that the server says.
void saveConversation(std::string const& name, char const* addon, std::string const& path)
{
    std::string const farewell = "close data server";
    auto const loaded =
        fuzz::held(std::string(VNX_LIB_DIR "/") + addon, [&](client::Engine& engine) {
            engine.load({path});
            engine.close();
        });
    save("session-" + name,
         loaded.client.substr(0, loaded.client.size() - sizeof(std::uint64_t) - farewell.size()));
    save("client-" + name,
         fuzz::held(std::string(VNX_LIB_DIR "/") + addon, [&](client::Engine& engine) {
             fuzz::converse(engine, fuzz::Opening::Loading, path);
         }).server);
}

void saveConversations()
{
    fs::create_directory_symlink(fuzz::sampleFolder(), fuzz::sampleFolder() + "/data");
    fs::current_path(fuzz::sampleFolder());
    for (char const* const name :
         {"ordered105", "mixed232", "brickPartitions232", "plainBricks232"})
        saveConversation(name, "vnxhdqfsloader.so", std::string("data/") + name);
    saveConversation("everything", "vnxenginetestaddon.so", "data/everything.hdqfs");
}

}

int main(int argc, char** argv)
{
    if (argc != 2)
        return 2;
    folder = fs::absolute(argv[1]);
    saveFiles();
    saveSharing();
    saveConversations();
    return 0;
}
