#pragma once

#include "ExternalController/Common/Vocabulary.h"
#include "HostModels/Show/Show.h"
#include "ShowHost/Page/PictureQueue.h"
#include "ShowHost/Page/TrafficStatistics.h"

#include <QByteArray>
#include <QJsonObject>
#include <QObject>

#include <functional>
#include <memory>
#include <string>
#include <vector>

class CPageRemote;
class QWebSocket;

/// The pages that are open in browsers. Sends them what has changed and carries out what they ask for. A page that
/// reads slowly gets only the newest state and loses records. On one thread only.
class CLivePages : public QObject {
public:
    /// What the host does for a page. Called on the thread of this object.
    struct SActions {
        /// Executes a command, as a remote's, and returns the result.
        std::function<ResultText::Index(int cmdCode, const QJsonObject& body)> execute;
        /// Executes a line as on standard input, later.
        std::function<void(const QString& line)> runLine;
    };

    /// The references must outlive this object.
    /// \param pictures paints the stage
    CLivePages(CPictureQueue& pictures, CTrafficRing& ring, const CTrafficStatistics& statistics, SActions actions);
    /// Adds a page and takes ownership of the socket.
    void Open(QWebSocket* socket);
    /// Sends what has changed since the last call. To be called every 20 ms while pages are open.
    /// \param newRecords number of records that the ring has got since the last call
    void Update(std::size_t newRecords);
    /// Closes all pages without waiting for them. The server of their sockets must still exist.
    void Close();
    std::size_t Count() const { return m_pages.size(); }

private:
    struct SPage {
        QWebSocket* socket;
        // What is to be sent.
        bool stage = true;
        bool project = true;
        bool picture = true;
        bool remotes = true;
        std::uint64_t position = 0; ///< of the next record in the ring
        std::shared_ptr<CPageRemote> remote = {};
    };

    void ReadShow();
    void ReadRemotes();
    void PaintStage();
    void SendRecords(SPage& page, std::chrono::microseconds time);
    void Take(QWebSocket* socket, const QString& text);
    QJsonObject Carry(SPage& page, const QJsonObject& message);

    CPictureQueue& m_pictures;
    CTrafficRing& m_ring;
    const CTrafficStatistics& m_statistics;
    const SActions m_actions;
    std::vector<SPage> m_pages;
    std::shared_ptr<const SShow> m_show; ///< the version that the pages have got or are to get; null without pages
    QByteArray m_picture;                ///< the stage as JPEG
    QJsonObject m_remotes;
    std::chrono::steady_clock::time_point m_remotesTime; ///< when they were read
    bool m_paints = false;
    bool m_isPictureOld = false; ///< the show has changed since painting started
    const std::chrono::steady_clock::time_point m_started = std::chrono::steady_clock::now();
    const std::string m_recordingHeader;
    std::string m_message; ///< with records; its memory is used again
};
