#include "formula/FormulaError.h"

#include <algorithm>

namespace varnox::formula {

namespace {

/// Of a long line only so much is shown.
constexpr std::size_t SHOWN_AROUND = 60;

/// Whether a byte goes on with a character that an earlier byte began.
bool isContinuation(char c)
{
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

std::size_t numCharacters(std::string const& text)
{
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return !isContinuation(c); }));
}

/// Without what a terminal would act on.
std::string shown(std::string text)
{
    for (char& c : text)
        if (static_cast<unsigned char>(c) < ' ' || c == '\x7F')
            c = ' ';
    return text;
}

}

struct FormulaError::Place
{
    Place(std::string const& formula, std::size_t offset)
    {
        std::size_t const at = std::min(offset, formula.size());
        std::size_t const newLine = at == 0 ? std::string::npos : formula.rfind('\n', at - 1);
        std::size_t const begin = newLine == std::string::npos ? 0 : newLine + 1;
        std::size_t const end = std::min(formula.find('\n', at), formula.size());
        ahead = formula.substr(begin, at - begin);
        behind = formula.substr(at, end - at);
        column = numCharacters(ahead) + 1;
    }

    /// The line, or the part of it around the place, and a mark below.
    std::string picture() const
    {
        std::size_t begin = ahead.size() > SHOWN_AROUND ? ahead.size() - SHOWN_AROUND : 0;
        while (begin < ahead.size() && isContinuation(ahead[begin]))
            ++begin;
        std::size_t end = std::min(behind.size(), SHOWN_AROUND);
        while (end < behind.size() && isContinuation(behind[end]))
            ++end;
        std::string const left = ahead.substr(begin);
        return shown(left + behind.substr(0, end)) + "\n" + std::string(numCharacters(left), ' ') +
               "^";
    }

    std::string ahead;
    std::string behind;
    std::size_t column;
};

FormulaError::FormulaError(std::string const& complaint, std::string const& formula,
                           std::size_t offset)
    : FormulaError(complaint, Place(formula, offset))
{
}

FormulaError::FormulaError(std::string const& complaint, Place const& place)
    : std::runtime_error("Column " + std::to_string(place.column) + ": " + complaint + "\n" +
                         place.picture()),
      m_column(place.column)
{
}

FormulaError::~FormulaError() = default;

}
