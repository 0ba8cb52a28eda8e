#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace varnox::tools {

using Json = nlohmann::ordered_json;

/// Takes what is said of a file piece by piece, so that it can be far more than memory holds:
/// objects of members, of which some are objects or lists that come in pieces themselves. The names
/// are those of JSON. An "error" or "errors" among the members is damage.
class Report
{
public:
    Report() = default;
    Report(Report const&) = delete;
    Report& operator=(Report const&) = delete;
    virtual ~Report() = default;

    /// Members of the object that was begun last.
    void members(Json const& object);
    /// Begins a member; without a name the whole, or an object or a list in a list.
    void beginObject(std::string const& name = "");
    /// Of so many items, if that is known.
    void beginList(std::string const& name, std::size_t numItems = 0);
    /// A whole item of the list that was begun last.
    void item(Json const& value);
    /// Of the object or list that was begun last.
    void end();

    /// How many objects and lists are open.
    std::size_t depth() const { return m_path.size(); }
    bool tellsOfDamage() const { return m_tellsOfDamage; }

protected:
    /// The names of the objects and lists that are open.
    std::vector<std::string> const& path() const { return m_path; }
    /// A name in the path, counted from its end: 0 is the last. Empty if there is none.
    std::string const& nameAbove(std::size_t steps) const;

private:
    virtual void takeMembers(Json const& object) = 0;
    virtual void takeBegin(std::string const& name, bool isList, std::size_t numItems) = 0;
    virtual void takeItem(Json const& value) = 0;
    virtual void takeEnd() = 0;

    std::vector<std::string> m_path;
    bool m_tellsOfDamage = false;
};

}
