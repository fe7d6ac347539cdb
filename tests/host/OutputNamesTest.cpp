#include "host/headless/OutputNames.h"

#include <gtest/gtest.h>

TEST(OutputNames, areTheInputsNamesInTheFolder)
{
    OutputNames names("out", {"a/shot.0001.zeq", "b/plain"});
    EXPECT_EQ(names.next("a/shot.0001.zeq"), "out/shot.0001");
    EXPECT_EQ(names.next("b/plain"), "out/plain");
    EXPECT_EQ(names.contactSheet(), "out/contact-sheet.png");
}

TEST(OutputNames, areGivenOnce)
{
    OutputNames names("out", {"a/shot.zeq", "b/shot.zeq", "shot.qmx", "contact-sheet.zeq"});
    EXPECT_EQ(names.next("a/shot.zeq"), "out/shot");
    EXPECT_EQ(names.next("b/shot.zeq"), "out/shot-2");
    EXPECT_EQ(names.next("shot.qmx"), "out/shot-3");
    EXPECT_EQ(names.next("contact-sheet.zeq"), "out/contact-sheet-2");
}

// Wherever the folder is and whatever the inputs are called.
TEST(OutputNames, neverHitAnInput)
{
    OutputNames here(".", {"shot.png", "sub/../other.exr"});
    EXPECT_EQ(here.next("shot.png"), "./shot-2");
    EXPECT_EQ(here.next("sub/../other.exr"), "./other-2");
}
