#pragma once

#include <string>

namespace varnox::tests {

/// Small files of every kind, in a folder that is made at the first use and gone at the program's
/// end. Binary and text ones differ in form only.
class SampleFiles
{
public:
    static SampleFiles const& get();
    SampleFiles(SampleFiles const&) = delete;
    SampleFiles& operator=(SampleFiles const&) = delete;

    /// name: box, boxes, mesh, mixed, plain, shared, annotated, grid, step0, step1.
    std::string path(std::string const& name, bool isText) const;
    /// Some other file of the folder: cut (half of a data file), empty, foreign, the add-ons'
    /// words, and listing/, a folder to be listed.
    std::string other(std::string const& name) const;

private:
    SampleFiles();
    ~SampleFiles();

    std::string m_folder;
};

}
