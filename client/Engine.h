#pragma once

#include "client/ArgList.h"
#include "client/Cells.h"
#include "client/DataSet.h"
#include "client/DataSetBuilder.h"
#include "client/EngineSocket.h"
#include "client/Errors.h"
#include "client/Values.h"
#include "varnox/ItemAddress.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace varnox::hdqio {
struct ZoneMetadata;
}

namespace varnox::client {

using SubzoneAddress = ItemAddress<long>::SubzoneAddress;

/// The loader of the server: what it is called, and the extensions of its files.
struct FileTypes
{
    std::string loaderName;
    std::string extensions;
};

struct FileEntry
{
    std::string name;
    std::string type; ///< "regular", "directory", "file link" or "directory link"
    std::uint64_t size = 0;
    std::uint64_t lastWriteTime = 0; ///< Seconds since the epoch.
    std::uint16_t permissions = 0;
};

struct Listing
{
    std::string directory; ///< In the server's canonical form.
    std::vector<FileEntry> entries;
};

/// One partition of a zone with queries, by section where there are cells.
struct PartitionShape
{
    std::int64_t numNodes = 0;
    std::vector<std::int64_t> numCells;
    std::uint32_t numNodeSubzones = 0;
    std::vector<std::uint32_t> numCellSubzones;

    /// Over all sections.
    std::uint64_t numSubzones(ValueLocation_e kind) const;
};

struct ZoneShape
{
    std::vector<PartitionShape> partitions;
    std::uint64_t numSubzones(ValueLocation_e kind) const;
    std::uint64_t numNodeSubzones() const { return numSubzones(ValueLocation_Nodal); }
    std::uint64_t numCellSubzones() const { return numSubzones(ValueLocation_CellCentered); }
    /// 0 for a partition or a section that doesn't exist.
    std::uint32_t numSubzones(ValueLocation_e kind, std::uint32_t partition,
                              std::uint32_t section) const;
};

/// A value of a variable that a search looks for.
struct WantedValue
{
    int var;
    double value;
};

/// Along which the nodes and cells of an ordered zone are counted.
enum class Axis : std::int32_t { I, J, K };

/// How far a long action has come; total is 0 where nobody knows.
struct Progress
{
    char const* action = ""; ///< "Loading", "Reading"
    std::uint64_t done = 0;
    std::uint64_t total = 0;
};

/// Plays the engine over one connection to a data server: sends commands, serves those that come
/// back, keeps the data set that the loader builds, and fetches values. Zones and variables are
/// named by their numbers from 1 on. Every operation throws Error or one of its kinds; after
/// ConnectionLost, ProtocolViolation and LoadFailed the engine is of no further use. Not for two
/// threads at a time.
class Engine
{
public:
    using SubzoneSink = std::function<void(SubzoneAddress, Values const&)>;
    using CellSink = std::function<void(CellSubzone const&)>;

    static constexpr std::chrono::milliseconds GREETING_TIMEOUT{10'000};

    /// Takes over a connected descriptor.
    explicit Engine(int descriptor);
    Engine(Engine const&) = delete;
    Engine& operator=(Engine const&) = delete;
    ~Engine();

    /// For keys of a loader that this client doesn't know.
    ArgKeys& argKeys() { return m_argKeys; }
    /// Called often while something long goes on, also while nothing comes from the server.
    void setProgress(std::function<void(Progress const&)> report);
    /// Gives the server's last words, for messages about a lost connection.
    void setServerLog(std::function<std::string()> log) { m_serverLog = std::move(log); }

    /// First of all, on every connection but an inherited one. Throws GreetingRefused.
    void greet(std::string const& token, std::chrono::milliseconds timeout = GREETING_TIMEOUT);

    FileTypes listFileTypes();
    Listing listFiles(std::string const& directory);

    /// Throws LoadFailed with what the loader had to say.
    DataSet const& load(std::vector<std::string> const& paths);
    DataSet const& dataSet() const { return m_builder.dataSet(); }
    LoaderAnnouncement const* announcement() const;

    /// The partitions and subzones of a zone with queries.
    ZoneShape const& shape(int zone);
    /// Whether a variable's values can be had by subzones, its own or those that it shares.
    bool hasSubzoneValues(int zone, int var) const;
    /// The values of some subzones, in the order asked for: node subzones of a nodal variable, cell
    /// subzones of a cell-centred one.
    void subzoneValues(int zone, int var, std::vector<SubzoneAddress> const& wanted,
                       SubzoneSink const& sink);
    /// All values, subzone after subzone, in the order of partition, section and number.
    void allSubzoneValues(int zone, int var, SubzoneSink const& sink);
    /// All values of a variable, loaded on demand, in the order of the zone's items.
    Values values(int zone, int var);
    /// The face neighbours that the loader's user gave a zone, loaded on demand.
    std::vector<FaceNeighbors> faceNeighbors(int zone);
    /// Ranges of a variable in the partitions, of the values in each.
    std::vector<Range> partitionRanges(int zone, int var);
    /// Ranges of a variable in the node or cell subzones of a partition, section after section. Those
    /// of the kind at which the values stand are the ranges of the subzones' own values; the others
    /// reach to the nodes of the cells, or to the cells at the nodes.
    std::vector<Range> subzoneRanges(int zone, int var, std::uint32_t partition,
                                     ValueLocation_e kind);
    std::vector<Range> subzoneRanges(int zone, int var, std::uint32_t partition);

    /// Makes a variable of a zone that is calculated from others by a formula (formula/Formula.h),
    /// in which variables go by their names. Its values stand where those of the others do, at
    /// nodes or at cells; without any other, at nodes. Returns its number; no other zone has it.
    int createCalcVar(int zone, std::string const& name, std::string const& formula,
                      FieldDataType_e type = FieldDataType_Double);

    /// The cells of some cell subzones, in the order asked for. Unlike values they have arrived when
    /// the sink gets them, so it may go on asking.
    void cells(int zone, std::vector<SubzoneAddress> const& wanted, CellSink const& sink);
    /// All cells, subzone after subzone, in the order of partition, section and number.
    void allCells(int zone, CellSink const& sink);
    /// The cell subzones at the nodes of some node subzones.
    std::vector<NodeSubzone> nodeSubzones(int zone, std::vector<SubzoneAddress> const& wanted);
    /// All node or cell subzones of a zone with queries, in the order of partition, section and
    /// number. Throws Error if they are more than 2^23; allCells goes through them without a list.
    std::vector<SubzoneAddress> subzonesOf(int zone, ValueLocation_e kind);

    /// Whether the server knows a variable of the data set in a zone. It goes by the variable's
    /// unique id, which calculated variables of one name have in common.
    bool hasVariable(int zone, int var);
    /// The node or cell subzones that may hold all of these values: in which each lies in the range
    /// of its variable. Without values these are all subzones. In the order of partition, section
    /// and number.
    std::vector<SubzoneAddress> subzonesThatMayHold(int zone,
                                                    std::vector<WantedValue> const& wanted,
                                                    ValueLocation_e kind);
    /// The subzones of an ordered zone through which a plane of nodes or cells goes, on which the
    /// index along an axis is constant. Indices count from 0.
    std::vector<SubzoneAddress> subzonesOfPlane(int zone, Axis axis, std::int64_t index,
                                                ValueLocation_e kind);
    /// The same of a line along an axis. first and second: the indices along the other axes.
    std::vector<SubzoneAddress> subzonesOfLine(int zone, Axis along, std::int64_t first,
                                               std::int64_t second, ValueLocation_e kind);
    /// Makes another zone with the nodes, cells and variables of a zone, and gives its number. It can
    /// get calculated variables of its own.
    int duplicateZone(int zone);

    /// Ends the session politely. Nothing else may follow.
    void close();

    std::uint64_t bytesReceived() const { return m_socket.bytesReceived(); }

private:
    struct Source
    {
        Zone const& zone;
        int var;
        ZoneVariable const& variable;
    };

    template <typename F>
    decltype(auto) converse(std::string const& action, F&& f);
    std::string receiveCommand();
    void expectFinished();
    bool serveUntilFinished(std::function<void()> const& afterEach);
    void reportLoading();
    void report(char const* action, std::uint64_t done, std::uint64_t total);
    Zone const& zoneOf(int number) const;
    Error noSuchVariable(Zone const& zone, int var) const;
    Source sourceOf(int zone, int var) const;
    ZoneShape receiveShape(Zone const& zone);
    void requireSubzone(Zone const& zone, ValueLocation_e location, SubzoneAddress address);
    Source querySourceOf(int zone, int var) const;
    std::size_t subzonesPerAnswer(Source const& source) const;
    void sendQuery(std::string const& service, Source const& source);
    void sendValueQuery(Source const& source);
    void setUpValueQuery(Source const& source);
    void checkOut(Source const& source, std::vector<SubzoneAddress> const& batch,
                  SubzoneSink const& sink);
    std::vector<Range> receiveRanges(std::uint64_t count);
    void sendZoneQuery(std::string const& service, Zone const& zone, std::string const& method);
    std::vector<SubzoneAddress> receiveSubzones(ZoneShape const& shape, ValueLocation_e kind);
    Zone const& zoneWithCells(int number) const;
    void sendCellQuery(Zone const& zone, std::string const& method,
                       std::vector<SubzoneAddress> const& subzones);
    CellSubzone receiveOrderedCells(Zone const& zone, SubzoneAddress address);
    std::vector<CellSubzone> checkOutCells(Zone const& zone,
                                           std::vector<SubzoneAddress> const& batch);
    Zone const& orderedZoneOf(int number) const;
    static void requireIndex(Zone const& zone, Axis axis, std::int64_t index, ValueLocation_e kind);
    void sendForZone(std::string const& command, int zone);
    void loadFieldData(Source const& source, ValueTarget& target);
    void unloadFieldData(Source const& source);
    std::string messagesSince(std::size_t first) const;

    EngineSocket m_socket;
    ArgKeys m_argKeys;
    DataSetBuilder m_builder;
    std::function<void(Progress const&)> m_report;
    std::function<std::string()> m_serverLog;
    std::map<int, ZoneShape> m_shapes;
    std::map<int, int> m_duplicates; // a duplicate's number, and its source's
    std::set<std::pair<int, int>> m_setUp; // zone and variable
    Progress m_progress;
    bool m_isBroken = false;
};

/// Subzones of a list: "0", "3-7" and the like, separated by commas; "P/N" and "P/S/N" name
/// partition and section, which are else 0. All of these count from 0. Throws
/// std::invalid_argument.
std::vector<SubzoneAddress> parseSubzones(std::string const& text);
std::string textOf(SubzoneAddress address);

}
