#include "CloudControl/CloudCommand.h"

#include <gtest/gtest.h>

namespace {

QJsonObject Read(const char* frame, QString& refusal)
{
    refusal.clear();
    return CloudCommand::Read(frame, refusal);
}

} // namespace

TEST(CloudCommand, ACommandHasTheCodeOfItsKeywordOrItsOwnCode)
{
    const std::vector<std::pair<const char*, QJsonObject>> frames = {
        {R"({"cmd": "globalVolume", "param": 40})", {{"cmd", "globalVolume"}, {"param", 40}, {"cmdType", 0x105}}},
        {R"({"cmd": "refresh", "cmdType": 21})", {{"cmd", "refresh"}, {"cmdType", 24}}},
        {R"({"cmdType": 25})", {{"cmdType", 25}}},
        {R"({"cmd": 1, "cmdType": 25})", {{"cmd", 1}, {"cmdType", 25}}},
    };

    for (const auto& [frame, command] : frames) {
        QString refusal;
        EXPECT_EQ(Read(frame, refusal), command) << frame;
        EXPECT_EQ(refusal, QString()) << frame;
    }
}

TEST(CloudCommand, AnInvalidCommandIsRefusedWithAReason)
{
    for (const char* frame : {"", "{", "refresh", "[]", "{}", R"({"param": 1})", R"({"cmdType": "24"})",
                              R"({"cmdType": 24, "cmdType": 24})", R"({"cmd": "no such keyword"})",
                              R"({"cmd": "no such keyword", "cmdType": 24})"}) {
        QString refusal;
        EXPECT_TRUE(Read(frame, refusal).isEmpty()) << frame;
        EXPECT_NE(refusal, QString()) << frame;
    }
}
