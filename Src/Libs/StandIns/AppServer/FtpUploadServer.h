#pragma once

#include <QString>
#include <QThread>

#include <chrono>
#include <functional>
#include <string>

/// Runs the FTP server (RFC 959) for uploads of the app: FtpUploadServer.py, as a child process.
///
/// A child that ends unexpectedly is started again. The child ends with the host, even if the host is killed.
/// The callbacks run on a thread of this object; they must not call Start or destroy the object.
class CFtpUploadServer {
public:
    struct SOptions {
        QString listenAddress;
        quint16 port = 0;
        quint16 firstPassivePort = 0;
        quint16 lastPassivePort = 0;
        QString user;
        QString password;
        QString folder; ///< root of the uploads; created if it does not exist
        /// Time that a session has to log in before it is closed.
        std::chrono::milliseconds loginLimit{10'000};
    };
    /// Receives the absolute path, in UTF-8, of a complete upload. Not called for aborted uploads.
    using UploadEndCallback = std::function<void(std::string path)>;
    /// Receives each change of the server's state. The reason is empty while the server listens.
    using StateCallback = std::function<void(bool listening, const std::string& reason)>;

    CFtpUploadServer(SOptions options, UploadEndCallback uploadEnd, StateCallback state);
    /// Ends the child process and waits for it. Uploads in progress are aborted. No callback runs after the return.
    ~CFtpUploadServer();
    CFtpUploadServer(const CFtpUploadServer&) = delete;
    CFtpUploadServer& operator=(const CFtpUploadServer&) = delete;

    /// Starts the server and waits until it listens or has failed. After a failure it is not started again until the
    /// next call.
    /// \return false on failure; the state callback has received the reason before
    bool Start();
    /// Sets the root of the uploads that begin afterwards, including those of open sessions. An empty name is ignored.
    /// Any thread.
    void SetFolder(const QString& folder);
    /// Ends the session of the client with this address, "ip:port". Any thread.
    void Disconnect(const std::string& peer);

private:
    class CSupervisor;
    QThread m_thread;
    CSupervisor* m_supervisor; ///< lives in, and is deleted by, m_thread
};
