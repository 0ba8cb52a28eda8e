#pragma once

#include "addons/hdqfs/DataSet.h"

#include <new>
#include <stdexcept>
#include <string>
#include <vector>

/// Everything that a host asks the loader of HDQFS files of, a little of each kind.
namespace varnox::fuzz {

/// While one lives, it collects what is refused.
class Refusals
{
public:
    Refusals();
    Refusals(Refusals const&) = delete;
    Refusals& operator=(Refusals const&) = delete;
    ~Refusals();

    std::vector<std::string> const& texts() const { return m_texts; }

    static void add(std::string const& text);

private:
    std::vector<std::string> m_texts;
};

/// What goes wrong in a file is an exception with a text; the next question is asked nevertheless.
/// Returns whether there was an answer.
template <typename Question>
bool ask(Question const& question)
{
    try {
        question();
        return true;
    } catch (std::runtime_error const& error) {
        Refusals::add(error.what());
    } catch (std::bad_alloc const&) {
        Refusals::add("std::bad_alloc");
    } catch (std::invalid_argument const& error) {
        Refusals::add(error.what());
    } catch (std::out_of_range const& error) {
        Refusals::add(error.what());
    }
    return false;
}

/// As a host does that loads whole variables.
void loadOnDemand(hdqfsloader::DataSet& dataSet);

/// As a host does that asks for subzones.
void query(hdqfsloader::DataSet& dataSet);

}
