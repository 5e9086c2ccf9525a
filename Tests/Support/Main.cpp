#include <QCoreApplication>

#include <gmock/gmock.h>

#include <sys/resource.h>

int main(int argc, char** argv)
{
    // Tests with thousands of connections hold both ends of each.
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);

    QCoreApplication application(argc, argv);
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
