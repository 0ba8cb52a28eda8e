#include "command/ScopedExitAction.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

TEST(ScopedExitAction, RunsOnceAtTheEndOfTheScope)
{
    int runs = 0;
    {
        ScopedExitAction const action([&] { ++runs; });
        EXPECT_EQ(runs, 0);
    }
    EXPECT_EQ(runs, 1);
}

TEST(ScopedExitAction, RunsWhenAnExceptionLeavesTheScope)
{
    int runs = 0;
    try {
        ScopedExitAction const action([&] { ++runs; });
        throw std::runtime_error("leave");
    } catch (std::runtime_error const&) {
    }
    EXPECT_EQ(runs, 1);
}

TEST(ScopedExitActionDeathTest, ExceptionOutOfTheFunctionEndsTheProcess)
{
    EXPECT_DEATH({ ScopedExitAction const action([] { throw std::runtime_error("out of it"); }); },
                 "out of it");
}

}
