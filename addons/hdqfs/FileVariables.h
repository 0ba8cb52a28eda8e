#pragma once

#include "addons/hdqfs/DataSet.h"
#include "addons/hdqfs/FileVariable.h"
#include "addons/hdqfs/PassiveVariable.h"
#include "addons/hdqfs/SubzoneReader.h"
#include "addons/hdqfs/VariableQueries.h"

#include <cstdint>
#include <deque>
#include <unordered_map>
#include <vector>

namespace varnox::hdqfsloader {

/// The variables that the HDQ zones of a data set have from its files. There may be millions with
/// values, and each has its query objects from the start, as the host wants them at the load: here
/// they are one object, as small as can be. What has its place stays there.
class FileVariables
{
public:
    /// The data set must outlive the object.
    explicit FileVariables(DataSet& dataSet);
    FileVariables(FileVariables const&) = delete;
    FileVariables& operator=(FileVariables const&) = delete;

    /// Null for one that has no values of its own.
    VariableQueries* queries(std::uint32_t zone, std::uint32_t var);
    /// Null for one that is shared from a zone without subzones.
    ZoneVariable* find(std::uint32_t zone, std::uint32_t var);

private:
    class Stored final : public FileVariable, public VariableQueries
    {
    public:
        using FileVariable::FileVariable;

    private:
        ZoneVariable& variable() override { return *this; }
    };

    std::uint64_t indexOf(std::uint32_t zone, std::uint32_t var) const
    {
        return std::uint64_t{zone} * m_dataSet.numVars() + var;
    }
    Stored* stored(std::uint32_t zone, std::uint32_t var);

    DataSet& m_dataSet;
    SubzoneReader m_reader;
    std::deque<Stored> m_stored;
    std::vector<std::uint32_t> m_numbers; ///< Of those stored, from 1, by index; 0 for the others.
    std::unordered_map<std::uint64_t, PassiveVariable> m_passive; ///< Those asked for, by index.
};

}
