#include "Comm/BackOff.h"

#include <gmock/gmock.h>

#include <vector>

using namespace std::chrono_literals;

TEST(BackOffTest, PausesDoubleUpToTheMaximumAndASuccessResetsThem)
{
    CBackOff backOff(300ms, 1s);
    const std::vector pauses = {backOff.Next(), backOff.Next(), backOff.Next(), backOff.Next()};
    backOff.Reset();

    EXPECT_THAT(pauses, testing::ElementsAre(300ms, 600ms, 1000ms, 1000ms));
    EXPECT_EQ(backOff.Next(), 300ms);
}
