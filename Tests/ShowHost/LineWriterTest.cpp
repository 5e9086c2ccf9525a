#include "ShowHost/LineWriter.h"

#include "Support/FullDisk.h"
#include "Support/Waiting.h"

#include <QTemporaryFile>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

class CPipe {
public:
    CPipe() { EXPECT_EQ(pipe2(m_ends, O_NONBLOCK), 0); }
    ~CPipe()
    {
        close(m_ends[0]);
        close(m_ends[1]);
    }

    int Writable() const { return m_ends[1]; }
    bool IsFull() const
    {
        int bytes = 0;
        ioctl(m_ends[0], FIONREAD, &bytes);
        return bytes == fcntl(m_ends[1], F_GETPIPE_SZ);
    }

    /// Reads until the text ends with the expected end.
    std::string ReadUntil(const std::string& end) const
    {
        std::string text;
        char bytes[65536];
        WaitUntil([&] {
            for (ssize_t count = 1; count > 0;) {
                count = read(m_ends[0], bytes, sizeof bytes);
                text.append(bytes, count > 0 ? static_cast<std::size_t>(count) : 0);
            }
            return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
        });
        return text;
    }

private:
    int m_ends[2] = {};
};

/// Returns how often this process has called write, successfully or not.
int WriteCalls()
{
    QFile file("/proc/self/io");
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray text = file.readAll();
    return text.mid(text.indexOf("syscw: ") + 7).split('\n').constFirst().toInt();
}

} // namespace

TEST(LineWriterTest, LinesBeyondTheQueueAreDroppedAndCountedInTheirPosition)
{
    constexpr int kQueuedLines = 1048; // of 1000 bytes: 1 MiB
    const CPipe pipe;
    CLineWriter writer(pipe.Writable());
    std::string expected = std::string(200'000, 'x') + '\n';
    writer.Write(std::string(200'000, 'x'));
    EXPECT_TRUE(WaitUntil([&] { return pipe.IsFull(); })) << "the writer's thread is blocked";

    for (int number = 0; number < kQueuedLines + 2; ++number) {
        std::string line = std::to_string(number);
        line.resize(999, 'x');
        writer.Write(line);
        if (number < kQueuedLines)
            expected += line + '\n';
    }

    EXPECT_TRUE(pipe.ReadUntil(" lines dropped\n") == expected + "... 2 lines dropped\n");
    writer.Write("the next");
    EXPECT_EQ(pipe.ReadUntil("\n"), "the next\n");
}

TEST(LineWriterTest, ALineThatCouldOnlyBeWrittenInPartIsReportedWhenOutputWorksAgain)
{
    QTemporaryFile file;
    ASSERT_TRUE(file.open());
    {
        CLineWriter writer(file.handle());
        {
            const CFullDisk full(5);
            const int before = WriteCalls();
            writer.Write("first line");
            // The writer has tried to write the rest, too.
            ASSERT_TRUE(WaitUntil([&] { return file.size() == 5 && WriteCalls() >= before + 2; }));
        }
        writer.Write("second");
        // Before the end, the queue is written.
    }

    file.seek(0);
    EXPECT_EQ(file.readAll(), "first\n... 1 line dropped\nsecond\n");
}

TEST(LineWriterTest, TheEndDoesNotWaitForAReaderAndAClosedPipeEndsNoProcess)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    {
        CLineWriter writer(ends[1]);
        writer.Write(std::string(500'000, 'x'));
    }
    close(ends[0]);
    CLineWriter(ends[1]).Write("no reader");
    close(ends[1]);
}
