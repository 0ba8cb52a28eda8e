#pragma once

#include <gtest/gtest.h>

#include <string>

namespace varnox::tests {

/// Names a row of a table of test cases by its member name.
template <typename Case>
std::string caseName(testing::TestParamInfo<Case> const& row)
{
    return row.param.name;
}

}
