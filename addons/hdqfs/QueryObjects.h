#pragma once

#include "addons/hdqfs/DataSet.h"

#include "varnox/hdq/DataSetRegistrationInterface.h"

#include <memory>

namespace varnox::hdqfsloader {

/// The query objects of a data set's HDQ zones, which live as long as this. They answer sizes, ranges
/// and values; what they can't answer is a std::runtime_error.
class QueryObjects
{
public:
    /// The data set must outlive the object.
    explicit QueryObjects(DataSet& dataSet);
    QueryObjects(QueryObjects const&) = delete;
    QueryObjects& operator=(QueryObjects const&) = delete;
    ~QueryObjects();

    /// Hands in the objects of all HDQ zones: connectivity first, then the variables that have values
    /// of their own.
    void registerAll(hdq::DataSetRegistrationInterface& registration);

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

}
