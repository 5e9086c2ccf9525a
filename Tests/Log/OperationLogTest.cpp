#include "Log/OperationLog.h"

#include "ExternalController/Common/Vocabulary.h"
#include "Interfaces/CltLog.h"
#include "Support/FullDisk.h"

#include <QDateTime>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace {

constexpr std::time_t kTime = 1'772'366'400;

void Log(int level, const char* by = "by")
{
    CltLog::CLogEventWrap wrap(std::make_shared<CltLog::CLogEvent>(CltLog::GetOperationLogger(), level, 4, nullptr, 1,
                                                                   77, kTime, "Global", "Restart"));
    wrap.GetEvent().Format("%s %d%%", by, 100);
}

std::string TextOf(const std::string& file)
{
    std::ifstream written(file);
    return {std::istreambuf_iterator<char>(written), {}};
}

} // namespace

TEST(OperationLog, LinesHaveTheFormatOfThePattern)
{
    const QTemporaryDir folder;
    const std::string file = folder.filePath("operation.log").toStdString();
    ASSERT_TRUE(OperationLog::Open(file));
    Log(CltLog::Operation);
    CltLog::GetOperationLogger()->SetPattern("%v|%p|%?|%d{%H|%");
    Log(CltLog::Warn);
    CltLog::GetOperationLogger()->SetPattern(kLogPattern);

    const std::string time = QDateTime::fromSecsSinceEpoch(kTime).toString("yyyy-MM-dd hh:mm:ss").toStdString();
    EXPECT_EQ(TextOf(file), time + "[operation][Unknow][77][Global][Restart] by 100%\t\nby 100%|Warn||{|%");

    EXPECT_FALSE(OperationLog::Open(folder.path().toStdString()));
    EXPECT_EQ(CltLog::GetOperationLogger(), nullptr);
}

TEST(OperationLog, LinesAreWrittenAfterAFullDiskHasSpaceAgainAndContainNoLineBreak)
{
    const QTemporaryDir folder;
    const std::string file = folder.filePath("operation.log").toStdString();
    ASSERT_TRUE(OperationLog::Open(file));
    CltLog::GetOperationLogger()->SetPattern("%v%n");

    {
        const CFullDisk full(5);
        Log(CltLog::Operation, "first");
        Log(CltLog::Operation, "sec\nond");
        EXPECT_EQ(TextOf(file), "first");
    }
    Log(CltLog::Operation, "third");
    const std::string lines = "first 100%\nsec\\nond 100%\nthird 100%\n";
    EXPECT_EQ(TextOf(file), lines);

    const std::string limit(1024 * 1024 - 6, 'x');
    {
        const CFullDisk full;
        Log(CltLog::Operation, limit.c_str());
    }
    Log(CltLog::Operation, "dropped");
    EXPECT_EQ(TextOf(file), lines + limit + " 100%\n");

    CltLog::GetOperationLogger()->SetPattern(kLogPattern);
    OperationLog::Open({});
}
