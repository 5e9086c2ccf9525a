#include "ShowHost/Page/TrafficRing.h"

#include <gtest/gtest.h>

namespace {

constexpr std::size_t kMaxBytes = 2 << 20;

/// Publishes a message. Every tenth has a payload of 90 kB.
void Publish(int number)
{
    STrafficRecord record;
    record.kind = STrafficRecord::Kind::Message;
    const std::string payload = std::to_string(number) + std::string(number % 10 == 0 ? 90'000 : 100, 'x');
    record.payload = payload;
    CTraffic::GetInstance().Publish(record);
}

int NumberIn(const STrafficRecord& record)
{
    return std::stoi(std::string(record.payload.substr(0, record.payload.find('x'))));
}

} // namespace

TEST(TrafficRingTest, TheNewestRecordsAreStoredWithTheirPositionsAndNumbers)
{
    CTrafficRing ring(kMaxBytes, false);
    Publish(-1); // not stored without readers
    ring.AddReader();
    Publish(0);
    const CTrafficRing::Record oldest = ring.Read(0, 1).records.at(0);
    for (int i = 1; i < 1000; ++i)
        Publish(i);

    const auto all = ring.Read(0, 5000);
    EXPECT_EQ(all.begin + all.records.size(), 1000U);
    EXPECT_GT(all.records.size(), 100U);
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < all.records.size(); ++i) {
        ASSERT_EQ(NumberIn(*all.records[i]), static_cast<int>(all.begin + i));
        ASSERT_EQ(ring.Find(all.records[i]->number), all.records[i]);
        ASSERT_EQ(ring.Read(all.begin + i, 3).records.at(0), all.records[i]);
        bytes += sizeof(STrafficRecord) + all.records[i]->payload.size();
    }
    EXPECT_LE(bytes, kMaxBytes);
    EXPECT_TRUE(ring.Read(1000, 1).records.empty());

    // A reader can still use a record that the ring has discarded.
    EXPECT_EQ(ring.Find(oldest->number), nullptr);
    EXPECT_EQ(ring.Find(all.records.back()->number + 1), nullptr);
    EXPECT_EQ(NumberIn(*oldest), 0);
    EXPECT_EQ(oldest->payload.size(), 90'001U);
}
