#include "Devices/SerialPort.h"

#include "Comm/PayloadText.h"
#include "Platform/SerialOutput.h"

#include <asio/buffer.hpp>
#include <asio/post.hpp>
#include <asio/write.hpp>

#include <utility>

namespace {

/// Long enough to cost nothing, short enough for whoever has just plugged the device in again.
constexpr std::chrono::milliseconds kReopenPause(500);
/// A thousand commands of a thousand bytes. What an unplugged device misses beyond that is of no use to it any more.
constexpr std::size_t kMostQueuedBytes = 1 << 20;
/// How long an operator who changes a device waits at most for what is still on its way: two lines of text take a
/// quarter of a second at 9600 baud.
constexpr std::chrono::seconds kLongestClosing(2);
constexpr std::chrono::milliseconds kClosingLook(5);

} // namespace

CSerialPort::CSerialPort(std::size_t bufferBytes, const std::string& lineSettings)
    : m_settings(ReadLineSettings(lineSettings, m_settingsFault))
    , m_context(1)
    , m_workGuard(m_context.get_executor())
    , m_port(m_context)
    , m_timer(m_context)
    , m_received(bufferBytes)
{}

CSerialPort::~CSerialPort()
{
    if (!m_thread.joinable())
        return;
    asio::post(m_context, [this] {
        m_closing = true;
        m_closeBy = std::chrono::steady_clock::now() + kLongestClosing;
        FinishClosing();
    });
    m_thread.join();
}

bool CSerialPort::Open(const std::string& name)
{
    m_name = name;
    if (!m_settings) {
        Tell(SChannelEvent::Kind::Note, "not opened: " + m_settingsFault);
        return false;
    }
    const bool opened = TryOpen();
    m_thread = std::thread([this] { m_context.run(); });
    return opened;
}

bool CSerialPort::TryOpen()
{
    asio::error_code error;
    m_port.open(m_name, error);
    const std::string fault = error ? error.message() : ApplyLineSettings(*m_settings, m_port);
    if (!fault.empty()) {
        m_port.close(error);
        if (std::exchange(m_lastFailure, fault) != fault)
            Tell(SChannelEvent::Kind::Note, "can't open it and keeps trying: " + fault);
        TryLater();
        return false;
    }
    m_lastFailure.clear();
    Tell(SChannelEvent::Kind::Connected, {});
    Receive();
    Write();
    return true;
}

void CSerialPort::TryLater()
{
    m_timer.expires_after(kReopenPause);
    m_timer.async_wait([this](const asio::error_code& error) {
        if (!error)
            TryOpen();
    });
}

/// What a device answers is for the log alone. But only who reads learns at once that the port has gone; while it is
/// held open, an adapter that is plugged in again comes back under another name.
void CSerialPort::Receive()
{
    m_port.async_read_some(asio::buffer(m_received), [this](const asio::error_code& error, std::size_t count) {
        if (error) {
            Lose(error);
            return;
        }
        if (CChannelEvents::GetInstance().WantsTraffic())
            Tell(SChannelEvent::Kind::Received, TrafficText({m_received.data(), count}));
        Receive();
    });
}

void CSerialPort::Send(std::shared_ptr<const Comm::RequestPackage> package)
{
    const std::size_t size = package->data.size();
    if (!m_settings || size == 0)
        return;
    if (m_queuedBytes.fetch_add(size) + size > kMostQueuedBytes) {
        m_queuedBytes -= size;
        Tell(SChannelEvent::Kind::Note, "not sent, the queue is full: " + TrafficText(package->data));
        return;
    }
    asio::post(m_context, [this, queued = std::move(package)]() mutable {
        m_queue.push_back(std::move(queued));
        Write();
    });
}

void CSerialPort::Write()
{
    if (m_writing || m_queue.empty() || !m_port.is_open())
        return;
    m_writing = true;
    asio::async_write(m_port, asio::buffer(m_queue.front()->data), [this](const asio::error_code& error, std::size_t) {
        m_writing = false;
        if (error) {
            Lose(error);
            return;
        }
        const std::string& data = m_queue.front()->data;
        if (CChannelEvents::GetInstance().WantsTraffic())
            Tell(SChannelEvent::Kind::Sent, TrafficText(data));
        m_queuedBytes -= data.size();
        m_queue.pop_front();
        Write();
    });
}

void CSerialPort::Lose(const asio::error_code& error)
{
    // The other one of reading and writing may have told it already.
    if (!m_port.is_open())
        return;
    asio::error_code ignored;
    m_port.close(ignored);
    Tell(SChannelEvent::Kind::Closed, error.message() + (m_closing ? "" : ", keeps trying"));
    if (!m_closing)
        TryLater();
}

/// Closes now, or looks again soon if something is on its way and there is time.
void CSerialPort::FinishClosing()
{
    const bool isOpen = m_port.is_open();
    const std::size_t underWay = isOpen ? UntransmittedBytes(m_port.native_handle()) : 0;
    const bool allOut = m_queue.empty() && underWay == 0;
    if (isOpen && !allOut && std::chrono::steady_clock::now() < m_closeBy) {
        m_timer.expires_after(kClosingLook);
        m_timer.async_wait([this](const asio::error_code&) { FinishClosing(); });
        return;
    }
    std::string text = "done with it";
    if (!allOut)
        text += "; " + std::to_string(m_queue.size()) + " commands are not sent, " + std::to_string(underWay) +
                " bytes not transmitted";
    if (isOpen) {
        if (!allOut)
            DiscardUntransmitted(m_port.native_handle());
        asio::error_code ignored;
        m_port.close(ignored);
    }
    Tell(SChannelEvent::Kind::Closed, text);
    m_context.stop();
}

void CSerialPort::Tell(SChannelEvent::Kind kind, const std::string& text) const
{
    CChannelEvents::GetInstance().Tell({kind, "serial device", m_name, text});
}
