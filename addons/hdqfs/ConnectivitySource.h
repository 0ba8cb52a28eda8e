#pragma once

#include "addons/hdqfs/DataSet.h"

namespace varnox::hdqfsloader {

/// The zone whose connectivity a finite-element zone has: its own, or that of one it shares with.
class ConnectivitySource
{
public:
    ConnectivitySource(DataSet::ZoneInFile const& own, DataSet::ZoneInFile const& source)
        : m_own(own), m_source(source), m_isChecked(own.zone == source.zone)
    {
    }

    /// Throws std::runtime_error if the two zones are cut in different ways: then the addresses of
    /// one mean nothing in the other.
    DataSet::ZoneInFile const& zone();
    /// The zone itself.
    DataSet::ZoneInFile const& own() const { return m_own; }

private:
    DataSet::ZoneInFile m_own;
    DataSet::ZoneInFile m_source; ///< In the same file.
    bool m_isChecked;
};

}
