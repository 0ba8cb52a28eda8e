// Values of subzones on the way from an add-on's memory in one process to a client's memory in
// another, against a bare socket between two processes that moves the same bytes in the same
// messages.

#include "bench/BareSocket.h"
#include "bench/OtherProcess.h"
#include "client/EngineSocket.h"
#include "command/CommandLoop.h"
#include "command/LoaderCommands.h"
#include "query/VarValueQueryServer.h"
#include "socket/StreamSocket.h"
#include "varnox/hdq/NodeConnectivityQueryInterface.h"
#include "varnox/hdq/VarValueQueryInterface.h"
#include "varnox/hdqremote/AddonProxy.h"
#include "varnox/socketutil/WriteCache.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <numeric>
#include <vector>

#include <netinet/in.h>

namespace {

using namespace varnox;
using socketutil::StreamSocket;
using socketutil::WriteCache;
using SubzoneAddress = ItemAddress<long>::SubzoneAddress;

constexpr std::uint16_t ITEMS = 256;

/// An add-on's variable, in its own type, whose values are its item numbers.
template <typename T>
class Values final : public hdq::VarValueQueryInterface
{
public:
    Values() : m_values(std::size_t{ITEMS} * 16384)
    {
        std::iota(m_values.begin(), m_values.end(), T{});
    }

    void setup() override {}
    void teardown() override {}
    void destroy() override {}
    void reservedFirst() override {}
    void reservedSecond() override {}
    void minMax(double&, double&) override {}
    void checkout(RawArray<SubzoneAddress>&) override {}
    void checkin(RawArray<SubzoneAddress>&) override {}
    void checkoutAll() override {}
    void checkinAll() override {}
    void copyToUniform() override {}
    void fieldValue() override {}
    void fieldValues(RawArray<ItemAddress<long>> const& items, RawArray<double>& values) override
    {
        // All items of a subzone are asked for, in their order.
        T const* const subzone =
            &m_values[std::size_t{items.data[0].subzoneAddress().subzoneOffset()} * ITEMS];
        resize(values, items.size);
        std::copy(subzone, subzone + items.size, values.data);
    }

private:
    std::vector<T> m_values;
};

class Nodes final : public hdq::NodeConnectivityQueryInterface
{
public:
    void setup() override {}
    void teardown() override {}
    void destroy() override {}
    void checkout(RawArray<SubzoneAddress>&) override {}
    void checkin(RawArray<SubzoneAddress>&) override {}
    void checkoutAll() override {}
    void checkinAll() override {}
    ItemAddress<long> toUniformAddress(ItemAddress<long> const& item) override { return item; }
    ItemAddress<long> toHdqAddress(ItemAddress<long> const& item) override { return item; }
    void referencedCellSubzones(SubzoneAddress const&, RawArray<SubzoneAddress>&) override {}
    long numSubzones() override { return 16384; }
    unsigned short size(SubzoneAddress const&) override { return ITEMS; }
};

template <typename T>
void serveValues(int descriptor)
{
    auto const type = std::is_same_v<T, float> ? FieldDataType_Float : FieldDataType_Double;
    Values<T> values;
    Nodes nodes;
    StreamSocket socket(descriptor, descriptor);
    hdqremote::VarValueQueryServer server(&values, &nodes, socket, ITEMS, 0, type);
    hdqremote::serviceCommandsUntil(hdqremote::CLOSE_DATA_SERVER, socket, [&](std::string const&) {
        socket.receiveInt();
        socket.receiveInt();
        server.handleMethod();
    });
}

std::vector<unsigned long> addresses(std::size_t count)
{
    std::vector<unsigned long> result;
    for (std::size_t s = 0; s < count; ++s)
        result.push_back(SubzoneAddress(0, 0, static_cast<std::uint32_t>(s)).word());
    return result;
}

/// The argument is the number of subzones in a query.
template <typename T>
void valueCheckout(benchmark::State& state)
{
    auto const numSubzones = static_cast<std::size_t>(state.range(0));
    std::vector<unsigned long> const subzones = addresses(numSubzones);
    bench::OtherProcess server(serveValues<T>);
    client::EngineSocket socket(server.takeDescriptor());

    WriteCache request;
    request.addString(hdqremote::NODAL_VAR_QUERY);
    request.addInt(0);
    request.addInt(0);
    request.addString(hdqremote::CHECKOUT);
    request.addUInt64Vector(subzones);
    std::size_t const requestSize = request.size();
    std::size_t const answerSize = numSubzones * (8 + ITEMS * sizeof(T));

    bench::OtherProcess bare(
        [=](int descriptor) { bench::answerBytes(descriptor, requestSize, answerSize); });
    std::vector<char> const bareRequest(requestSize, 'x');
    std::vector<char> bareAnswer(answerSize);

    std::vector<std::vector<T>> values(numSubzones);
    auto const query = [&] {
        WriteCache command;
        command.addString(hdqremote::NODAL_VAR_QUERY);
        command.addInt(0);
        command.addInt(0);
        command.addString(hdqremote::CHECKOUT);
        command.addUInt64Vector(subzones);
        socket.sendCache(command);
        for (auto& ofSubzone : values)
            socket.receiveVector(ITEMS, ofSubzone);
    };
    auto const exchange = [&] {
        bench::sendAll(bare.descriptor(), bareRequest.data(), bareRequest.size());
        bench::receiveAll(bare.descriptor(), bareAnswer.data(), bareAnswer.size());
    };
    query();
    exchange();
    bench::compare(state, exchange, query, "ofBareSocket");
    state.SetBytesProcessed(static_cast<std::int64_t>(answerSize) * state.iterations());
    for (std::size_t s = 0; s < numSubzones; ++s)
        if (values[s].size() != ITEMS || values[s][7] != static_cast<T>(s * ITEMS + 7))
            state.SkipWithError("wrong values");
    socket.sendString(hdqremote::CLOSE_DATA_SERVER);
    socket.flush();
}

// One subzone; then answers of 1 to 16 MiB.
BENCHMARK(valueCheckout<double>)->Arg(1)->Arg(512)->Arg(2048)->Arg(8192)->UseManualTime();
BENCHMARK(valueCheckout<float>)->Arg(1)->Arg(1024)->Arg(4096)->Arg(16384)->UseManualTime();

}
