// Expressions: reading one from the wire, against reading its bytes item by item; and a calculated
// variable over subzones, against a loop written by hand.

#include "addons/hdqfs/CalcVariable.h"
#include "addons/hdqfs/SubzoneReader.h"
#include "bench/OtherProcess.h"
#include "expressions/ArrayEvaluator.h"
#include "expressions/DummyWarningLog.h"
#include "expressions/ExpressionSerializer.h"
#include "expressions/Functions.h"
#include "expressions/PostOrder.h"
#include "socket/StreamSocket.h"
#include "varnox/eqn/ExprNodes.h"
#include "varnox/socketutil/WriteCache.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <map>
#include <random>
#include <stdexcept>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

namespace {

using namespace varnox;
using bench::secondsOf;
using Formula = std::unique_ptr<eqn::ExprInterface>;

Formula square(Formula x)
{
    return Formula(new eqn::PowerExpr(1, x.release(), 2));
}

Formula sum(Formula x, Formula y)
{
    return Formula(new eqn::AddExpr(1, x.release(), y.release()));
}

/// sqrt(u^2 + v^2 + w^2), where u has the id.
Formula lengthOf(unsigned long u)
{
    auto const squareOf = [](unsigned long id) {
        return square(std::make_unique<eqn::VariableExpr>(1, id));
    };
    Formula squares = sum(sum(squareOf(u), squareOf(u + 1)), squareOf(u + 2));
    return hdqlib::makeOneArgFunc(1, hdqlib::SQRT_FUNCTION, squares);
}

/// A file in memory.
class MemoryFile
{
public:
    explicit MemoryFile(socketutil::WriteCache const& bytes)
        : m_descriptor(::memfd_create("expression", 0))
    {
        for (socketutil::WriteCache::Piece const& piece : bytes.pieces())
            if (::write(m_descriptor, piece.data, piece.size) != static_cast<ssize_t>(piece.size))
                throw std::runtime_error("cannot write to memory");
    }
    MemoryFile(MemoryFile const&) = delete;
    MemoryFile& operator=(MemoryFile const&) = delete;
    ~MemoryFile() { ::close(m_descriptor); }

    /// From its first byte on.
    socketutil::StreamSocket socket() const
    {
        ::lseek(m_descriptor, 0, SEEK_SET);
        int const descriptor = ::dup(m_descriptor);
        return socketutil::StreamSocket(descriptor, descriptor);
    }

private:
    int m_descriptor;
};

/// What a reader of the format has to read, and nothing made of it. Returns the number of nodes.
std::size_t readItems(socketutil::StreamSocket& socket)
{
    std::size_t numNodes = 0;
    benchmark::DoNotOptimize(socket.receiveUInt64());
    for (std::uint8_t code = socket.receiveUInt8(); code != 255; code = socket.receiveUInt8()) {
        ++numNodes;
        if (code == 4)
            benchmark::DoNotOptimize(socket.receiveUInt8());
        else if (code == 6)
            benchmark::DoNotOptimize(socket.receiveDouble());
        else if (code == 10)
            benchmark::DoNotOptimize(socket.receiveUInt64());
    }
    return numNodes;
}

void deserializing(benchmark::State& state)
{
    constexpr std::size_t TERMS = 30'000;
    Formula formula = lengthOf(1);
    for (std::size_t i = 1; i < TERMS; ++i)
        formula = sum(std::move(formula), lengthOf(i));
    hdqlib::ExpressionSerializer const sent{
        std::shared_ptr<eqn::ExprInterface>(std::move(formula))};
    std::size_t const numNodes = eqn::inPostOrder(*sent.expression()).size();
    socketutil::WriteCache bytes;
    sent.addToCache(bytes);
    MemoryFile const file(bytes);

    double floorSeconds = 0;
    double seconds = 0;
    double deletingSeconds = 0;
    for (auto _ : state) {
        {
            auto socket = file.socket();
            std::size_t numRead = 0;
            floorSeconds += secondsOf([&] { numRead = readItems(socket); });
            if (numRead != numNodes)
                state.SkipWithError("the floor reads something else");
        }
        auto socket = file.socket();
        std::shared_ptr<eqn::ExprInterface> received;
        double const spent = secondsOf(
            [&] { received = hdqlib::ExpressionSerializer::deserialize(socket).expression(); });
        seconds += spent;
        state.SetIterationTime(spent);
        if (eqn::inPostOrder(*received).size() != numNodes)
            state.SkipWithError("another expression was read");
        deletingSeconds += secondsOf([&] { received.reset(); });
    }
    double const nodes = static_cast<double>(state.iterations()) * static_cast<double>(numNodes);
    state.counters["millionNodesPerSecond"] = nodes / seconds / 1e6;
    state.counters["speedOfFloor"] = floorSeconds / seconds;
    state.counters["deletingNsPerNode"] = deletingSeconds / nodes * 1e9;
}

BENCHMARK(deserializing)->UseManualTime()->Unit(benchmark::kMillisecond);

std::vector<double> numbers(std::size_t count, unsigned seed)
{
    std::mt19937_64 generator(seed);
    std::uniform_real_distribution<double> number(-10, 10);
    std::vector<double> result(count);
    for (double& value : result)
        value = number(generator);
    return result;
}

[[gnu::noinline]] void byHand(double const* u, double const* v, double const* w, std::size_t count,
                              double* out)
{
    for (std::size_t i = 0; i < count; ++i)
        out[i] = std::sqrt(u[i] * u[i] + v[i] * v[i] + w[i] * w[i]);
}

/// The arithmetic alone, over the values of a subzone.
void evaluating(benchmark::State& state)
{
    constexpr int TURNS = 1000;
    auto const count = static_cast<std::size_t>(state.range(0));
    auto const u = numbers(count, 1);
    auto const v = numbers(count, 2);
    auto const w = numbers(count, 3);
    std::vector<double> expected(count);
    std::vector<double> actual(count);
    eqn::ArrayEvaluator evaluator{std::shared_ptr<eqn::ExprInterface>(lengthOf(1))};
    std::vector<double const*> const inputs{u.data(), v.data(), w.data()};
    double floorSeconds = 0;
    double seconds = 0;
    for (auto _ : state) {
        floorSeconds += secondsOf([&] {
            for (int i = 0; i < TURNS; ++i) {
                byHand(u.data(), v.data(), w.data(), count, expected.data());
                benchmark::ClobberMemory();
            }
        });
        double const spent = secondsOf([&] {
            for (int i = 0; i < TURNS; ++i) {
                evaluator.evaluate(inputs, count, actual.data());
                benchmark::ClobberMemory();
            }
        });
        seconds += spent;
        state.SetIterationTime(spent);
    }
    if (actual != expected)
        state.SkipWithError("another result than by hand");
    double const values =
        static_cast<double>(state.iterations()) * TURNS * static_cast<double>(count);
    state.counters["nsPerValue"] = seconds / values * 1e9;
    state.counters["timesByHand"] = seconds / floorSeconds;
}

BENCHMARK(evaluating)->Arg(256)->Arg(64)->UseManualTime();

/// A variable whose values lie in memory.
class InMemory final : public hdqfsloader::ZoneVariable
{
public:
    explicit InMemory(unsigned seed) : m_values(numbers(256, seed)) {}

    std::string description() const override { return "A variable in memory"; }
    hdqfsloader::Items items() const override { return hdqfsloader::Items::Nodes; }
    hdqio::MinMax range() const override { return {-10, 10}; }
    std::vector<double> const& values(SubzoneAddress const&) override { return m_values; }
    std::vector<hdqio::MinMax> partitionRanges() override { return {range()}; }
    std::vector<hdqio::MinMax> subzoneRanges(std::uint32_t, hdqfsloader::Items) override
    {
        return std::vector<hdqio::MinMax>(22, range());
    }

private:
    std::vector<double> m_values;
};

/// A calculated variable of the loader, subzone after subzone, whose variables need no reading.
void calculating(benchmark::State& state)
{
    constexpr std::uint32_t SUBZONES = 20; // those of the sample with 256 nodes
    hdqfsloader::DataSet dataSet({VNX_BENCH_SAMPLE});
    std::map<long, InMemory> variables;
    for (unsigned id = 1; id <= 3; ++id)
        variables.emplace(id, id);
    eqn::DummyWarningLog log;
    auto const find = [&](long id) { return &variables.at(id); };
    auto const type = state.range(0);
    hdqfsloader::CalcVariable variable({dataSet.grid(0), nullptr, 5},
                                       hdqfsloader::CalcVarType(static_cast<int>(type)),
                                       std::shared_ptr<eqn::ExprInterface>(lengthOf(1)), find, log);
    std::vector<double> expected(256);
    std::vector<double> actual;
    double floorSeconds = 0;
    double seconds = 0;
    auto const values = [&](long id) {
        return variables.at(id).values(ItemAddress<long>::SubzoneAddress(0, 0, 0)).data();
    };
    double const* const u = values(1);
    double const* const v = values(2);
    double const* const w = values(3);
    for (auto _ : state) {
        floorSeconds += secondsOf([&] {
            for (std::uint32_t s = 0; s < SUBZONES; ++s) {
                byHand(u, v, w, 256, expected.data());
                benchmark::ClobberMemory();
            }
        });
        double const spent = secondsOf([&] {
            for (std::uint32_t s = 0; s < SUBZONES; ++s)
                benchmark::DoNotOptimize(
                    variable.values(ItemAddress<long>::SubzoneAddress(0, 0, s)).data());
        });
        seconds += spent;
        state.SetIterationTime(spent);
    }
    actual = variable.values(ItemAddress<long>::SubzoneAddress(0, 0, 0));
    if (type == FieldDataType_Float)
        for (double& value : expected)
            value = static_cast<float>(value);
    if (actual != expected)
        state.SkipWithError("another result than by hand");
    state.counters["microsecondsPerSubzone"] =
        seconds / static_cast<double>(state.iterations()) / SUBZONES * 1e6;
    state.counters["timesByHand"] = seconds / floorSeconds;
}

BENCHMARK(calculating)->Arg(FieldDataType_Double)->Arg(FieldDataType_Float)->UseManualTime();

}
