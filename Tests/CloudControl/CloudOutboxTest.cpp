#include "CloudControl/CloudOutbox.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace {

constexpr std::size_t kRoom = 10;

std::vector<std::string> TakeAll(CCloudOutbox& outbox)
{
    std::vector<std::string> taken;
    while (const auto message = outbox.Take())
        taken.push_back(message->data);
    return taken;
}

} // namespace

TEST(CloudOutbox, AFullOutboxDropsOldPicturesFirst)
{
    CCloudOutbox outbox(kRoom);
    const auto put = [&](CloudControl::EROUTE_TYPE route, const char* data) { return outbox.Put({route, data}, 1); };

    EXPECT_EQ(put(CloudControl::PlayLog, "logs"), 0u);
    EXPECT_EQ(put(CloudControl::ClipAndChapterData, "one"), 0u);
    EXPECT_EQ(put(CloudControl::ClipAndChapterData, "two"), 0u);
    EXPECT_EQ(put(CloudControl::SystemInformation, "info"), 2u);
    EXPECT_EQ(put(CloudControl::ProjectData, "projec"), 1u);

    EXPECT_THAT(TakeAll(outbox), ElementsAre("info", "projec"));
}

TEST(CloudOutbox, AReplyThatIsLongerThanTheLimitIsDropped)
{
    CCloudOutbox outbox(kRoom);

    EXPECT_EQ(outbox.Put({CloudControl::ProjectData, std::string(kRoom + 1, 'x')}, 1), 1u);
    EXPECT_EQ(outbox.Put({CloudControl::ProjectData, std::string(kRoom, 'y')}, 1), 0u);

    EXPECT_THAT(TakeAll(outbox), ElementsAre(std::string(kRoom, 'y')));
}
