#pragma once

#include "client/Engine.h"
#include "client/ServerProcess.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace varnox::convert::tests {

/// A zone as a client sees it, or as another reader sees the file that it was made of.
struct Mesh
{
    bool isOrdered = false;
    std::vector<std::int64_t> size;                     ///< Of an ordered zone.
    std::map<std::string, std::vector<double>> atNodes; ///< X, Y, Z and all others.
    std::map<std::string, std::vector<double>> atCells;
    std::vector<std::vector<std::uint32_t>> cells; ///< Of a zone that isn't ordered: nodes.
    std::map<std::string, FieldDataType_e> types;
};

/// Whether both hold the same nodes with the same values to the last bit, between which there are
/// the same cells with the same values. Nodes and cells of ordered zones must come in the same
/// order, those of others in any. What differs is a failed expectation.
void expectSame(Mesh const& a, Mesh const& b);

/// A data server with some files.
class Served
{
public:
    explicit Served(std::vector<std::string> const& paths);

    client::Engine& engine() { return *m_engine; }
    client::DataSet const& dataSet() const { return m_engine->dataSet(); }
    /// Zones count from 1. Passive variables are left out, as are variables with a name in without.
    Mesh mesh(int zone);

private:
    std::unique_ptr<client::ServerProcess> m_server;
    std::unique_ptr<client::Engine> m_engine;
};

}
