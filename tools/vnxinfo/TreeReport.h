#pragma once

#include "tools/support/Output.h"
#include "tools/vnxinfo/Report.h"

#include <cstddef>

namespace varnox::tools {

/// Writes the description of a file as an indented tree.
class TreeReport final : public Report
{
public:
    explicit TreeReport(Output& output) : m_output(output) {}

private:
    void takeMembers(Json const& object) override;
    void takeBegin(std::string const& name, bool isList, std::size_t numItems) override;
    void takeItem(Json const& value) override;
    void takeEnd() override;

    void beginList(std::string const& name, std::size_t numItems);
    void takeZoneMembers(Json const& zone);
    void takeGroupItem(Json const& value);
    void takeBlock(std::string const& list, Json const& value);
    bool isInBlocks() const { return nameAbove(1) == "blocks"; }

    Output& m_output;
    std::size_t m_nameWidth = 4; ///< Of the variables.
    std::size_t m_numItems = 0;  ///< Of the present list of blocks.
};

}
