#include "expressions/ArrayEvaluator.h"
#include "expressions/BoundEvaluator.h"
#include "expressions/ExpressionSerializer.h"
#include "fuzz/support/Entry.h"
#include "tests/support/RecordingSocket.h"
#include "varnox/IOException.h"
#include "varnox/socketutil/SocketException.h"
#include "varnox/socketutil/WriteCache.h"

#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace varnox;
using hdqlib::ExpressionSerializer;

/// Where a value is a number, the bounds hold it.
void evaluate(std::shared_ptr<eqn::ExprInterface> const& expression)
{
    try {
        eqn::ArrayEvaluator evaluator(expression);
        constexpr std::size_t COUNT = 3;
        double const values[COUNT] = {-1.5, 0, 3};
        std::size_t const numVars = evaluator.program().varIDs().size();
        double out[COUNT] = {};
        evaluator.evaluate(std::vector<double const*>(numVars, values), COUNT, out);
        eqn::BoundEvaluator bounds(evaluator.program());
        Interval const range = bounds.evaluate(std::vector<Interval>(numVars, {-1.5, 3}));
        for (double const value : out)
            fuzz::expect(std::isnan(value) || (range.lower <= value && value <= range.upper),
                         "a value lies outside its bounds");
    } catch (std::invalid_argument const&) {
    }
}

}

// Of an address sanitizer, where there is one.
extern "C" {
void __lsan_disable() __attribute__((weak));
void __lsan_enable() __attribute__((weak));
}

namespace {

/// Operands of functions that don't exist are lost, as ExpressionDeserializer says.
class ExpectedLoss
{
public:
    ExpectedLoss()
    {
        if (__lsan_disable != nullptr)
            __lsan_disable();
    }
    ExpectedLoss(ExpectedLoss const&) = delete;
    ExpectedLoss& operator=(ExpectedLoss const&) = delete;
    ~ExpectedLoss()
    {
        if (__lsan_enable != nullptr)
            __lsan_enable();
    }
};

ExpressionSerializer receive(socketutil::SocketInterface& socket)
{
    ExpectedLoss const loss;
    return ExpressionSerializer::deserialize(socket);
}

}

// An input is the wire form of an expression.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    tests::RecordingSocket socket(std::string(reinterpret_cast<char const*>(data), size));
    try {
        auto const received = receive(socket);
        tests::cached([&](auto& cache) { received.addToCache(cache); });
        evaluate(received.expression());
    } catch (IOException const&) {
    } catch (socketutil::SocketException const&) {
    }
    return 0;
}
