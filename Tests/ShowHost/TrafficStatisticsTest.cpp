#include "ShowHost/Page/TrafficStatistics.h"

#include "ExternalController/Common/Command.h"

#include <QJsonArray>

#include <gmock/gmock.h>

using testing::AllOf;
using testing::HasSubstr;

namespace {

using Channel = TrafficChannel;
using From = STrafficRecord::From;
using Kind = STrafficRecord::Kind;

class TrafficStatisticsTest : public testing::Test {
protected:
    static std::uint64_t Event(Kind kind, Channel channel, const std::string& peer, const std::string& text = {})
    {
        STrafficRecord record;
        record.kind = kind;
        record.channel = channel;
        record.peer = peer;
        record.text = text;
        return CTraffic::GetInstance().Publish(record);
    }
    /// Publishes a message of 10 bytes; one with a request is the host's.
    static std::uint64_t Message(Channel channel, const std::string& peer, unsigned int code, std::string_view payload,
                                 std::uint64_t request = 0)
    {
        STrafficRecord record;
        record.kind = Kind::Message;
        record.channel = channel;
        record.peer = peer;
        record.code = code;
        record.payload = payload;
        record.wireBytes = 10;
        record.from = request ? From::Host : From::Remote;
        record.replyTo = request;
        return CTraffic::GetInstance().Publish(record);
    }
    static void LogIn(const std::string& peer, std::string_view body, std::string_view reply)
    {
        const auto request = Message(Channel::AppControl, peer, Command::Login, body);
        Message(Channel::AppControl, peer, Command::ReplyTo(Command::Login), reply, request);
    }
    QJsonObject Remotes()
    {
        m_statistics.Update();
        return m_statistics.Remotes();
    }
    QJsonObject Connection(const QString& peer)
    {
        for (const QJsonValue connection : Remotes()["connections"].toArray()) {
            if (connection["peer"] == peer)
                return connection.toObject();
        }
        return {};
    }
    std::string Metrics()
    {
        m_statistics.Update();
        return m_statistics.Metrics().toStdString();
    }

    CTrafficRing m_ring{1 << 20, true};
    CTrafficStatistics m_statistics{m_ring};
};

} // namespace

TEST_F(TrafficStatisticsTest, AConnectionHasItsUserItsHeartbeatAndItsCounts)
{
    Event(Kind::Opened, Channel::AppControl, "a:1");
    LogIn("a:1", R"({"username": "ann"})", R"({"result": 0})");
    LogIn("b:2", R"({"username": "ben"})", R"({"result": 2})");
    EXPECT_EQ(Connection("a:1")["user"], "ann");
    EXPECT_TRUE(Connection("a:1")["lastHeartbeat"].isNull());
    EXPECT_EQ(Connection("b:2")["user"], "");
    EXPECT_EQ(Connection("b:2")["errors"], 1);

    Message(Channel::AppControl, "a:1", Command::Heartbeat, "");
    LogIn("b:2", R"({"username": "ben", "force": 1})", R"({"result": 0})"); // displaces the other app

    const QJsonObject first = Connection("a:1");
    EXPECT_EQ(first["user"], "");
    EXPECT_GT(first["lastHeartbeat"].toDouble(), 0);
    EXPECT_EQ(first["requests"], 2);
    EXPECT_EQ(first["received"], 20);
    EXPECT_EQ(first["sent"], 10);
    EXPECT_EQ(first["errors"], 0);
    EXPECT_EQ(Connection("b:2")["user"], "ben");
}

TEST_F(TrafficStatisticsTest, ChannelsAndDevicesHaveTheirLastNote)
{
    Event(Kind::Listening, Channel::FP, "", "127.0.0.1:25510");
    Event(Kind::Opened, Channel::FP, "c:3");
    Event(Kind::Closed, Channel::FP, "c:3", "closed by the peer");
    Event(Kind::Opened, Channel::Devices, "ttyS0");
    Event(Kind::Failed, Channel::Devices, "ttyS1", "in use");

    const QJsonObject remotes = Remotes();
    const QJsonValue fp = remotes["channels"].toArray().at(0);
    EXPECT_EQ(fp["channel"], "FP");
    EXPECT_EQ(fp["address"], "127.0.0.1:25510");
    EXPECT_EQ(fp["note"], "c:3: closed by the peer");
    EXPECT_GT(fp["noteTime"].toDouble(), 0);
    EXPECT_EQ(remotes["deviceStates"], (QJsonObject{{"ttyS0", "open"}, {"ttyS1", "in use"}}));
    EXPECT_TRUE(Connection("c:3").isEmpty());
    EXPECT_THAT(Metrics(), AllOf(HasSubstr("showhost_connections_total{channel=\"FP\"} 1\n"),
                                 HasSubstr("showhost_connections{channel=\"FP\"} 0\n"),
                                 HasSubstr("showhost_connections{channel=\"devices\"} 1\n")));
}

TEST_F(TrafficStatisticsTest, RefusalsAndUploadsAreCounted)
{
    const auto ask = [](Channel channel, unsigned int code, std::string_view request, std::string_view reply) {
        const auto number = Message(channel, "d:4", code, request);
        Message(channel, "d:4", code, reply, number);
    };
    ask(Channel::CentralControl, Command::Volume, "{}", "no clip on this position");
    ask(Channel::CentralControl, Command::Volume, "{}", "SUCCESS");
    ask(Channel::Cloud, Command::Volume, "{}", R"({"data": "{\"errorMsg\": \"FAIL\"}"})");
    ask(Channel::Cloud, Command::Volume, "{}", R"({"data": "{\"errorMsg\": \"SUCCESS\"}"})");
    for (const char* command : {"STOR clip.mp4", "APPE clip.mp4", "RETR clip.mp4"})
        ask(Channel::AppUpload, 0, command, "226 done");
    ask(Channel::AppUpload, 0, "STOR clip.mp4", "550 refused");

    EXPECT_THAT(Metrics(),
                AllOf(HasSubstr("showhost_messages_total{channel=\"central control\",name=\"volume\"} 4\n"),
                      HasSubstr("showhost_message_bytes_total{channel=\"central control\",name=\"volume\"} 40\n"),
                      HasSubstr("showhost_refused_requests_total{channel=\"central control\",name=\"volume\"} 1\n"),
                      HasSubstr("showhost_refused_requests_total{channel=\"cloud\",name=\"volume\"} 1\n"),
                      HasSubstr("showhost_messages_total{channel=\"app upload\",name=\"other\"} 8\n"),
                      HasSubstr("showhost_request_seconds_bucket{le=\"+Inf\"} 8\nshowhost_request_seconds_sum "),
                      HasSubstr("showhost_request_seconds_count 8\n"), HasSubstr("showhost_uploads_total 2\n"),
                      HasSubstr("showhost_dropped_records_total 0\n")));
}
