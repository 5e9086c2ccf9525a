#include <QGuiApplication>

#include <gmock/gmock.h>

#include <sys/resource.h>

int main(int argc, char** argv)
{
    // Tests with thousands of connections hold both ends of each.
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);

    // Pixmaps and fonts need one, and no display.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
