#include "ShowHost/Shutdown.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <future>

namespace {

using std::chrono::milliseconds;

/// Ends the process unless the deadline expires first.
void WaitForTheDeadline(milliseconds limit)
{
    CShutdownDeadline deadline([] { std::fputs("abandoned", stderr); }, limit);
    deadline.Start(0);
    deadline.Start(3);
    std::promise<void>().get_future().wait_for(std::chrono::seconds(20));
    std::_Exit(1);
}

} // namespace

TEST(ShutdownDeathTest, AProcessThatDoesNotEndInTimeIsTerminatedWithItsExitCode)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";

    EXPECT_EXIT(WaitForTheDeadline(milliseconds(1)), testing::ExitedWithCode(3), "abandoned");
}

TEST(ShutdownDeathTest, AProcessThatEndsInTimeIsNotTerminated)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";

    const auto end = [] {
        {
            CShutdownDeadline deadline([] {}, std::chrono::hours(1));
            deadline.Start(3);
        }
        std::_Exit(0);
    };

    EXPECT_EXIT(end(), testing::ExitedWithCode(0), "");
}
