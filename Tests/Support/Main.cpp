#include <QGuiApplication>

#include <gmock/gmock.h>

#include <sys/resource.h>
#include <unistd.h>

namespace {

/// Ends the process if a test hangs. Far longer than the slowest test, also with a sanitizer.
class CTimeLimit : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo&) override { alarm(120); }
    void OnTestEnd(const testing::TestInfo&) override { alarm(0); }
};

} // namespace

int main(int argc, char** argv)
{
    // Tests with thousands of connections own both ends of each connection.
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);

    // Pixmaps and fonts need an application object, but no display.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    testing::InitGoogleMock(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new CTimeLimit);
    return RUN_ALL_TESTS();
}
