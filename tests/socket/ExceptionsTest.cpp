#include "varnox/ExceptionBase.h"
#include "varnox/IOException.h"
#include "varnox/socketutil/SocketException.h"

#include "tests/support/Slots.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>

namespace varnox {
namespace {

using tests::slot;

TEST(ExceptionBase, VirtualsStandInTheirOrder)
{
    // Two entries of the destructor go ahead.
    EXPECT_EQ(slot(&ExceptionBase::what), 2U);
    EXPECT_EQ(slot(&ExceptionBase::cause), 3U);
    EXPECT_EQ(slot(&ExceptionBase::message), 4U);
    EXPECT_EQ(slot<void (ExceptionBase::*)() const>(&ExceptionBase::printStackTrace), 5U);
    EXPECT_EQ(slot<void (ExceptionBase::*)(std::FILE*) const>(&ExceptionBase::printStackTrace), 6U);
}

TEST(ExceptionBase, TellsItsMessageWholeAndNoCause)
{
    ExceptionBase const error("a\nb", false);
    EXPECT_STREQ(error.what(), "a\nb");
    EXPECT_EQ(error.message(), "a\nb");
    EXPECT_EQ(error.cause(), nullptr);
}

TEST(ExceptionBase, PrintsItsMessageToTheFileOrToStandardError)
{
    ExceptionBase const error("it failed", false);
    testing::internal::CaptureStderr();
    error.printStackTrace();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "it failed\n");
    std::FILE* const file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    error.printStackTrace(file);
    std::rewind(file);
    std::array<char, 32> line{};
    EXPECT_NE(std::fgets(line.data(), line.size(), file), nullptr);
    EXPECT_STREQ(line.data(), "it failed\n");
    std::fclose(file);
}

template <typename Exception>
std::string caughtAsStandardException()
{
    try {
        throw Exception(std::string("why"));
    } catch (std::exception const& error) {
        return error.what();
    }
}

TEST(Exceptions, OfSocketAndArraysAreStandardExceptions)
{
    EXPECT_EQ(caughtAsStandardException<IOException>(), "why");
    EXPECT_EQ(caughtAsStandardException<socketutil::SocketException>(), "why");
}

}
}
