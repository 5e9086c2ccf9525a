#pragma once

#include "Comm/ChannelEvents.h"
#include "Comm/LineSettings.h"
#include "Interfaces/ZXComm.h"

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/serial_port.hpp>
#include <asio/steady_timer.hpp>

#include <atomic>
#include <chrono>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

/// A serial port that is written to by a thread of its own, in the order given. A port that can't be opened or goes
/// away is tried again and again; meanwhile what there is to write waits. A command that was being written when the
/// port went away is written again from its start.
class CSerialPort {
public:
    CSerialPort(std::size_t bufferBytes, const std::string& lineSettings);
    /// Gives what is queued some time to go out if the port is open, then closes it and tells what is lost.
    ~CSerialPort();
    CSerialPort(const CSerialPort&) = delete;
    CSerialPort& operator=(const CSerialPort&) = delete;

    /// Call it once. Returns whether the port is open right away; false for good if the line settings make no
    /// sense: nothing is sent then.
    bool Open(const std::string& name);
    /// Any thread. What finds the queue full is not sent, which is told.
    void Send(std::shared_ptr<const Comm::RequestPackage> package);
    /// Nothing for settings that make no sense.
    const std::optional<SLineSettings>& Settings() const { return m_settings; }

private:
    // All these run on the thread, the first attempt to open apart.
    bool TryOpen();
    void TryLater();
    void Receive();
    void Write();
    void Lose(const asio::error_code& error);
    void FinishClosing();
    void Tell(SChannelEvent::Kind kind, const std::string& text) const;

    std::string m_settingsFault;
    const std::optional<SLineSettings> m_settings;
    std::string m_name;
    std::atomic<std::size_t> m_queuedBytes{0};

    asio::io_context m_context;
    asio::executor_work_guard<asio::io_context::executor_type> m_workGuard;
    asio::serial_port m_port;
    asio::steady_timer m_timer; ///< until the next attempt to open; in the end until the next look at what is left
    std::deque<std::shared_ptr<const Comm::RequestPackage>> m_queue;
    std::vector<char> m_received;
    std::string m_lastFailure; ///< told once, not at each attempt
    bool m_writing = false;
    bool m_closing = false;
    std::chrono::steady_clock::time_point m_closeBy;
    std::thread m_thread;
};
