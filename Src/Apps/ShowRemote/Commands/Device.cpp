#include "ShowRemote/Commands/Commands.h"

#include "Comm/LineSettings.h"
#include "Comm/PayloadText.h"
#include "ShowRemote/Console/CommandLine.h"
#include "ShowRemote/Console/Failure.h"
#include "ShowRemote/Console/Output.h"
#include "ShowRemote/Peers/Datagrams.h"
#include "ShowRemote/Peers/PseudoTerminal.h"

#include <QTime>

#include <asio/buffer.hpp>
#include <asio/io_context.hpp>
#include <asio/ip/udp.hpp>
#include <asio/serial_port.hpp>
#include <asio/signal_set.hpp>
#if !defined(_WIN32)
#include <asio/posix/stream_descriptor.hpp>
#include <unistd.h>
#endif

#include <csignal>
#include <optional>
#include <vector>

namespace {

/// The port of the demo show's UDP devices.
constexpr int kDefaultUdpPort = 25169;

/// Prints received data until --count is reached, until Ctrl-C, or until --seconds have passed.
class CDisplay {
public:
    explicit CDisplay(const CCommandLine& line) : m_signals(m_context, SIGINT, SIGTERM), m_duration(line.Duration())
    {
        if (line.IsSet("count"))
            m_missing = line.Number("count", 1);
        m_signals.async_wait([this](const asio::error_code&, int) { m_context.stop(); });
    }

    asio::io_context& Context() { return m_context; }

    /// \param counted number of datagrams or bytes, for --count
    void Show(const QString& from, const QByteArray& bytes, int counted)
    {
        Output::PrintLine(
            QStringLiteral("%1 %2%3 bytes").arg(QTime::currentTime().toString("hh:mm:ss.zzz"), from).arg(bytes.size()));
        Output::PrintLine("    hex:  " + QString::fromLatin1(bytes.toHex(' ')));
        Output::PrintLine("    text: " + PayloadText(bytes));
        if (m_missing && (*m_missing -= counted) <= 0)
            m_context.stop();
    }

    void Run()
    {
        if (m_duration)
            m_context.run_for(*m_duration);
        else
            m_context.run();
        if (m_missing && *m_missing > 0)
            throw CFailure(QStringLiteral("%1 of the expected datagrams or bytes were not received").arg(*m_missing));
    }

private:
    asio::io_context m_context;
    asio::signal_set m_signals;
    std::optional<int> m_missing;
    const std::optional<std::chrono::milliseconds> m_duration;
};

class CUdpDevice {
public:
    CUdpDevice(CDisplay& display, const QString& address, std::uint16_t port)
        : m_display(display), m_socket(display.Context()), m_datagram(kLargestDatagram)
    {
        asio::error_code error;
        const asio::ip::udp::endpoint local(asio::ip::make_address(address.toStdString(), error), port);
        if (!error)
            m_socket.open(local.protocol(), error);
        if (!error)
            m_socket.bind(local, error);
        if (error)
            throw CantListen(address, port, ReasonOf(error));
        Output::PrintLine(QStringLiteral("UDP device on %1; Ctrl-C ends it").arg(AddressText(address, port)));
        Receive();
    }

private:
    void Receive()
    {
        m_socket.async_receive_from(
            asio::buffer(m_datagram), m_from, [this](const asio::error_code& error, std::size_t count) {
                if (error)
                    throw CFailure("can't receive: " + ReasonOf(error));
                m_display.Show(AddressText(m_from.address().to_string().c_str(), m_from.port()) + ", ",
                               QByteArray(m_datagram.data(), static_cast<int>(count)), 1);
                Receive();
            });
    }

    CDisplay& m_display;
    asio::ip::udp::socket m_socket;
    asio::ip::udp::endpoint m_from;
    std::vector<char> m_datagram;
};

/// Port: asio's serial port or a descriptor of a pseudo-terminal.
template <class Port>
class CSerialDevice {
public:
    CSerialDevice(CDisplay& display, Port& port) : m_display(display), m_port(port), m_bytes(4096) { Receive(); }

private:
    void Receive()
    {
        m_port.async_read_some(asio::buffer(m_bytes), [this](const asio::error_code& error, std::size_t count) {
            if (error)
                throw CFailure("the port was closed: " + ReasonOf(error));
            m_display.Show({}, QByteArray(m_bytes.data(), static_cast<int>(count)), static_cast<int>(count));
            Receive();
        });
    }

    CDisplay& m_display;
    Port& m_port;
    std::vector<char> m_bytes;
};

void RunUdp(const CCommandLine& line)
{
    line.Refuse({"line", "link"}, "can only be used with KIND serial");
    line.Positional(1, 1);
    CDisplay display(line);
    const CUdpDevice device(display, line.ListenAddress(), line.ListenPort());
    display.Run();
}

void RunSerialPort(const CCommandLine& line, const QString& path)
{
    std::string fault;
    const auto settings = ReadLineSettings(line.Value("line").toStdString(), fault);
    if (!settings)
        throw CWrongUsage("--line: " + QString::fromStdString(fault));
    line.Refuse({"link"}, "can't be used with a PATH");

    CDisplay display(line);
    asio::serial_port port(display.Context());
    asio::error_code error;
    port.open(path.toStdString(), error);
    fault = error ? error.message() : ApplyLineSettings(*settings, port);
    if (!fault.empty())
        throw CFailure(QStringLiteral("can't open %1: %2").arg(path, QString::fromStdString(fault)));
    Output::PrintLine(QStringLiteral("serial device at the other end of %1; Ctrl-C ends it").arg(path));
    const CSerialDevice device(display, port);
    display.Run();
}

void RunPseudoTerminal(const CCommandLine& line)
{
#if defined(_WIN32)
    line.Positional(2, 2);
#else
    line.Refuse({"line"}, "can only be used with a PATH");
    const CPseudoTerminal terminal(line.Value("link"));
    CDisplay display(line);
    asio::posix::stream_descriptor port(display.Context(), dup(terminal.Descriptor()));
    Output::PrintLine(QStringLiteral("serial device on %1; Ctrl-C ends it").arg(terminal.PortName()));
    const CSerialDevice device(display, port);
    display.Run();
#endif
}

} // namespace

int RunDevice(const QStringList& arguments)
{
    CCommandLine line("Act as an external control device and show the received data.");
    line.AddArgument("KIND", "udp: receive datagrams. serial: receive bytes from a serial port.");
    line.AddArgument("[PATH]", "The serial port. Without PATH, create a pseudo-terminal, which a host can open as its "
                               "serial port.");
    line.AddListenAddressOptions("datagrams, with KIND udp", kDefaultUdpPort);
    line.AddOption(
        {"line", "serial: use these line settings for PATH (default 9600,8,N,1).", "SETTINGS", "9600,8,N,1"});
    line.AddOption({"link", "serial: create PATH as a link to the pseudo-terminal.", "PATH"});
    line.AddOption({"count", "Stop after N datagrams (udp) or N bytes (serial).", "N"});
    line.AddDurationOption("Stop after S seconds.");
    if (!line.Parse(arguments))
        return kExitDone;

    const QStringList positional = line.Positional(1, 2);
    const QString& kind = positional.first();
    if (kind == "udp") {
        RunUdp(line);
    } else if (kind == "serial") {
        line.Refuse({"listen", "port"}, "can only be used with KIND udp");
        if (positional.size() == 2)
            RunSerialPort(line, positional.last());
        else
            RunPseudoTerminal(line);
    } else {
        throw CWrongUsage(QStringLiteral("KIND: expected udp or serial, got \"%1\"").arg(kind));
    }
    return kExitDone;
}
