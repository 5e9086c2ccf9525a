#include "Comm/FrameReader.h"

#include "Support/TcpPeer.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct SReading {
    std::vector<std::string> frames;
    CFrameReader::Result result = CFrameReader::Result::Ok;
};

/// Feeds the bytes in pieces of the given size until the result is bad.
SReading Read(const std::string& bytes, std::size_t piece, std::size_t maxBody = 1000)
{
    CFrameReader reader(maxBody);
    SReading reading;
    for (std::size_t at = 0; at < bytes.size() && reading.result == CFrameReader::Result::Ok; at += piece) {
        reading.result = reader.Feed(std::string_view(bytes).substr(at, piece), [&](std::string_view frame) {
            reading.frames.emplace_back(frame);
            return true;
        });
    }
    return reading;
}

} // namespace

TEST(FrameReaderTest, TheSameEnvelopesAreReadFromPiecesOfAnySize)
{
    const std::vector<std::string> sent = {
        EnvelopeBytes(1, ""),
        EnvelopeBytes(5, "{\"name\": \"\xE5\xA0\xB4\"}"),
        EnvelopeBytes(0x10000005, std::string("ZXAP\0\0\0\0", 8)),
        EnvelopeBytes(7, std::string(1000, 'x')),
        EnvelopeBytes(1, ""),
    };
    std::string stream;
    for (const std::string& frame : sent)
        stream += frame;

    for (std::size_t piece = 1; piece <= stream.size(); ++piece)
        ASSERT_EQ(Read(stream, piece).frames, sent) << "in pieces of " << piece << " bytes";
}

TEST(FrameReaderTest, AWrongMarkIsReportedAtItsFourthByteAfterTheValidEnvelopesBeforeIt)
{
    const std::string sound = EnvelopeBytes(1, "{}");

    for (const std::size_t piece : {1u, 3u, 4u, 5u, 1000u}) {
        const SReading reading = Read(sound + "ZXAQ", piece);

        EXPECT_EQ(reading.result, CFrameReader::Result::WrongMark);
        EXPECT_THAT(reading.frames, ElementsAre(sound));
    }
    EXPECT_EQ(Read("GET", 3).result, CFrameReader::Result::Ok);
}

TEST(FrameReaderTest, AnIncompleteEnvelopeNeedsOnlyMemoryForItsReceivedBytes)
{
    const std::string large = EnvelopeBytes(1, std::string(1 << 20, 'x'));
    CFrameReader reader;
    const auto feed = [&](std::string_view bytes) { reader.Feed(bytes, [](std::string_view) { return true; }); };

    feed(large.substr(0, 20));
    EXPECT_LT(reader.HeldBytes(), 100u);
    for (std::size_t at = 20; at < large.size() - 1; at += 1000) {
        feed(large.substr(at, std::min<std::size_t>(1000, large.size() - 1 - at)));
        ASSERT_LE(reader.HeldBytes(), large.size());
    }
    feed(large.substr(large.size() - 1) + large.substr(0, 20));
    EXPECT_LT(reader.HeldBytes(), 100u);
}

TEST(FrameReaderTest, ABodyBeyondTheLimitIsReportedAfterItsHeader)
{
    const std::string atLimit = EnvelopeBytes(1, std::string(10, 'x'));
    const std::string beyond = EnvelopeBytes(1, std::string(11, 'x')).substr(0, 12);
    const std::string largest = std::string("ZXAP\0\0\0\1\xff\xff\xff\xff", 12);

    EXPECT_THAT(Read(atLimit, 1, 10).frames, ElementsAre(atLimit));
    for (const std::string& header : {beyond, largest}) {
        EXPECT_EQ(Read(header, 1, 10).result, CFrameReader::Result::TooLong);
        EXPECT_THAT(Read(header.substr(0, 11), 1, 10).frames, IsEmpty());
    }
}
