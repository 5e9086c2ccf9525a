#include "ShowHost/Page/PageServer.h"

#include "HostModels/HostModels.h"
#include "ShowHost/Page/HttpServer.h"
#include "ShowHost/Page/Metrics.h"
#include "ShowHost/Page/ShowView.h"

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QTimer>
#include <QUrl>

#include <future>
#include <utility>

namespace {

/// Memory for the records of the traffic.
constexpr std::size_t kMaxStoredBytes = std::size_t{64} << 20;
constexpr int kUpdateMs = 20;
/// Without pages, the thread only checks whether it is to end.
constexpr int kIdleMs = 100;

const char* TypeOf(const QString& file)
{
    if (file.endsWith(QLatin1String(".html")))
        return "text/html; charset=utf-8";
    if (file.endsWith(QLatin1String(".js")))
        return "text/javascript; charset=utf-8";
    if (file.endsWith(QLatin1String(".css")))
        return "text/css; charset=utf-8";
    return file.endsWith(QLatin1String(".json")) ? "application/json" : "text/plain; charset=utf-8";
}

/// Answers with a file of the page. Its files are resources of this program, in one folder.
void SendFile(const QString& path, const CHttpServer::Send& send)
{
    static const QStringList files = QDir(":/page").entryList();
    const QString name = path == QLatin1String("/") ? QStringLiteral("index.html") : path.mid(1);
    QFile file(":/page/" + name);
    if (!files.contains(name) || !file.open(QIODevice::ReadOnly))
        return send({"404 Not Found"});
    send({"200 OK", TypeOf(name), file.readAll()});
}

void Handle(CPictureQueue& pictures, const QByteArray& target, const CHttpServer::Send& send)
{
    const QUrl url(QString::fromLatin1(target), QUrl::StrictMode);
    const QString path = url.path();
    if (!path.endsWith(QLatin1String(".jpg")))
        return SendFile(url.hasQuery() ? QString() : path, send);
    const auto paint = ShowView::Picture(HostModels::Show().Current(), path, QUrlQuery(url));
    if (!paint)
        return send({"404 Not Found"});
    pictures.Add(paint, [send](const QByteArray& jpeg) { send({"200 OK", "image/jpeg", jpeg}); });
}

} // namespace

CPageServer::CPageServer(const QHostAddress& address, quint16 port, CLivePages::SActions actions, bool wantsMessages)
    : m_ring(kMaxStoredBytes, wantsMessages)
{
    std::promise<QString> started;
    m_thread = std::thread(
        [=, &started] { Run(address, port, actions, [&started](const QString& error) { started.set_value(error); }); });
    m_error = started.get_future().get();
}

CPageServer::~CPageServer()
{
    m_stops = true;
    m_thread.join();
}

void CPageServer::Run(const QHostAddress& address, quint16 port, const CLivePages::SActions& actions,
                      const std::function<void(const QString& error)>& started)
{
    QEventLoop loop; // first: sockets need the thread's event dispatcher, which it creates
    CPictureQueue pictures;
    CTrafficStatistics statistics(m_ring);
    CLivePages pages(pictures, m_ring, statistics, actions);
    bool isMeasured = false; ///< /metrics has been read
    const auto handle = [&](const QByteArray& target, const CHttpServer::Send& send) {
        if (target != "/metrics")
            return Handle(pictures, target, send);
        if (!std::exchange(isMeasured, true))
            m_ring.AddReader();
        statistics.Update();
        send({"200 OK", "text/plain; version=0.0.4", statistics.Metrics() + ProcessMetrics(pages.Count())});
    };
    CHttpServer server(handle, [&](QWebSocket* socket) { pages.Open(socket); });
    if (!QFile::exists(":/page/index.html"))
        return started(QStringLiteral("this program was built without the page"));
    if (!server.Listen(address, port))
        return started(server.Error());
    started({});

    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &loop, [&] {
        if (m_stops)
            loop.quit();
        pictures.Poll(); // first, so that the update contains a picture that is finished
        pages.Update(statistics.Update());
        timer.setInterval(pages.Count() > 0 ? kUpdateMs : kIdleMs);
    });
    timer.start(kIdleMs);
    loop.exec();
    pages.Close();
}
