#include "tools/vnxinfo/Values.h"

#include "addons/hdqfs/DescriptorCache.h"
#include "tools/vnxinfo/Description.h"
#include "tools/vnxinfo/Names.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <functional>
#include <limits>
#include <stdexcept>
#include <vector>

namespace varnox::tools {

using hdqfsloader::DataFile;
using hdqfsloader::ValueArray;
using hdqfsloader::ValueType;

namespace {

constexpr std::uint64_t VALUES_AT_ONCE = 65536;
constexpr std::size_t BAR_WIDTH = 50;

/// The zone whose values a zone's variable has: itself, or where sharing ends.
std::uint32_t sourceOf(DataFile const& file, ValuesOf const& wanted)
{
    std::uint32_t zone = wanted.zone;
    for (std::uint32_t steps = 0; file.sharedFrom(zone, wanted.var) != -1; ++steps) {
        if (steps >= file.numZones())
            throw std::runtime_error("Variable " + std::to_string(wanted.var + 1) +
                                     " is shared in a ring of zones.");
        zone = static_cast<std::uint32_t>(file.sharedFrom(zone, wanted.var));
    }
    return zone;
}

/// The arrays that hold the values; none for a passive variable, whose values are all 0.
std::vector<ValueArray> arraysOf(DataFile& file, ValuesOf const& wanted)
{
    std::uint32_t const zone = sourceOf(file, wanted);
    if (file.isPassive(zone, wanted.var))
        return {};
    if (!file.zone(zone).isHdqZone)
        return {file.plainValues(zone, wanted.var)};
    std::vector<ValueArray> result;
    for (std::uint32_t p = 0; p < file.zone(zone).numPartitions; ++p)
        result.push_back(file.values(zone, wanted.var, p));
    return result;
}

using Sink = std::function<void(std::vector<double> const& values)>;

void readInParts(ValueArray const& array, Sink const& sink)
{
    hdqfsloader::DescriptorCache descriptors;
    hdqfsloader::ValueReader reader(descriptors);
    std::vector<double> values;
    for (std::uint64_t first = 0; first < array.numValues; first += VALUES_AT_ONCE) {
        std::uint64_t const count = std::min(VALUES_AT_ONCE, array.numValues - first);
        values.resize(static_cast<std::size_t>(count));
        reader.readDoubles(array, first, count, values.data());
        sink(values);
    }
}

std::string digitsOf(double value, ValueType type)
{
    return type == ValueType::Float ? shown(static_cast<float>(value)) : shown(value);
}

std::string jsonTextOf(double value, ValueType type)
{
    return std::isfinite(value) ? digitsOf(value, type) : jsonOf(value).dump();
}

/// What the values of a variable are, over however many zones.
struct Summary
{
    std::uint64_t numValues = 0;
    std::uint64_t numNaNs = 0;
    std::uint64_t numInfinite = 0;
    double min = std::numeric_limits<double>::infinity();
    double max = -std::numeric_limits<double>::infinity();
    double sum = 0;

    void add(double value)
    {
        ++numValues;
        if (std::isnan(value)) {
            ++numNaNs;
        } else if (std::isinf(value)) {
            ++numInfinite;
        } else {
            min = std::min(min, value);
            max = std::max(max, value);
            sum += value;
        }
    }
    std::uint64_t numFinite() const { return numValues - numNaNs - numInfinite; }
};

/// The part of the range that a value lies in; the largest value lies in the last.
std::size_t binOf(double value, Summary const& summary, std::size_t numBins)
{
    double const width = summary.max / 2 - summary.min / 2;
    if (width <= 0)
        return 0;
    double const share = (value / 2 - summary.min / 2) / width;
    auto const bin = static_cast<std::size_t>(share * static_cast<double>(numBins));
    return std::min(bin, numBins - 1);
}

double edgeOf(std::size_t bin, Summary const& summary, std::size_t numBins)
{
    double const share = static_cast<double>(bin) / static_cast<double>(numBins);
    return summary.min * (1 - share) + summary.max * share;
}

void writeBins(std::vector<std::uint64_t> const& bins, Summary const& summary, Output& output)
{
    std::uint64_t const most =
        std::max<std::uint64_t>(1, *std::max_element(bins.begin(), bins.end()));
    for (std::size_t b = 0; b < bins.size(); ++b) {
        std::array<char, 128> line{};
        std::snprintf(line.data(), line.size(), "%14.6g to %14.6g  %10lu  ",
                      edgeOf(b, summary, bins.size()), edgeOf(b + 1, summary, bins.size()),
                      bins[b]);
        auto const width = static_cast<std::size_t>(static_cast<double>(bins[b]) /
                                                    static_cast<double>(most) * BAR_WIDTH);
        output.write(line.data() + std::string(width, '#') + "\n");
    }
}

Json histogramOf(std::vector<std::uint64_t> const& bins, Summary const& summary)
{
    Json edges = Json::array();
    for (std::size_t b = 0; summary.numFinite() != 0 && b <= bins.size(); ++b)
        edges.push_back(edgeOf(b, summary, bins.size()));
    return {{"values", summary.numValues},
            {"notNumbers", summary.numNaNs},
            {"infinite", summary.numInfinite},
            {"min", jsonOf(summary.min)},
            {"max", jsonOf(summary.max)},
            {"mean", summary.numFinite() == 0
                         ? Json()
                         : Json(summary.sum / static_cast<double>(summary.numFinite()))},
            {"edges", edges},
            {"counts", bins}};
}

/// All values of a variable in these zones. Passive ones count as what they are: zeros.
void forEachValue(DataFile& file, std::uint32_t var, std::vector<std::uint32_t> const& zones,
                  std::function<void(double)> const& f)
{
    for (std::uint32_t const zone : zones)
        for (ValueArray const& array : arraysOf(file, {zone, var}))
            readInParts(array, [&](std::vector<double> const& values) {
                for (double const value : values)
                    f(value);
            });
}

}

void writeValues(DataFile& file, ValuesOf const& wanted, bool asJson, Output& output)
{
    std::vector<ValueArray> const arrays = arraysOf(file, wanted);
    bool const isPassive = file.isPassive(sourceOf(file, wanted), wanted.var);
    if (asJson) {
        Json head = {{"file", file.path()},
                     {"zone", wanted.zone + 1},
                     {"variable", wanted.var + 1},
                     {"name", file.headers().varNames[wanted.var]},
                     {"passive", isPassive}};
        std::string text = serialized(head);
        text.pop_back();
        output.write(text + ",\"partitions\":[");
    } else if (isPassive) {
        output.write("passive: every value is 0\n");
    }
    for (std::size_t p = 0; p < arrays.size(); ++p) {
        if (asJson)
            output.write(p == 0 ? "[" : ",[");
        bool isFirst = true;
        readInParts(arrays[p], [&](std::vector<double> const& values) {
            std::string text;
            for (double const value : values) {
                if (asJson)
                    text += (isFirst ? "" : ",") + jsonTextOf(value, arrays[p].type);
                else
                    text += digitsOf(value, arrays[p].type) + "\n";
                isFirst = false;
            }
            output.write(text);
        });
        if (asJson)
            output.write("]");
    }
    if (asJson)
        output.write("]}");
}

void writeHistogram(DataFile& file, std::uint32_t var, std::optional<std::uint32_t> onlyZone,
                    std::size_t numBins, bool asJson, Output& output)
{
    std::vector<std::uint32_t> zones;
    for (std::uint32_t z = 0; z < file.numZones(); ++z)
        if (onlyZone ? *onlyZone == z : !file.isPassive(z, var) && file.sharedFrom(z, var) == -1)
            zones.push_back(z);
    Summary summary;
    forEachValue(file, var, zones, [&](double value) { summary.add(value); });
    std::vector<std::uint64_t> bins(numBins);
    forEachValue(file, var, zones, [&](double value) {
        if (std::isfinite(value))
            ++bins[binOf(value, summary, numBins)];
    });
    std::string const name = file.headers().varNames[var];
    if (asJson) {
        Json result = {{"file", file.path()}, {"variable", var + 1}, {"name", name}};
        result.update(histogramOf(bins, summary));
        output.write(serialized(result));
        return;
    }
    output.write(shown(file.path()) + "\n'" + shown(name) +
                 "': " + std::to_string(summary.numValues) + " values");
    if (summary.numFinite() != 0)
        output.write(", " + shown(summary.min) + " to " + shown(summary.max) + ", mean " +
                     shown(summary.sum / static_cast<double>(summary.numFinite())));
    if (summary.numNaNs + summary.numInfinite != 0)
        output.write(", " + std::to_string(summary.numNaNs) + " not-a-number, " +
                     std::to_string(summary.numInfinite) + " infinite");
    output.write("\n");
    if (summary.numFinite() != 0)
        writeBins(bins, summary, output);
}

}
