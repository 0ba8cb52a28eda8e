#include "tools/vnxconvert/Inputs.h"

#include "tools/support/WrongUsage.h"

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>
#include <nlohmann/json.hpp>

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace varnox::convert {

namespace fs = std::filesystem;

namespace {

double numberIn(std::string const& text)
{
    double result = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), result);
    if (error != std::errc() || end != text.data() + text.size() || std::isnan(result))
        throw std::invalid_argument("'" + text + "' is no time.");
    return result;
}

bool isCollection(std::string const& path)
{
    return extensionOf(path) == ".pvd";
}

bool isSeries(std::string const& path)
{
    return extensionOf(path) == ".series";
}

/// "run" of "out/run.vtu.series".
std::string stemOf(std::string const& path)
{
    fs::path name = fs::path(path).stem();
    if (isReadable(name.string()))
        name = name.stem();
    return name.string();
}

std::string beside(std::string const& path, std::string const& name)
{
    return (fs::path(path).parent_path() / name).string();
}

std::ifstream open(std::string const& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file || fs::is_directory(path))
        failReading(path, std::string(std::strerror(errno != 0 ? errno : EISDIR)) + ".",
                    "Check the name, and that you may read the file.");
    return file;
}

FrameFiles& frameAt(std::vector<FrameFiles>& frames, double time)
{
    for (FrameFiles& frame : frames)
        if (frame.time == time)
            return frame;
    frames.push_back({time, {}});
    return frames.back();
}

std::vector<FrameFiles> readCollection(std::string const& path)
{
    namespace pt = boost::property_tree;
    std::vector<FrameFiles> result;
    try {
        std::ifstream file = open(path);
        pt::ptree tree;
        pt::read_xml(file, tree);
        for (auto const& [tag, entry] : tree.get_child("VTKFile.Collection")) {
            if (tag != "DataSet")
                continue;
            std::string const name = entry.get<std::string>("<xmlattr>.name", "");
            std::string const part = entry.get<std::string>("<xmlattr>.part", "0");
            FrameFiles& frame =
                frameAt(result, numberIn(entry.get<std::string>("<xmlattr>.timestep", "0")));
            std::string const fallback = stemOf(path) + (part == "0" ? "" : "_" + part);
            frame.files.push_back({beside(path, entry.get<std::string>("<xmlattr>.file")),
                                   name.empty() ? fallback : name,
                                   {}});
        }
    } catch (pt::ptree_error const& error) {
        failReading(path, std::string("it is no collection of files (") + error.what() + ").",
                    "A .pvd file has a VTKFile with a Collection of DataSet entries.");
    } catch (std::invalid_argument const& error) {
        failReading(path, error.what(), "A timestep of a DataSet entry must be a number.");
    }
    return result;
}

std::vector<FrameFiles> readSeries(std::string const& path)
{
    std::vector<FrameFiles> result;
    try {
        std::ifstream file = open(path);
        auto const json = nlohmann::json::parse(file);
        for (auto const& entry : json.at("files"))
            frameAt(result, entry.at("time").get<double>())
                .files.push_back(
                    {beside(path, entry.at("name").get<std::string>()), stemOf(path), {}});
    } catch (nlohmann::json::exception const& error) {
        failReading(path, std::string("it is no series (") + error.what() + ").",
                    "A .series file is JSON with \"files\", each with \"name\" and \"time\".");
    }
    return result;
}

/// What files of a series have in common is the name of their zone.
std::string commonName(std::vector<std::string> const& inputs)
{
    std::string result = stemOf(inputs.front());
    for (std::string const& input : inputs) {
        std::string const stem = stemOf(input);
        std::size_t length = 0;
        while (length < result.size() && length < stem.size() && result[length] == stem[length])
            ++length;
        result.resize(length);
    }
    while (!result.empty() && std::strchr("0123456789._-", result.back()) != nullptr)
        result.pop_back();
    return result.empty() ? "grid" : result;
}

/// Of a file that has several times.
std::vector<FrameFiles> framesIn(std::string const& path, std::vector<double> const& times)
{
    std::vector<FrameFiles> result;
    for (std::size_t step = 0; step < times.size(); ++step)
        result.push_back({times[step], {{path, "", step}}});
    return result;
}

void append(std::vector<FrameFiles>& frames, std::vector<FrameFiles> const& more,
            std::string const& path)
{
    if (frames.empty()) {
        frames = more;
        return;
    }
    bool isSame = frames.size() == more.size();
    for (std::size_t i = 0; isSame && i < frames.size(); ++i)
        isSame = frames[i].time == more[i].time;
    if (!isSame)
        throw std::runtime_error("The times of " + path +
                                 " are not those of the series ahead of it.\nConvert them one by "
                                 "one.");
    for (std::size_t i = 0; i < frames.size(); ++i)
        frames[i].files.insert(frames[i].files.end(), more[i].files.begin(), more[i].files.end());
}

}

TimeRange TimeRange::parse(std::string const& text)
{
    TimeRange result;
    std::size_t const colon = text.find(':');
    if (colon == std::string::npos) {
        result.first = result.last = numberIn(text);
        return result;
    }
    if (colon != 0)
        result.first = numberIn(text.substr(0, colon));
    if (colon + 1 != text.size())
        result.last = numberIn(text.substr(colon + 1));
    if (result.first > result.last)
        throw std::invalid_argument("'" + text + "' ends ahead of its begin.");
    return result;
}

std::vector<FrameFiles> framesOf(std::vector<std::string> const& inputs, bool asSeries)
{
    std::vector<FrameFiles> result;
    FrameFiles plain;
    for (std::string const& input : inputs) {
        std::vector<double> const times = timesIn(input);
        bool const isOfFiles = isCollection(input) || isSeries(input) || times.size() > 1;
        if (times.size() > 1)
            append(result, framesIn(input, times), input);
        else if (!isOfFiles)
            plain.files.push_back({input, asSeries ? commonName(inputs) : "", std::nullopt});
        else
            append(result, isSeries(input) ? readSeries(input) : readCollection(input), input);
        if (isOfFiles && result.empty())
            failReading(input, "it names no files.", "There is nothing to convert.");
        if (!result.empty() && !plain.files.empty())
            throw tools::WrongUsage("A series and " + (isOfFiles ? plain.files[0].path : input) +
                                    ", which is none, can't go into one file.");
    }
    if (!asSeries && !plain.files.empty())
        result.push_back(plain);
    if (asSeries)
        for (FrameFiles::File const& file : plain.files)
            result.push_back({std::nullopt, {file}});
    return result;
}

}
