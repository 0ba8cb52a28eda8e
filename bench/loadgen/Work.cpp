#include "bench/loadgen/Work.h"

#include "client/Errors.h"

#include <random>
#include <type_traits>
#include <variant>

namespace varnox::loadgen {

using client::Engine;
using client::SubzoneAddress;

namespace {

/// FNV-1a of everything that is put in.
class Checksum
{
public:
    void add(void const* bytes, std::size_t byteCount)
    {
        auto const* const first = static_cast<unsigned char const*>(bytes);
        for (std::size_t i = 0; i < byteCount; ++i)
            m_value = (m_value ^ first[i]) * 0x100000001b3;
    }
    template <typename T>
    void add(T value)
    {
        static_assert(std::is_arithmetic_v<T> || std::is_enum_v<T>);
        add(&value, sizeof(value));
    }
    void add(std::string const& text)
    {
        add(text.size());
        add(text.data(), text.size());
    }
    void add(client::Values const& values)
    {
        add(client::count(values));
        add(client::bytes(values), client::byteCount(values));
    }
    void add(std::vector<SubzoneAddress> const& addresses)
    {
        add(addresses.size());
        for (SubzoneAddress const address : addresses)
            add(address.word());
    }
    std::uint64_t value() const { return m_value; }

private:
    std::uint64_t m_value = 0xcbf29ce484222325;
};

using Subzones = std::vector<SubzoneAddress>;

std::uint64_t checksumOf(client::CellSubzone const& cells)
{
    Checksum sum;
    sum.add(cells.address.word());
    sum.add(cells.shape);
    for (client::NodeAddress const node : cells.nodes)
        sum.add(node.word());
    sum.add(cells.nodeSubzones);
    return sum.value();
}

std::uint64_t askForValues(Engine& engine, int zone, int var, Subzones const& wanted)
{
    Checksum sum;
    engine.subzoneValues(zone, var, wanted,
                         [&](SubzoneAddress, client::Values const& values) { sum.add(values); });
    return sum.value();
}

std::uint64_t askForCells(Engine& engine, int zone, Subzones const& wanted)
{
    Checksum sum;
    engine.cells(zone, wanted,
                 [&](client::CellSubzone const& cells) { sum.add(checksumOf(cells)); });
    return sum.value();
}

std::uint64_t askForNodes(Engine& engine, int zone, Subzones const& wanted)
{
    Checksum sum;
    for (client::NodeSubzone const& nodes : engine.nodeSubzones(zone, wanted)) {
        sum.add(nodes.numNodes);
        sum.add(nodes.cellSubzones);
    }
    return sum.value();
}

std::uint64_t askForRanges(Engine& engine, int zone, int var)
{
    Checksum sum;
    for (client::Range const& range : engine.partitionRanges(zone, var)) {
        sum.add(range.min);
        sum.add(range.max);
    }
    for (client::Range const& range : engine.subzoneRanges(zone, var, 0)) {
        sum.add(range.min);
        sum.add(range.max);
    }
    return sum.value();
}

std::uint64_t askForFolder(Engine& engine, std::string const& folder)
{
    client::Listing const listing = engine.listFiles(folder);
    Checksum sum;
    sum.add(listing.directory);
    for (client::FileEntry const& entry : listing.entries) {
        sum.add(entry.name);
        sum.add(entry.type);
        sum.add(entry.size);
    }
    return sum.value();
}

std::uint64_t askForTypes(Engine& engine)
{
    client::FileTypes const types = engine.listFileTypes();
    Checksum sum;
    sum.add(types.loaderName);
    sum.add(types.extensions);
    return sum.value();
}

/// Made once in a session, and asked for again after that.
int calcVar(Visit& visit, int zone, std::string const& formula)
{
    auto const place = visit.calcVars.find({zone, formula});
    if (place != visit.calcVars.end())
        return place->second;
    std::string const name = "load " + std::to_string(visit.calcVars.size());
    int const var = visit.engine.createCalcVar(zone, name, formula);
    visit.calcVars.emplace(std::pair(zone, formula), var);
    return var;
}

/// Makes the tasks of one file set, with choices from a fixed seed.
class Maker
{
public:
    explicit Maker(Engine& engine, FileSet& fileSet) : m_engine(engine), m_fileSet(fileSet) {}

    void make()
    {
        std::filesystem::path const folder =
            std::filesystem::path(m_fileSet.paths.front()).parent_path();
        add(Kind::Info, [](Visit& visit) { return askForTypes(visit.engine); });
        for (std::filesystem::path const& place : {folder, folder.parent_path()})
            add(Kind::Browse,
                [text = place.string()](Visit& visit) { return askForFolder(visit.engine, text); });
        for (client::Zone const& zone : m_engine.dataSet().zones) {
            for (client::Variable const& variable : m_engine.dataSet().variables)
                addVariable(zone, variable.number);
            addCells(zone);
            if (zone.isOrdered())
                addOrderedSearches(zone);
            addSearches(zone);
            addCalcVars(zone);
        }
    }

private:
    static constexpr std::size_t GROUPS = 3; // of subzones that are asked for together

    void add(Kind kind, std::function<std::uint64_t(Visit&)> run)
    {
        m_fileSet.tasks[static_cast<std::size_t>(kind)].push_back({std::move(run), 0});
    }

    /// Some subzones of a zone: one, three or nine.
    Subzones choose(int zone, ValueLocation_e kind, std::size_t group)
    {
        constexpr std::size_t SIZES[GROUPS] = {1, 3, 9};
        Subzones const all = m_engine.subzonesOf(zone, kind);
        Subzones result;
        for (std::size_t i = 0; i < SIZES[group]; ++i)
            result.push_back(all[m_random() % all.size()]);
        return result;
    }

    void addVariable(client::Zone const& zone, int var)
    {
        int const number = zone.number;
        ValueLocation_e const location = client::DataSet::variable(zone, var)->location;
        add(Kind::WholeValues, [=](Visit& visit) {
            Checksum sum;
            sum.add(visit.engine.values(number, var));
            return sum.value();
        });
        add(Kind::WholeValues, [=](Visit& visit) {
            Checksum sum;
            visit.engine.allSubzoneValues(
                number, var,
                [&](SubzoneAddress, client::Values const& values) { sum.add(values); });
            return sum.value();
        });
        add(Kind::Info, [=](Visit& visit) -> std::uint64_t {
            return visit.engine.hasVariable(number, var) ? 1 : 0;
        });
        add(Kind::Ranges, [=](Visit& visit) { return askForRanges(visit.engine, number, var); });
        for (std::size_t group = 0; group < GROUPS; ++group)
            add(Kind::Values, [=, wanted = choose(number, location, group)](Visit& visit) {
                return askForValues(visit.engine, number, var, wanted);
            });
    }

    void addCells(client::Zone const& zone)
    {
        int const number = zone.number;
        for (std::size_t group = 0; group < GROUPS; ++group) {
            add(Kind::Cells,
                [=, wanted = choose(number, ValueLocation_CellCentered, group)](Visit& visit) {
                    return askForCells(visit.engine, number, wanted);
                });
            if (!zone.isOrdered())
                add(Kind::Cells,
                    [=, wanted = choose(number, ValueLocation_Nodal, group)](Visit& visit) {
                        return askForNodes(visit.engine, number, wanted);
                    });
        }
    }

    /// By one value, and by two at the same place.
    void addSearches(client::Zone const& zone)
    {
        std::vector<client::WantedValue> wanted;
        for (client::Variable const& variable : m_engine.dataSet().variables) {
            auto const& range = client::DataSet::variable(zone, variable.number)->range;
            if (!range)
                continue;
            wanted.push_back({variable.number, 0.6 * range->min + 0.4 * range->max});
            if (wanted.size() > 2)
                wanted.erase(wanted.begin());
            for (ValueLocation_e const kind : {ValueLocation_Nodal, ValueLocation_CellCentered})
                add(Kind::Searches, [=, number = zone.number](Visit& visit) {
                    Checksum sum;
                    sum.add(visit.engine.subzonesThatMayHold(number, wanted, kind));
                    return sum.value();
                });
        }
    }

    void addOrderedSearches(client::Zone const& zone)
    {
        for (client::Axis const axis : {client::Axis::I, client::Axis::J, client::Axis::K})
            for (ValueLocation_e const kind : {ValueLocation_Nodal, ValueLocation_CellCentered}) {
                std::int64_t const index = zone.size[static_cast<std::size_t>(axis)] / 2;
                add(Kind::Searches, [=, number = zone.number](Visit& visit) {
                    Checksum sum;
                    sum.add(visit.engine.subzonesOfPlane(number, axis, index, kind));
                    sum.add(visit.engine.subzonesOfLine(number, axis, 1, 2, kind));
                    return sum.value();
                });
            }
    }

    /// From the first and the last nodal variable.
    void addCalcVars(client::Zone const& zone)
    {
        std::vector<std::string> names;
        for (client::Variable const& variable : m_engine.dataSet().variables)
            if (client::DataSet::variable(zone, variable.number)->location == ValueLocation_Nodal)
                names.push_back("{" + variable.name + "}");
        std::string const& a = names.front();
        std::string const& b = names.back();
        int const number = zone.number;
        for (std::string const& formula : {a + " * 2 + " + b, "sqrt(" + a + "^2 + " + b + "^2)",
                                           "sin(" + b + ") - cos(" + a + ")"})
            for (std::size_t group = 0; group < GROUPS; ++group)
                add(Kind::CalcVars,
                    [=, wanted = choose(number, ValueLocation_Nodal, group)](Visit& visit) {
                        return askForValues(visit.engine, number, calcVar(visit, number, formula),
                                            wanted);
                    });
    }

    Engine& m_engine;
    FileSet& m_fileSet;
    std::mt19937_64 m_random{7};
};

}

std::uint64_t load(Engine& engine, std::vector<std::string> const& paths)
{
    client::DataSet const& dataSet = engine.load(paths);
    Checksum sum;
    sum.add(dataSet.title);
    for (client::Variable const& variable : dataSet.variables)
        sum.add(variable.name);
    for (client::Zone const& zone : dataSet.zones) {
        sum.add(zone.name);
        sum.add(zone.numNodes());
        sum.add(zone.solutionTime);
    }
    return sum.value();
}

FileSet makeFileSet(Engine& engine, std::vector<std::string> const& paths)
{
    FileSet result;
    result.paths = paths;
    result.loadAnswer = load(engine, paths);
    Maker(engine, result).make();
    Visit visit{engine, {}};
    for (std::vector<Task>& tasks : result.tasks)
        for (Task& task : tasks)
            task.answer = task.run(visit);
    return result;
}

std::vector<std::vector<std::string>> sampleFiles(std::filesystem::path const& folder)
{
    constexpr char const* NAMES[][4] = {
        {"tjunction_grid", "tjunction_t00", "tjunction_t05", "tjunction_t10"},
        {"tankbox_partitions"},
        {"tjunction_ascii_grid", "tjunction_ascii_t05"},
    };
    std::vector<std::vector<std::string>> result;
    for (auto const& names : NAMES) {
        std::vector<std::string>& paths = result.emplace_back();
        for (char const* const name : names)
            if (name != nullptr)
                paths.push_back((folder / (std::string(name) + ".hdqfs")).string());
    }
    return result;
}

}
