#include "Devices/SerialPort.h"

#include "Devices/ClosingPorts.h"
#include "Devices/PluggedPort.h"
#include "Interfaces/DeviceChannels.h"
#include "Support/EventLog.h"
#include "Support/Package.h"
#include "Support/Waiting.h"

#include <QDir>

#include <gmock/gmock.h>

#include <atomic>
#include <system_error>
#include <thread>

#include <sys/resource.h>
#include <termios.h>
#include <unistd.h>

using namespace std::chrono_literals;
using testing::HasSubstr;

namespace {

constexpr std::size_t kBuffer = 4096;

/// Returns a command of that many bytes that contains its number and bytes that a terminal would change.
std::string Command(int number, std::size_t size)
{
    std::string text = std::to_string(number) + std::string("\0\r\n\x03\x11\x13\xff", 7);
    text.resize(size, 'x');
    return text;
}

class SerialPortTest : public testing::Test {
protected:
    ~SerialPortTest() override { Finish(); }

    void Open(const std::string& lineSettings = {})
    {
        const auto clock = [this] {
            ++m_clockReads;
            return std::chrono::steady_clock::time_point(std::chrono::milliseconds(m_passed));
        };
        m_serial = std::make_unique<CSerialPort>(kBuffer, lineSettings, clock, 5ms);
        m_openedAtOnce = m_serial->Open(m_port.Path());
    }

    /// Closes the port, with any time on its clock.
    void Finish()
    {
        if (m_serial)
            m_serial->Close(1s);
        EXPECT_TRUE(WaitUntil([this] {
            m_passed += 100;
            return !m_serial || m_serial->IsClosed();
        }));
        m_serial.reset();
    }

    /// Waits until the port has read its clock several times, which it does at each attempt to open or to close.
    void WaitForAttempts()
    {
        EXPECT_TRUE(WaitUntil([&, before = m_clockReads.load()] { return m_clockReads >= before + 3; }));
    }

    /// Sends this many commands and returns all their bytes.
    std::string SendCommands(int count, std::size_t size)
    {
        std::string all;
        for (int number = 0; number < count; ++number) {
            all += Command(number, size);
            m_serial->Send(Package(Command(number, size)));
        }
        return all;
    }

    CEventLog m_log;
    CPluggedPort m_port;
    std::atomic<int> m_passed{0}; ///< milliseconds on the port's clock, which only the test advances
    std::atomic<int> m_clockReads{0};
    std::unique_ptr<CSerialPort> m_serial;
    bool m_openedAtOnce = false;
};

} // namespace

TEST_F(SerialPortTest, TheLineHasTheConfiguredSettings)
{
    m_port.Plug();
    Open("19200, 8, e, 2, Hardware");

    ASSERT_TRUE(m_openedAtOnce) << m_log.Text();
    // A pseudo-terminal ignores the parity without an error.
    termios line{};
    ASSERT_EQ(tcgetattr(m_port.Descriptor(), &line), 0);
    EXPECT_EQ(cfgetospeed(&line), speed_t{B19200});
    EXPECT_TRUE(line.c_cflag & CSTOPB);
    EXPECT_TRUE(line.c_cflag & CRTSCTS);
    EXPECT_EQ(m_serial->Settings()->parity, asio::serial_port_base::parity::even);
}

TEST_F(SerialPortTest, InvalidSettingsAreReportedAndThePortIsNotOpened)
{
    m_port.Plug();

    Open("9600,8,X");
    EXPECT_FALSE(m_openedAtOnce);
    EXPECT_THAT(m_log.Text(), HasSubstr("not opened: the parity must be one of N, O, E, not \"X\""));
    Open("9599");
    EXPECT_THAT(m_log.Text(), HasSubstr("opening failed, retrying: baud rate: "));
}

TEST_F(SerialPortTest, CommandsWaitForAMissingPortUntilTheQueueIsFull)
{
    Open();

    EXPECT_FALSE(m_openedAtOnce);
    const std::string sent = SendCommands(1 << 10, 1 << 10);
    EXPECT_FALSE(m_log.Has("full"));
    m_serial->Send(Package("too much"));
    EXPECT_THAT(m_log.Text(), HasSubstr("the queue is full, commands are dropped, the first one: 8 bytes: too much"));
    m_serial->Send(Package("too much as well"));
    EXPECT_FALSE(m_log.Has("as well"));
    WaitForAttempts();
    const std::string log = m_log.Text();
    EXPECT_EQ(log.find("opening failed"), log.rfind("opening failed"));

    m_port.Plug();
    EXPECT_EQ(m_port.Read(20000), sent.substr(0, 20000));
    m_serial->Send(Package("space again"));
    EXPECT_FALSE(m_log.Has("space again"));
    m_port.Unplug();
}

TEST_F(SerialPortTest, CommandsWaitForAnUnpluggedPort)
{
    m_port.Plug();
    Open();

    for (int time = 0; time < 2; ++time) {
        m_port.Unplug();
        const std::string sent = SendCommands(100, 20);
        EXPECT_TRUE(WaitUntil([&] { return m_log.Has("retrying"); }));
        m_port.Plug();
        EXPECT_EQ(m_port.Read(sent.size()), sent);
    }
}

TEST_F(SerialPortTest, ACommandThatWasInterruptedByUnpluggingIsWrittenAgainCompletely)
{
    constexpr std::size_t kCommand = 10000;
    constexpr int kCommands = 20;
    m_port.Plug();
    Open();
    const std::string sent = SendCommands(kCommands, kCommand);
    m_port.Read(3 * kCommand); // and the port's buffer is full

    m_port.Unplug();
    m_port.Plug();

    std::string after;
    const std::string last = Command(kCommands - 1, kCommand);
    EXPECT_TRUE(WaitUntil([&] {
        after += m_port.ReadAll();
        return after.size() >= last.size() && after.compare(after.size() - last.size(), last.size(), last) == 0;
    }));
    EXPECT_EQ(after.size() % kCommand, 0U);
    EXPECT_EQ(after, sent.substr(sent.size() - after.size()));
}

TEST_F(SerialPortTest, ClosingSendsAllQueuedCommandsOfAWorkingPort)
{
    m_port.Plug();
    Open();
    std::string received;
    const std::string sent = SendCommands(1000, 30);
    std::thread device([&] { received = m_port.Read(sent.size()); });

    m_serial->Close(1s);

    device.join();
    EXPECT_TRUE(WaitUntil([this] { return m_serial->IsClosed(); }));
    EXPECT_EQ(received, sent);
    EXPECT_FALSE(m_log.Has("not sent"));
}

TEST_F(SerialPortTest, ACommandWaitsFiveSecondsForThePortAndIsThenDropped)
{
    Open();
    SendCommands(3, 20);
    m_passed = 6000;
    m_serial->Send(Package("fresh"));
    m_port.Plug();
    EXPECT_EQ(m_port.Read(5), "fresh");
    EXPECT_THAT(m_log.Text(), HasSubstr("commands dropped after waiting for more than 5 s: 3\n"));

    // The same if the port exists but accepts no data.
    const std::string stuck = Command(0, 900'000);
    m_serial->Send(Package(stuck));
    EXPECT_EQ(m_port.Read(1), "0");
    SendCommands(4, 20);
    m_passed = 12000;
    m_serial->Send(Package("fresh"));
    EXPECT_EQ(m_port.Read(900'004), stuck.substr(1) + "fresh");
    EXPECT_THAT(m_log.Text(), HasSubstr("commands dropped after waiting for more than 5 s: 4\n"));
}

TEST_F(SerialPortTest, APortThatAcceptsNoDataIsClosedAfterASecond)
{
    m_port.Plug();
    Open();
    SendCommands(100, 10000);
    m_port.Read(1);

    m_serial->Close(1s);
    WaitForAttempts();
    m_passed = 999;
    WaitForAttempts();
    EXPECT_FALSE(m_serial->IsClosed());
    m_passed = 1000;
    EXPECT_TRUE(WaitUntil([this] { return m_serial->IsClosed(); }));

    EXPECT_THAT(m_log.Text(), HasSubstr("commands not sent"));
    EXPECT_LE(m_port.ReadAll().size(), kBuffer) << "bytes that the device had not read were transmitted later";
    Open();
    EXPECT_TRUE(m_openedAtOnce);
    m_serial->Send(Package("next"));
    EXPECT_EQ(m_port.Read(4), "next");
}

TEST_F(SerialPortTest, APortThatIsReopenedWhileItClosesSendsTheEarlierCommandsFirst)
{
    std::string sent;
    m_port.Plug();

    for (int time = 0; time < 3; ++time) {
        if (m_serial)
            CClosingPorts::GetInstance().Add(std::move(m_serial));
        Open();
        EXPECT_EQ(m_openedAtOnce, time == 0);
        sent += SendCommands(10, 10000);
    }

    EXPECT_EQ(m_port.Read(sent.size()), sent);
    EXPECT_TRUE(CClosingPorts::GetInstance().WaitForAll(kTimeout));
}

TEST(COMChannelTest, ChannelsWithBlockedDevicesDelayNoUpdateAndDelayTheEndOnlyOnce)
{
    CPluggedPort ports[5];
    std::unique_ptr<Comm::COMChannel> channels[5];
    for (CPluggedPort& port : ports)
        port.Plug();

    const auto begin = std::chrono::steady_clock::now();
    for (int update = 0; update < 20; ++update) {
        for (std::size_t number = 0; number < std::size(ports); ++number) {
            channels[number].reset();
            channels[number] = std::make_unique<Comm::COMChannel>(kBuffer, "");
            channels[number]->Open(ports[number].Path());
            channels[number]->AsyncSend(Package(std::string(900'000, 'x')));
        }
    }
    const auto threads = QDir("/proc/self/task").count();
    for (auto& channel : channels)
        channel.reset();
    // Waiting for each device would take a second for each of the hundred channels.
    EXPECT_LT(std::chrono::steady_clock::now() - begin, kTimeout);
    EXPECT_TRUE(CClosingPorts::GetInstance().WaitForAll(kTimeout));

    EXPECT_LT(threads, 80U);
}

TEST(COMChannelTest, WithoutDescriptorsAChannelReportsTheReasonAndIsNotOpened)
{
    CEventLog log;
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit none{0, before.rlim_max};
    // UndefinedBehaviorSanitizer opens descriptors when it sees a type of exception for the first time.
    const std::system_error seen(std::make_error_code(std::errc::io_error));
    EXPECT_TRUE(seen.code());
    EXPECT_THAT(static_cast<const std::exception&>(seen).what(), HasSubstr("error"));

    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    Comm::COMChannel channel(kBuffer, "");
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);

    EXPECT_THAT(log.Text(), HasSubstr("Too many open files"));
    EXPECT_FALSE(channel.Open("/dev/null"));
    channel.AsyncSend(Package("command"));
}
