#pragma once

#include "client/AnnotationBuilder.h"
#include "client/ArgList.h"
#include "client/DataSet.h"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace varnox::client {

class EngineSocket;

/// One grid or full file with the solution files that follow it.
struct FileSet
{
    std::uint32_t numFiles = 0;
    std::int32_t numZones = 0; ///< Of the grid or full file.
    std::int32_t numVars = 0;  ///< Of the grid or full file.
};

/// What the server announces of the files before the first query service. Zones count from 0 here,
/// and -1 stands for none.
struct LoaderAnnouncement
{
    std::uint32_t subzoneMaxSize = 0;
    std::array<std::uint32_t, 3> subzoneMaxIJK{};
    std::vector<int> zoneShareConnectivity;
    std::vector<std::vector<int>> varZoneShareVar; ///< By zone, then variable.
    std::vector<FileSet> fileSets;
    std::vector<int> fileSetFirstZones;
    std::vector<unsigned int> zoneFileSets;
};

/// Takes the values that a loader pushes while the engine loads a variable on demand.
class ValueTarget
{
public:
    virtual ~ValueTarget();
    /// Reads one piece, from its offset on.
    virtual void receivePiece(EngineSocket& socket) = 0;
    /// Values that have come, and that are to come in all.
    virtual std::uint64_t received() const = 0;
    virtual std::uint64_t wanted() const = 0;
};

/// Serves the commands that the server sends back, and keeps the data set that they build.
class DataSetBuilder
{
public:
    DataSetBuilder(EngineSocket& socket, ArgKeys const& argKeys);
    DataSetBuilder(DataSetBuilder const&) = delete;
    DataSetBuilder& operator=(DataSetBuilder const&) = delete;

    /// Adds a zone like another one, whose values it shares, behind the last zone.
    void addDuplicate(int zone);

    /// Serves one command whose word has been read. Throws ProtocolViolation for a word that isn't
    /// known and for contents that can't be, and SocketException.
    void serve(std::string const& command);

    /// Forgets what a load before has left.
    void beginLoad();

    DataSet const& dataSet() const { return m_dataSet; }
    /// Empty until a zone or variable with queries has been registered.
    std::optional<LoaderAnnouncement> const& announcement() const { return m_announcement; }
    /// What keeps the data set from being used, in words; empty if nothing does.
    std::string const& problem() const { return m_problem; }
    /// Looks at the data set as a whole: what names a zone must find it. From then on until the
    /// next load no zone comes or goes.
    void endLoad();

    /// The unique id of a variable to be calculated: variables of one name, each of its zone, have
    /// the same.
    std::int64_t idOfCalcVar(std::string const& name);
    /// Adds a variable that one zone has; the others get a place for it. Returns its number.
    int addCalcVar(int zone, std::string const& name, std::int64_t id,
                   ZoneVariable const& variable);

    /// Where the values of a load on demand go; null for none.
    void setValueTarget(ValueTarget* target) { m_target = target; }
    /// Where face neighbours go, and whether they name zones; null for none.
    void setFaceNeighborTarget(std::vector<FaceNeighbors>* target, bool nameZones)
    {
        m_faceNeighbors = target;
        m_faceNeighborsNameZones = nameZones;
    }

private:
    using Handler = void (DataSetBuilder::*)();

    void loadStart();
    void loadFinish();
    void dataSetCreate();
    void dataSetCreateX();
    void addZone();
    void getNumVars();
    void getNumZones();
    void getUniqueID();
    void getUniqueIDsForZones();
    void getNextUniqueID();
    void varGetUniqueID();
    void varGetName();
    void zoneGetNumSections();
    void connectShare();
    void valueShare();
    void setMinMax();
    void valueCustomLOD();
    void nodeCustomLOD();
    void faceNbrCustomLOD();
    void dialogErrMsg();
    void dialogMessageBox();
    void stateChanged();
    void setLoaderInstr();
    void registerLoader();
    void registerFEConnectivity();
    void registerOrderedConnectivity();
    void registerZoneVarID();
    void registerVar();
    void valueArray();
    void faceNbrAssign();
    [[noreturn]] void unwantedArray();

    void requireLoad() const;
    void createDataSet(std::string const& title, std::vector<std::string> const& varNames);
    /// Each false with a note when something can't be.
    bool fillZone(Zone& zone, ArgList const& args);
    bool fillVariables(Zone& zone, ArgList const& args);
    bool fillSections(Zone& zone, ArgList const& args);
    std::vector<int> varDataTypes(Zone const& zone, ArgList const& args);
    ZoneVariable* zoneVariable(std::int64_t zone, std::int64_t var);
    LoadOnDemand receiveCallbacks();
    Zone* registeredZone();
    bool note(std::string const& problem);
    void keepMessage(std::string const& text);
    void finish();
    void finish(bool result);

    EngineSocket& m_socket;
    ArgKeys const& m_argKeys;
    std::unordered_map<std::string, Handler> m_handlers;
    DataSet m_dataSet;
    std::optional<LoaderAnnouncement> m_announcement;
    std::string m_problem;
    ValueTarget* m_target = nullptr;
    std::vector<FaceNeighbors>* m_faceNeighbors = nullptr;
    bool m_faceNeighborsNameZones = false;
    std::int64_t m_lastUniqueId = 0;
    std::int64_t m_numZonesLeftOut = 0;
    bool m_isLoading = true; ///< Also before the first load, when there is nothing to refer to.
    std::map<std::string, std::int64_t> m_idsOfCalcVars; ///< By name.
    AnnotationBuilder m_annotations;
};

}
