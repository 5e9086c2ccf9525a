#include <QGuiApplication>

#include <gmock/gmock.h>

#include <sys/resource.h>

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
    return RUN_ALL_TESTS();
}
