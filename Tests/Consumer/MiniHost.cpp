#include <AppServer/AppServerConfig.h>
#include <CentralControl/CentralControlConfig.h>
#include <CloudControl/CloudControlConfig.h>
#include <ExternalController/Common/Command.h>
#include <ExternalController/Common/Vocabulary.h>
#include <ExternalController/ExternalController.h>
#include <FPClient/FPClientConfig.h>
#include <HostModels/HostModels.h>
#include <Interfaces/CloudControl.h>
#include <Interfaces/ZXComm.h>
#include <Traffic/Traffic.h>

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QHostAddress>
#include <QJsonDocument>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QUdpSocket>
#include <QWebSocketServer>

#include <atomic>
#include <cstdio>

namespace {

constexpr char kAddress[] = "127.0.0.101";
constexpr quint16 kDiscoveryPort = 25505;
constexpr quint16 kControlPort = 25506;
constexpr quint16 kCentralPort = 25509;
constexpr int kTimeoutMs = 10'000;

constexpr auto kResult = ResultText::HdrOff; ///< of every command

bool Check(bool holds, const char* what)
{
    if (!holds)
        std::fprintf(stderr, "%s\n", what);
    return holds;
}

bool WaitUntil(const std::function<bool()>& condition)
{
    QElapsedTimer clock;
    clock.start();
    while (!condition() && clock.elapsed() < kTimeoutMs)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    return condition();
}

QByteArray AskByDatagram(const QByteArray& request, quint16 port)
{
    QUdpSocket remote;
    remote.writeDatagram(request, QHostAddress(kAddress), port);
    if (!remote.waitForReadyRead(kTimeoutMs))
        return {};
    QByteArray answer(static_cast<int>(remote.pendingDatagramSize()), '\0');
    remote.readDatagram(answer.data(), answer.size());
    return answer;
}

/// Answers the module's reports.
class CHost {
public:
    CHost()
    {
        HostModels::SetResultHandler([](const SResultData& command) {
            GetExternalController()->Write(CExternalController::MakeAnswer(command, kResult));
        });
        InitExternalController();
        GetExternalController()->Init();
    }

    ~CHost()
    {
        StopExternalController();
        UninitExternalController();
        HostModels::SetResultHandler({});
    }

    CHost(const CHost&) = delete;
    CHost& operator=(const CHost&) = delete;
};

bool IsFound()
{
    const QByteArray answer = AskByDatagram("App Server request Zentravox Controller", kDiscoveryPort);
    return Check(QJsonDocument::fromJson(answer)["name"].isString(), "the host doesn't answer discovery");
}

bool AnswersTheApp()
{
    QTcpSocket app;
    app.connectToHost(QHostAddress(kAddress), kControlPort);
    app.waitForConnected(kTimeoutMs);
    app.write(CAppDataPack(Command::BlackScreen, "{}").GetData());
    QByteArray answer;
    WaitUntil([&] {
        answer += app.readAll();
        return answer.endsWith("}\n");
    });
    const CAppDataPack package(answer);
    QJsonObject body;
    package.ReadJsonFromData(body);
    return Check(package.GetCmdCode() == Command::ReplyTo(Command::BlackScreen) && body["result"] == kResult,
                 "the app gets no answer to a command");
}

bool AnswersCentralControl()
{
    const QByteArray answer = AskByDatagram(R"({"cmd": "openHDR"})", kCentralPort);
    return Check(answer == ResultTextMap.at(kResult).c_str(), "central control gets no answer to a command");
}

template <class Server>
bool Accepts(const Server& server, const char* what)
{
    return Check(WaitUntil([&] { return server.hasPendingConnections(); }), what);
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);

    QTcpServer controller;
    QWebSocketServer service(QStringLiteral("cloud"), QWebSocketServer::NonSecureMode);
    if (!controller.listen(QHostAddress(kAddress)) || !service.listen(QHostAddress(kAddress)))
        return 1;
    const QTemporaryDir uploads;
    AppServer::Config().Set({kAddress, "demo", "demo", uploads.path().toStdString()});
    CentralControl::Config().Set({kAddress});
    FPClient::Config().Set({kAddress, controller.serverPort(), {}});
    SCloudControlConfig cloud;
    cloud.url = service.serverUrl().toString().toStdString();
    CloudControl::Config().Set(cloud);
    SSettings settings;
    settings.cloudSupport = true;
    settings.cloudUser = settings.cloudAccount = settings.cloudPassword = QStringLiteral("demo");
    HostModels::SoftwareSetting().Load(settings, {});

    // The upload channel's script is in the libraries' folder, not in this program's.
    std::atomic<bool> allUp{true};
    const CTrafficSubscription traffic(
        [&](const STrafficRecord& record) {
            if (record.kind != STrafficRecord::Kind::Failed)
                return;
            std::fprintf(stderr, "%s: %s\n", NameOf(record.channel), record.text.c_str());
            allUp = false;
        },
        false);

    const CHost host;
    const bool works = IsFound() && AnswersTheApp() && AnswersCentralControl() &&
                       Accepts(controller, "the host doesn't connect to the FP controller") &&
                       Accepts(service, "the host doesn't connect to the cloud");
    return works && allUp ? 0 : 1;
}
