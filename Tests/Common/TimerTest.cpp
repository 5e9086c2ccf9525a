#include "Interfaces/Common.h"

#include "Support/Waiting.h"

#include <gtest/gtest.h>

TEST(TimerTest, TheFirstCallComesAfterAPeriodAndStopWaitsForTheLastOne)
{
    using Clock = std::chrono::steady_clock;
    constexpr std::chrono::milliseconds kPeriod(5);
    std::atomic<int> begun{0}, ended{0};
    std::atomic<bool> stops{false};
    CTimer timer(
        [&] {
            if (++begun == 2)
                WaitUntil([&] { return stops.load(); });
            ++ended;
        },
        kPeriod.count());

    for (int start = 0; start < 2; ++start) {
        begun = ended = 0;
        stops = false;
        const auto before = Clock::now();
        timer.Start();
        ASSERT_TRUE(WaitUntil([&] { return begun == 2; }));
        EXPECT_GE(Clock::now() - before, 2 * kPeriod);
        EXPECT_EQ(ended, 1);
        stops = true;
        timer.Stop();
        EXPECT_EQ(ended, begun);
    }
}

TEST(TimerTest, ThreadsMayStartAndStopItAtTheSameTime)
{
    std::atomic<int> running{0}, overlapping{0};
    CTimer timer(
        [&] {
            overlapping += ++running > 1;
            std::this_thread::yield();
            --running;
        },
        0.01);
    const auto use = [&] {
        for (int turn = 0; turn < 300; ++turn) {
            timer.Start();
            timer.Stop();
        }
    };

    std::thread other(use);
    use();
    other.join();

    EXPECT_EQ(overlapping, 0);
}
