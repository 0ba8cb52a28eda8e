#include "tools/vnxclient/Search.h"

#include "tools/vnxclient/Connection.h"
#include "tools/vnxclient/Numbers.h"
#include "tools/vnxclient/Reports.h"

#include <charconv>
#include <system_error>

namespace varnox::tools {

using client::Axis;
using client::DataSet;
using client::Engine;
using client::Range;
using client::SubzoneAddress;
using client::Zone;
using client::ZoneShape;
using client::ZoneVariable;
using nlohmann::json;

namespace {

/// What a report is about.
struct Subject
{
    Subject(Engine const& engine, std::string const& zoneText, std::string const& variableText)
        : zone(zoneNumberOf(zoneText, engine.dataSet())),
          var(variableNumberOf(variableText, engine.dataSet()))
    {
        engine.hasSubzoneValues(zone, var); // complains about numbers that don't exist
        of = engine.dataSet().zone(zone);
        variable = DataSet::variable(*of, var);
        name = engine.dataSet().variables[static_cast<std::size_t>(var - 1)].name;
    }

    std::string text() const
    {
        return "variable " + std::to_string(var) + " '" + shown(name) + "' of zone " +
               std::to_string(zone) + " '" + shown(of->name) + "'";
    }

    json head() const
    {
        return {{"zone", zone}, {"zoneName", of->name}, {"variable", var}, {"variableName", name}};
    }

    int zone;
    int var;
    Zone const* of;
    ZoneVariable const* variable;
    std::string name;
};

ValueLocation_e kindOf(std::string const& text, ValueLocation_e standard)
{
    return text.empty()      ? standard
           : text == "nodes" ? ValueLocation_Nodal
                             : ValueLocation_CellCentered;
}

std::string wordOf(ValueLocation_e kind)
{
    return kind == ValueLocation_Nodal ? "node" : "cell";
}

std::string textOf(ZoneVariable const& variable, Range const& range)
{
    return range.min > range.max
               ? "no values"
               : shownBound(variable, range.min) + " to " + shownBound(variable, range.max);
}

json jsonOf(Range const& range)
{
    return range.min > range.max ? json() : json({range.min, range.max});
}

/// The subzones of a partition in the order of their ranges.
std::vector<SubzoneAddress> subzonesOf(ZoneShape const& shape, std::uint32_t partition,
                                       ValueLocation_e kind)
{
    std::vector<SubzoneAddress> result;
    for (std::uint32_t section = 0; section <= ItemAddress<long>::MAX_SECTION; ++section)
        for (std::uint32_t n = 0; n < shape.numSubzones(kind, partition, section); ++n)
            result.emplace_back(partition, section, n);
    return result;
}

void reportWholeRange(Subject const& subject, bool asJson, Output& output)
{
    auto const& range = subject.variable->range;
    if (asJson) {
        json report = subject.head();
        report["range"] = range ? jsonOf(*range) : json();
        if (subject.variable->isPassive)
            report["range"] = {0, 0};
        output.write(dumped(report) + "\n");
    } else {
        output.write(subject.text() + ": " +
                     (subject.variable->isPassive ? "passive, all values are 0"
                      : range                     ? textOf(*subject.variable, *range)
                                                  : "the loader gave no range") +
                     "\n");
    }
}

void reportPartitionRanges(Engine& engine, Subject const& subject, bool asJson, Output& output)
{
    std::vector<Range> const ranges = engine.partitionRanges(subject.zone, subject.var);
    if (asJson) {
        json report = subject.head();
        report["partitions"] = json::array();
        for (Range const& range : ranges)
            report["partitions"].push_back(jsonOf(range));
        output.write(dumped(report) + "\n");
        return;
    }
    output.write("# ranges of " + subject.text() + " in its partitions\n");
    for (std::size_t p = 0; p < ranges.size(); ++p)
        output.write(std::to_string(p) + ": " + textOf(*subject.variable, ranges[p]) + "\n");
}

void reportSubzoneRanges(Engine& engine, Subject const& subject, std::uint32_t partition,
                         ValueLocation_e kind, bool asJson, Output& output)
{
    std::vector<Range> const ranges =
        engine.subzoneRanges(subject.zone, subject.var, partition, kind);
    std::vector<SubzoneAddress> const subzones =
        subzonesOf(engine.shape(subject.zone), partition, kind);
    if (asJson) {
        json report = subject.head();
        report["of"] = wordOf(kind) + "s";
        report["subzones"] = json::array();
        for (std::size_t n = 0; n < ranges.size(); ++n) {
            json entry = jsonOfAddress(subzones.at(n));
            entry["range"] = jsonOf(ranges[n]);
            report["subzones"].push_back(entry);
        }
        output.write(dumped(report) + "\n");
        return;
    }
    output.write("# ranges of " + subject.text() + " in the " + wordOf(kind) +
                 " subzones of partition " + std::to_string(partition) + "\n");
    for (std::size_t n = 0; n < ranges.size(); ++n)
        output.write(client::textOf(subzones.at(n)) + ": " + textOf(*subject.variable, ranges[n]) +
                     "\n");
}

/// What was found, after a head that says what was looked for.
void reportSubzones(Engine& engine, int zone, ValueLocation_e kind, json head,
                    std::string const& what, std::vector<SubzoneAddress> const& found, bool asJson,
                    Output& output)
{
    std::uint64_t const total = engine.shape(zone).numSubzones(kind);
    Zone const& of = *engine.dataSet().zone(zone);
    if (asJson) {
        head["zone"] = zone;
        head["zoneName"] = of.name;
        head["of"] = wordOf(kind) + "s";
        head["totalSubzones"] = total;
        head["subzones"] = json::array();
        for (SubzoneAddress const address : found)
            head["subzones"].push_back(jsonOfAddress(address));
        output.write(dumped(head) + "\n");
        return;
    }
    output.write("# " + std::to_string(found.size()) + " of " + std::to_string(total) + " " +
                 wordOf(kind) + " subzones of zone " + std::to_string(zone) + " '" +
                 shown(of.name) + "' " + what + "\n");
    for (SubzoneAddress const address : found)
        output.write(client::textOf(address) + "\n");
}

}

std::pair<std::string, double> parseWantedValue(std::string const& text)
{
    std::size_t const equals = text.rfind('=');
    double value = 0;
    if (equals != std::string::npos && equals > 0) {
        char const* const begin = text.data() + equals + 1;
        char const* const end = text.data() + text.size();
        auto const [stop, error] = std::from_chars(begin, end, value);
        if (error == std::errc() && stop == end && begin != end)
            return {text.substr(0, equals), value};
    }
    throw WrongUsage("--value: '" + shown(text) + "' is not of the form VARIABLE=VALUE.");
}

void requireOneOrTwoIndices(PlaneRequest const& request)
{
    int count = 0;
    for (auto const* index : {&request.i, &request.j, &request.k})
        count += index->has_value() ? 1 : 0;
    if (count != 1 && count != 2)
        throw WrongUsage("Give one of --i, --j and --k for a plane, or two for a line.");
}

void reportRange(Engine& engine, RangeRequest const& request, bool asJson, Output& output)
{
    Subject const subject(engine, request.zone, request.variable);
    if (request.partition)
        reportSubzoneRanges(engine, subject, *request.partition,
                            kindOf(request.kind, subject.variable->location), asJson, output);
    else if (request.byPartition)
        reportPartitionRanges(engine, subject, asJson, output);
    else
        reportWholeRange(subject, asJson, output);
}

void reportFound(Engine& engine, FindRequest const& request, bool asJson, Output& output)
{
    std::vector<client::WantedValue> wanted;
    json values = json::array();
    std::string what = "may hold ";
    ValueLocation_e standard = ValueLocation_Nodal;
    int zone = 0;
    for (auto const& [text, value] : request.values) {
        Subject const subject(engine, request.zone, text);
        zone = subject.zone;
        if (wanted.empty())
            standard = subject.variable->location;
        what += (wanted.empty() ? "" : ", ") + shown(subject.name) + " = " + shown(value);
        wanted.push_back({subject.var, value});
        values.push_back(
            {{"variable", subject.var}, {"variableName", subject.name}, {"value", value}});
    }
    ValueLocation_e const kind = kindOf(request.kind, standard);
    auto const found = engine.subzonesThatMayHold(zone, wanted, kind);
    reportSubzones(engine, zone, kind, {{"values", values}}, what, found, asJson, output);
}

void reportPlane(Engine& engine, PlaneRequest const& request, bool asJson, Output& output)
{
    int const zone = zoneNumberOf(request.zone, engine.dataSet());
    ValueLocation_e const kind = kindOf(request.kind, ValueLocation_Nodal);
    auto const& i = request.i;
    auto const& j = request.j;
    auto const& k = request.k;
    json head;
    std::string text;
    for (auto const& [name, index] : {std::pair("i", i), std::pair("j", j), std::pair("k", k)}) {
        if (!index)
            continue;
        head[name] = *index;
        text += (text.empty() ? "" : ", ") + std::string(name) + " = " + std::to_string(*index);
    }
    std::vector<SubzoneAddress> found;
    if (head.size() == 1)
        found = i   ? engine.subzonesOfPlane(zone, Axis::I, *i, kind)
                : j ? engine.subzonesOfPlane(zone, Axis::J, *j, kind)
                    : engine.subzonesOfPlane(zone, Axis::K, *k, kind);
    else
        found = !i   ? engine.subzonesOfLine(zone, Axis::I, *j, *k, kind)
                : !j ? engine.subzonesOfLine(zone, Axis::J, *i, *k, kind)
                     : engine.subzonesOfLine(zone, Axis::K, *i, *j, kind);
    reportSubzones(engine, zone, kind, head,
                   std::string("are on the ") + (head.size() == 1 ? "plane " : "line ") + text,
                   found, asJson, output);
}

}
