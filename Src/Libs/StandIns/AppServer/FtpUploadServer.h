#pragma once

#include <QString>
#include <QThread>

#include <chrono>
#include <functional>
#include <string>

/// Runs the FTP server that apps upload to: FtpUploadServer.py, as a child process. A child that ends by itself is
/// started again; none outlives the host, not even one that is killed.
/// The callbacks run on the object's own thread; neither may call Start or destroy the object.
class CFtpUploadServer {
public:
    struct SOptions {
        QString listenAddress;
        quint16 port = 0;
        quint16 firstPassivePort = 0;
        quint16 lastPassivePort = 0;
        QString user;
        QString password;
        QString folder; ///< uploads land below it; made where it is missing
        /// A session that has not logged in by then is closed.
        std::chrono::milliseconds loginLimit{10'000};
    };
    /// A complete upload's absolute path in UTF-8. Aborted uploads are not told.
    using UploadEndCallback = std::function<void(std::string path)>;
    /// The reason is empty while the server listens.
    using StateCallback = std::function<void(bool listening, const std::string& reason)>;

    CFtpUploadServer(SOptions options, UploadEndCallback uploadEnd, StateCallback state);
    /// Ends the child and waits for it. Uploads under way are aborted; no callback runs once it has returned.
    ~CFtpUploadServer();
    CFtpUploadServer(const CFtpUploadServer&) = delete;
    CFtpUploadServer& operator=(const CFtpUploadServer&) = delete;

    /// Returns once the server listens (true) or has failed to (false; the state callback was told why before).
    /// After a failure it stays down until the next Start.
    bool Start();
    /// Later uploads go below this folder, those of open sessions too. An empty name changes nothing. Any thread.
    void SetFolder(const QString& folder);

private:
    class CSupervisor;
    QThread m_thread;
    CSupervisor* m_supervisor; ///< lives in, and is deleted by, m_thread
};
