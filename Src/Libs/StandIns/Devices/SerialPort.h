#pragma once

#include "Comm/LineSettings.h"
#include "Interfaces/ZXComm.h"
#include "Traffic/Traffic.h"

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
#include <string_view>
#include <thread>
#include <vector>

/// A serial port with a thread that writes the queued commands in their order.
///
/// If the port can't be opened or is removed, the thread tries to open it every half second. Commands wait at most 5 s
/// for it, because a device must not execute outdated commands. A command that was being written when the port was
/// removed is written again from its start.
class CSerialPort {
public:
    using Clock = std::function<std::chrono::steady_clock::time_point()>;

    /// Pause between attempts to open: long enough to need little CPU time, short enough for an operator who has just
    /// plugged the device in.
    static constexpr std::chrono::milliseconds kReopenPause{500};

    CSerialPort(std::size_t bufferBytes, const std::string& lineSettings, Clock clock = &std::chrono::steady_clock::now,
                std::chrono::milliseconds reopenPause = kReopenPause);
    /// Closes the port and waits for its thread. Queued commands are dropped, unless Close was called before.
    ~CSerialPort();
    CSerialPort(const CSerialPort&) = delete;
    CSerialPort& operator=(const CSerialPort&) = delete;

    /// Starts the thread and tries to open the port. To be called once. If the line settings are invalid, the port is
    /// not opened and no command is sent.
    /// \return whether the port is open now. False also while an earlier port with this name is closing, whose
    /// commands are sent first.
    bool Open(const std::string& name);
    /// Queues a command. If the queue is full the command is dropped, which is logged. Any thread.
    void Send(std::shared_ptr<const Comm::RequestPackage> package);
    /// Returns at once. The port's thread transmits queued commands for at most this time, closes the port and logs
    /// what was not sent. Send must not be called afterwards.
    void Close(std::chrono::milliseconds limit);
    /// Whether the thread has ended or was never started. Any thread.
    bool IsClosed() const { return m_closed; }
    /// Returns nullopt if the settings are invalid.
    const std::optional<SLineSettings>& Settings() const { return m_settings; }
    const std::string& Name() const { return m_name; }
    /// Returns the serial number of the object, which is larger than those of all objects created before.
    std::uint64_t Number() const { return m_number; }

private:
    struct SCommand {
        std::shared_ptr<const Comm::RequestPackage> package;
        std::chrono::steady_clock::time_point since;
    };

    // These functions run on the port's thread, except for the first call of TryOpen.
    bool TryOpen();
    void TryLater(std::chrono::milliseconds pause);
    void Receive();
    void Write();
    void OnWritten();
    void OnLost(const asio::error_code& error);
    void RemoveFirst();
    void DropOld();
    void ReportDropped();
    void FinishClosing();
    void Publish(STrafficRecord::Kind kind, const std::string& text) const;
    void PublishMessage(STrafficRecord::From from, std::string_view bytes) const;

    const Clock m_clock;
    const std::chrono::milliseconds m_reopenPause;
    const std::uint64_t m_number;
    std::string m_settingsFault;
    const std::optional<SLineSettings> m_settings;
    std::string m_name;
    std::atomic<std::size_t> m_queuedBytes{0};
    std::atomic<bool> m_refuses{false}; ///< a command was dropped: the queue was full; reset when it is empty
    std::atomic<bool> m_closed{true};
    std::atomic<std::uint64_t> m_connection{0}; ///< number of the current opening in traffic records

    asio::io_context m_context;
    asio::executor_work_guard<asio::io_context::executor_type> m_workGuard;
    asio::serial_port m_port;
    asio::steady_timer m_timer; ///< runs until the next attempt to open
    asio::steady_timer m_closingTimer;
    std::deque<SCommand> m_queue;
    std::size_t m_dropped = 0; ///< commands that waited too long and are not logged yet
    std::vector<char> m_received;
    std::string m_lastFailure; ///< logged once, not at each attempt
    bool m_writing = false;
    std::chrono::steady_clock::time_point m_writingSince;
    bool m_waitsForEarlierPort = false; ///< opening waits for an earlier port with the same name to close
    bool m_closing = false;
    std::chrono::steady_clock::time_point m_closeBy;
    std::thread m_thread;
};
