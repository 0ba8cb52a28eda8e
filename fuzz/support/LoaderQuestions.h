#pragma once

#include "addons/hdqfs/DataSet.h"

#include <new>
#include <stdexcept>

/// Everything that a host asks the loader of HDQFS files of, a little of each kind.
namespace varnox::fuzz {

/// What goes wrong in a file is an exception with a text; the next question is asked nevertheless.
template <typename Question>
void ask(Question const& question)
{
    try {
        question();
    } catch (std::runtime_error const&) {
    } catch (std::bad_alloc const&) {
    } catch (std::invalid_argument const&) {
    } catch (std::out_of_range const&) {
    }
}

/// As a host does that loads whole variables.
void loadOnDemand(hdqfsloader::DataSet& dataSet);

/// As a host does that asks for subzones.
void query(hdqfsloader::DataSet& dataSet);

}
