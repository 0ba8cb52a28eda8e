#include "client/DataSetBuilder.h"

#include "client/EngineSocket.h"
#include "client/Errors.h"
#include "command/LoaderCommands.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <utility>

namespace varnox::client {

using namespace hdqremote;

namespace {

/// A loader may leave zone numbers out, but not without end: each takes memory.
constexpr std::int64_t MAX_ZONES_LEFT_OUT = 100'000;

/// Of what the loader says to the user, the latest are kept.
constexpr std::size_t MAX_MESSAGES = 100;

bool isWithin(std::int64_t value, std::int64_t first, std::int64_t last)
{
    return value >= first && value <= last;
}

/// The integers in a text, whatever stands between them.
std::vector<std::int64_t> integersIn(std::string const& text)
{
    std::vector<std::int64_t> result;
    char const* at = text.c_str();
    while (*at != '\0') {
        if (*at < '0' || *at > '9') {
            ++at;
            continue;
        }
        char* end = nullptr;
        result.push_back(std::strtoll(at, &end, 10));
        at = end;
    }
    return result;
}

/// An entry of an array argument, or the default if the array is absent.
int entry(std::vector<int> const* array, std::size_t index, int otherwise)
{
    return array != nullptr ? (*array)[index] : otherwise;
}

/// A zone number of an argument list, -1 for one that can't be.
int zoneNumber(std::int64_t number)
{
    return isWithin(number, 0, std::numeric_limits<int>::max()) ? static_cast<int>(number) : -1;
}

std::string inZone(Zone const& zone)
{
    return " of zone " + std::to_string(zone.number);
}

}

ValueTarget::~ValueTarget() = default;

DataSetBuilder::DataSetBuilder(EngineSocket& socket, ArgKeys const& argKeys)
    : m_socket(socket), m_argKeys(argKeys),
      m_handlers{{VNXUTILDATALOADSTART, &DataSetBuilder::loadStart},
                 {VNXUTILDATALOADFINISHX, &DataSetBuilder::loadFinish},
                 {VNXUTILDATASETCREATE, &DataSetBuilder::dataSetCreate},
                 {VNXUTILDATASETCREATEX, &DataSetBuilder::dataSetCreateX},
                 {VNXUTILDATASETADDZONEX, &DataSetBuilder::addZone},
                 {VNXUTILDATASETGETNUMVARS, &DataSetBuilder::getNumVars},
                 {VNXUTILDATASETGETNUMZONES, &DataSetBuilder::getNumZones},
                 {VNXUTILDATASETGETUNIQUEID, &DataSetBuilder::getUniqueID},
                 {VNXUTILDATASETGETUNIQUEIDSFORZONES, &DataSetBuilder::getUniqueIDsForZones},
                 {VNXUTILGETNEXTUNIQUEID, &DataSetBuilder::getNextUniqueID},
                 {VNXUTILVARGETUNIQUEID, &DataSetBuilder::varGetUniqueID},
                 {VNXUTILVARGETNAME, &DataSetBuilder::varGetName},
                 {VNXUTILZONEGETNUMSECTIONS, &DataSetBuilder::zoneGetNumSections},
                 {VNXUTILDATACONNECTSHARE, &DataSetBuilder::connectShare},
                 {VNXUTILDATAVALUESHARE, &DataSetBuilder::valueShare},
                 {VNXUTILDATAVALUESETMINMAXBYZONEVAR, &DataSetBuilder::setMinMax},
                 {VNXUTILDATAVALUECUSTOMLOD, &DataSetBuilder::valueCustomLOD},
                 {VNXUTILDATANODECUSTOMLOD, &DataSetBuilder::nodeCustomLOD},
                 {VNXUTILDATAFACENBRCUSTOMLOD, &DataSetBuilder::faceNbrCustomLOD},
                 {VNXUTILDIALOGERRMSG, &DataSetBuilder::dialogErrMsg},
                 {VNXUTILDIALOGMESSAGEBOX, &DataSetBuilder::dialogMessageBox},
                 {VNXUTILSTATECHANGED, &DataSetBuilder::stateChanged},
                 {VNXUTILIMPORTSETLOADERINSTR, &DataSetBuilder::setLoaderInstr},
                 {REGISTER_LOADER_QUERY_SERVICE, &DataSetBuilder::registerLoader},
                 {REGISTER_FE_CONNECTIVITY_QUERY_SERVICES, &DataSetBuilder::registerFEConnectivity},
                 {REGISTER_ORDERED_CONNECTIVITY_QUERY_SERVICES,
                  &DataSetBuilder::registerOrderedConnectivity},
                 {REGISTER_ZONE_VARID_QUERY_SERVICES, &DataSetBuilder::registerZoneVarID},
                 {REGISTER_VAR_QUERY_SERVICES, &DataSetBuilder::registerVar},
                 {VNXUTILDATAVALUEARRAYSETBYREF, &DataSetBuilder::valueArray},
                 {VNXUTILDATANODEARRAYSETBYREF, &DataSetBuilder::unwantedArray},
                 {VNXUTILDATANODESECTIONARRAYSETBYREF, &DataSetBuilder::unwantedArray},
                 {VNXUTILDATANODESECTIONARRAYSETBYREF64, &DataSetBuilder::unwantedArray},
                 {VNXUTILDATAFACENBRASSIGNBYREF, &DataSetBuilder::faceNbrAssign}},
      m_annotations(socket, m_dataSet, m_lastUniqueId)
{
}

void DataSetBuilder::serve(std::string const& command)
{
    if (m_annotations.serve(command)) {
        std::string const annotationProblem = m_annotations.takeProblem();
        if (!annotationProblem.empty())
            note(annotationProblem);
        return;
    }
    auto const found = m_handlers.find(command);
    if (found == m_handlers.end())
        throw ProtocolViolation("The server sent '" + printable(command) +
                                "', a command that this client doesn't know.");
    (this->*found->second)();
}

void DataSetBuilder::finish()
{
    m_socket.sendString(COMMAND_FINISHED);
}

void DataSetBuilder::finish(bool result)
{
    m_socket.sendString(COMMAND_FINISHED);
    m_socket.sendUInt32(result ? 1 : 0);
}

/// Keeps the first problem; the load fails with it in the end, as the loader isn't told of all.
/// Always false.
bool DataSetBuilder::note(std::string const& problem)
{
    if (m_problem.empty())
        m_problem = problem;
    return false;
}

void DataSetBuilder::keepMessage(std::string const& text)
{
    if (text.empty())
        return;
    m_dataSet.messages.push_back(text);
    if (m_dataSet.messages.size() > MAX_MESSAGES)
        m_dataSet.messages.erase(m_dataSet.messages.begin());
}

ZoneVariable* DataSetBuilder::zoneVariable(std::int64_t zone, std::int64_t var)
{
    Zone* const owner = m_dataSet.zone(zone);
    return owner != nullptr ? const_cast<ZoneVariable*>(DataSet::variable(*owner, var)) : nullptr;
}

// The frame of a load.

void DataSetBuilder::beginLoad()
{
    m_isLoading = true;
    m_dataSet = DataSet();
    m_annotations.forget();
    m_idsOfCalcVars.clear();
    m_announcement.reset();
    m_problem.clear();
}

void DataSetBuilder::loadStart()
{
}

void DataSetBuilder::loadFinish()
{
    ArgList const args(m_socket, m_argKeys);
    finish();
    std::vector<long> ids;
    for (Zone const& zone : m_dataSet.zones)
        ids.push_back(zone.uniqueId);
    m_socket.sendInt(1);
    m_socket.sendInt64Vector(ids);
}

void DataSetBuilder::setLoaderInstr()
{
    finish(true);
}

void DataSetBuilder::stateChanged()
{
    m_socket.receiveInt();
    m_socket.receiveIntVector();
    finish();
}

void DataSetBuilder::dialogErrMsg()
{
    keepMessage(m_socket.receiveString());
}

void DataSetBuilder::dialogMessageBox()
{
    std::string const text = m_socket.receiveString();
    m_socket.receiveInt();
    keepMessage(text);
    m_socket.sendUInt32(1);
}

void DataSetBuilder::getUniqueID()
{
    m_socket.sendInt64(m_dataSet.uniqueId);
}

void DataSetBuilder::getNextUniqueID()
{
    m_socket.sendUInt64(static_cast<std::uint64_t>(++m_lastUniqueId));
}

void DataSetBuilder::endLoad()
{
    m_isLoading = false;
    auto const exists = [this](std::int64_t number) {
        Zone const* const zone = std::as_const(m_dataSet).zone(number);
        return number == 0 || (zone != nullptr && zone->isAdded);
    };
    for (Zone const& zone : m_dataSet.zones) {
        if (!exists(zone.connectShareZone))
            note("Zone " + std::to_string(zone.number) + " shares the connectivity of zone " +
                 std::to_string(zone.connectShareZone) + ", which the loader has not added.");
        for (ZoneVariable const& variable : zone.variables)
            if (!exists(variable.shareZone))
                note("Zone " + std::to_string(zone.number) + " shares values of zone " +
                     std::to_string(variable.shareZone) + ", which the loader has not added.");
    }
    std::string const stray = m_annotations.strayAuxData();
    if (!stray.empty())
        note(stray);
}

// The data set.

/// Whoever uses the data set holds references into it between loads, also while it is served.
void DataSetBuilder::requireLoad() const
{
    if (!m_isLoading)
        throw ProtocolViolation("The server changed the zones while no data set was being loaded.");
}

void DataSetBuilder::createDataSet(std::string const& title,
                                   std::vector<std::string> const& varNames)
{
    requireLoad();
    std::vector<std::string> messages = std::move(m_dataSet.messages);
    m_dataSet = DataSet();
    m_dataSet.messages = std::move(messages);
    m_annotations.forget();
    m_numZonesLeftOut = 0;
    m_dataSet.title = title;
    m_dataSet.uniqueId = ++m_lastUniqueId;
    for (std::string const& name : varNames) {
        int const number = static_cast<int>(m_dataSet.variables.size()) + 1;
        m_dataSet.variables.push_back({number, name, ++m_lastUniqueId});
    }
}

void DataSetBuilder::addDuplicate(int zone)
{
    Zone added = *m_dataSet.zone(zone);
    added.number = static_cast<int>(m_dataSet.zones.size()) + 1;
    added.uniqueId = ++m_lastUniqueId;
    if (added.connectShareZone == 0)
        added.connectShareZone = zone;
    // Only queries know of the zone.
    added.nodeMap = {};
    added.faceNeighbors = {};
    for (ZoneVariable& variable : added.variables) {
        variable.onDemand = {};
        if (variable.shareZone == 0 && !variable.isPassive && !variable.isAbsent)
            variable.shareZone = zone;
    }
    m_dataSet.zones.push_back(std::move(added));
}

void DataSetBuilder::dataSetCreate()
{
    std::string const title = m_socket.receiveString();
    std::vector<std::string> const varNames = m_socket.receiveStringVector();
    m_socket.receiveInt();
    createDataSet(title, varNames);
    finish(true);
}

void DataSetBuilder::dataSetCreateX()
{
    ArgList const args(m_socket, m_argKeys);
    auto const* const varNames = args.texts("VARNAMES");
    createDataSet(args.text("TITLE"), varNames != nullptr ? *varNames : std::vector<std::string>());
    finish(true);
}

void DataSetBuilder::addZone()
{
    requireLoad();
    ArgList const args(m_socket, m_argKeys);
    auto const numZones = static_cast<std::int64_t>(m_dataSet.zones.size());
    std::int64_t const number = args.integer("ZONE", numZones + 1);
    std::int64_t const leftOut = std::max<std::int64_t>(number - numZones - 1, 0);
    if (isWithin(number, 1, numZones + 1 + MAX_ZONES_LEFT_OUT - m_numZonesLeftOut)) {
        m_numZonesLeftOut += leftOut;
        for (std::int64_t next = numZones + 1; next <= number; ++next) {
            Zone& added = m_dataSet.zones.emplace_back();
            added.number = static_cast<int>(next);
            added.uniqueId = ++m_lastUniqueId;
        }
        Zone& zone = *m_dataSet.zone(number);
        zone.isAdded = true;
        fillZone(zone, args);
    } else {
        note("The loader added a zone with the number " + std::to_string(number) + " to " +
             std::to_string(numZones) + " zones.");
    }
    // True in any case: a false would end the server's reading of the answers behind it, and the
    // two sides would lose step.
    finish(true);
}

bool DataSetBuilder::fillZone(Zone& zone, ArgList const& args)
{
    zone.name = args.text("NAME");
    std::int64_t const type = args.integer("ZONETYPE", ZoneType_Ordered);
    if (!isWithin(type, ZoneType_Ordered, ZoneType_FEMixed))
        return note("The loader gave the type" + inZone(zone) + " as " + std::to_string(type) +
                    ".");
    zone.type = static_cast<ZoneType_e>(type);
    std::int64_t const otherwise = zone.isOrdered() ? 1 : 0;
    zone.size = {args.integer("IMAX", otherwise), args.integer("JMAX", otherwise),
                 args.integer("KMAX", otherwise)};
    if (!zone.hasValidSize())
        return note("The loader gave the size" + inZone(zone) + " as " +
                    std::to_string(zone.size[0]) + " x " + std::to_string(zone.size[1]) + " x " +
                    std::to_string(zone.size[2]) + ".");
    zone.isHdq = args.integer("ISHDQ", 0) != 0;
    zone.solutionTime = args.number("SOLUTIONTIME", 0);
    zone.strand = args.integer("STRANDID", 0);
    zone.faceNeighborMode = args.integer("FACENEIGHBORMODE", 0);
    zone.parentZone = zoneNumber(args.integer("PARENTZONE", 0));
    zone.connectShareZone = zoneNumber(args.integer("CONNECTSHAREZONE", 0));
    return fillSections(zone, args) && fillVariables(zone, args);
}

bool DataSetBuilder::fillSections(Zone& zone, ArgList const& args)
{
    zone.sections.clear();
    std::int64_t const numSections = args.integer("NUMSECTIONS", 0);
    if (numSections == 0)
        return true;
    std::vector<std::int64_t> const cells = integersIn(args.text("SECTIONCELLS"));
    std::vector<std::int64_t> const shapes = integersIn(args.text("SECTIONSHAPES"));
    std::vector<std::int64_t> const orders = integersIn(args.text("SECTIONORDERS"));
    auto const count = static_cast<std::size_t>(numSections);
    if (numSections < 0 || cells.size() != count || shapes.size() != count ||
        orders.size() != count)
        return note("The loader gave " + std::to_string(cells.size()) + " cell counts, " +
                    std::to_string(shapes.size()) + " shapes and " + std::to_string(orders.size()) +
                    " orders for the " + std::to_string(numSections) + " sections" + inZone(zone) +
                    ".");
    for (std::size_t s = 0; s < count; ++s) {
        if (shapes[s] > FECellShape_Prism || !isWithin(orders[s], 0, 255))
            return note("The loader gave section " + std::to_string(s + 1) + inZone(zone) +
                        " the shape " + std::to_string(shapes[s]) + " and the order " +
                        std::to_string(orders[s]) + ".");
        zone.sections.push_back(
            {cells[s], static_cast<FECellShape_e>(shapes[s]), static_cast<int>(orders[s])});
    }
    return true;
}

/// The server keeps the types by the same rule, and they decide what its arrays look like.
std::vector<int> DataSetBuilder::varDataTypes(Zone const& zone, ArgList const& args)
{
    if (auto const* const given = args.ints("VARDATATYPE"))
        return *given;
    std::vector<int> types;
    if (Zone const* const previous = m_dataSet.zone(zone.number - 1))
        for (ZoneVariable const& variable : previous->variables)
            types.push_back(variable.type);
    if (types.empty())
        types.assign(m_dataSet.variables.size(), FieldDataType_Float);
    return types;
}

bool DataSetBuilder::fillVariables(Zone& zone, ArgList const& args)
{
    std::size_t const numVars = m_dataSet.variables.size();
    for (char const* const key :
         {"VARDATATYPE", "VALUELOCATION", "SHAREVARFROMZONE", "ISPASSIVEVAR"})
        if (auto const* const array = args.ints(key); array != nullptr && array->size() != numVars)
            throw ProtocolViolation("The server sent " + std::to_string(array->size()) +
                                    " entries of " + key + inZone(zone) +
                                    " where the data set has " + std::to_string(numVars) +
                                    " variables.");
    std::vector<int> const types = varDataTypes(zone, args);
    auto const* const locations = args.ints("VALUELOCATION");
    auto const* const shares = args.ints("SHAREVARFROMZONE");
    auto const* const passive = args.ints("ISPASSIVEVAR");
    zone.variables.resize(numVars);
    for (std::size_t v = 0; v < numVars; ++v) {
        ZoneVariable& variable = zone.variables[v];
        int const location = entry(locations, v, ValueLocation_Nodal);
        if (!isWithin(location, ValueLocation_CellCentered, ValueLocation_Nodal))
            return note("The loader gave the location of variable " + std::to_string(v + 1) +
                        inZone(zone) + " as " + std::to_string(location) + ".");
        variable.type = static_cast<FieldDataType_e>(types[v]);
        variable.location = static_cast<ValueLocation_e>(location);
        variable.shareZone = entry(shares, v, 0);
        variable.isPassive = entry(passive, v, 0) != 0;
    }
    return true;
}

void DataSetBuilder::getNumVars()
{
    m_socket.sendInt32(static_cast<std::int32_t>(m_dataSet.variables.size()));
}

void DataSetBuilder::getNumZones()
{
    m_socket.sendInt32(static_cast<std::int32_t>(m_dataSet.zones.size()));
}

void DataSetBuilder::getUniqueIDsForZones()
{
    std::vector<int> const zones = m_socket.receiveInt32Vector();
    std::int32_t const count = m_socket.receiveInt32();
    if (count != static_cast<std::int64_t>(zones.size()))
        throw ProtocolViolation("The server asked for the ids of " + std::to_string(count) +
                                " zones and named " + std::to_string(zones.size()) + ".");
    std::vector<long> ids;
    for (int const number : zones) {
        Zone const* const zone = m_dataSet.zone(number);
        ids.push_back(zone != nullptr ? zone->uniqueId : 0);
    }
    m_socket.sendInt64Vector(ids);
}

void DataSetBuilder::varGetUniqueID()
{
    std::int64_t const number = m_socket.receiveInt32();
    auto const& variables = m_dataSet.variables;
    bool const exists = isWithin(number, 1, static_cast<std::int64_t>(variables.size()));
    m_socket.sendUInt64(exists ? static_cast<std::uint64_t>(
                                     variables[static_cast<std::size_t>(number - 1)].uniqueId)
                               : 0);
}

void DataSetBuilder::varGetName()
{
    std::int64_t const number = m_socket.receiveInt32();
    auto const& variables = m_dataSet.variables;
    bool const exists = isWithin(number, 1, static_cast<std::int64_t>(variables.size()));
    m_socket.sendUInt32(exists ? 1 : 0);
    if (exists)
        m_socket.sendString(variables[static_cast<std::size_t>(number - 1)].name);
}

void DataSetBuilder::zoneGetNumSections()
{
    m_socket.receiveInt64(); // the data set, of which there is one
    Zone const* const zone = m_dataSet.zone(m_socket.receiveInt32());
    m_socket.sendUInt32(zone != nullptr ? 1 : 0);
    if (zone != nullptr)
        m_socket.sendInt32(static_cast<std::int32_t>(zone->sections.size()));
}

// Sharing and ranges.

void DataSetBuilder::connectShare()
{
    int const source = m_socket.receiveInt();
    int const target = m_socket.receiveInt();
    if (Zone* const zone = m_dataSet.zone(target))
        zone->connectShareZone = source;
    else
        note("The loader shared the connectivity of a zone " + std::to_string(target) +
             " that it has not added.");
    finish();
}

void DataSetBuilder::valueShare()
{
    int const source = m_socket.receiveInt();
    int const target = m_socket.receiveInt();
    int const var = m_socket.receiveInt();
    if (ZoneVariable* const variable = zoneVariable(target, var))
        variable->shareZone = source;
    else
        note("The loader shared variable " + std::to_string(var) + " of a zone " +
             std::to_string(target) + ", which it has not added.");
    finish();
}

void DataSetBuilder::setMinMax()
{
    int const zone = m_socket.receiveInt();
    int const var = m_socket.receiveInt();
    double const min = m_socket.receiveDouble();
    double const max = m_socket.receiveDouble();
    if (ZoneVariable* const variable = zoneVariable(zone, var))
        variable->range = Range{min, max};
    else
        note("The loader gave the range of variable " + std::to_string(var) + " of zone " +
             std::to_string(zone) + ", which it has not added.");
}

// Calculated variables.

std::int64_t DataSetBuilder::idOfCalcVar(std::string const& name)
{
    auto const [known, isNew] = m_idsOfCalcVars.emplace(name, m_lastUniqueId + 1);
    m_lastUniqueId += isNew ? 1 : 0;
    return known->second;
}

int DataSetBuilder::addCalcVar(int zone, std::string const& name, std::int64_t id,
                               ZoneVariable const& variable)
{
    int const number = static_cast<int>(m_dataSet.variables.size()) + 1;
    m_dataSet.variables.push_back({number, name, id});
    ZoneVariable absent;
    absent.isAbsent = true;
    for (Zone& other : m_dataSet.zones)
        other.variables.resize(m_dataSet.variables.size(), absent);
    m_dataSet.zone(zone)->variables.back() = variable;
    return number;
}

// Load on demand.

LoadOnDemand DataSetBuilder::receiveCallbacks()
{
    LoadOnDemand result;
    result.load = m_socket.receiveUInt32() != 0;
    result.unload = m_socket.receiveUInt32() != 0;
    result.cleanUp = m_socket.receiveUInt32() != 0;
    return result;
}

void DataSetBuilder::valueCustomLOD()
{
    std::int32_t const zone = m_socket.receiveInt32();
    std::int32_t const var = m_socket.receiveInt32();
    LoadOnDemand const callbacks = receiveCallbacks();
    m_socket.receiveUInt32(); // single values are read and set
    m_socket.receiveUInt32(); // on the server's side alone
    ZoneVariable* const variable = zoneVariable(zone, var);
    if (variable != nullptr)
        variable->onDemand = callbacks;
    m_socket.sendUInt32(1); // true in any case, as for a zone
    if (variable == nullptr)
        note("The loader registered variable " + std::to_string(var) + " of zone " +
             std::to_string(zone) + ", which it has not added.");
}

void DataSetBuilder::nodeCustomLOD()
{
    std::int32_t const number = m_socket.receiveInt32();
    LoadOnDemand const callbacks = receiveCallbacks();
    if (Zone* const zone = m_dataSet.zone(number))
        zone->nodeMap = callbacks;
    else
        note("The loader registered the node map of zone " + std::to_string(number) +
             ", which it has not added.");
    finish(true);
}

void DataSetBuilder::faceNbrCustomLOD()
{
    std::int32_t const number = m_socket.receiveInt32();
    bool const nameZones = m_socket.receiveUInt32() != 0;
    LoadOnDemand const callbacks = receiveCallbacks();
    Zone* const zone = m_dataSet.zone(number);
    if (zone != nullptr) {
        zone->faceNeighbors = callbacks;
        zone->faceNeighborsNameZones = nameZones;
    } else {
        note("The loader registered the face neighbours of zone " + std::to_string(number) +
             ", which it has not added.");
    }
    finish(true);
}

void DataSetBuilder::valueArray()
{
    if (m_target == nullptr)
        unwantedArray();
    m_target->receivePiece(m_socket);
}

void DataSetBuilder::faceNbrAssign()
{
    if (m_faceNeighbors == nullptr)
        unwantedArray();
    FaceNeighbors received;
    received.first = m_socket.receiveInt64();
    received.second = m_socket.receiveInt32();
    received.third = m_socket.receiveUInt8();
    std::int32_t const count = m_socket.receiveInt32();
    if (count < 0)
        throw ProtocolViolation("The server assigned " + std::to_string(count) +
                                " face neighbours.");
    received.items = m_socket.receiveVector<int>(static_cast<std::size_t>(count));
    if (m_faceNeighborsNameZones)
        received.zones = m_socket.receiveVector<long>(static_cast<std::size_t>(count));
    if (received.items.size() != static_cast<std::size_t>(count) ||
        (m_faceNeighborsNameZones && received.zones.size() != received.items.size()))
        throw ProtocolViolation("The server announced " + std::to_string(count) +
                                " face neighbours and sent others.");
    m_faceNeighbors->push_back(std::move(received));
    m_socket.sendUInt32(1);
}

/// Node maps are not loaded by this engine.
void DataSetBuilder::unwantedArray()
{
    throw ProtocolViolation("The server sent an array that wasn't asked for.");
}

// Query services. Zones and variables count from 0 here.

namespace {

/// The tables must agree with each other: zones are looked up through them.
void checkAnnouncement(LoaderAnnouncement const& announced)
{
    auto const violation = [](std::string const& what) {
        throw ProtocolViolation("The server announced files that don't fit together: " + what +
                                ".");
    };
    std::size_t const numZones = announced.zoneShareConnectivity.size();
    auto const& firstZones = announced.fileSetFirstZones;
    if (firstZones.size() != announced.fileSets.size() + 1 || firstZones.front() != 0 ||
        firstZones.back() < 0 || static_cast<std::size_t>(firstZones.back()) > numZones)
        violation("the first zones of its file sets");
    if (announced.zoneFileSets.size() != numZones)
        violation("the file sets of its zones");
    for (std::size_t f = 0; f < announced.fileSets.size(); ++f) {
        FileSet const& fileSet = announced.fileSets[f];
        std::int64_t const copies = fileSet.numFiles > 1 ? fileSet.numFiles - 1 : 1;
        if (fileSet.numFiles == 0 || fileSet.numZones < 0 ||
            std::int64_t{firstZones[f + 1]} - firstZones[f] != copies * fileSet.numZones)
            violation("the zones of file set " + std::to_string(f));
        for (int z = firstZones[f]; z < firstZones[f + 1]; ++z)
            if (announced.zoneFileSets[static_cast<std::size_t>(z)] != f)
                violation("the file set of zone " + std::to_string(z));
    }
}

}

// Wire form of the loader's announcement, behind its command:
//   uint32           subzoneMaxSize
//   uint32 x 3       subzoneMaxIJK
//   int32 vector     zoneShareConnectivity, an entry per zone
//   int32 vectors    varZoneShareVar, one per zone, an entry per variable
//   uint32           number of file sets; for each: uint32 files, int32 zones, int32 variables
//   int32 vector     fileSetFirstZones, one entry more than file sets
//   uint32 vector    zoneFileSets, an entry per zone

void DataSetBuilder::registerLoader()
{
    LoaderAnnouncement result;
    result.subzoneMaxSize = m_socket.receiveUInt32();
    for (std::uint32_t& axis : result.subzoneMaxIJK)
        axis = m_socket.receiveUInt32();
    result.zoneShareConnectivity = m_socket.receiveInt32Vector();
    for (std::size_t z = 0; z < result.zoneShareConnectivity.size(); ++z)
        result.varZoneShareVar.push_back(m_socket.receiveInt32Vector());
    std::uint32_t const numFileSets = m_socket.receiveUInt32();
    for (std::uint32_t f = 0; f < numFileSets; ++f) {
        FileSet& fileSet = result.fileSets.emplace_back();
        fileSet.numFiles = m_socket.receiveUInt32();
        fileSet.numZones = m_socket.receiveInt32();
        fileSet.numVars = m_socket.receiveInt32();
    }
    result.fileSetFirstZones = m_socket.receiveInt32Vector();
    result.zoneFileSets = m_socket.receiveUInt32Vector();
    checkAnnouncement(result);
    m_announcement = std::move(result);
}

Zone* DataSetBuilder::registeredZone()
{
    std::int64_t const number = std::int64_t{m_socket.receiveInt()} + 1;
    Zone* const zone = m_dataSet.zone(number);
    if (zone == nullptr)
        note("The loader registered queries for zone " + std::to_string(number) +
             ", which it has not added.");
    return zone;
}

void DataSetBuilder::registerFEConnectivity()
{
    if (Zone* const zone = registeredZone())
        zone->hasConnectivityQueries = true;
}

void DataSetBuilder::registerOrderedConnectivity()
{
    if (Zone* const zone = registeredZone()) {
        zone->hasConnectivityQueries = true;
        zone->hasOrderedQueries = true;
    }
}

void DataSetBuilder::registerZoneVarID()
{
    if (Zone* const zone = registeredZone())
        zone->hasIdentityQueries = true;
}

void DataSetBuilder::registerVar()
{
    std::int64_t const zone = std::int64_t{m_socket.receiveInt()} + 1;
    std::int64_t const var = std::int64_t{m_socket.receiveInt()} + 1;
    Range nodal;
    nodal.min = m_socket.receiveDouble();
    nodal.max = m_socket.receiveDouble();
    Range cellCentred;
    cellCentred.min = m_socket.receiveDouble();
    cellCentred.max = m_socket.receiveDouble();
    ZoneVariable* const variable = zoneVariable(zone, var);
    if (variable == nullptr) {
        note("The loader registered queries for variable " + std::to_string(var) + " of zone " +
             std::to_string(zone) + ", which it has not added.");
        m_socket.sendInt32(0);
        return;
    }
    variable->hasQueries = true;
    if (!variable->range)
        variable->range = variable->location == ValueLocation_Nodal ? nodal : cellCentred;
    m_socket.sendInt32(variable->type);
}

}
