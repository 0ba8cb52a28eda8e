#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace varnox::fuzz {

/// Files of the corpus, without "seed-" at the head of their names.
// clang-format off
constexpr char const* SAMPLES[] = {
    "ordered105", "mixed232", "brickPartitions232", "plainBricks232", "plainOrdered232text",
    "mixedPartitions232", "allTypes232", "boxes232", "tetrahedra232", "annotated232", "sharing232",
    "grid232", "solution232", "severalBrickSubzones232", "secondOrder232", "shapes232",
    "mixedShapes232", "neighbors232", "line232", "plainAllTypes232"};
// clang-format on

/// The samples that a session may load by their names, as files of a folder of this process.
class SampleFolder
{
public:
    SampleFolder();
    SampleFolder(SampleFolder const&) = delete;
    SampleFolder& operator=(SampleFolder const&) = delete;
    ~SampleFolder();

    std::string const& path() const { return m_path; }

private:
    std::string m_path;
};

/// Serves all that a client says, with an add-on, until it has said everything. In what it says
/// "data/" at the head of a line stands for the folder. Returns whether it came to the word that
/// closes a session, nothing having failed before.
bool serve(std::string const& addon, std::uint8_t const* data, std::size_t size);

/// Where the samples of serve are.
std::string const& sampleFolder();

}
