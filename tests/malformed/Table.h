#pragma once

#include <string>
#include <utility>
#include <vector>

namespace varnox::malformed {

/// A malformed input: a sound one of bases/ with edits (Edits.h), and what has to be said of it.
struct Case
{
    std::string lead; ///< Comments and blank lines ahead of it.
    std::string group;
    std::string name;
    std::string base;
    std::vector<std::string> edits;
    /// Who says it, and what: in the order of the table.
    std::vector<std::pair<std::string, std::string>> said;
};

/// A text of cases:
///   == group
///   # comment
///   name
///     base: what is edited
///     edit: one edit, of as many as there are lines
///     load: what the loader says, and whoever else has something to say
/// Texts have \n for a line feed and \xHH for other bytes that can't be seen.
class Table
{
public:
    explicit Table(std::string path);

    std::vector<Case>& cases() { return m_cases; }
    /// In their order, each once.
    std::vector<std::string> groups() const;
    /// Writes the cases back with what is said in them.
    void write() const;

private:
    std::string m_path;
    std::vector<Case> m_cases;
};

/// As texts stand in a table.
std::string shown(std::string const& text);

}
