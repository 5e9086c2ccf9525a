#include "ShowRemote/Recording/Replay.h"

#include "CloudControl/CloudControlConfig.h"
#include "Comm/PayloadText.h"
#include "Comm/Sockets.h"
#include "ExternalController/Common/CommandNames.h"
#include "ExternalController/Common/RsaEncryption.h"
#include "FPClient/FPClientConfig.h"
#include "ShowRemote/Console/Failure.h"
#include "ShowRemote/Console/Output.h"
#include "ShowRemote/Contract.h"
#include "ShowRemote/Peers/CloudPeer.h"
#include "ShowRemote/Recording/Difference.h"
#include "ShowRemote/Recording/ReplayPeer.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <list>
#include <map>
#include <optional>

namespace {

using Clock = std::chrono::steady_clock;
using From = STrafficRecord::From;
using Kind = STrafficRecord::Kind;

/// Interval at which the cloud's frames are read while sockets are waited for, or the other way round.
constexpr std::chrono::milliseconds kPoll(5);
/// The longest pauses of a host before it connects again, and some time to connect.
constexpr std::chrono::seconds kMaxFPWait(15);
constexpr std::chrono::seconds kMaxCloudWait(35);

/// A longer pause comes from a wrong recording; the clock can't represent the longest ones.
constexpr std::chrono::hours kMaxPause(24 * 365);

/// Names a message as the summary of a recording does.
QString NameOf(TrafficChannel channel, std::uint32_t code)
{
    return QStringLiteral("%1, %2").arg(::NameOf(channel),
                                        code == 0 ? "-" : QString::fromStdString(Command::TextOf(code)));
}

bool IsReplayed(TrafficChannel channel)
{
    return channel != TrafficChannel::AppUpload && channel != TrafficChannel::Devices;
}

bool IsSelected(const SRecordedLine& line, const SReplayOptions& options)
{
    return options.channels.isEmpty() || options.channels.contains(static_cast<int>(line.channel));
}

bool IsLogin(const SRecordedLine& line)
{
    return line.IsMessage(From::Remote) && line.code == Command::Login &&
           (line.channel == TrafficChannel::AppControl || line.channel == TrafficChannel::AppBulk);
}

struct SConnection {
    std::unique_ptr<CReplayPeer> peer; ///< null for the cloud
    std::deque<SReceived> cloudFrames;
    std::list<const SRecordedLine*> expected; ///< recorded messages of the host that have not arrived yet

    std::deque<SReceived>& Received() { return peer ? peer->Received() : cloudFrames; }
};

class CReplay {
public:
    CReplay(const SRecording& recording, const SReplayOptions& options) : m_recording(recording), m_options(options) {}

    int Run()
    {
        Listen();
        m_start = Clock::now();
        for (const SRecordedLine& line : m_recording.lines) {
            if (IsSelected(line, m_options))
                Play(line);
        }
        AwaitReplies();
        for (auto& [key, connection] : m_connections)
            Finish(connection);
        Output::PrintLine(QStringLiteral("%1 messages sent, %2 replies compared, %3 differences")
                              .arg(m_sent)
                              .arg(m_compared)
                              .arg(m_differences));
        if (m_skipped > 0)
            Output::PrintLine(QStringLiteral("%1 messages not sent again: uploads and data of devices").arg(m_skipped));
        return m_differences;
    }

private:
    /// The host connects to the FP controller and to the cloud at any time, so listen from the start.
    void Listen()
    {
        const auto has = [&](TrafficChannel channel) {
            return std::any_of(m_recording.lines.begin(), m_recording.lines.end(), [&](const SRecordedLine& line) {
                return line.channel == channel && line.kind == Kind::Opened && IsSelected(line, m_options);
            });
        };
        if (has(TrafficChannel::FP)) {
            const asio::ip::tcp::endpoint endpoint(asio::ip::make_address(m_options.listen.toStdString()),
                                                   FPClient::kDefaultPort);
            if (const asio::error_code error = ListenAt(m_fpServer, endpoint))
                throw CantListen(m_options.listen, FPClient::kDefaultPort, ReasonOf(error));
        }
        if (has(TrafficChannel::Cloud)) {
            m_cloud = std::make_unique<CCloudPeer>();
            m_cloud->Listen(m_options.listen, CloudControl::kDefaultPort, {}, {});
        }
    }

    void Play(const SRecordedLine& line)
    {
        if (!IsReplayed(line.channel)) {
            m_skipped += line.IsMessage(From::Remote) ? 1 : 0;
        } else if (line.kind == Kind::Opened) {
            ConnectionOf(line);
        } else if (line.kind == Kind::Closed) {
            AwaitReplies();
            if (const auto found = m_connections.find(KeyOf(line)); found != m_connections.end()) {
                Finish(found->second);
                m_connections.erase(found);
            }
        } else if (line.IsMessage(From::Host)) {
            ConnectionOf(line).expected.push_back(&line);
        } else if (line.kind == Kind::Message) {
            AwaitReplies();
            Pause(line);
            Send(line);
        }
    }

    static QString KeyOf(const SRecordedLine& line)
    {
        return QStringLiteral("%1 %2 %3")
            .arg(::NameOf(line.channel))
            .arg(line.connection)
            .arg(line.connection == 0 ? line.peer : QString());
    }

    SConnection& ConnectionOf(const SRecordedLine& line)
    {
        const auto [found, isNew] = m_connections.try_emplace(KeyOf(line));
        SConnection& connection = found->second;
        if (!isNew)
            return connection;
        if (line.channel == TrafficChannel::Cloud)
            AcceptCloud();
        else if (line.channel == TrafficChannel::FP)
            connection.peer = AcceptFP();
        else
            connection.peer = std::make_unique<CReplayPeer>(m_context, line.channel, m_options.host);
        return connection;
    }

    std::unique_ptr<CReplayPeer> AcceptFP()
    {
        std::optional<asio::ip::tcp::socket> accepted;
        m_fpServer.async_accept([&](const asio::error_code& error, asio::ip::tcp::socket socket) {
            if (!error)
                accepted.emplace(std::move(socket));
        });
        const auto deadline = Clock::now() + kMaxFPWait;
        while (!accepted && Clock::now() < deadline)
            Pump();
        if (!accepted) {
            m_fpServer.cancel();
            throw CFailure(QStringLiteral("no host connected to %1 as the FP controller")
                               .arg(AddressText(m_options.listen, FPClient::kDefaultPort)));
        }
        return std::make_unique<CReplayPeer>(TrafficChannel::FP, std::move(*accepted));
    }

    void AcceptCloud()
    {
        if (!m_cloud->Accept(Clock::now() + kMaxCloudWait))
            throw CFailure(QStringLiteral("no host connected to %1 as the cloud service")
                               .arg(AddressText(m_options.listen, CloudControl::kDefaultPort)));
        m_isCloudOpen = true;
    }

    void Pause(const SRecordedLine& line)
    {
        if (m_options.speed == 0)
            return;
        const auto pause = std::chrono::duration<double>(line.time - m_recording.lines.front().time) / m_options.speed;
        const auto due = m_start + std::chrono::duration_cast<Clock::duration>(
                                       std::min<std::chrono::duration<double>>(pause, kMaxPause));
        while (Clock::now() < due)
            Pump();
    }

    /// Receives for a moment.
    void Pump()
    {
        m_context.restart();
        if (!m_isCloudOpen) {
            m_context.run_for(kPoll);
            return;
        }
        m_context.poll();
        for (auto& [key, connection] : m_connections) {
            if (connection.peer)
                continue;
            while (const auto frame = m_cloud->Receive(Clock::now() + kPoll))
                connection.cloudFrames.push_back({0, *frame});
        }
    }

    void Send(const SRecordedLine& line)
    {
        SConnection& connection = ConnectionOf(line);
        QByteArray payload = line.payload.bytes;
        if (IsLogin(line) && line.payload.json.isObject())
            payload = LoginFor(connection, line.payload.json.toObject());
        if (connection.peer)
            connection.peer->Send(line.code, payload);
        else
            m_cloud->Send(payload);
        ++m_sent;
    }

    QByteArray LoginFor(SConnection& connection, QJsonObject body)
    {
        if (m_publicKey.isEmpty())
            AskForKey(connection);
        QString fault;
        const auto password = EncryptPassword(m_options.password, m_publicKey, fault);
        if (!password)
            throw CFailure("can't encrypt the password: " + fault);
        body["password"] = *password;
        if (!m_options.user.isEmpty())
            body["username"] = m_options.user;
        return QJsonDocument(body).toJson(QJsonDocument::Compact);
    }

    /// For a recording whose app did not ask for the key.
    void AskForKey(SConnection& connection)
    {
        connection.peer->Send(Command::PublicKey, {});
        const auto deadline = Clock::now() + m_options.timeout;
        while (m_publicKey.isEmpty() && Clock::now() < deadline) {
            Pump();
            auto& received = connection.Received();
            const auto reply = std::find_if(received.begin(), received.end(), [](const SReceived& message) {
                return message.code == Command::PublicKey;
            });
            if (reply == received.end())
                continue;
            Note(*reply);
            received.erase(reply);
        }
        if (m_publicKey.isEmpty())
            throw CFailure("the host does not send its public key");
    }

    /// Waits for the replies that were recorded before the next message.
    void AwaitReplies()
    {
        const auto deadline = Clock::now() + m_options.timeout;
        Match();
        while (IsReplyMissing() && Clock::now() < deadline) {
            Pump();
            Match();
        }
        if (IsReplyMissing())
            Match(Accept::Any);
        for (auto& [key, connection] : m_connections) {
            connection.expected.remove_if([&](const SRecordedLine* line) {
                if (line->replyTo != 0)
                    Report(*line, "no reply");
                return line->replyTo != 0;
            });
        }
    }

    bool IsReplyMissing() const
    {
        return std::any_of(m_connections.begin(), m_connections.end(), [](const auto& entry) {
            const SConnection& connection = entry.second;
            const bool canArrive = !connection.peer || !connection.peer->HasEnded();
            return canArrive && std::any_of(connection.expected.begin(), connection.expected.end(),
                                            [](const SRecordedLine* line) { return line->replyTo != 0; });
        });
    }

    enum class Accept {
        Any,
        NoDifferentNotice, ///< a message that can be a notice and differs from the expected reply is left for later
    };

    void Match(Accept accept = Accept::NoDifferentNotice)
    {
        for (auto& [key, connection] : m_connections) {
            auto& received = connection.Received();
            for (auto message = received.begin(); message != received.end();)
                message = IsMatched(connection, *message, accept) ? received.erase(message) : std::next(message);
        }
    }

    /// Compares the message with the expected one of the same code that is most like it: replies and notices of one
    /// code can arrive in another order than recorded.
    bool IsMatched(SConnection& connection, const SReceived& message, Accept accept)
    {
        Note(message);
        const SPayload payload = PayloadOf(message.payload);
        auto best = connection.expected.end();
        QStringList differences;
        for (auto line = connection.expected.begin(); line != connection.expected.end(); ++line) {
            if (message.code != 0 && (*line)->code != message.code)
                continue;
            const QStringList found =
                DifferencesOf((*line)->payload, payload, {m_options.strict, Contract::VaryingKeys((*line)->code)});
            if (best == connection.expected.end() || found.isEmpty()) {
                best = line;
                differences = found;
            }
            if (found.isEmpty())
                break;
        }
        if (best == connection.expected.end())
            return false;
        if (accept == Accept::NoDifferentNotice && !differences.isEmpty() && Contract::IsNotice(message.code))
            return false;
        for (const QString& difference : differences)
            Report(**best, difference);
        m_compared += (*best)->replyTo != 0 ? 1 : 0;
        connection.expected.erase(best);
        return true;
    }

    void Note(const SReceived& message)
    {
        if (message.code == Command::PublicKey)
            m_publicKey = PayloadOf(message.payload).json["publicKey"].toString();
    }

    /// Reports messages that are not in the recording, except notices, which depend on the time.
    void Finish(SConnection& connection)
    {
        for (const SReceived& message : connection.Received()) {
            if (Contract::IsNotice(message.code))
                continue;
            ++m_differences;
            const auto channel = connection.peer ? connection.peer->Channel() : TrafficChannel::Cloud;
            Output::PrintLine(QStringLiteral("not in the recording: %1, %2 bytes")
                                  .arg(NameOf(channel, message.code))
                                  .arg(message.payload.size()));
        }
        connection.Received().clear();
    }

    void Report(const SRecordedLine& line, const QString& difference)
    {
        ++m_differences;
        Output::PrintLine(QStringLiteral("record %1, %2: %3")
                              .arg(line.number)
                              .arg(NameOf(line.channel, line.code), PayloadText(difference.toUtf8())));
    }

    const SRecording& m_recording;
    const SReplayOptions& m_options;
    asio::io_context m_context;
    asio::ip::tcp::acceptor m_fpServer{m_context};
    std::unique_ptr<CCloudPeer> m_cloud;
    bool m_isCloudOpen = false;
    std::map<QString, SConnection> m_connections;
    Clock::time_point m_start;
    QString m_publicKey; ///< the host's
    int m_sent = 0;
    int m_compared = 0;
    int m_differences = 0;
    int m_skipped = 0;
};

} // namespace

bool HasLogin(const SRecording& recording, const SReplayOptions& options)
{
    return std::any_of(recording.lines.begin(), recording.lines.end(),
                       [&](const SRecordedLine& line) { return IsLogin(line) && IsSelected(line, options); });
}

int Replay(const SRecording& recording, const SReplayOptions& options)
{
    return CReplay(recording, options).Run();
}
