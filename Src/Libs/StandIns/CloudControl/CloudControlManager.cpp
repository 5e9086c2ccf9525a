#include "Interfaces/CloudControl.h"

#include "CloudControl/CloudCommand.h"
#include "CloudControl/CloudControlConfig.h"
#include "CloudControl/CloudLink.h"
#include "CloudControl/CloudOutbox.h"
#include "Comm/ChannelEvents.h"
#include "ExternalController/Common/Vocabulary.h"

#include <QCoreApplication>
#include <QEvent>
#include <QEventLoop>
#include <QUrl>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <future>
#include <mutex>
#include <thread>
#include <utility>

namespace {

void Note(const std::string& text)
{
    CChannelEvents::GetInstance().Tell({SChannelEvent::Kind::Note, CloudControl::kChannelName, {}, text});
}

/// The connection that the command at hand came on; 0 on a thread that carries none out.
thread_local std::uint64_t t_connection = 0;

QString Encoded(const QString& text)
{
    return QString::fromLatin1(QUrl::toPercentEncoding(text));
}

QUrl UrlOf(const CloudControl::SCloudUserInfo& user, const SCloudControlConfig& config)
{
    QUrl server(QString::fromStdString(config.url));
    // The last text may hold the mark of the first: both are put in at once.
    const QString path = kCloudPath.arg(Encoded(user.first), Encoded(user.password));
    return QUrl(server.scheme() + "://" + server.authority(QUrl::FullyEncoded) + path, QUrl::StrictMode);
}

} // namespace

/// Two threads: one has the socket, the other carries commands out, so that replies leave while a long command runs.
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
            m_commandThread = std::thread([this] { CarryOut(); });
        });
    }

    void Send(const std::string& data, CloudControl::EROUTE_TYPE route)
    {
        const std::size_t dropped =
            m_outbox.Put({route, data}, t_connection != 0 ? t_connection : m_outbox.Connection());
        if (dropped != 0)
            Note(std::to_string(dropped) + " messages dropped: the cloud doesn't take them");
        if (CCloudLink* link = Link())
            link->Send();
    }

    CCloudLink* Link() const { return m_link; }

    MessageCallback callback;

private:
    void RunLink(std::promise<void>& ready)
    {
        QEventLoop loop;
        CCloudLink link(m_outbox, {[this](QByteArray frame) { Take(std::move(frame)); }});
        m_loop = &loop;
        m_link = &link;
        ready.set_value();
        loop.exec();
    }

    void Take(QByteArray frame)
    {
        {
            const std::lock_guard lock(m_mutex);
            if (m_frames.size() < CloudControl::kMaxWaitingCommands) {
                m_frames.emplace_back(m_outbox.Connection(), std::move(frame));
                frame.clear();
            }
        }
        if (!frame.isEmpty())
            Note("a command dropped: too many are waiting");
        m_wake.notify_one();
    }

    void CarryOut()
    {
        std::unique_lock lock(m_mutex);
        for (;;) {
            m_wake.wait(lock, [this] { return m_ends || !m_frames.empty(); });
            if (m_ends)
                return;
            auto [connection, frame] = std::move(m_frames.front());
            m_frames.pop_front();
            lock.unlock();
            // A command of a connection that has ended is still carried out; its answers go nowhere.
            t_connection = connection;
            Deliver(frame);
            lock.lock();
        }
    }

    void Deliver(const QByteArray& frame)
    {
        QString refusal;
        QJsonObject command = CloudCommand::Read(frame, refusal);
        if (!refusal.isEmpty()) {
            Note("a frame passed over: " + refusal.toStdString());
            return;
        }
        CChannelEvents::GetInstance().Tell({SChannelEvent::Kind::Received,
                                            CloudControl::kChannelName,
                                            {},
                                            std::to_string(command["cmdType"].toInt())});
        if (callback)
            callback(command);
    }

    CCloudOutbox m_outbox{CloudControl::kMaxQueuedBytes};
    std::once_flag m_started;
    std::thread m_loopThread;
    std::thread m_commandThread;
    QEventLoop* m_loop = nullptr;
    std::atomic<CCloudLink*> m_link{nullptr}; ///< a reply may go out before there is one

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<std::pair<std::uint64_t, QByteArray>> m_frames;
    bool m_ends = false;
};

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
    const SCloudControlConfig config = CloudControl::GetConfig();
    m_impl->Link()->Connect(UrlOf(user, config), config);
}

void CCloudControlManager::ValidateLogin(const CloudControl::SCloudUserInfo& user)
{
    m_impl->Start();
    const SCloudControlConfig config = CloudControl::GetConfig();
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
