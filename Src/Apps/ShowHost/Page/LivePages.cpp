#include "ShowHost/Page/LivePages.h"

#include "AppServer/AppServerConfig.h"
#include "CloudControl/CloudControlConfig.h"
#include "ExternalController/Common/JsonReader.h"
#include "FPClient/FPClientConfig.h"
#include "HostModels/Files/JsonFile.h"
#include "HostModels/HostModels.h"
#include "ShowHost/FaultRules.h"
#include "ShowHost/Page/PageRemote.h"
#include "ShowHost/Page/ShowView.h"
#include "Traffic/RecordLine.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QUrl>
#include <QWebSocket>

#include <algorithm>
#include <utility>

namespace {

/// A page that has not read so many bytes gets nothing new.
constexpr std::size_t kMaxUnsentBytes = 1 << 20;
/// Time to encode records with each update of a page. It is short while there are many new records, because the
/// channels then need the processor.
constexpr std::chrono::microseconds kShortTime{300};
constexpr std::chrono::microseconds kLongTime{8000};
constexpr std::size_t kManyRecords = 100;
constexpr std::size_t kRecordsAtOnce = 50;
/// Shortest time between two messages with the counts of the remotes.
constexpr std::chrono::milliseconds kRemotesPeriod{300};

void SendObject(QWebSocket* socket, const char* kind, QJsonObject object)
{
    object["kind"] = kind;
    socket->sendTextMessage(QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact)));
}

QJsonArray FaultArray()
{
    QJsonArray array;
    for (const auto& fault : CFaults::GetInstance().List())
        array.append(QJsonObject{{"number", fault->number}, {"rule", QString::fromStdString(fault->text)}});
    return array;
}

/// Returns the reason if the rule is not valid.
QJsonObject AddFault(const QJsonObject& rule)
{
    try {
        CFaults::GetInstance().Add(ReadFault(CJsonObjectReader("rule", rule)));
    } catch (const CFileError& error) {
        return {{"error", error.what()}};
    }
    return {};
}

/// \param peer "ip:port"; not used for the cloud service and the FP controller, of which there is one each
void Disconnect(const QString& channel, const QString& peer)
{
    const QUrl url("//" + peer);
    if (channel == QLatin1String("cloud"))
        CloudControl::Disconnect();
    else if (channel == QLatin1String("FP"))
        FPClient::Disconnect();
    else
        AppServer::Disconnect(url.host().toStdString(), static_cast<std::uint16_t>(url.port(0)));
}

} // namespace

CLivePages::CLivePages(CPictureQueue& pictures, CTrafficRing& ring, const CTrafficStatistics& statistics,
                       SActions actions)
    : m_pictures(pictures)
    , m_ring(ring)
    , m_statistics(statistics)
    , m_actions(std::move(actions))
    , m_recordingHeader(RecordLine::HeaderOf("showhost " ZENTRAVOX_VERSION, std::chrono::system_clock::now()))
{}

void CLivePages::Close()
{
    for (const SPage& page : m_pages) {
        page.socket->disconnect(this);
        page.socket->abort(); // close() would wait for a page that doesn't read
        delete page.socket;
    }
    m_pages.clear();
}

void CLivePages::Open(QWebSocket* socket)
{
    m_ring.AddReader();
    m_pages.push_back({socket});
    connect(socket, &QWebSocket::textMessageReceived, this,
            [this, socket](const QString& text) { Take(socket, text); });
    connect(socket, &QWebSocket::disconnected, this, [this, socket] {
        m_pages.erase(
            std::find_if(m_pages.begin(), m_pages.end(), [&](const SPage& page) { return page.socket == socket; }));
        socket->deleteLater();
        m_ring.RemoveReader();
    });
    SendObject(socket, "hello", {{"header", QString::fromStdString(m_recordingHeader)}});
}

void CLivePages::Update(std::size_t newRecords)
{
    if (m_pages.empty()) {
        m_show = nullptr;
        return;
    }
    ReadShow();
    ReadRemotes();
    for (SPage& page : m_pages) {
        if (page.socket->bytesToWrite() > qint64{kMaxUnsentBytes})
            continue;
        if (std::exchange(page.project, false))
            SendObject(page.socket, "project",
                       m_show->Project() ? ShowView::Project(*m_show->Project()) : QJsonObject());
        if (std::exchange(page.stage, false))
            SendObject(page.socket, "stage", ShowView::Stage(*m_show));
        if (page.picture && !m_picture.isEmpty()) {
            page.socket->sendBinaryMessage(m_picture);
            page.picture = false;
        }
        if (std::exchange(page.remotes, false))
            SendObject(page.socket, "remotes", m_remotes);
        SendRecords(page, newRecords > kManyRecords ? kShortTime : kLongTime);
    }
}

void CLivePages::ReadShow()
{
    const auto before = std::exchange(m_show, HostModels::Show().Current());
    if (m_show == before)
        return;
    const bool isProjectNew = !before || before->Project() != m_show->Project();
    for (SPage& page : m_pages) {
        page.stage = true;
        page.project = page.project || isProjectNew;
    }
    PaintStage();
}

void CLivePages::ReadRemotes()
{
    const auto now = std::chrono::steady_clock::now();
    if (now - m_remotesTime < kRemotesPeriod)
        return;
    m_remotesTime = now;
    QJsonObject remotes = m_statistics.Remotes();
    remotes["host"] = ShowView::HostConnections();
    remotes["faults"] = FaultArray();
    if (remotes == m_remotes)
        return;
    m_remotes = remotes;
    for (SPage& page : m_pages)
        page.remotes = true;
}

void CLivePages::PaintStage()
{
    m_isPictureOld = m_paints;
    if (m_paints)
        return;
    m_paints = true;
    m_pictures.AddUrgent(ShowView::Picture(m_show, "/stage.jpg", {}), [this](const QByteArray& jpeg) {
        m_paints = false;
        // Most commands don't change the picture.
        if (jpeg != m_picture) {
            m_picture = jpeg;
            for (SPage& page : m_pages)
                page.picture = true;
        }
        if (m_isPictureOld && m_show)
            PaintStage();
    });
}

void CLivePages::SendRecords(SPage& page, std::chrono::microseconds time)
{
    const auto end = std::chrono::steady_clock::now() + time;
    const std::string_view start = R"({"kind":"records","records":[)";
    std::uint64_t discarded = 0;
    m_message = start;
    do {
        const CTrafficRing::SBatch batch = m_ring.Read(page.position, kRecordsAtOnce);
        if (batch.records.empty())
            break;
        discarded += batch.begin - page.position;
        page.position = batch.begin + batch.records.size();
        for (const CTrafficRing::Record& record : batch.records) {
            if (m_message.size() > start.size())
                m_message += ',';
            RecordLine::Append(m_message, *record, m_started);
        }
    } while (std::chrono::steady_clock::now() < end && m_message.size() < kMaxUnsentBytes);
    if (m_message.size() == start.size())
        return;
    m_message += R"(],"discarded":)" + std::to_string(discarded) + '}';
    // A text message would be converted to UTF-16 and back.
    page.socket->sendBinaryMessage(QByteArray::fromRawData(m_message.data(), static_cast<int>(m_message.size())));
}

void CLivePages::Take(QWebSocket* socket, const QString& text)
{
    const QJsonObject message = ReadJson(text.toUtf8()).object();
    const auto page =
        std::find_if(m_pages.begin(), m_pages.end(), [&](const SPage& other) { return other.socket == socket; });
    QJsonObject answer = Carry(*page, message);
    answer["id"] = message["id"];
    SendObject(socket, "done", answer);
}

QJsonObject CLivePages::Carry(SPage& page, const QJsonObject& message)
{
    const QString what = message["do"].toString();
    const int code = message["code"].toString().toInt(nullptr, 0);
    if (what == QLatin1String("command"))
        return {
            {"result", QString::fromStdString(ResultTextMap.at(m_actions.execute(code, message["body"].toObject())))}};
    if (what == QLatin1String("send")) {
        if (!page.remote)
            page.remote = std::make_shared<CPageRemote>();
        return page.remote->Send(message["channel"].toString(), static_cast<quint32>(code), message["text"].toString());
    }
    if (what == QLatin1String("notify"))
        m_actions.runLine("notify " + message["arguments"].toString());
    else if (what == QLatin1String("add fault"))
        return AddFault(message["rule"].toObject());
    else if (what == QLatin1String("remove fault"))
        CFaults::GetInstance().Remove(message["number"].toInt());
    else if (what == QLatin1String("disconnect"))
        Disconnect(message["channel"].toString(), message["peer"].toString());
    else
        return {{"error", "unknown request of the page: " + what}};
    return {};
}
