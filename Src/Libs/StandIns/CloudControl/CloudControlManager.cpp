#include "Interfaces/CloudControl.h"

#include "CloudControl/CloudCommand.h"
#include "CloudControl/CloudControlConfig.h"
#include "CloudControl/CloudLink.h"
#include "CloudControl/CloudOutbox.h"
#include "ExternalController/Common/Routes.h"
#include "ExternalController/Common/Vocabulary.h"
#include "HostModels/Show/HostShow.h"
#include "Traffic/Faults.h"
#include "Traffic/Traffic.h"

#include <QCoreApplication>
#include <QEvent>
#include <QEventLoop>
#include <QUrl>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <future>
#include <mutex>
#include <numeric>
#include <thread>
#include <utility>

namespace {

void Note(const std::string& text)
{
    CTraffic::GetInstance().Publish({STrafficRecord::Kind::Note, TrafficChannel::Cloud, {}, text});
}

/// Whether a command only causes a reply and changes nothing.
bool IsQuery(int cmdCode)
{
    return cmdCode == Command::Refresh || AnswererOf(cmdCode, Source::CloudControl) == Answerer::Sender;
}

/// The connection of the current command; 0 on a thread that executes no commands.
thread_local std::uint64_t t_connection = 0;

std::mutex s_linkMutex;
CCloudLink* s_link = nullptr; ///< the last one that was started

QString Encoded(const QString& text)
{
    return QString::fromLatin1(QUrl::toPercentEncoding(text));
}

QUrl UrlOf(const CloudControl::SCloudUserInfo& user, const SCloudControlConfig& config)
{
    QUrl server(QString::fromStdString(config.url));
    // One call with two arguments: the encoded user name may contain a place marker such as %2.
    const QString path = kCloudPath.arg(Encoded(user.first), Encoded(user.password));
    return QUrl(server.scheme() + "://" + server.authority(QUrl::FullyEncoded) + path, QUrl::StrictMode);
}

} // namespace

/// Uses two threads: one for the socket and one that executes commands, so that replies are sent while a command runs.
class CCloudControlManager::Impl {
public:
    ~Impl()
    {
        if (!m_loopThread.joinable())
            return;
        {
            const std::lock_guard lock(m_mutex);
            m_ends = true;
        }
        m_wake.notify_all();
        // NOLINTNEXTLINE(bugprone-unhandled-exception-at-new): without memory the program ends, here as elsewhere
        QCoreApplication::postEvent(m_loop, new QEvent(QEvent::Quit));
        m_commandThread.join();
        m_loopThread.join();
    }

    void Start()
    {
        std::call_once(m_started, [this] {
            std::promise<void> ready;
            m_loopThread = std::thread([&] { RunLink(ready); });
            ready.get_future().wait();
            m_commandThread = std::thread([this] { RunCommands(); });
        });
    }

    void Send(const std::string& data, CloudControl::EROUTE_TYPE route)
    {
        SCloudMessage message{route, data};
        // Requests of other channels cause messages, too, which are not replies.
        const CTrafficRequest* const request = t_connection != 0 ? CTrafficRequest::Current() : nullptr;
        if (request) {
            message.code = request->Code();
            message.replyTo = request->Number();
        }
        const SReplyFault fault = ApplyToReply(request);
        message.maxFrameBytes = fault.maxBytes;
        if (fault.copies > 1)
            Put(message);
        if (fault.copies > 0)
            Put(std::move(message));
    }

    CCloudLink* Link() const { return m_link; }

    MessageCallback callback;

private:
    void Put(SCloudMessage message)
    {
        const std::size_t dropped =
            m_outbox.Put(std::move(message), t_connection != 0 ? t_connection : m_outbox.Connection());
        if (dropped != 0)
            Note(std::to_string(dropped) + " messages dropped: the cloud service does not receive them");
        if (CCloudLink* link = Link())
            link->Send();
    }

    struct SWaitingCommand {
        std::uint64_t connection;
        QJsonObject command;
        QByteArray frame;
        STrafficRecord record; ///< without the payload

        std::size_t Bytes() const { return static_cast<std::size_t>(frame.size()); }
        int Code() const { return command.value(QLatin1String("cmdType")).toInt(); }
    };

    void RunLink(std::promise<void>& ready)
    {
        QEventLoop loop;
        CCloudLink link(m_outbox,
                        {[this](const QByteArray& frame, STrafficRecord record) { OnFrame(frame, std::move(record)); },
                         [this] { ForgetQueries(); }});
        m_loop = &loop;
        m_link = &link;
        {
            const std::lock_guard lock(s_linkMutex);
            s_link = &link;
        }
        ready.set_value();
        loop.exec();
        const std::lock_guard lock(s_linkMutex);
        if (s_link == &link)
            s_link = nullptr;
    }

    void OnFrame(const QByteArray& frame, STrafficRecord record)
    {
        QString refusal;
        SWaitingCommand received = {m_outbox.Connection(), CloudCommand::Read(frame, refusal), frame,
                                    std::move(record)};
        if (!refusal.isEmpty()) {
            Note("frame ignored: " + refusal.toStdString());
            return;
        }
        bool isFull = false;
        {
            const std::lock_guard lock(m_mutex);
            const std::size_t bytes =
                std::accumulate(m_commands.begin(), m_commands.end(), received.Bytes(),
                                [](std::size_t sum, const SWaitingCommand& waiting) { return sum + waiting.Bytes(); });
            isFull = m_commands.size() >= CloudControl::kMaxWaitingCommands || bytes > CloudControl::kMaxWaitingBytes;
            if (!isFull)
                m_commands.push_back(std::move(received));
        }
        if (isFull)
            Note("command dropped: too many commands are waiting");
        m_wake.notify_one();
    }

    void RunCommands()
    {
        std::unique_lock lock(m_mutex);
        for (;;) {
            m_wake.wait(lock, [this] { return m_ends || !m_commands.empty(); });
            if (m_ends)
                return;
            SWaitingCommand next = std::move(m_commands.front());
            m_commands.pop_front();
            lock.unlock();
            t_connection = next.connection;
            const CTrafficRequest request([&] {
                next.record.code = static_cast<std::uint32_t>(next.Code());
                next.record.payload = {next.frame.constData(), next.Bytes()};
                next.record.wireBytes = next.Bytes();
                return next.record;
            });
            const bool isTakenOver = IsTakenOver(
                request, [this](const char* reason) { Link()->Abort(reason); },
                [this](const SFault& fault) {
                    Send(fault.reply, static_cast<CloudControl::EROUTE_TYPE>(fault.route));
                });
            if (callback && !isTakenOver) {
                const CShowReading reading;
                callback(next.command);
            }
            lock.lock();
        }
    }

    /// Removes the waiting queries when the connection has ended: their replies could not be sent, and commands of the
    /// next connection would wait for them. Commands that change something are still executed.
    void ForgetQueries()
    {
        const std::lock_guard lock(m_mutex);
        const auto isQuery = [](const SWaitingCommand& waiting) { return IsQuery(waiting.Code()); };
        m_commands.erase(std::remove_if(m_commands.begin(), m_commands.end(), isQuery), m_commands.end());
    }

    CCloudOutbox m_outbox{CloudControl::kMaxQueuedBytes};
    std::once_flag m_started;
    std::thread m_loopThread;
    std::thread m_commandThread;
    QEventLoop* m_loop = nullptr;
    std::atomic<CCloudLink*> m_link{nullptr}; ///< null before RunLink; Send may be called earlier

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<SWaitingCommand> m_commands;
    bool m_ends = false;
};

CConfigBox<SCloudControlConfig>& CloudControl::Config()
{
    static CConfigBox<SCloudControlConfig> config;
    return config;
}

bool CloudControl::Receive(const std::string& frame, const std::string& note)
{
    const std::lock_guard lock(s_linkMutex);
    return s_link && s_link->Receive(QByteArray::fromStdString(frame), note);
}

void CloudControl::Disconnect()
{
    const std::lock_guard lock(s_linkMutex);
    if (s_link)
        s_link->Abort("disconnected by the host");
}

CCloudControlManager::CCloudControlManager() : m_impl(std::make_unique<Impl>()) {}

CCloudControlManager::~CCloudControlManager() = default;

void CCloudControlManager::SendData(const std::string& data, CloudControl::EROUTE_TYPE route)
{
    m_impl->Send(data, route);
}

void CCloudControlManager::SetCloudControlMsgCallBack(MessageCallback callback)
{
    m_impl->callback = std::move(callback);
}

void CCloudControlManager::InitInstance()
{
    m_impl->Start();
}

void CCloudControlManager::Connect(const CloudControl::SCloudUserInfo& user)
{
    m_impl->Start();
    const SCloudControlConfig config = CloudControl::Config().Get();
    m_impl->Link()->Connect(UrlOf(user, config), config);
}

void CCloudControlManager::ValidateLogin(const CloudControl::SCloudUserInfo& user)
{
    m_impl->Start();
    const SCloudControlConfig config = CloudControl::Config().Get();
    m_impl->Link()->Validate(UrlOf(user, config), config);
}

bool CCloudControlManager::IsConnected()
{
    return m_impl->Link() && m_impl->Link()->IsWanted();
}

void CCloudControlManager::Close()
{
    if (m_impl->Link())
        m_impl->Link()->Close();
}
