#include "fuzz/support/Bytes.h"
#include "fuzz/support/Entry.h"
#include "query/Arrays.h"
#include "query/SubzoneCellConnectivity.h"
#include "query/SubzoneNodeConnectivity.h"
#include "query/SubzoneVarValues.h"
#include "tests/support/RecordingSocket.h"
#include "varnox/IOException.h"
#include "varnox/socketutil/SocketException.h"
#include "varnox/socketutil/WriteCache.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace varnox;
using fuzz::expect;
using tests::RecordingSocket;

/// What has been received goes out as it came.
template <typename Payload>
void expectSame(Payload& payload, RecordingSocket const& socket, std::string const& input)
{
    std::string const taken = input.substr(0, input.size() - socket.unread().size());
    expect(tests::cached([&](auto& cache) { payload.addToCache(cache); }) == taken,
           "a payload has changed on its way");
}

template <typename T>
void receiveValues(RecordingSocket& socket, std::string const& input)
{
    hdqlib::SubzoneVarValues<T> values(socket);
    expectSame(values, socket, input);
    std::vector<ItemAddress<long>> items(std::min<std::size_t>(values.size(), 256),
                                         ItemAddress<long>(0));
    OwnedArray<double> result;
    values.fieldValues(viewOf(items), result.view());
    for (std::size_t i = 0; i < items.size(); ++i)
        values.fieldValue(static_cast<unsigned short>(i));
}

void receiveCells(RecordingSocket& socket, std::string const& input)
{
    hdqlib::SubzoneCellConnectivity const cells(socket);
    expectSame(cells, socket, input);
    OwnedArray<SubzoneAddress> subzones;
    cells.referencedNodeSubzones(subzones.view());
    for (unsigned short cell = 0; cell < std::min<unsigned short>(cells.size(), 256); ++cell) {
        try {
            OwnedArray<ItemAddress<long>> nodes;
            cells.cornerNodeAddresses(cell, nodes.view());
            cells.nodeAddresses(cell, nodes.view());
            cells.nodeAddress(cell, -1);
        } catch (std::out_of_range const&) {
        }
    }
}

void receiveNodes(RecordingSocket& socket, std::string const& input)
{
    hdqlib::SubzoneNodeConnectivity const nodes(socket);
    expectSame(nodes, socket, input);
    OwnedArray<SubzoneAddress> subzones;
    nodes.referencedCellSubzones(subzones.view());
}

void receiveAddresses(RecordingSocket& socket)
{
    hdqremote::receiveItemAddress(socket);
    hdqremote::receiveSubzoneAddress(socket);
    hdqremote::receiveSubzoneAddresses(socket);
}

/// Every kind of vector that there is.
void receiveVectors(RecordingSocket& socket)
{
    socket.receiveBoolVector();
    socket.receiveInt16Vector();
    socket.receiveUInt32Vector();
    socket.receiveStringVector();
    socket.receiveFloatVector();
    socket.receiveString();
}

void receive(int kind, std::string const& input)
{
    RecordingSocket socket(input);
    switch (kind) {
    case 0:
        receiveValues<float>(socket, input);
        break;
    case 1:
        receiveValues<double>(socket, input);
        break;
    case 2:
        receiveValues<int>(socket, input);
        break;
    case 3:
        receiveValues<short>(socket, input);
        break;
    case 4:
        receiveValues<unsigned char>(socket, input);
        break;
    case 5:
        receiveCells(socket, input);
        break;
    case 6:
        receiveNodes(socket, input);
        break;
    case 7:
        receiveAddresses(socket);
        break;
    default:
        receiveVectors(socket);
        break;
    }
}

}

// An input: uint8 kind of payload, the payload.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    fuzz::Bytes input(data, size);
    int const kind = input.take<std::uint8_t>() % 9;
    try {
        receive(kind, input.rest());
    } catch (IOException const&) {
    } catch (socketutil::SocketException const&) {
    }
    return 0;
}
