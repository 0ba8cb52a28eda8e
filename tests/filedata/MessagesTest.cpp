#include "filedata/Messages.h"

#include <gtest/gtest.h>

namespace varnox::hdqio {
namespace {

TEST(Messages, ErrorGoesToStandardErrorWithoutALineEnd)
{
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    EXPECT_EQ(errorMessage("Zone %d is %s.", 3, "bad"), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Zone 3 is bad.");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(Messages, InformationGoesToStandardOutputAndContinues)
{
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    EXPECT_EQ(infoMessage("Tag %d.", 3), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Tag 3....continuing.\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(Messages, ErrorIsType0AndAnyOtherTypeContinues)
{
    EXPECT_EQ(MessageBoxType_Error, 0);
    EXPECT_EQ(MessageBoxType_Information, 2);
    testing::internal::CaptureStdout();
    EXPECT_EQ(_showMessage(static_cast<MessageBoxType_e>(1), "Text"), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Text...continuing.\n");
    testing::internal::CaptureStderr();
    EXPECT_EQ(_showMessage(MessageBoxType_Error, "Text"), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Text");
}

TEST(Messages, LongTextIsCut)
{
    testing::internal::CaptureStderr();
    EXPECT_EQ(errorMessage("Cannot read file %s", std::string(20000, 'x').c_str()), 0);
    std::string const text = testing::internal::GetCapturedStderr();
    EXPECT_LT(text.size(), 5100U);
    EXPECT_EQ(text.substr(0, 20), "Cannot read file xxx");
}

TEST(Messages, InnermostCaptureCollects)
{
    MessageCapture const outer;
    {
        MessageCapture const inner;
        errorMessage("one");
        EXPECT_EQ(infoMessage("two"), 1);
        EXPECT_EQ(_showMessage(MessageBoxType_Error, "three"), 0);
        EXPECT_EQ(inner.text(), "one two three");
    }
    errorMessage("four");
    EXPECT_EQ(outer.text(), "four");
}

}
}
