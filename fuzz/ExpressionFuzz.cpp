#include "expressions/ArrayEvaluator.h"
#include "expressions/BoundEvaluator.h"
#include "expressions/ExpressionSerializer.h"
#include "fuzz/support/Entry.h"
#include "fuzz/support/ExpectedLoss.h"
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

ExpressionSerializer receive(socketutil::SocketInterface& socket)
{
    fuzz::ExpectedLoss const loss;
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
