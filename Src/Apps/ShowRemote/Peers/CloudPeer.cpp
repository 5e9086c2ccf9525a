#include "ShowRemote/Peers/CloudPeer.h"

#include "CloudControl/CloudControlConfig.h"
#include "ShowRemote/Console/Failure.h"

#include <QEventLoop>
#include <QFile>
#include <QHostAddress>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QTimer>
#include <QUrlQuery>

#include <csignal>

namespace {

/// The interval at which a wait checks the deadline and the interrupt flag.
constexpr std::chrono::milliseconds kGlance(50);
/// The host queues at most this much for a slow service, so no message is longer.
constexpr quint64 kMaxMessageBytes = CloudControl::kMaxQueuedBytes;

volatile std::sig_atomic_t s_interrupted = 0;

QSslCertificate ReadCertificate(const QString& name)
{
    const QList<QSslCertificate> certificates = QSslCertificate::fromPath(name);
    if (certificates.isEmpty())
        throw CFailure(QStringLiteral("%1: no PEM certificate found").arg(name));
    return certificates.first();
}

QSslKey ReadKey(const QString& name)
{
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly))
        throw CFailure(QStringLiteral("can't read %1: %2").arg(name, file.errorString()));
    const QByteArray pem = file.readAll();
    for (const QSsl::KeyAlgorithm algorithm : {QSsl::Rsa, QSsl::Ec}) {
        QSslKey key(pem, algorithm);
        if (!key.isNull())
            return key;
    }
    throw CFailure(QStringLiteral("%1: no PEM private key (RSA or EC) found").arg(name));
}

} // namespace

CCloudPeer::~CCloudPeer()
{
    // Ignore signals from the socket from here on.
    if (m_host)
        m_host->disconnect();
}

void CCloudPeer::Listen(const QString& address, std::uint16_t port, const QString& certificateFile,
                        const QString& keyFile)
{
    const bool isSecure = !certificateFile.isEmpty();
    m_server = std::make_unique<QWebSocketServer>("showremote", isSecure ? QWebSocketServer::SecureMode
                                                                         : QWebSocketServer::NonSecureMode);
    if (isSecure) {
        QSslConfiguration ssl = QSslConfiguration::defaultConfiguration();
        ssl.setLocalCertificate(ReadCertificate(certificateFile));
        ssl.setPrivateKey(ReadKey(keyFile));
        ssl.setPeerVerifyMode(QSslSocket::VerifyNone);
        m_server->setSslConfiguration(ssl);
    }
    if (!m_server->listen(QHostAddress(address), port))
        throw CantListen(address, port, m_server->errorString());
}

std::optional<QString> CCloudPeer::Accept(Clock::time_point deadline)
{
    if (!Await([this] { return m_server->hasPendingConnections(); }, deadline))
        return std::nullopt;
    m_host.reset(m_server->nextPendingConnection());
    m_host->setMaxAllowedIncomingMessageSize(kMaxMessageBytes);
    QObject::connect(m_host.get(), &QWebSocket::textMessageReceived, m_host.get(),
                     [this](const QString& text) { m_received.push_back(text.toUtf8()); });
    return AddressText(m_host->peerAddress().toString(), m_host->peerPort());
}

QString CCloudPeer::User() const
{
    return QUrlQuery(m_host->requestUrl()).queryItemValue("username", QUrl::FullyDecoded);
}

void CCloudPeer::Send(const QByteArray& command)
{
    m_host->sendTextMessage(QString::fromUtf8(command));
}

std::optional<QByteArray> CCloudPeer::Receive(Clock::time_point deadline)
{
    Await([this] { return !m_received.empty() || !m_host->isValid(); }, deadline);
    if (!m_received.empty()) {
        QByteArray text = std::move(m_received.front());
        m_received.pop_front();
        return text;
    }
    if (!m_host->isValid())
        throw CFailure("the host closed the connection");
    return std::nullopt;
}

void CCloudPeer::Close(Clock::time_point deadline)
{
    // A host that answers the ping has received all earlier frames.
    bool isAnswered = false;
    QObject::connect(m_host.get(), &QWebSocket::pong, m_host.get(), [&] { isAnswered = true; });
    m_host->ping();
    const bool isDone = Await([&] { return isAnswered || !m_host->isValid(); }, deadline) && isAnswered;
    m_host->disconnect();
    m_host->close();
    if (!isDone)
        throw CFailure("the host did not confirm that it received the command");
}

void CCloudPeer::HeedInterrupt()
{
    for (const int number : {SIGINT, SIGTERM}) {
        std::signal(number, [](int received) {
            s_interrupted = 1;
            // A second signal ends the program if it is blocked writing to a pipe that isn't read.
            std::signal(received, SIG_DFL);
        });
    }
}

bool CCloudPeer::Await(const std::function<bool()>& isSo, Clock::time_point deadline)
{
    QEventLoop loop;
    QTimer glance;
    QObject::connect(&glance, &QTimer::timeout, &loop, [] {});
    glance.start(kGlance);
    while (!isSo()) {
        if (s_interrupted != 0 || Clock::now() >= deadline)
            return false;
        loop.processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}
