#include "host/headless/HostedReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

using namespace testing;

TEST(Op, formatsWhatItReportsAsPrintfDoes)
{
    ReadOperator readOperator("picture.zeq");
    const std::string longText(100000, 'x');
    readOperator.critical("%s", "100 %s%n of it");
    readOperator.critical("%s", "");
    readOperator.critical("%d of %s", 3, "four");
    readOperator.critical("%s", longText.c_str());
    EXPECT_THAT(readOperator.takeMessages(),
                ElementsAre("100 %s%n of it", "", "3 of four", longText));
    EXPECT_THAT(readOperator.takeMessages(), IsEmpty());
}

TEST(Op, reportsToStandardErrorUnlessTheHostListens)
{
    DD::Image::Op op;
    internal::CaptureStderr();
    op.critical("%s", "100 %s%n of it");
    EXPECT_EQ(internal::GetCapturedStderr(), "100 %s%n of it\n");
}
