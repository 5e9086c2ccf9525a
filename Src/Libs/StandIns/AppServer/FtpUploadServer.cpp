#include "AppServer/FtpUploadServer.h"

#include "ExternalController/Common/JsonReader.h"
#include "Platform/Process.h"
#include "Traffic/Traffic.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <deque>
#include <future>
#include <map>
#include <memory>
#include <mutex>

using namespace std::chrono_literals;

namespace {

/// Time limit from the start of the child to its event "listening"; on an idle machine it takes 50 ms.
constexpr auto kStartLimit = 10s;
/// A child that still runs this long after its stdin was closed is killed. It normally ends within 50 ms; killing it
/// loses no data.
constexpr auto kStopLimit = 500ms;
/// Pause before a child that ended unexpectedly is started again: doubled each time, up to the longest.
constexpr std::chrono::milliseconds kShortestPause = 500ms;
constexpr std::chrono::milliseconds kMaxPause = 10s;
/// After a child has listened for this time, the next pause is the shortest again.
constexpr std::chrono::milliseconds kSoundAfter = 10s;

int ToMs(std::chrono::milliseconds duration)
{
    return static_cast<int>(duration.count());
}

/// Makes the path absolute. An empty path stays empty; QDir would return the working directory.
QString ToAbsolute(const QString& folder)
{
    return folder.isEmpty() ? folder : QDir(folder).absolutePath();
}

/// The path of the script, which is in the folder of this library, not of the host's program.
QString Script()
{
    static const char here = 0;
    return QString::fromStdString((CodeFolder(&here) / "FtpUploadServer.py").u8string());
}

class CChildProcess : public QProcess {
public:
    using QProcess::QProcess;

protected:
    void setupChildProcess() override { KeepDescriptorsFromChild(); }
};

} // namespace

/// Lives in the thread of the CFtpUploadServer, like its process and timers.
class CFtpUploadServer::CSupervisor : public QObject {
public:
    CSupervisor(SOptions options, UploadEndCallback uploadEnd, StateCallback state)
        : m_options(std::move(options)), m_uploadEnd(std::move(uploadEnd)), m_state(std::move(state))
    {
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_restart.setSingleShot(true);
        m_startLimit.setSingleShot(true);

        connect(&m_process, &QProcess::readyReadStandardOutput, this, &CSupervisor::ReadEvents);
        connect(&m_process, qOverload<int, QProcess::ExitStatus>(&QProcess::finished), this, &CSupervisor::OnEnded);
        connect(&m_process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
            if (error == QProcess::FailedToStart) {
                m_reason = m_process.program() + QStringLiteral(": ") + m_process.errorString();
                OnEnded();
            }
        });
        connect(&m_restart, &QTimer::timeout, this, &CSupervisor::Launch);
        connect(&m_startLimit, &QTimer::timeout, this, [this] {
            m_reason = QStringLiteral("the FTP upload server did not listen within %1 ms").arg(ToMs(kStartLimit));
            m_process.kill();
        });
    }

    void Start(std::shared_ptr<std::promise<bool>> started)
    {
        if (m_process.state() != QProcess::NotRunning || m_restart.isActive()) {
            started->set_value(m_listening.isValid());
            return;
        }
        m_started = std::move(started);
        m_pause = kShortestPause;
        Launch();
    }

    void SetFolder(const QString& folder)
    {
        if (folder.isEmpty())
            return;
        m_options.folder = folder;
        if (m_process.state() != QProcess::NotRunning)
            WriteLine({{"root", folder}});
    }

    void Disconnect(const std::string& peer)
    {
        for (const auto& [id, session] : m_sessions) {
            if (session.peer == peer)
                WriteLine({{"close", id}});
        }
    }

    void Stop()
    {
        m_stopping = true;
        m_restart.stop();
        m_startLimit.stop();
        if (m_process.state() == QProcess::NotRunning)
            return;
        m_process.closeWriteChannel();
        if (!m_process.waitForFinished(ToMs(kStopLimit))) {
            m_process.kill();
            m_process.waitForFinished(ToMs(kStopLimit));
        }
    }

    /// Runs the call in the supervisor's thread. Any thread.
    void Post(std::function<void()> call)
    {
        {
            const std::lock_guard lock(m_mutex);
            m_calls.push_back(std::move(call));
        }
        QCoreApplication::postEvent(this, new QEvent(QEvent::User));
    }

protected:
    void customEvent(QEvent*) override
    {
        std::function<void()> call;
        {
            const std::lock_guard lock(m_mutex);
            call = std::move(m_calls.front());
            m_calls.pop_front();
        }
        call();
    }

private:
    void Launch()
    {
        m_reason.clear();
        m_startLimit.start(kStartLimit);
        // -X utf8: file names are UTF-8 in every locale. -B: Python writes no cache into the folder of the script.
        m_process.start(QStringLiteral(ZENTRAVOX_PYTHON),
                        {QStringLiteral("-B"), QStringLiteral("-X"), QStringLiteral("utf8"), Script()});
        // The password is passed through stdin: every user of the machine can read a command line.
        WriteLine({{"address", m_options.listenAddress},
                   {"port", m_options.port},
                   {"passivePorts", QJsonArray{m_options.firstPassivePort, m_options.lastPassivePort}},
                   {"user", m_options.user},
                   {"password", m_options.password},
                   {"root", m_options.folder},
                   {"loginSeconds", std::chrono::duration<double>(m_options.loginLimit).count()}});
    }

    void WriteLine(const QJsonObject& line)
    {
        m_process.write(QJsonDocument(line).toJson(QJsonDocument::Compact) + '\n');
    }

    void ReadEvents()
    {
        while (m_process.canReadLine()) {
            const QJsonObject line = ReadJson(m_process.readLine()).object();
            const QString event = line["event"].toString();
            if (event == QLatin1String("upload")) {
                if (m_uploadEnd)
                    m_uploadEnd(line["path"].toString().toStdString());
            } else if (event == QLatin1String("listening")) {
                m_startLimit.stop();
                m_listening.start();
                SetState(true, {});
            } else if (event == QLatin1String("failed")) {
                m_reason = line["reason"].toString();
            } else if (line.contains("session")) {
                PublishSession(event, line);
            }
        }
    }

    void PublishSession(const QString& event, const QJsonObject& line)
    {
        CTraffic& traffic = CTraffic::GetInstance();
        const int id = line["session"].toInt();
        SSession& session = m_sessions[id];
        STrafficRecord record{STrafficRecord::Kind::Message, TrafficChannel::AppUpload};
        if (event == QLatin1String("opened")) {
            session = {traffic.NextConnection(), line["peer"].toString().toStdString(), 0};
            record.kind = STrafficRecord::Kind::Opened;
        } else if (event == QLatin1String("closed")) {
            record.kind = STrafficRecord::Kind::Closed;
            record.text = "the FTP session has ended";
        }
        record.peer = session.peer;
        record.connection = session.connection;
        if (record.kind != STrafficRecord::Kind::Message) {
            traffic.Publish(std::move(record));
            if (event == QLatin1String("closed"))
                m_sessions.erase(id);
            return;
        }
        if (!CTraffic::WantsMessages())
            return;
        const bool isCommand = event == QLatin1String("command");
        const std::string text = line["text"].toString().toStdString();
        record.from = isCommand ? STrafficRecord::From::Remote : STrafficRecord::From::Host;
        record.payload = text;
        record.wireBytes = text.size();
        record.replyTo = isCommand ? 0 : session.command;
        const std::uint64_t number = traffic.Publish(std::move(record));
        if (isCommand)
            session.command = number;
    }

    void OnEnded()
    {
        ReadEvents();
        m_startLimit.stop();
        if (m_stopping)
            return;

        if (m_reason.isEmpty())
            m_reason = m_process.exitStatus() == QProcess::CrashExit
                           ? QStringLiteral("the FTP upload server was killed or crashed")
                           : QStringLiteral("the FTP upload server ended with code %1").arg(m_process.exitCode());
        if (m_listening.isValid() && m_listening.hasExpired(kSoundAfter.count()))
            m_pause = kShortestPause;
        m_listening.invalidate();
        m_sessions.clear();
        if (!m_started) {
            m_restart.start(m_pause);
            m_pause = std::min(2 * m_pause, kMaxPause);
        }
        SetState(false, m_reason);
    }

    void SetState(bool listening, const QString& reason)
    {
        if (m_state)
            m_state(listening, reason.toStdString());
        if (const auto started = std::move(m_started))
            started->set_value(listening);
    }

    struct SSession {
        std::uint64_t connection = 0;
        std::string peer;
        std::uint64_t command = 0; ///< number of the last command's record
    };

    SOptions m_options;
    std::map<int, SSession> m_sessions; ///< of the child, by the child's numbers
    UploadEndCallback m_uploadEnd;
    StateCallback m_state;
    QTimer m_restart{this};
    QTimer m_startLimit{this};
    std::chrono::milliseconds m_pause = kShortestPause;
    QElapsedTimer m_listening; ///< valid while the child listens
    QString m_reason;          ///< why the child ends, if there is a better reason than its exit code
    std::shared_ptr<std::promise<bool>> m_started; ///< set until the result of Start is known
    bool m_stopping = false;
    std::mutex m_mutex;
    std::deque<std::function<void()>> m_calls;
    CChildProcess m_process{this}; ///< the last member: if the child is still running, its destructor calls OnEnded
};

CFtpUploadServer::CFtpUploadServer(SOptions options, UploadEndCallback uploadEnd, StateCallback state)
{
    options.folder = ToAbsolute(options.folder);
    m_supervisor = new CSupervisor(std::move(options), std::move(uploadEnd), std::move(state));
    m_supervisor->moveToThread(&m_thread);
    QObject::connect(&m_thread, &QThread::finished, m_supervisor, &QObject::deleteLater);
    m_thread.setObjectName(QStringLiteral("FtpUpload"));
    m_thread.start();
}

CFtpUploadServer::~CFtpUploadServer()
{
    m_supervisor->Post([supervisor = m_supervisor] {
        supervisor->Stop();
        QThread::currentThread()->quit();
    });
    m_thread.wait();
}

bool CFtpUploadServer::Start()
{
    const auto started = std::make_shared<std::promise<bool>>();
    auto outcome = started->get_future();
    m_supervisor->Post([supervisor = m_supervisor, started] { supervisor->Start(started); });
    return outcome.get();
}

void CFtpUploadServer::Disconnect(const std::string& peer)
{
    m_supervisor->Post([supervisor = m_supervisor, peer] { supervisor->Disconnect(peer); });
}

void CFtpUploadServer::SetFolder(const QString& folder)
{
    m_supervisor->Post([supervisor = m_supervisor, folder = ToAbsolute(folder)] { supervisor->SetFolder(folder); });
}
