#pragma once

#include "client/Engine.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace varnox::loadgen {

/// What is asked of a server, as the report tells it apart.
enum class Kind : std::size_t {
    Connect,
    Load,
    Info,
    Browse,
    Values,
    WholeValues,
    Cells,
    Searches,
    Ranges,
    CalcVars,
    BadRequests
};

constexpr std::array KIND_NAMES{"connect and greet",
                                "load",
                                "info",
                                "browse",
                                "values by subzone",
                                "whole variables",
                                "cells and nodes",
                                "searches",
                                "ranges",
                                "calculated variables",
                                "bad requests"};
constexpr std::size_t NUM_KINDS = KIND_NAMES.size();

/// One session of a client, with a data set loaded.
struct Visit
{
    client::Engine& engine;
    /// Numbers of the calculated variables that the session has made, by zone and formula.
    std::map<std::pair<int, std::string>, int> calcVars;
};

/// A request, and the checksum of its answer.
struct Task
{
    std::function<std::uint64_t(Visit&)> run;
    std::uint64_t answer = 0;
};

/// Files that are loaded together, and what can be asked of them.
struct FileSet
{
    std::vector<std::string> paths;
    std::uint64_t loadAnswer = 0;
    std::array<std::vector<Task>, NUM_KINDS> tasks;
};

/// Checksum of what a load has built.
std::uint64_t load(client::Engine& engine, std::vector<std::string> const& paths);

/// Makes the tasks of some files and runs each once, for its answer. Whoever runs one later, among
/// others, must get the same.
FileSet makeFileSet(client::Engine& engine, std::vector<std::string> const& paths);

/// The files that are asked for, in the folder of the examples.
std::vector<std::vector<std::string>> sampleFiles(std::filesystem::path const& folder);

}
