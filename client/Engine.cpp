#include "client/Engine.h"

#include "client/Assembly.h"
#include "client/Converse.h"
#include "client/Errors.h"
#include "command/LoaderCommands.h"
#include "filedata/ZoneMetadata.h"
#include "filedata/ZoneMetadataSerializer.h"
#include "varnox/socketutil/WriteCache.h"

#include <algorithm>
#include <charconv>
#include <numeric>
#include <stdexcept>

namespace varnox::client {

using namespace hdqremote;
using socketutil::WriteCache;

namespace {

constexpr char GREETING[] = "VNXDATASERVER 1";
constexpr std::size_t MAX_GREETING_BYTES = 4096;
constexpr std::size_t MAX_COMMAND_BYTES = 256;

/// An answer of this size is fast to send and cheap to hold.
constexpr std::size_t ANSWER_BYTES = std::size_t{1} << 20;

/// A passive variable's zeros are made here; a zone may claim any size.
constexpr std::uint64_t MAX_ZERO_BYTES = std::uint64_t{64} << 20;

/// Face neighbours come without a total.
constexpr std::uint64_t MAX_FACE_NEIGHBOR_BYTES = std::uint64_t{4} << 30;

/// Bricks may be empty where an axis is shorter than its shift, at most one more along each axis.
constexpr std::uint64_t MAX_SUBZONES_PER_ITEM = 8;

template <typename T>
class TypedValueTarget : public ValueTarget
{
public:
    explicit TypedValueTarget(std::int64_t total) : assembly(total), m_total(total) {}

    void receivePiece(EngineSocket& socket) override
    {
        std::int64_t const offset = socket.receiveInt64(); // from 1 on
        std::int64_t const count = socket.receiveInt64();
        if (count < 0 || count > m_total)
            throw ProtocolViolation("The server sent a piece of " + std::to_string(count) +
                                    " values of a variable that has " + std::to_string(m_total) +
                                    ".");
        std::vector<T> piece = socket.receiveVector<T>(static_cast<std::size_t>(count));
        if (static_cast<std::int64_t>(piece.size()) != count)
            throw ProtocolViolation("The server announced a piece of " + std::to_string(count) +
                                    " values and sent " + std::to_string(piece.size()) + ".");
        if (offset < 1 || !assembly.add(offset - 1, std::move(piece)))
            throw ProtocolViolation("The server sent " + std::to_string(count) + " values from " +
                                    std::to_string(offset) + " on of a variable that has " +
                                    std::to_string(m_total) + ".");
    }

    std::uint64_t received() const override
    {
        return static_cast<std::uint64_t>(assembly.complete());
    }
    std::uint64_t wanted() const override { return static_cast<std::uint64_t>(m_total); }

    Assembly<T> assembly;

private:
    std::int64_t m_total;
};

}

std::uint64_t PartitionShape::numSubzones(ValueLocation_e kind) const
{
    return kind == ValueLocation_Nodal
               ? numNodeSubzones
               : std::accumulate(numCellSubzones.begin(), numCellSubzones.end(), std::uint64_t{0});
}

std::uint64_t ZoneShape::numSubzones(ValueLocation_e kind) const
{
    std::uint64_t result = 0;
    for (PartitionShape const& partition : partitions)
        result += partition.numSubzones(kind);
    return result;
}

std::string nameOfVariable(DataSet const& dataSet, int var, int zone)
{
    auto const index = static_cast<std::size_t>(var - 1);
    return "variable " + std::to_string(var) + " '" +
           printable(index < dataSet.variables.size() ? dataSet.variables[index].name : "") +
           "' of zone " + std::to_string(zone);
}

Engine::Engine(int descriptor) : m_socket(descriptor), m_builder(m_socket, m_argKeys)
{
}

Engine::~Engine() = default;

LoaderAnnouncement const* Engine::announcement() const
{
    return m_builder.announcement() ? &*m_builder.announcement() : nullptr;
}

void Engine::report(char const* action, std::uint64_t done, std::uint64_t total)
{
    m_progress = {action, done, total};
    if (m_report)
        m_report(m_progress);
}

void Engine::setProgress(std::function<void(Progress const&)> report)
{
    m_report = std::move(report);
    m_socket.setOnWait(m_report ? [this] { m_report(m_progress); } : std::function<void()>());
}

void Engine::reportLoading()
{
    LoaderAnnouncement const* const announced = announcement();
    report("Loading", dataSet().zones.size(),
           announced != nullptr ? announced->zoneFileSets.size() : 0);
}

void Engine::greet(std::string const& token, std::chrono::milliseconds timeout)
{
    struct Answer
    {
        std::uint8_t accepted;
        std::string reason;
    };
    auto const answer = converse("greeting it", [&]() -> Answer {
        m_socket.setTimeout(timeout);
        m_socket.sendString(GREETING);
        m_socket.sendString(token);
        Answer result{m_socket.receiveUInt8(), {}};
        if (result.accepted > 1)
            throw ProtocolViolation("What answered doesn't greet like a data server.");
        result.reason = m_socket.receiveString(MAX_GREETING_BYTES);
        m_socket.setTimeout(std::nullopt);
        return result;
    });
    if (answer.accepted == 1)
        return;
    m_isBroken = true;
    throw GreetingRefused("The data server refused the connection: " + printable(answer.reason));
}

std::string Engine::receiveCommand()
{
    return m_socket.receiveString(MAX_COMMAND_BYTES);
}

void Engine::expectFinished()
{
    std::string const word = receiveCommand();
    if (word != COMMAND_FINISHED)
        throw ProtocolViolation("The server ended its answer with '" + printable(word) + "'.");
}

/// Serves what comes back until the command's own end, and reads its result.
bool Engine::serveUntilFinished(std::function<void()> const& afterEach)
{
    for (;;) {
        std::string const command = receiveCommand();
        if (command == COMMAND_FINISHED)
            return m_socket.receiveUInt32() != 0;
        m_builder.serve(command);
        afterEach();
    }
}

// Browsing.

FileTypes Engine::listFileTypes()
{
    return converse("listing file types", [&] {
        m_socket.sendString(LIST_FILE_TYPES);
        FileTypes result;
        result.loaderName = m_socket.receiveString();
        result.extensions = m_socket.receiveString();
        expectFinished();
        return result;
    });
}

namespace {

/// Behind a file's name travel a zero byte and the permissions, the high byte first.
void splitName(std::string const& received, FileEntry& entry)
{
    std::size_t const end = received.find('\0');
    if (end == std::string::npos || received.size() != end + 3)
        throw ProtocolViolation("The server sent '" + printable(received) +
                                "' as a file's name and permissions.");
    entry.name = received.substr(0, end);
    entry.permissions =
        static_cast<std::uint16_t>(static_cast<unsigned char>(received[end + 1]) << 8 |
                                   static_cast<unsigned char>(received[end + 2]));
}

}

Listing Engine::listFiles(std::string const& directory)
{
    return converse("listing files", [&] {
        WriteCache command;
        command.addString(LIST_FILES);
        command.addString(directory);
        m_socket.sendCache(command);
        Listing result;
        result.directory = m_socket.receiveString();
        int const count = m_socket.receiveInt();
        if (count < 0)
            throw ProtocolViolation("The server sent a list of " + std::to_string(count) +
                                    " files.");
        for (int i = 0; i < count; ++i) {
            FileEntry& entry = result.entries.emplace_back();
            splitName(m_socket.receiveString(), entry);
            entry.type = m_socket.receiveString();
            entry.size = m_socket.receiveUInt64();
            entry.lastWriteTime = m_socket.receiveUInt64();
        }
        expectFinished();
        return result;
    });
}

// Loading.

std::string Engine::messagesSince(std::size_t first) const
{
    std::string result;
    auto const& messages = m_builder.dataSet().messages;
    for (std::size_t i = std::min(first, messages.size()); i < messages.size(); ++i)
        result += (result.empty() ? "" : "\n") + printable(messages[i], 2000);
    return result;
}

DataSet const& Engine::load(std::vector<std::string> const& paths)
{
    std::string joined;
    for (std::string const& path : paths) {
        if (path.empty() || path.find('\n') != std::string::npos)
            throw Error("The path '" + printable(path) +
                        "' can't be sent: it is empty or has a line break.");
        joined += (joined.empty() ? "" : "\n") + path;
    }
    if (paths.empty())
        throw Error("No file to load was named.");
    m_shapes.clear();
    m_duplicates.clear();
    m_setUp.clear();
    m_builder.beginLoad();
    m_progress = {"Loading", 0, 0};
    bool const loaded = converse("loading " + printable(paths.front()), [&] {
        WriteCache command;
        command.addString(LOAD_DATASET);
        command.addString(joined);
        m_socket.sendCache(command);
        return serveUntilFinished([this] { reportLoading(); });
    });
    m_builder.endLoad();
    if (loaded && m_builder.problem().empty())
        return m_builder.dataSet();
    m_isBroken = true; // a failed load ends the session
    std::string reason = loaded ? m_builder.problem() : messagesSince(0);
    std::string const log = m_serverLog ? printable(m_serverLog(), 2000) : std::string();
    if (reason.empty())
        reason = log.empty() ? "The loader gave no reason; the server's log may tell more."
                             : "The loader gave no reason. The server's last words:\n" + log;
    throw LoadFailed(
        "Could not load " + printable(paths.front()) +
        (paths.size() > 1 ? " and " + std::to_string(paths.size() - 1) + " more: " : ": ") +
        reason);
}

Zone const& Engine::zoneOf(int number) const
{
    Zone const* const zone = dataSet().zone(number);
    if (zone == nullptr || !zone->isAdded)
        throw Error("There is no zone " + std::to_string(number) + "; the data set has " +
                    std::to_string(dataSet().zones.size()) + ".");
    return *zone;
}

/// Where a variable's values really lie.
Error Engine::noSuchVariable(Zone const& zone, int var) const
{
    return Error("There is no variable " + std::to_string(var) + " in zone " +
                 std::to_string(zone.number) + "; the data set has " +
                 std::to_string(dataSet().variables.size()) + ".");
}

Engine::Source Engine::sourceOf(int zone, int var) const
{
    Zone const* owner = &zoneOf(zone);
    for (std::size_t step = 0; step <= dataSet().zones.size(); ++step) {
        ZoneVariable const* const variable = DataSet::variable(*owner, var);
        if (variable == nullptr)
            throw noSuchVariable(*owner, var);
        if (variable->isAbsent)
            throw Error("The " + nameOfVariable(dataSet(), var, zone) +
                        " doesn't exist: it was calculated for another zone.");
        if (variable->shareZone == 0 || variable->isPassive)
            return {*owner, var, *variable};
        owner = &zoneOf(variable->shareZone);
    }
    throw Error("The " + nameOfVariable(dataSet(), var, zone) + " is shared in a circle.");
}

// The shape of a zone.

namespace {

template <typename T>
std::vector<T> entryPerSection(hdqio::LightweightVector<hdqio::PlainDataVector<T>> const& sections,
                               std::uint32_t partition)
{
    std::vector<T> result;
    for (auto const& section : sections)
        result.push_back(section[partition]);
    return result;
}

}

ZoneShape Engine::receiveShape(Zone const& zone)
{
    std::unique_ptr<hdqio::ZoneMetadata> const received(
        hdqlib::ZoneMetadataSerializer::deserialize(m_socket).metadata());
    if (received->zoneType != zone.type)
        throw ProtocolViolation("The server described zone " + std::to_string(zone.number) +
                                " as " + nameOf(received->zoneType) + " and the loader as " +
                                nameOf(zone.type) + ".");
    ZoneShape shape;
    for (std::uint32_t p = 0; p < received->numPartitions; ++p)
        shape.partitions.push_back(
            {received->numNodesPerPtn[p], entryPerSection(received->numCellsPerSecPtn, p),
             received->numNszsPerPtn[p], entryPerSection(received->numCszsPerSecPtn, p)});
    auto const isTooMany = [](std::uint64_t subzones, std::int64_t items) {
        return subzones / MAX_SUBZONES_PER_ITEM > static_cast<std::uint64_t>(items) + 1;
    };
    if (isTooMany(shape.numNodeSubzones(), zone.numNodes()) ||
        isTooMany(shape.numCellSubzones(), zone.numCells()))
        throw ProtocolViolation("The server described zone " + std::to_string(zone.number) +
                                " with more subzones than it has nodes and cells for.");
    return shape;
}

ZoneShape const& Engine::shape(int number)
{
    auto const duplicate = m_duplicates.find(number);
    if (duplicate != m_duplicates.end())
        return shape(duplicate->second);
    auto const known = m_shapes.find(number);
    if (known != m_shapes.end())
        return known->second;
    Zone const& zone = zoneOf(number);
    LoaderAnnouncement const* const announced = announcement();
    auto const index = static_cast<std::size_t>(number - 1);
    if (!zone.hasConnectivityQueries || announced == nullptr ||
        number > announced->fileSetFirstZones.back())
        throw Error("Zone " + std::to_string(number) + " has no subzones.");
    std::uint32_t const set = announced->zoneFileSets[index];
    FileSet const& fileSet = announced->fileSets[set];
    int const zoneInSet = number - 1 - announced->fileSetFirstZones[set];
    return converse(
        "asking for the shape of zone " + std::to_string(number), [&]() -> auto& {
            WriteCache command;
            command.addString(LOADER_QUERY);
            command.addString(ZONE_METADATA);
            command.addUInt32(set);
            command.addUInt32(0); // the grid or full file, which has the partitions
            command.addInt32(zoneInSet % fileSet.numZones);
            m_socket.sendCache(command);
            return m_shapes.emplace(number, receiveShape(zone)).first->second;
        });
}

std::uint32_t ZoneShape::numSubzones(ValueLocation_e kind, std::uint32_t partition,
                                     std::uint32_t section) const
{
    if (partition >= partitions.size())
        return 0;
    PartitionShape const& shape = partitions[partition];
    if (kind == ValueLocation_Nodal)
        return section == 0 ? shape.numNodeSubzones : 0;
    return section < shape.numCellSubzones.size() ? shape.numCellSubzones[section] : 0;
}

/// The server doesn't check an address, so only those that exist are sent.
void Engine::requireSubzone(Zone const& zone, ValueLocation_e location, SubzoneAddress address)
{
    std::uint32_t const count =
        shape(zone.number).numSubzones(location, address.partition(), address.section());
    if (address.subzoneOffset() >= count)
        throw Error("There is no " +
                    std::string(location == ValueLocation_Nodal ? "node" : "cell") + " subzone " +
                    textOf(address) + " in zone " + std::to_string(zone.number) +
                    ": subzones, sections and partitions count from 0, and here there are " +
                    std::to_string(count) + ".");
}

// Values by subzone.

bool Engine::hasSubzoneValues(int zone, int var) const
{
    return sourceOf(zone, var).variable.hasQueries;
}

void Engine::sendQuery(std::string const& service, Source const& source)
{
    WriteCache command;
    command.addString(service);
    command.addInt(source.zone.number - 1);
    command.addInt(source.var - 1);
    m_socket.sendCache(command);
}

void Engine::sendValueQuery(Source const& source)
{
    sendQuery(source.variable.location == ValueLocation_Nodal ? NODAL_VAR_QUERY
                                                              : CELL_CENTERED_VAR_QUERY,
              source);
}

/// The loader's object is told once before its first use.
void Engine::setUpValueQuery(Source const& source)
{
    if (!m_setUp.emplace(source.zone.number, source.var).second)
        return;
    sendValueQuery(source);
    m_socket.sendString(SETUP);
}

void Engine::checkOut(Source const& source, std::vector<SubzoneAddress> const& batch,
                      SubzoneSink const& sink)
{
    std::vector<unsigned long> words;
    words.reserve(batch.size());
    for (SubzoneAddress const address : batch)
        words.push_back(address.word());
    std::size_t const maxSize = announcement()->subzoneMaxSize & 0xFFFF;
    converse("reading " + nameOfVariable(dataSet(), source.var, source.zone.number), [&] {
        setUpValueQuery(source);
        sendValueQuery(source);
        m_socket.sendString(CHECKOUT);
        m_socket.sendUInt64Vector(words);
        // The type doesn't travel with the values: it is the one that the registration was answered
        // with.
        withElementOf(source.variable.type, [&](auto element) {
            Values received = std::vector<decltype(element)>();
            auto& values = std::get<std::vector<decltype(element)>>(received);
            for (SubzoneAddress const address : batch) {
                m_socket.receiveVector(maxSize, values);
                sink(address, received);
            }
        });
        sendValueQuery(source);
        m_socket.sendString(CHECKIN);
        m_socket.sendUInt64Vector(words);
    });
}

Engine::Source Engine::querySourceOf(int zone, int var) const
{
    Source const source = sourceOf(zone, var);
    std::string const name = nameOfVariable(dataSet(), var, zone);
    if (source.variable.isPassive)
        throw Error("The " + name + " is passive: every value is 0, and none travels.");
    if (!isTransferable(source.variable.type))
        throw Error("The values of " + name + " are of the type " + nameOf(source.variable.type) +
                    ", which doesn't travel.");
    if (!source.variable.hasQueries)
        throw Error("The " + name + " can't be read by subzones; load it whole, on demand.");
    return source;
}

std::size_t Engine::subzonesPerAnswer(Source const& source) const
{
    std::size_t const maxSize = std::max<std::size_t>(announcement()->subzoneMaxSize & 0xFFFF, 1);
    return std::max<std::size_t>(ANSWER_BYTES / (maxSize * sizeOf(source.variable.type)), 1);
}

void Engine::subzoneValues(int zone, int var, std::vector<SubzoneAddress> const& wanted,
                           SubzoneSink const& sink)
{
    Source const source = querySourceOf(zone, var);
    for (SubzoneAddress const address : wanted)
        requireSubzone(source.zone, source.variable.location, address);
    std::size_t const perAnswer = subzonesPerAnswer(source);
    for (std::size_t first = 0; first < wanted.size(); first += perAnswer) {
        auto const begin = wanted.begin() + static_cast<std::ptrdiff_t>(first);
        std::size_t const count = std::min(perAnswer, wanted.size() - first);
        checkOut(source, {begin, begin + static_cast<std::ptrdiff_t>(count)}, sink);
        report("Reading", first + count, wanted.size());
    }
}

void Engine::allSubzoneValues(int zone, int var, SubzoneSink const& sink)
{
    Source const source = querySourceOf(zone, var);
    ZoneShape const& zoneShape = shape(source.zone.number);
    bool const isNodal = source.variable.location == ValueLocation_Nodal;
    auto const numItems =
        static_cast<std::uint64_t>(source.zone.numItems(source.variable.location));
    std::uint64_t numReceived = 0;
    SubzoneSink const countingSink = [&](SubzoneAddress address, Values const& received) {
        numReceived += count(received);
        if (numReceived > numItems)
            throw ProtocolViolation("The server sent more than the " + std::to_string(numItems) +
                                    " values of the zone.");
        sink(address, received);
    };
    std::size_t const perAnswer = subzonesPerAnswer(source);
    std::vector<SubzoneAddress> batch;
    auto const readBatch = [&] {
        checkOut(source, batch, countingSink);
        report("Reading", numReceived, numItems);
        batch.clear();
    };
    for (std::uint32_t p = 0; p < zoneShape.partitions.size(); ++p) {
        PartitionShape const& partition = zoneShape.partitions[p];
        auto const counts = isNodal ? std::vector<std::uint32_t>{partition.numNodeSubzones}
                                    : partition.numCellSubzones;
        for (std::uint32_t section = 0; section < counts.size(); ++section) {
            for (std::uint32_t n = 0; n < counts[section]; ++n) {
                batch.emplace_back(p, section, n);
                if (batch.size() == perAnswer)
                    readBatch();
            }
        }
    }
    if (!batch.empty())
        readBatch();
    if (numReceived != numItems)
        throw Error("The subzones of " + nameOfVariable(dataSet(), var, zone) + " hold " +
                    std::to_string(numReceived) + " values where the zone has " +
                    std::to_string(numItems) + ".");
}

// Whole variables, loaded on demand.

void Engine::loadFieldData(Source const& source, ValueTarget& target)
{
    std::string const name = nameOfVariable(dataSet(), source.var, source.zone.number);
    std::size_t const firstMessage = dataSet().messages.size();
    m_builder.setValueTarget(&target);
    bool const loaded = converse("loading " + name, [&] {
        WriteCache command;
        command.addString(LOAD_FIELD_DATA);
        command.addInt32(source.zone.number);
        command.addInt32(source.var);
        m_socket.sendCache(command);
        return serveUntilFinished([&] { report("Reading", target.received(), target.wanted()); });
    });
    m_builder.setValueTarget(nullptr);
    if (!loaded) {
        std::string const messages = messagesSince(firstMessage);
        throw Error(
            "The loader could not load the " + name + ": " +
            (messages.empty() ? "it gave no reason; the server's log may tell more." : messages));
    }
}

void Engine::unloadFieldData(Source const& source)
{
    if (!source.variable.onDemand.unload)
        return;
    converse("unloading a variable", [&] {
        WriteCache command;
        command.addString(UNLOAD_FIELD_DATA);
        command.addInt32(source.zone.number);
        command.addInt32(source.var);
        m_socket.sendCache(command);
        return serveUntilFinished([] {}); // a refusal changes nothing for this side
    });
}

Values Engine::values(int zone, int var)
{
    Source const source = sourceOf(zone, var);
    std::string const name = nameOfVariable(dataSet(), var, zone);
    FieldDataType_e const type = source.variable.type;
    if (!isTransferable(type))
        throw Error("The values of " + name + " are of the type " + nameOf(type) +
                    ", which doesn't travel.");
    std::int64_t const total = source.zone.numItems(source.variable.location);
    if (source.variable.isPassive) {
        if (static_cast<std::uint64_t>(total) > MAX_ZERO_BYTES / sizeOf(type))
            throw Error("The " + name + " is passive, and its " + std::to_string(total) +
                        " values, all of them 0, are too many to hold.");
        return zeros(type, static_cast<std::size_t>(total));
    }
    if (!source.variable.onDemand.load)
        throw Error("The loader can't load the " + name + " on demand.");
    return withElementOf(type, [&](auto element) -> Values {
        TypedValueTarget<decltype(element)> target(total);
        loadFieldData(source, target);
        unloadFieldData(source);
        if (!target.assembly.isComplete())
            throw Error("The loader delivered only " + std::to_string(target.assembly.complete()) +
                        " of the " + std::to_string(total) + " values of " + name + ".");
        return target.assembly.take();
    });
}

// Face neighbours.

std::vector<FaceNeighbors> Engine::faceNeighbors(int number)
{
    Zone const& zone = zoneOf(number);
    std::string const name = "face neighbours of zone " + std::to_string(number);
    if (!zone.faceNeighbors.load)
        throw Error("The loader has no " + name + ".");
    std::size_t const firstMessage = dataSet().messages.size();
    std::vector<FaceNeighbors> result;
    m_builder.setFaceNeighborTarget(&result, zone.faceNeighborsNameZones);
    bool const hasUnload = zone.faceNeighbors.unload;
    bool const loaded = converse("loading the " + name, [&] {
        std::uint64_t const before = m_socket.bytesReceived();
        sendForZone(LOAD_FACE_NEIGHBORS, number);
        return serveUntilFinished([&] {
            if (m_socket.bytesReceived() - before > MAX_FACE_NEIGHBOR_BYTES)
                throw ProtocolViolation("The server sent more face neighbours than a zone has.");
            report("Reading", m_socket.bytesReceived() - before, 0);
        });
    });
    m_builder.setFaceNeighborTarget(nullptr, false);
    if (!loaded) {
        std::string const messages = messagesSince(firstMessage);
        throw Error(
            "The loader could not load the " + name + ": " +
            (messages.empty() ? "it gave no reason; the server's log may tell more." : messages));
    }
    if (hasUnload)
        converse("unloading face neighbours", [&] {
            sendForZone(UNLOAD_FACE_NEIGHBORS, number);
            return serveUntilFinished([] {});
        });
    return result;
}

void Engine::sendForZone(std::string const& command, int zone)
{
    WriteCache cache;
    cache.addString(command);
    cache.addInt32(zone);
    m_socket.sendCache(cache);
}

void Engine::close()
{
    converse("ending the session", [&] {
        for (auto const& [zone, var] : m_setUp) {
            sendValueQuery(sourceOf(zone, var));
            m_socket.sendString(TEARDOWN);
        }
        m_socket.sendString(CLOSE_DATA_SERVER);
        m_socket.flush();
    });
    m_isBroken = true;
}

// Subzones in words.

namespace {

std::uint32_t parseNumber(std::string const& digits, std::uint32_t max, std::string const& item)
{
    std::uint32_t number = 0;
    char const* const end = digits.data() + digits.size();
    auto const [stop, error] = std::from_chars(digits.data(), end, number);
    if (digits.empty() || error != std::errc() || stop != end || number > max)
        throw std::invalid_argument("'" + item +
                                    "' names no subzones; write N, N-N, PARTITION/N or "
                                    "PARTITION/SECTION/N, counted from 0.");
    return number;
}

std::vector<std::string> split(std::string const& text, char separator)
{
    std::vector<std::string> parts;
    std::size_t begin = 0;
    for (std::size_t end = 0; end != std::string::npos; begin = end + 1) {
        end = text.find(separator, begin);
        parts.push_back(text.substr(begin, end == std::string::npos ? end : end - begin));
    }
    return parts;
}

}

std::vector<SubzoneAddress> parseSubzones(std::string const& text)
{
    using Address = ItemAddress<long>;
    constexpr std::uint32_t MAX_AT_ONCE = 1 << 24;
    std::vector<SubzoneAddress> result;
    for (std::string const& item : split(text, ',')) {
        std::vector<std::string> const parts = split(item, '/');
        std::vector<std::string> const range = split(parts.back(), '-');
        std::uint32_t const partition =
            parts.size() > 1 ? parseNumber(parts.front(), Address::MAX_PARTITION, item) : 0;
        std::uint32_t const section =
            parts.size() > 2 ? parseNumber(parts[1], Address::MAX_SECTION, item) : 0;
        std::uint32_t const first = parseNumber(range.front(), Address::MAX_SUBZONE_OFFSET, item);
        std::uint32_t const last = parseNumber(range.back(), Address::MAX_SUBZONE_OFFSET, item);
        if (parts.size() > 3 || range.size() > 2 || last < first)
            parseNumber("", 0, item);
        if (last - first >= MAX_AT_ONCE - result.size())
            throw std::invalid_argument("'" + item + "' names too many subzones at once.");
        for (std::uint32_t n = first; n <= last; ++n)
            result.emplace_back(partition, section, n);
    }
    return result;
}

std::string textOf(SubzoneAddress address)
{
    std::string const section =
        address.section() != 0 ? std::to_string(address.section()) + "/" : "";
    bool const hasPartition = address.partition() != 0 || address.section() != 0;
    return (hasPartition ? std::to_string(address.partition()) + "/" : "") + section +
           std::to_string(address.subzoneOffset());
}

}
