#pragma once

#include "tools/support/Output.h"
#include "tools/vnxinfo/Report.h"

#include <vector>

namespace varnox::tools {

/// Writes a report as JSON, in lines that are indented as serialized() does it.
class JsonReport final : public Report
{
public:
    explicit JsonReport(Output& output) : m_output(output) {}

private:
    struct Open
    {
        bool isList;
        bool isEmpty = true;
    };

    void takeMembers(Json const& object) override;
    void takeBegin(std::string const& name, bool isList, std::size_t numItems) override;
    void takeItem(Json const& value) override;
    void takeEnd() override;
    void beginEntry(std::string const& name);

    Output& m_output;
    std::vector<Open> m_open;
};

/// Keeps a report as a whole.
// NOLINTNEXTLINE(bugprone-exception-escape): the JSON library's destructor takes memory
class KeptReport final : public Report
{
public:
    Json const& json() const { return m_json; }

private:
    void takeMembers(Json const& object) override;
    void takeBegin(std::string const& name, bool isList, std::size_t numItems) override;
    void takeItem(Json const& value) override;
    void takeEnd() override;

    Json m_json;
    std::vector<Json*> m_open; ///< Each stays in its place while those within it grow.
};

}
