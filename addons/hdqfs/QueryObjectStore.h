#pragma once

#include "addons/hdqfs/CalcVarLog.h"
#include "addons/hdqfs/ConnectivityReader.h"
#include "addons/hdqfs/DataSet.h"
#include "addons/hdqfs/FileVariables.h"
#include "addons/hdqfs/RangeTrees.h"
#include "addons/hdqfs/VariableIds.h"
#include "addons/hdqfs/VariableQueries.h"
#include "addons/hdqfs/ZoneVariable.h"

#include "varnox/hdq/CellConnectivityQueryInterface.h"
#include "varnox/hdq/NodeConnectivityQueryInterface.h"
#include "varnox/hdq/OrderedSubzoneQueryInterface.h"
#include "varnox/hdq/ZoneVarIDQueryInterface.h"

#include <deque>
#include <memory>
#include <utility>
#include <vector>

namespace varnox::hdqfsloader {

/// Those of a variable that stands elsewhere and outlives the object.
class QueriesOfVariable final : public VariableQueries
{
public:
    explicit QueriesOfVariable(ZoneVariable& variable) : m_variable(variable) {}

private:
    ZoneVariable& variable() override { return m_variable; }

    ZoneVariable& m_variable;
};

/// Owns what a data set's queries are answered from. What was added stays in its place for the life
/// of the store, as the host keeps pointers to it.
class QueryObjectStore
{
public:
    /// ids: of each variable. The data set must outlive the store.
    QueryObjectStore(DataSet& set, std::vector<long> const& variableIds)
        : dataSet(set), ids(variableIds), variables(set)
    {
    }
    QueryObjectStore(QueryObjectStore const&) = delete;
    QueryObjectStore& operator=(QueryObjectStore const&) = delete;

    template <typename T, typename... Args>
    T& addVariable(Args&&... args)
    {
        auto variable = std::make_unique<T>(std::forward<Args>(args)...);
        T& result = *variable;
        m_variables.push_back(std::move(variable));
        return result;
    }

    VariableQueries& addQueries(ZoneVariable& variable) { return m_queries.emplace_back(variable); }

    /// An object of the zone's own: cells, nodes, ordered searches, identity.
    template <typename T, typename... Args>
    T& add(Args&&... args)
    {
        auto object = std::make_unique<T>(std::forward<Args>(args)...);
        T& result = *object;
        keep(std::move(object));
        return result;
    }

    DataSet& dataSet;
    VariableIds const ids;
    FileVariables variables;
    ConnectivityReader connectivity;
    RangeTrees trees;
    CalcVarLog calcVarLog;

private:
    void keep(std::unique_ptr<hdq::CellConnectivityQueryInterface> object)
    {
        m_cells.push_back(std::move(object));
    }
    void keep(std::unique_ptr<hdq::NodeConnectivityQueryInterface> object)
    {
        m_nodes.push_back(std::move(object));
    }
    void keep(std::unique_ptr<hdq::OrderedSubzoneQueryInterface> object)
    {
        m_ordered.push_back(std::move(object));
    }
    void keep(std::unique_ptr<hdq::ZoneVarIDQueryInterface> object)
    {
        m_identities.push_back(std::move(object));
    }

    std::vector<std::unique_ptr<ZoneVariable>> m_variables;
    std::deque<QueriesOfVariable> m_queries;
    std::vector<std::unique_ptr<hdq::CellConnectivityQueryInterface>> m_cells;
    std::vector<std::unique_ptr<hdq::NodeConnectivityQueryInterface>> m_nodes;
    std::vector<std::unique_ptr<hdq::OrderedSubzoneQueryInterface>> m_ordered;
    std::vector<std::unique_ptr<hdq::ZoneVarIDQueryInterface>> m_identities;
};

}
