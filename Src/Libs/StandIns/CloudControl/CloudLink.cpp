#include "CloudControl/CloudLink.h"

#include "CloudControl/CloudCommand.h"
#include "ExternalController/Common/Vocabulary.h"

#include <QCoreApplication>
#include <QEvent>
#include <QSslCertificate>
#include <QSslConfiguration>

#include <algorithm>
#include <utility>

namespace {

// Default ports of the URL schemes ws and wss (RFC 6455, 3).
constexpr int kPlainPort = 80;
constexpr int kTlsPort = 443;
/// Maximum number of bytes that are passed to the socket and not yet sent.
constexpr qint64 kMaxUnsentBytes = 4 << 20;

/// Returns host and port only: the path of the URL contains the password.
std::string PeerText(const QUrl& url)
{
    return AddressText(url.host().toStdString(),
                       static_cast<std::uint16_t>(url.port(url.scheme() == kCloudScheme ? kTlsPort : kPlainPort)));
}

QString ReasonOf(const QWebSocket& socket)
{
    if (!socket.closeReason().isEmpty())
        return socket.closeReason();
    return socket.error() == QAbstractSocket::UnknownSocketError
               ? QStringLiteral("the cloud service closed the connection")
               : socket.errorString();
}

void Prepare(QWebSocket& socket, const SCloudControlConfig& config)
{
    socket.setMaxAllowedIncomingFrameSize(CloudControl::kMaxMessageBytes);
    socket.setMaxAllowedIncomingMessageSize(CloudControl::kMaxMessageBytes);
    QSslConfiguration ssl = QSslConfiguration::defaultConfiguration();
    ssl.setPeerVerifyMode(config.verifiesPeer ? QSslSocket::VerifyPeer : QSslSocket::VerifyNone);
    if (!config.caFile.empty())
        ssl.setCaCertificates(QSslCertificate::fromPath(QString::fromStdString(config.caFile)));
    socket.setSslConfiguration(ssl);
}

} // namespace

CCloudLink::CCloudLink(CCloudOutbox& outbox, SCallbacks callbacks)
    : m_outbox(outbox), m_callbacks(std::move(callbacks)), m_socket(QString(), QWebSocketProtocol::VersionLatest, this)
{
    m_retry.setSingleShot(true);
    connect(&m_retry, &QTimer::timeout, this, [this] { Open(); });
    connect(&m_ping, &QTimer::timeout, this, [this] { Ping(); });
    connect(&m_socket, &QWebSocket::connected, this, [this] { OnConnected(); });
    connect(&m_socket, &QWebSocket::pong, this, [this] { m_hasAnswered = true; });
    connect(&m_socket, &QWebSocket::bytesWritten, this, [this] { SendWaiting(); });
    connect(&m_socket, &QWebSocket::textMessageReceived, this,
            [this](const QString& text) { OnText(text.toUtf8(), {}); });
    connect(&m_socket, &QWebSocket::binaryMessageReceived, this,
            [this] { Publish(STrafficRecord::Kind::Note, "binary frame ignored"); });
    // One or both signals are emitted, in any order.
    connect(&m_socket, &QWebSocket::disconnected, this, [this] { OnEnded(ReasonOf(m_socket)); });
    connect(&m_socket, QOverload<QAbstractSocket::SocketError>::of(&QWebSocket::error), this,
            [this] { OnEnded(ReasonOf(m_socket)); });
}

CCloudLink::~CCloudLink()
{
    // The socket emits a signal when it is destroyed, which is after the members that the slots use.
    m_socket.disconnect(this);
    m_target.reset();
    OnEnded("the host closed the connection");
}

void CCloudLink::Connect(const QUrl& url, const SCloudControlConfig& config)
{
    m_isWanted = true;
    {
        const std::lock_guard lock(m_mutex);
        m_requestedTarget = STarget{url, config};
    }
    Wake();
}

void CCloudLink::Close()
{
    m_isWanted = false;
    {
        const std::lock_guard lock(m_mutex);
        m_requestedTarget.emplace(std::nullopt);
    }
    Wake();
}

void CCloudLink::Validate(const QUrl& url, const SCloudControlConfig& config)
{
    {
        const std::lock_guard lock(m_mutex);
        m_toValidate = STarget{url, config};
    }
    Wake();
}

void CCloudLink::Abort(const std::string& reason)
{
    {
        const std::lock_guard lock(m_mutex);
        m_abortReason = reason;
    }
    Wake();
}

bool CCloudLink::Receive(QByteArray frame, const std::string& note)
{
    if (!m_isConnected)
        return false;
    {
        const std::lock_guard lock(m_mutex);
        m_insertedFrames.emplace_back(std::move(frame), note);
    }
    Wake();
    return true;
}

void CCloudLink::Send()
{
    Wake();
}

void CCloudLink::Wake()
{
    QCoreApplication::postEvent(this, new QEvent(QEvent::User));
}

void CCloudLink::customEvent(QEvent*)
{
    std::optional<std::optional<STarget>> requested;
    std::optional<STarget> toValidate;
    std::optional<std::string> abortReason;
    decltype(m_insertedFrames) insertedFrames;
    {
        const std::lock_guard lock(m_mutex);
        std::swap(requested, m_requestedTarget);
        std::swap(toValidate, m_toValidate);
        std::swap(abortReason, m_abortReason);
        std::swap(insertedFrames, m_insertedFrames);
    }
    for (const auto& [frame, note] : insertedFrames)
        OnText(frame, note);
    if (abortReason) {
        // Before abort, so that this is the published reason.
        OnEnded(QString::fromStdString(*abortReason));
        m_socket.abort();
    }
    if (toValidate)
        StartValidation(*toValidate);
    if (requested) {
        // Without a target OnEnded starts no further attempt.
        m_target.reset();
        m_retry.stop();
        m_socket.abort();
        OnEnded(QStringLiteral("the host closed the connection"));
        m_target = *requested;
        if (m_target) {
            m_pauses = CBackOff(m_target->config.firstPause, m_target->config.longestPause);
            Open();
        }
    }
    SendWaiting();
}

void CCloudLink::Open()
{
    m_isOpen = true;
    m_hasAnswered = false;
    // Limits the handshake as well: the socket itself would wait for the peer's part indefinitely.
    m_ping.start(m_target->config.pingPeriod);
    Prepare(m_socket, m_target->config);
    m_socket.open(m_target->url);
}

void CCloudLink::OnConnected()
{
    m_isConnected = true;
    m_hasAnswered = true;
    m_pauses.Reset();
    m_ping.start(m_target->config.pingPeriod);
    m_number = CTraffic::GetInstance().NextConnection();
    Publish(STrafficRecord::Kind::Opened, {});
    SendWaiting();
}

void CCloudLink::OnText(const QByteArray& frame, const std::string& note)
{
    if (static_cast<std::size_t>(frame.size()) <= CloudControl::kMaxCommandBytes) {
        STrafficRecord record = Record(STrafficRecord::From::Remote);
        record.text = note;
        m_callbacks.received(frame, std::move(record));
    } else
        Publish(STrafficRecord::Kind::Note, QStringLiteral("frame of %1 bytes ignored: a command has at most %2 bytes")
                                                .arg(frame.size())
                                                .arg(CloudControl::kMaxCommandBytes));
}

void CCloudLink::OnEnded(const QString& why)
{
    if (!std::exchange(m_isOpen, false))
        return;
    m_ping.stop();
    m_outbox.EndConnection();
    m_callbacks.ended();
    Publish(m_isConnected.exchange(false) ? STrafficRecord::Kind::Closed : STrafficRecord::Kind::Note, why);
    m_number = 0;
    if (m_target)
        m_retry.start(m_pauses.Next());
}

/// Sends a ping, or closes the connection if the peer has not replied to the last one (RFC 6455, 5.5.2).
void CCloudLink::Ping()
{
    if (!std::exchange(m_hasAnswered, false)) {
        // Before abort, so that this is the published reason.
        OnEnded("no answer");
        m_socket.abort();
        return;
    }
    m_socket.ping();
}

void CCloudLink::SendWaiting()
{
    while (m_isConnected && m_socket.bytesToWrite() < kMaxUnsentBytes) {
        const auto message = m_outbox.Take();
        if (!message)
            return;
        const QString frame = CloudCommand::Reply(message->route, message->data);
        if (message->maxFrameBytes != 0) {
            const QByteArray part = frame.toUtf8().left(static_cast<int>(message->maxFrameBytes));
            m_socket.sendTextMessage(QString::fromUtf8(part));
            m_socket.close();
            return;
        }
        m_socket.sendTextMessage(frame);
        if (!CTraffic::WantsMessages())
            continue;
        const QByteArray bytes = frame.toUtf8();
        STrafficRecord record = Record(STrafficRecord::From::Host);
        record.code = message->code;
        record.replyTo = message->replyTo;
        record.payload = {bytes.constData(), static_cast<std::size_t>(bytes.size())};
        record.wireBytes = record.payload.size();
        CTraffic::GetInstance().Publish(std::move(record));
    }
}

void CCloudLink::StartValidation(const STarget& target)
{
    auto* socket = new QWebSocket(QString(), QWebSocketProtocol::VersionLatest, this);
    const auto end = [socket, url = target.url](const QString& result) {
        CTraffic::GetInstance().Publish(
            {STrafficRecord::Kind::Note, TrafficChannel::Cloud, PeerText(url), ("login: " + result).toStdString()});
        socket->disconnect();
        socket->abort();
        socket->deleteLater();
    };
    connect(socket, &QWebSocket::connected, this, [end] { end("valid"); });
    connect(socket, QOverload<QAbstractSocket::SocketError>::of(&QWebSocket::error), this,
            [end, socket] { end("refused: " + socket->errorString()); });
    Prepare(*socket, target.config);
    socket->open(target.url);
}

void CCloudLink::Publish(STrafficRecord::Kind kind, const QString& text) const
{
    CTraffic::GetInstance().Publish(
        {kind, TrafficChannel::Cloud, PeerText(m_socket.requestUrl()), text.toStdString(), m_number});
}

/// Returns the record of a message on the current connection, without the message.
STrafficRecord CCloudLink::Record(STrafficRecord::From from) const
{
    STrafficRecord record{STrafficRecord::Kind::Message, TrafficChannel::Cloud};
    if (CTraffic::WantsMessages())
        record.peer = PeerText(m_socket.requestUrl());
    record.connection = m_number;
    record.from = from;
    return record;
}
