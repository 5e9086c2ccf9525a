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
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

/// A serial port that is written to by a thread of its own, in the order given. A port that can't be opened or goes
/// away is tried again every half second; meanwhile commands wait for it, 5 s at most: a device must not act on what is
/// long past. A command that was being written when the port went away is written again from its start.
class CSerialPort {
public:
    using Clock = std::function<std::chrono::steady_clock::time_point()>;

    CSerialPort(std::size_t bufferBytes, const std::string& lineSettings,
                Clock clock = &std::chrono::steady_clock::now);
    /// Closes and waits for it. What is queued is lost, unless Close came before.
    ~CSerialPort();
    CSerialPort(const CSerialPort&) = delete;
    CSerialPort& operator=(const CSerialPort&) = delete;

    /// Call it once. Returns whether the port is open right away. False as well while an earlier port of the name is
    /// closing, whose commands go out first. If the line settings make no sense, nothing is ever sent.
    bool Open(const std::string& name);
    /// Any thread. What finds the queue full is not sent, which is logged.
    void Send(std::shared_ptr<const Comm::RequestPackage> package);
    /// Returns at once; the port's thread gives what is queued this time to go out if it can, closes the port and logs
    /// what is lost. The caller sends nothing afterwards.
    void Close(std::chrono::milliseconds limit);
    /// Whether its thread has ended, or never begun. Any thread.
    bool IsClosed() const { return m_closed; }
    /// Nothing for settings that make no sense.
    const std::optional<SLineSettings>& Settings() const { return m_settings; }
    const std::string& Name() const { return m_name; }
    /// Larger than that of each port that was made before.
    std::uint64_t Number() const { return m_number; }

private:
    struct SCommand {
        std::shared_ptr<const Comm::RequestPackage> package;
        std::chrono::steady_clock::time_point since;
    };

    // All these run on the thread, except for the first attempt to open.
    bool TryOpen();
    void TryLater(std::chrono::milliseconds pause);
    void Receive();
    void Write();
    void OnWritten();
    void Lose(const asio::error_code& error);
    void RemoveFirst();
    void DropOld();
    void ReportDropped();
    void FinishClosing();
    void Publish(SChannelEvent::Kind kind, const std::string& text) const;

    const Clock m_clock;
    const std::uint64_t m_number;
    std::string m_settingsFault;
    const std::optional<SLineSettings> m_settings;
    std::string m_name;
    std::atomic<std::size_t> m_queuedBytes{0};
    std::atomic<bool> m_refuses{false}; ///< a command found the queue full; until the queue is empty
    std::atomic<bool> m_closed{true};

    asio::io_context m_context;
    asio::executor_work_guard<asio::io_context::executor_type> m_workGuard;
    asio::serial_port m_port;
    asio::steady_timer m_timer; ///< until the next attempt to open
    asio::steady_timer m_closingTimer;
    std::deque<SCommand> m_queue;
    std::size_t m_dropped = 0; ///< commands that waited too long, until that is logged
    std::vector<char> m_received;
    std::string m_lastFailure; ///< logged once, not at each attempt
    bool m_writing = false;
    std::chrono::steady_clock::time_point m_writingSince;
    bool m_heldUp = false; ///< by an earlier port of the name that is closing
    bool m_closing = false;
    std::chrono::steady_clock::time_point m_closeBy;
    std::thread m_thread;
};
