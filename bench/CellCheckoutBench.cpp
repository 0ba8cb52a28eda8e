// Cells of subzones on the way from an add-on's memory in one process to a client's memory in
// another, against a bare socket between two processes that moves the same bytes in the same
// messages.

#include "bench/BareSocket.h"
#include "bench/OtherProcess.h"
#include "client/EngineSocket.h"
#include "command/CommandLoop.h"
#include "command/LoaderCommands.h"
#include "query/CellConnectivityQueryServer.h"
#include "query/SubzoneCellConnectivity.h"
#include "socket/StreamSocket.h"
#include "varnox/hdq/CellConnectivityQueryInterface.h"
#include "varnox/hdqremote/AddonProxy.h"
#include "varnox/socketutil/WriteCache.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

namespace {

using namespace varnox;
using socketutil::WriteCache;
using Address = ItemAddress<long>;
using SubzoneAddress = Address::SubzoneAddress;

/// A lattice of nodes, 2 to the power of these along its axes.
constexpr std::array<unsigned, 3> BITS{7, 7, 6};
constexpr std::uint32_t CORNERS[8][3] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0},
                                         {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};

/// Places along a curve that fills space, as writers sort nodes and cells: the bits of the three
/// indices by turns.
std::array<std::uint32_t, 3> indicesAt(std::uint32_t place)
{
    std::array<std::uint32_t, 3> result{};
    for (unsigned bit = 0, axis = 0; place != 0; axis = (axis + 1) % 3, bit += axis == 0) {
        if (bit >= BITS[axis])
            continue;
        result[axis] |= (place & 1) << bit;
        place >>= 1;
    }
    return result;
}

std::uint32_t placeOf(std::array<std::uint32_t, 3> const& indices)
{
    std::uint32_t result = 0;
    unsigned out = 0;
    for (unsigned bit = 0; bit < BITS[0]; ++bit)
        for (std::size_t axis = 0; axis < 3; ++axis)
            if (bit < BITS[axis])
                result |= (indices[axis] >> bit & 1) << out++;
    return result;
}

/// The corners of all hexahedra of the lattice, or of the six tetrahedra in each.
std::vector<Address> makeCells(std::size_t numNodes)
{
    constexpr std::size_t TETRAHEDRA[6][4] = {{0, 1, 2, 6}, {0, 2, 3, 6}, {0, 3, 7, 6},
                                              {0, 7, 4, 6}, {0, 4, 5, 6}, {0, 5, 1, 6}};
    std::vector<Address> result;
    for (std::uint32_t place = 0; place < 1U << (BITS[0] + BITS[1] + BITS[2]); ++place) {
        auto const at = indicesAt(place);
        bool isCell = true;
        for (std::size_t axis = 0; axis < 3; ++axis)
            isCell = isCell && at[axis] + 1 < 1U << BITS[axis];
        if (!isCell)
            continue;
        std::array<Address, 8> corners;
        for (std::size_t c = 0; c < 8; ++c) {
            std::uint32_t const node =
                placeOf({at[0] + CORNERS[c][0], at[1] + CORNERS[c][1], at[2] + CORNERS[c][2]});
            corners[c] =
                Address(SubzoneAddress(0, 0, node / 256), static_cast<std::uint8_t>(node % 256));
        }
        if (numNodes == 8)
            result.insert(result.end(), corners.begin(), corners.end());
        else
            for (auto const& tetrahedron : TETRAHEDRA)
                for (std::size_t const c : tetrahedron)
                    result.push_back(corners[c]);
    }
    return result;
}

class Cells final : public hdq::CellConnectivityQueryInterface
{
public:
    explicit Cells(std::size_t numNodes) : m_numNodes(numNodes), m_nodes(makeCells(numNodes)) {}

    void setup() override {}
    void teardown() override {}
    void destroy() override {}
    void checkout(bool, RawArray<SubzoneAddress>&) override {}
    void checkin(RawArray<SubzoneAddress>&) override {}
    void checkoutAll(bool) override {}
    void checkinAll() override {}
    void copyToUniform() override {}
    Address toUniformAddress(Address const& item) override { return item; }
    Address toHdqAddress(Address const& item) override { return item; }
    void referencedNodeSubzones(SubzoneAddress const&, RawArray<SubzoneAddress>&) override {}
    long numSubzones() override { return static_cast<long>(m_nodes.size() / m_numNodes / 256); }
    unsigned short size(SubzoneAddress const&) override { return 256; }
    long cornerNodeCount(Address const&) override { return static_cast<long>(m_numNodes); }
    long nodeCount(Address const&) override { return static_cast<long>(m_numNodes); }
    long faceCount(Address const&) override { return m_numNodes == 8 ? 6 : 4; }
    void cornerNodeAddresses(Address const& item, RawArray<Address>& result) override
    {
        nodeAddresses(item, result);
    }
    Address cornerNodeAddress(Address const& item, int index) override
    {
        return nodesOf(item)[index];
    }
    void nodeAddresses(Address const& item, RawArray<Address>& result) override
    {
        resize(result, m_numNodes);
        std::copy_n(nodesOf(item), m_numNodes, result.data);
    }
    Address nodeAddress(Address const& item, int index) override { return nodesOf(item)[index]; }
    void updateInternalFaceNeighbors() override {}
    void faceNeighbors() override {}
    void setFaceNeighbors() override {}

private:
    Address const* nodesOf(Address const& item) const
    {
        std::size_t const cell =
            std::size_t{item.subzoneAddress().subzoneOffset()} * 256 + item.itemOffset();
        return &m_nodes[cell * m_numNodes];
    }

    std::size_t m_numNodes;
    std::vector<Address> m_nodes;
};

void serveCells(int descriptor, Cells& cells)
{
    socketutil::StreamSocket socket(descriptor, descriptor);
    hdqremote::CellConnectivityQueryServer server(cells, 0, socket, 0);
    hdqremote::serviceCommandsUntil(hdqremote::CLOSE_DATA_SERVER, socket, [&](std::string const&) {
        socket.receiveInt();
        server.handleMethod();
    });
}

void addQuery(WriteCache& command, std::vector<unsigned long> const& subzones)
{
    command.addString(hdqremote::CELL_CONNECTIVITY_QUERY);
    command.addInt(0);
    command.addString(hdqremote::CHECKOUT);
    command.addUInt8(0);
    command.addUInt64Vector(subzones);
}

/// The argument is the number of subzones in a query.
template <std::size_t numNodes>
void cellCheckout(benchmark::State& state)
{
    auto const numSubzones = static_cast<std::size_t>(state.range(0));
    std::vector<unsigned long> subzones;
    for (std::uint32_t s = 0; s < numSubzones; ++s)
        subzones.push_back(SubzoneAddress(0, 0, s).word());
    Cells cells(numNodes);
    bench::OtherProcess server([&](int descriptor) { serveCells(descriptor, cells); });
    client::EngineSocket socket(server.takeDescriptor());

    std::vector<std::optional<hdqlib::SubzoneCellConnectivity>> received(numSubzones);
    auto const query = [&] {
        WriteCache command;
        addQuery(command, subzones);
        socket.sendCache(command);
        for (auto& subzone : received)
            subzone.emplace(socket);
    };
    std::uint64_t const before = socket.bytesReceived();
    query();
    auto const answerSize = static_cast<std::size_t>(socket.bytesReceived() - before);

    WriteCache request;
    addQuery(request, subzones);
    std::size_t const requestSize = request.size();
    bench::OtherProcess bare(
        [=](int descriptor) { bench::answerBytes(descriptor, requestSize, answerSize); });
    std::vector<char> const bareRequest(requestSize, 'x');
    std::vector<char> bareAnswer(answerSize);
    auto const exchange = [&] {
        bench::sendAll(bare.descriptor(), bareRequest.data(), bareRequest.size());
        bench::receiveAll(bare.descriptor(), bareAnswer.data(), bareAnswer.size());
    };
    exchange();
    bench::compare(state, exchange, query, "ofBareSocket");
    state.SetBytesProcessed(static_cast<std::int64_t>(answerSize) * state.iterations());
    state.counters["bytesPerSubzone"] = static_cast<double>(answerSize / numSubzones);
    for (std::size_t s = 0; s < numSubzones; ++s)
        for (int n = 0; n < static_cast<int>(numNodes); ++n)
            if (received[s]->nodeAddress(77, n) !=
                cells.nodeAddress(Address(SubzoneAddress(0, 0, static_cast<std::uint32_t>(s)), 77),
                                  n))
                state.SkipWithError("wrong cells");
    socket.sendString(hdqremote::CLOSE_DATA_SERVER);
    socket.flush();
}

// One subzone; then answers of about 1, 4 and 16 MB.
BENCHMARK(cellCheckout<8>)->Arg(1)->Arg(170)->Arg(680)->Arg(2720)->UseManualTime();
BENCHMARK(cellCheckout<4>)->Arg(1)->Arg(330)->Arg(1320)->Arg(5280)->UseManualTime();

}
