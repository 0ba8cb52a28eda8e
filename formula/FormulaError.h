#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

namespace varnox::formula {

/// What is wrong with a formula, and where. The text is for a person: the complaint, and below it
/// the line of the formula with a mark under the place.
class FormulaError : public std::runtime_error
{
public:
    /// offset counts the bytes of the formula ahead of the place.
    FormulaError(std::string const& complaint, std::string const& formula, std::size_t offset);
    ~FormulaError() override;

    /// Of the place in its line, in characters from 1 on.
    std::size_t column() const { return m_column; }

private:
    struct Place;
    FormulaError(std::string const& complaint, Place const& place);

    std::size_t m_column;
};

}
