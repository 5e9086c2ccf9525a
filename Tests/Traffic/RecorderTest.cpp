#include "Traffic/Recorder.h"

#include "Support/Waiting.h"
#include "Traffic/RecordLine.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <atomic>
#include <fstream>
#include <sstream>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using testing::HasSubstr;
using testing::Not;

namespace {

STrafficRecord Message(std::string_view payload, STrafficRecord::From from = STrafficRecord::From::Remote)
{
    STrafficRecord record{STrafficRecord::Kind::Message, TrafficChannel::AppControl, "127.0.0.1:4000"};
    record.from = from;
    record.code = 0x10000006;
    record.payload = payload;
    return record;
}

QJsonObject Line(const STrafficRecord& record)
{
    const QByteArray line = QByteArray::fromStdString(RecordLine::LineOf(record, {}));
    EXPECT_FALSE(line.contains('\n'));
    QJsonObject object = QJsonDocument::fromJson(line).object();
    EXPECT_FALSE(object.isEmpty()) << line.constData();
    return object;
}

class RecorderTest : public testing::Test {
protected:
    std::string File() const { return m_folder.filePath("traffic.jsonl").toStdString(); }

    void Record(const std::string& file, int messages, std::string_view payload)
    {
        m_recorder = std::make_unique<CTrafficRecorder>(file, "a test", [this](const std::string&) { ++m_errors; });
        for (int i = 0; i < messages; ++i)
            CTraffic::GetInstance().Publish(Message(payload));
    }

    QTemporaryDir m_folder;
    std::unique_ptr<CTrafficRecorder> m_recorder;
    std::atomic<int> m_errors{0};
};

std::vector<QJsonObject> ReadLines(std::istream& input)
{
    std::vector<QJsonObject> lines;
    for (std::string line; std::getline(input, line);)
        lines.push_back(QJsonDocument::fromJson(QByteArray::fromStdString(line)).object());
    return lines;
}

} // namespace

TEST(RecordLineTest, SecretsAreHiddenWhereverTheyAre)
{
    const char* const payloads[] = {
        R"({"user": "demo", "password": "s3cret"})",
        R"( {"user": "demo", "p\u0061ssword": "s3cret"})",
        R"(x {"password": "s3cret"})",
        "\xef\xbb\xbf{\"password\": \"s3cret\"}",
        R"({"list": [{"deep": {"password": {"is": "s3cret"}}}]})",
        R"({"route": 1, "data": "{\"password\": \"s3cret\"}"})",
        R"({"password": "s3cret)",
        R"({"password": "other", "password": "s3cret"})",
        "PASS 1 & s3cret",
        "password= \"1\n s3cret\"",
        R"({"AppQRCode": "s3cret"})",
        "\xff password s3cret",
        "ZXID0123456789abcdef0000{\"password\": \"s3cret\"}",
    };
    for (const char* const payload : payloads) {
        for (const auto from : {STrafficRecord::From::Remote, STrafficRecord::From::Host}) {
            const std::string line = RecordLine::LineOf(Message(payload, from), {});
            EXPECT_THAT(line, Not(HasSubstr("s3cret"))) << payload;
            EXPECT_THAT(line, HasSubstr("***")) << payload;
        }
    }
    STrafficRecord note{STrafficRecord::Kind::Note, TrafficChannel::Cloud, "peer"};
    note.text = "no route to wss://a/b?username=demo&password=s3cret";
    EXPECT_EQ(Line(note)["note"].toString(), "no route to wss://a/b?username=demo&password=***");
}

TEST(RecordLineTest, AMessageIsJsonTextOrBytes)
{
    EXPECT_EQ(Line(Message("{\n  \"a\": [1, \"b  \\\" c\"]\n}", STrafficRecord::From::Host))["body"],
              QJsonObject({{"a", QJsonArray{1, "b  \" c"}}}));
    EXPECT_THAT(RecordLine::LineOf(Message(R"( { "a" : [ -0.5e+1 , true, { } ] } )"), {}),
                HasSubstr(R"("body":{"a":[-0.5e+1,true,{}]})"));
    const std::string tooDeep = std::string(64, '[') + std::string(64, ']');
    for (const char* const other : {R"({"a": )", R"({"a": ")", R"({"a": 1}})", R"({"a": 1, "a": 2})", R"({"a": 01})",
                                    R"([1,])", R"(["\q"])", R"({"a" 1})", "[\"line\nfeed\"]", "[1.]", tooDeep.c_str()})
        EXPECT_EQ(Line(Message(other))["text"].toString(), other);
    EXPECT_EQ(Line(Message("\xff\x01"))["bytes"], QJsonValue("/wE="));
    const QJsonObject picture =
        Line(Message(std::string("ZXID") + std::string(15, '\0') + "\x07" + std::string("\0\0\0\2ab", 6),
                     STrafficRecord::From::Host));
    EXPECT_EQ(picture["id"], QJsonValue("00000000-0000-0000-0000-000000000007"));
    EXPECT_EQ(picture["bytes"], QJsonValue("YWI="));
    EXPECT_EQ(picture["code"], QJsonValue("0x006"));
    EXPECT_EQ(picture["name"], QJsonValue("login-identity"));
}

TEST_F(RecorderTest, NoMessageIsLostUnderLoad)
{
    constexpr int kMessages = 50'000;
    std::thread other;
    {
        Record(File(), 0, {});
        other = std::thread([] {
            for (int i = 0; i < kMessages; ++i)
                CTraffic::GetInstance().Publish(Message(R"({"volume": 40})"));
        });
        for (int i = 0; i < kMessages; ++i)
            CTraffic::GetInstance().Publish(Message(R"({"volume": 40})"));
    }
    other.join();
    m_recorder.reset();

    std::ifstream file(File());
    const auto lines = ReadLines(file);
    ASSERT_EQ(lines.size(), 1 + 2 * kMessages);
    EXPECT_EQ(lines[0]["recording"], QJsonValue(1));
    for (std::size_t i = 2; i < lines.size(); ++i)
        ASSERT_EQ(lines[i]["n"].toInt(), lines[i - 1]["n"].toInt() + 1);
}

TEST_F(RecorderTest, RecordsThatASlowDiskCannotTakeAreCounted)
{
    constexpr int kMessages = 800;
    ASSERT_EQ(mkfifo(File().c_str(), 0600), 0);
    const int slow = open(File().c_str(), O_RDONLY | O_NONBLOCK);
    Record(File(), kMessages, std::string(100'000, 'x'));
    fcntl(slow, F_SETFL, 0);
    std::thread end([this] { m_recorder.reset(); });
    std::stringstream text;
    char bytes[65536];
    for (ssize_t count = 0; (count = read(slow, bytes, sizeof bytes)) > 0;)
        text.write(bytes, count);
    end.join();
    close(slow);

    int dropped = 0;
    const auto lines = ReadLines(text);
    for (const QJsonObject& line : lines)
        dropped += line["note"].toString().section(' ', 0, 0).toInt();
    EXPECT_GT(dropped, 0);
    EXPECT_EQ(static_cast<int>(lines.size()) - 2 + dropped, kMessages); // without the first line and the note
}

TEST_F(RecorderTest, ASingleRecordThatExceedsTheQueueIsCounted)
{
    Record(File(), 1, std::string(CTrafficRecorder::kMaxQueuedBytes, 'x'));
    m_recorder.reset();
    std::ifstream file(File());
    EXPECT_THAT(ReadLines(file).back()["note"].toString().toStdString(), testing::StartsWith("1 records dropped"));
}

TEST_F(RecorderTest, AFullDiskIsReportedOnce)
{
    Record("/dev/full", 10, "{}");
    EXPECT_TRUE(WaitUntil([this] { return m_errors == 1; }));
    CTraffic::GetInstance().Publish(Message("{}"));
    m_recorder.reset();
    EXPECT_EQ(m_errors, 1);
    EXPECT_THROW(Record(m_folder.filePath("missing/file").toStdString(), 0, {}), std::runtime_error);
}
