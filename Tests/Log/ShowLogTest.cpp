#include "Log/ShowLog.h"

#include "Support/FullDisk.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

std::string s_debugOutput;

} // namespace

/// A temporary log file, and the log's debug output.
class ShowLogTest : public testing::Test {
protected:
    ShowLogTest()
    {
        s_debugOutput.clear();
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& text) {
            s_debugOutput += text.toStdString() + '\n';
        });
    }
    ~ShowLogTest() override { qInstallMessageHandler(nullptr); }

    /// Returns the names of the files that were played on the day of the tests' records.
    static std::vector<std::string> Names(CShowLog& log, const QString& filter = {}, bool descending = false)
    {
        log.QueryPlayLog({{2026, 3, 1}, {9, 0}}, {{2026, 3, 1}, {21, 0}}, filter, descending);
        std::vector<std::string> names;
        for (const SPlayRecord& record : log.GetPlayLogList())
            names.push_back(record.fileName.toStdString());
        return names;
    }

    static SPlayRecord Played(const char* start, const char* name)
    {
        return {2, "0:04:12", start, "2026-03-01 20:00:30", "0:00:30", QString::fromUtf8(name)};
    }

    const QTemporaryDir m_folder;
    const std::string m_file = m_folder.filePath("show.sqlite").toStdString();
};

TEST_F(ShowLogTest, RecordsSurviveTheHost)
{
    {
        CShowLog log;
        ASSERT_EQ(log.Open(m_file), "");
        log.Add(Played("2026-03-01 08:59:59", "Before"));
        log.Add(Played("2026-03-01 20:00:00", "Ouvertüre, \"1\""));
        log.Add(Played("2026-03-01 20:01:00", "Finale"));
        log.Add(Played("2026-03-02 20:00:00", "After"));
        log.Add(SOPRecord{"2026-03-01 20:00:00", "Stage", "volume (0x105)", "SUCCESS", 4});
    }

    CShowLog log;
    ASSERT_EQ(log.Open(m_file), "");
    EXPECT_THAT(Names(log), ElementsAre("Ouvertüre, \"1\"", "Finale"));
    const SPlayRecord record = log.GetPlayLogList().first();
    EXPECT_EQ(record.fileType, 2);
    EXPECT_EQ(record.fileDuration, "0:04:12");
    EXPECT_EQ(record.startTime, "2026-03-01 20:00:00");
    EXPECT_EQ(record.endTime, "2026-03-01 20:00:30");
    EXPECT_EQ(record.playDuration, "0:00:30");
    EXPECT_THAT(Names(log, {}, true), ElementsAre("Finale", "Ouvertüre, \"1\""));
    EXPECT_THAT(Names(log, "ture"), IsEmpty());
    EXPECT_THAT(Names(log, "inal"), ElementsAre("Finale"));

    log.QueryOPLog({{2026, 3, 1}, {9, 0}}, {{2026, 3, 1}, {21, 0}}, false);
    ASSERT_EQ(log.GetOPLogList().size(), 1);
    const SOPRecord operation = log.GetOPLogList().first();
    EXPECT_EQ(operation.time + operation.module + operation.function + operation.description,
              "2026-03-01 20:00:00Stagevolume (0x105)SUCCESS");
    EXPECT_EQ(operation.source, 4);
    EXPECT_EQ(s_debugOutput, "");
}

TEST_F(ShowLogTest, AFileThatIsNotALogIsRefusedAndTheLogWorksWithoutIt)
{
    CShowLog log;
    log.Add(Played("2026-03-01 20:00:00", "Ouverture"));
    QFile file(QString::fromStdString(m_file));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(10'000, 'x'));
    file.close();

    EXPECT_THAT(log.Open(m_file), HasSubstr("not a database"));
    EXPECT_THAT(log.Open(m_folder.path().toStdString()), HasSubstr("unable to open"));
    EXPECT_THAT(Names(log), ElementsAre("Ouverture"));
}

TEST_F(ShowLogTest, ADamagedFileIsReportedAndDelaysNothing)
{
    {
        CShowLog log;
        ASSERT_EQ(log.Open(m_file), "");
        log.Add(Played("2026-03-01 20:00:00", "Ouverture"));
    }
    QFile file(QString::fromStdString(m_file));
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    // The first page has the schema, the others have the records.
    constexpr int kPageBytes = 4096;
    ASSERT_GT(file.size(), kPageBytes);
    file.seek(kPageBytes);
    file.write(QByteArray(static_cast<int>(file.size()) - kPageBytes, 'x'));
    file.close();

    CShowLog log;
    ASSERT_EQ(log.Open(m_file), "");
    EXPECT_THAT(Names(log), IsEmpty());
    EXPECT_THAT(s_debugOutput, HasSubstr("malformed"));
    log.Add(Played("2026-03-01 20:00:00", "Finale"));
}

TEST_F(ShowLogTest, RecordsOnAFullDiskAreListedAndWrittenWhenThereIsSpaceAgain)
{
    const auto operations = [](CShowLog& log, bool descending) {
        log.QueryOPLog({{2026, 3, 1}, {9, 0}}, {{2026, 3, 1}, {21, 0}}, descending);
        return log.GetOPLogList();
    };
    const auto add = [](CShowLog& log, int number) {
        log.Add(Played("2026-03-01 20:00:00", std::to_string(number).c_str()));
        log.Add(SOPRecord{"2026-03-01 20:00:00", "Stage", QString::number(number), "SUCCESS", 4});
    };
    {
        CShowLog log;
        ASSERT_EQ(log.Open(m_file), "");
        add(log, 1);
        {
            const CFullDisk full(static_cast<rlim_t>(QFileInfo(QString::fromStdString(m_file + "-wal")).size()));
            for (const int number : {2, 3})
                add(log, number);
            EXPECT_EQ(s_debugOutput.rfind(m_file + ": not written: "), 0U) << s_debugOutput;
            EXPECT_THAT(Names(log), ElementsAre("1", "2", "3"));
            EXPECT_THAT(Names(log, {}, true), ElementsAre("3", "2", "1"));
            EXPECT_EQ(operations(log, true).first().function, "3");
        }
        add(log, 4);
        EXPECT_THAT(s_debugOutput, EndsWith("\n" + m_file + ": written again\n"));
    }

    CShowLog log;
    ASSERT_EQ(log.Open(m_file), "");
    EXPECT_THAT(Names(log), ElementsAre("1", "2", "3", "4"));
    ASSERT_EQ(operations(log, false).size(), 4);
    EXPECT_EQ(operations(log, false).at(2).function, "3");
    ASSERT_EQ(log.Open(m_folder.filePath("new.sqlite").toStdString()), "");
    EXPECT_THAT(log.GetPlayLogList(), IsEmpty());
    EXPECT_EQ(QFile::permissions(QString::fromStdString(m_file + "-wal")) & QFile::ReadOther, QFile::Permissions());
}
