#pragma once

#include "addons/hdqfs/DataFile.h"
#include "addons/hdqfs/DescriptorCache.h"

#include "filedata/Numbers.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace varnox::hdqfsloader {

/// The files of a data set as one: zones of file set after file set, a grid file's zones once for
/// each of its solution files; the variables of the grid file before those of the solution files.
/// Zone and variable indices count from 0 across the data set. Failures are std::runtime_error with
/// a text for a person.
class DataSet
{
public:
    /// A grid file is followed by its solution files. Reads the headers of all files.
    explicit DataSet(std::vector<std::string> const& paths);

    struct Zone
    {
        std::string name;
        ZoneType_e type;
        bool isHdq;
        hdqio::IJK size; ///< Nodes along I, J, K; of finite elements: nodes, cells and faces.
        double solutionTime;
        std::uint32_t strandID;
        std::int32_t parent;           ///< Or -1, as is that below.
        std::int32_t connectivityFrom; ///< The zone whose connectivity this one shares.
        std::uint8_t faceNeighborMode;
    };

    struct Variable
    {
        ValueType type;
        bool isNodal;
        bool isPassive;          ///< All values are 0.
        std::int32_t sharedFrom; ///< The zone whose values these are, or -1.
        hdqio::MinMax range;
        bool hasValues() const { return !isPassive && sharedFrom == -1; }
    };

    /// Where a zone, or a variable in a zone, stands in a file.
    struct ZoneInFile
    {
        DataFile* file;
        std::uint32_t zone;
    };
    struct VariableInFile
    {
        DataFile* file;
        std::uint32_t zone;
        std::uint32_t var;
    };

    /// Where the zones and variables of a file stand in the data set. Those of a grid file stand
    /// there once for each of its solution files, one copy behind the other.
    struct PlacedFile
    {
        DataFile const* file;
        std::uint32_t firstZone;
        std::uint32_t numCopies;
        std::uint32_t firstVar;
    };

    /// All files, in the order in which they were named.
    std::vector<PlacedFile> files() const;

    std::string const& title() const { return m_title; }
    std::vector<std::string> const& varNames() const { return m_varNames; }
    std::uint32_t numZones() const { return static_cast<std::uint32_t>(m_zones.size()); }
    std::uint32_t numVars() const { return static_cast<std::uint32_t>(m_varNames.size()); }

    /// Whether any zone is cut into subzones.
    bool hasHdqZone() const;
    bool isHdqZone(std::uint32_t zone) const;

    Zone zone(std::uint32_t zone) const;
    Variable variable(std::uint32_t zone, std::uint32_t var) const;

    /// Where the grid of the zone is described.
    ZoneInFile grid(std::uint32_t zone) const;
    /// Where the connectivity of the zone is: its own, or that of a zone it shares with.
    ZoneInFile connectivity(std::uint32_t zone) const;
    /// Of a variable that has values.
    VariableInFile values(std::uint32_t zone, std::uint32_t var) const;

    DescriptorCache& descriptors() { return m_descriptors; }

private:
    struct FileSet
    {
        std::vector<std::unique_ptr<DataFile>> files;
        std::uint32_t firstZone = 0;

        DataFile& grid() const { return *files.front(); }
        std::uint32_t numCopies() const
        {
            return files.size() > 1 ? static_cast<std::uint32_t>(files.size()) - 1 : 1;
        }
        std::uint32_t numVars() const
        {
            return grid().numVars() + (files.size() > 1 ? files[1]->numVars() : 0);
        }
        std::string varName(std::uint32_t var) const;
    };

    /// A zone of the data set: which of its set's copies it is, and its index in each file.
    struct Place
    {
        FileSet const* set;
        std::uint32_t copy;
        std::uint32_t zone;
    };

    void groupFiles(std::vector<std::string> const& paths);
    static void checkSolution(DataFile const& grid, DataFile const& first,
                              DataFile const& solution);
    void collectNames();
    void checkNames() const;
    /// Every zone has every variable, be it passive: files of many zones and others of many
    /// variables, each of them small, would have more together than memory can hold.
    void checkNumVars() const;
    /// For each variable of a zone in subzones the host gets objects, far larger than what headers
    /// say of it: each has its part of the file.
    void checkSubzones();
    /// The file that holds a variable of a place; null file if its set has no such variable.
    static VariableInFile find(Place const& place, std::uint32_t var);
    /// The zone that a zone itself names for a variable's values: often itself.
    std::uint32_t nextSource(std::uint32_t zone, std::uint32_t var) const;
    void resolveSharing();
    /// The zone that has the values, or -1 for the zone itself.
    std::int32_t sourceOf(std::uint32_t zone, std::uint32_t var) const;

    std::string m_title;
    std::vector<std::string> m_varNames;
    std::vector<std::unique_ptr<FileSet>> m_sets;
    std::vector<Place> m_zones;
    std::vector<std::uint32_t> m_sources; ///< By variable, then zone.
    DescriptorCache m_descriptors;
};

}
