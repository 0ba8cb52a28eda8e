#include "expressions/ExpressionSerializer.h"
#include "formula/Formula.h"
#include "formula/FormulaError.h"
#include "fuzz/support/Entry.h"
#include "tests/support/RecordingSocket.h"
#include "varnox/socketutil/WriteCache.h"

#include <optional>
#include <string>

namespace {

using varnox::hdqlib::ExpressionSerializer;
using varnox::tests::cached;

std::string wireForm(ExpressionSerializer const& expression)
{
    return cached([&](auto& cache) { expression.addToCache(cache); });
}

}

// An input is a formula; every name in it whose length is even is a variable's.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string const formula(reinterpret_cast<char const*>(data), size);
    auto const variable = [](std::string const& name) -> std::optional<unsigned long> {
        return name.size() % 2 == 0 ? std::optional<unsigned long>(name.size()) : std::nullopt;
    };
    try {
        auto const expression = varnox::formula::parseFormula(formula, 7, variable);
        std::string const sent = wireForm(ExpressionSerializer(expression));
        varnox::tests::RecordingSocket socket(sent);
        varnox::fuzz::expect(wireForm(ExpressionSerializer::deserialize(socket)) == sent,
                             "an expression is another one behind the wire");
    } catch (varnox::formula::FormulaError const& error) {
        varnox::fuzz::expect(error.column() > 0, "a column is 0");
    }
    return 0;
}
