#include "Devices/SerialPort.h"

#include "Comm/PayloadText.h"
#include "Devices/ClosingPorts.h"
#include "Platform/SerialOutput.h"

#include <asio/buffer.hpp>
#include <asio/post.hpp>
#include <asio/write.hpp>

#include <utility>

namespace {

/// Maximum size of the queued commands: about a thousand commands of a thousand bytes.
constexpr std::size_t kMaxQueuedBytes = 1 << 20;
/// Maximum time that a command waits for a port that can't be opened or accepts no data. A device should not execute an
/// older command.
constexpr std::chrono::seconds kMaxWaiting(5);
constexpr std::chrono::milliseconds kClosingPollPeriod(5);

std::uint64_t NextNumber()
{
    static std::atomic<std::uint64_t> number{0};
    return ++number;
}

} // namespace

CSerialPort::CSerialPort(std::size_t bufferBytes, const std::string& lineSettings, Clock clock,
                         std::chrono::milliseconds reopenPause)
    : m_clock(std::move(clock))
    , m_reopenPause(reopenPause)
    , m_number(NextNumber())
    , m_settings(ReadLineSettings(lineSettings, m_settingsFault))
    , m_context(1)
    , m_workGuard(m_context.get_executor())
    , m_port(m_context)
    , m_timer(m_context)
    , m_closingTimer(m_context)
    , m_received(bufferBytes)
{}

CSerialPort::~CSerialPort()
{
    Close(std::chrono::seconds(0));
    if (m_thread.joinable())
        m_thread.join();
}

void CSerialPort::Close(std::chrono::milliseconds limit)
{
    if (!m_thread.joinable())
        return;
    asio::post(m_context, [this, limit] {
        if (std::exchange(m_closing, true))
            return;
        m_closeBy = m_clock() + limit;
        FinishClosing();
    });
}

bool CSerialPort::Open(const std::string& name)
{
    m_name = name;
    if (!m_settings) {
        Publish(STrafficRecord::Kind::Note, "not opened: " + m_settingsFault);
        return false;
    }
    const bool opened = TryOpen();
    m_thread = std::thread([this] {
        m_context.run();
        m_closed = true;
    });
    m_closed = false; // the thread ends after Close at the earliest
    return opened;
}

bool CSerialPort::TryOpen()
{
    DropOld();
    m_waitsForEarlierPort = CClosingPorts::GetInstance().HasEarlier(*this);
    if (m_waitsForEarlierPort) {
        TryLater(kClosingPollPeriod);
        return false;
    }
    asio::error_code error;
    m_port.open(m_name, error);
    const std::string fault = error ? error.message() : ApplyLineSettings(*m_settings, m_port);
    if (!fault.empty()) {
        m_port.close(error);
        if (std::exchange(m_lastFailure, fault) != fault)
            Publish(STrafficRecord::Kind::Note, "opening failed, retrying: " + fault);
        if (!m_closing)
            TryLater(m_reopenPause);
        return false;
    }
    m_lastFailure.clear();
    m_connection = CTraffic::GetInstance().NextConnection();
    Publish(STrafficRecord::Kind::Opened, {});
    ReportDropped();
    Receive();
    Write();
    return true;
}

void CSerialPort::TryLater(std::chrono::milliseconds pause)
{
    m_timer.expires_after(pause);
    m_timer.async_wait([this](const asio::error_code& error) {
        if (!error)
            TryOpen();
    });
}

/// Data from the device is only logged. But a pending read is the only way to notice at once that the port has been
/// removed. The port must be closed then: while it is open, an adapter that is plugged in again gets another name.
void CSerialPort::Receive()
{
    m_port.async_read_some(asio::buffer(m_received), [this](const asio::error_code& error, std::size_t count) {
        if (error) {
            OnLost(error);
            return;
        }
        PublishMessage(STrafficRecord::From::Remote, {m_received.data(), count});
        Receive();
    });
}

void CSerialPort::Send(std::shared_ptr<const Comm::RequestPackage> package)
{
    const std::size_t size = package->data.size();
    if (!m_settings || size == 0)
        return;
    if (m_queuedBytes.fetch_add(size) + size > kMaxQueuedBytes) {
        m_queuedBytes -= size;
        if (!m_refuses.exchange(true))
            Publish(STrafficRecord::Kind::Note,
                    "the queue is full, commands are dropped, the first one: " + TrafficText(package->data));
        return;
    }
    asio::post(m_context, [this, command = SCommand{std::move(package), m_clock()}]() mutable {
        m_queue.push_back(std::move(command));
        Write();
    });
}

void CSerialPort::Write()
{
    if (m_queue.empty())
        m_refuses = false;
    if (m_writing || m_queue.empty() || !m_port.is_open())
        return;
    m_writing = true;
    m_writingSince = m_clock();
    asio::async_write(m_port, asio::buffer(m_queue.front().package->data),
                      [this](const asio::error_code& error, std::size_t) {
                          m_writing = false;
                          if (error)
                              OnLost(error);
                          else
                              OnWritten();
                      });
}

void CSerialPort::OnWritten()
{
    PublishMessage(STrafficRecord::From::Host, m_queue.front().package->data);
    RemoveFirst();
    if (m_clock() - m_writingSince > kMaxWaiting) {
        DropOld();
        ReportDropped();
    }
    Write();
}

void CSerialPort::RemoveFirst()
{
    m_queuedBytes -= m_queue.front().package->data.size();
    m_queue.pop_front();
}

/// Drops the commands that have waited too long. Called for a port that has accepted no data meanwhile; commands of a
/// port that is slow but transmitting may be older.
void CSerialPort::DropOld()
{
    const auto oldest = m_clock() - kMaxWaiting;
    for (; !m_queue.empty() && m_queue.front().since < oldest; ++m_dropped)
        RemoveFirst();
}

void CSerialPort::ReportDropped()
{
    if (m_dropped > 0)
        Publish(STrafficRecord::Kind::Note,
                "commands dropped after waiting for more than 5 s: " + std::to_string(std::exchange(m_dropped, 0)));
}

void CSerialPort::OnLost(const asio::error_code& error)
{
    // The pending read or write may have reported the error already.
    if (!m_port.is_open())
        return;
    asio::error_code ignored;
    m_port.close(ignored);
    Publish(STrafficRecord::Kind::Closed, error.message() + (m_closing ? "" : ", retrying"));
    if (!m_closing)
        TryLater(m_reopenPause);
}

/// Closes the port, or calls itself again later while data is being transmitted and the time limit has not expired.
void CSerialPort::FinishClosing()
{
    const bool isOpen = m_port.is_open();
    const std::size_t untransmitted = isOpen ? UntransmittedBytes(m_port.native_handle()) : 0;
    const bool allSent = m_queue.empty() && untransmitted == 0;
    if ((isOpen || m_waitsForEarlierPort) && !allSent && m_clock() < m_closeBy) {
        m_closingTimer.expires_after(kClosingPollPeriod);
        m_closingTimer.async_wait([this](const asio::error_code&) { FinishClosing(); });
        return;
    }
    std::string text = "the host closed the port";
    if (!allSent || m_dropped > 0)
        text += "; " + std::to_string(m_queue.size() + m_dropped) + " commands not sent, " +
                std::to_string(untransmitted) + " bytes not transmitted";
    if (isOpen) {
        if (!allSent)
            DiscardUntransmitted(m_port.native_handle());
        asio::error_code ignored;
        m_port.close(ignored);
    }
    Publish(STrafficRecord::Kind::Closed, text);
    m_context.stop();
}

void CSerialPort::Publish(STrafficRecord::Kind kind, const std::string& text) const
{
    CTraffic::GetInstance().Publish({kind, TrafficChannel::Devices, m_name, text, m_connection});
}

void CSerialPort::PublishMessage(STrafficRecord::From from, std::string_view bytes) const
{
    if (!CTraffic::WantsMessages())
        return;
    STrafficRecord record{STrafficRecord::Kind::Message, TrafficChannel::Devices, m_name, {}, m_connection};
    record.from = from;
    record.payload = bytes;
    record.wireBytes = bytes.size();
    CTraffic::GetInstance().Publish(std::move(record));
}
