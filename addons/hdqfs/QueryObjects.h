#pragma once

#include "addons/hdqfs/QueryObjectStore.h"

#include "varnox/hdq/DataSetRegistrationInterface.h"

#include <vector>

namespace varnox::hdqfsloader {

/// The query objects of a data set's HDQ zones, which live as long as this. What they can't answer
/// is a std::runtime_error.
class QueryObjects
{
public:
    /// variableIds: the host's unique id of each variable. The data set must outlive the object.
    QueryObjects(DataSet& dataSet, std::vector<long> const& variableIds);

    /// Hands in the objects of all HDQ zones: zone after zone connectivity and identity, then the
    /// variables that have values of their own.
    void registerAll(hdq::DataSetRegistrationInterface& registration);

private:
    void registerZone(hdq::DataSetRegistrationInterface& registration, std::uint32_t zone);

    QueryObjectStore m_store;
};

}
