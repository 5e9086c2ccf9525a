#include "Comm/IoThreads.h"

#include "Support/Waiting.h"

#include <asio/post.hpp>
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <iterator>

namespace {

auto CountThreads()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/task"), std::filesystem::directory_iterator());
}

} // namespace

TEST(IoThreadsTest, TheThreadsOfABurstEndAndTheNextBurstStartsNewOnes)
{
    CIoThreads threads(std::chrono::milliseconds(20));
    threads.Start();
    const auto atRest = CountThreads();
    for (int burst = 0; burst < 2; ++burst) {
        CGate gate;
        std::atomic<int> waiting{0};
        std::atomic<int> returned{0};
        for (int i = 0; i < 8; ++i) {
            asio::post(threads.Context(), [&] {
                const CIoThreads::CCallbackScope callbackScope(threads);
                ++waiting;
                gate.Wait();
                ++returned;
            });
        }
        ASSERT_TRUE(WaitUntil([&] { return waiting == 8; }));
        EXPECT_GE(CountThreads(), atRest + 7);

        gate.Open();

        EXPECT_TRUE(WaitUntil([&] { return returned == 8 && CountThreads() == atRest; }));
    }
}
