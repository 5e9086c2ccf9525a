#include "Comm/BackOff.h"

#include <gmock/gmock.h>

#include <vector>

using namespace std::chrono_literals;

TEST(BackOffTest, PausesDoubleUpToTheLongestAndASuccessBringsTheFirstBack)
{
    CBackOff backOff(300ms, 1s);
    std::vector<std::chrono::milliseconds> pauses;
    for (int i = 0; i < 4; ++i)
        pauses.push_back(backOff.Next());
    backOff.Reset();
    pauses.push_back(backOff.Next());

    EXPECT_THAT(pauses, testing::ElementsAre(300ms, 600ms, 1000ms, 1000ms, 300ms));
}
