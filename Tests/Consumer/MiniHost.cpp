#include <AppServer/AppServerConfig.h>
#include <CentralControl/CentralControlConfig.h>
#include <CloudControl/CloudControlConfig.h>
#include <ExternalController/Common/Routes.h>
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
#include <QWebSocket>
#include <QWebSocketServer>

#include <atomic>
#include <cstdio>
#include <memory>

namespace {

constexpr char kAddress[] = "127.0.0.101";
constexpr quint16 kDiscoveryPort = 25505;
constexpr quint16 kControlPort = 25506;
constexpr quint16 kCentralPort = 25509;
constexpr int kTimeoutMs = 10'000;
constexpr int kEnvelopeHeaderBytes = 12;

/// The result of every command, and a request body with a key that the senders must not read as the host's reply.
constexpr auto kResult = ResultText::HdrOff;
const QJsonObject kCommandBody = {{"value", 7}, {"respon", QJsonObject{{"forged", true}}}};

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

/// Returns whether a command in an envelope is answered with this code and with the result in the body.
bool IsAnsweredByEnvelope(QTcpSocket& remote, int command, unsigned int replyCode)
{
    remote.write(CAppDataPack(static_cast<unsigned int>(command), QJsonDocument(kCommandBody).toJson()).GetData());
    const QJsonObject expected = {
        {"value", 7}, {"result", kResult}, {"errorMsg", QString::fromStdString(ResultTextMap.at(kResult))}};
    QByteArray answer;
    WaitUntil([&] {
        answer += remote.readAll();
        return answer.size() > kEnvelopeHeaderBytes && answer.endsWith("}\n");
    });
    const CAppDataPack package(answer);
    QJsonObject body;
    package.ReadJsonFromData(body);
    return package.GetCmdCode() == replyCode && body == expected;
}

/// Answers the module's reports and stores the source of the last command.
class CHost {
public:
    CHost()
    {
        HostModels::SetResultHandler([this](const SResultData& command) {
            m_lastSource = command.nSourceFlags;
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

    int LastSource() const { return m_lastSource; }

private:
    std::atomic<int> m_lastSource{0};
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
    bool answered = app.waitForConnected(kTimeoutMs);
    // The scene and stage senders could answer these codes themselves.
    for (const int command : {Command::BlackScreen, Command::Volume, Command::SwitchSceneGroup})
        answered = answered && IsAnsweredByEnvelope(app, command, Command::ReplyTo(command));
    return Check(answered, "the app gets no answer to a command");
}

bool AnswersFP(QTcpServer& controller)
{
    const auto hasCome = [&] { return controller.hasPendingConnections(); };
    const std::unique_ptr<QTcpSocket> host(WaitUntil(hasCome) ? controller.nextPendingConnection() : nullptr);
    bool answered = host != nullptr;
    for (const int command : {Command::BlackScreen, Command::Volume, Command::SwitchSceneGroup})
        answered = answered && IsAnsweredByEnvelope(*host, command, static_cast<unsigned int>(command));
    return Check(answered, "the FP controller gets no answer to a command");
}

bool AnswersCentralControl()
{
    const QByteArray answer = AskByDatagram(R"({"cmd": "openHDR", "respon": {"forged": true}})", kCentralPort);
    return Check(answer == ResultTextMap.at(kResult).c_str(), "central control gets no answer to a command");
}

/// Checks that the cloud's commands reach the host and are not answered.
bool KeepsSilentToCloud(QWebSocketServer& service, const CHost& host)
{
    const auto hasCome = [&] { return service.hasPendingConnections(); };
    const std::unique_ptr<QWebSocket> link(WaitUntil(hasCome) ? service.nextPendingConnection() : nullptr);
    if (!Check(link != nullptr, "the host doesn't connect to the cloud"))
        return false;
    QStringList frames;
    QObject::connect(link.get(), &QWebSocket::textMessageReceived, [&](const QString& frame) { frames += frame; });
    link->sendTextMessage(R"({"cmd": "globalVolume"})");
    // Commands are executed in order, so the reply on route 0 follows the command.
    link->sendTextMessage(QStringLiteral(R"({"cmdType": %1})").arg(Command::SystemInformation));
    WaitUntil([&] { return !frames.isEmpty(); });
    return Check(host.LastSource() == Source::CloudControl && frames.size() == 1 &&
                     QJsonDocument::fromJson(frames[0].toUtf8())["route"].toInt(-1) == CloudControl::SystemInformation,
                 "the cloud's command doesn't reach the host, or is answered");
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
    const bool works = IsFound() && AnswersTheApp() && AnswersFP(controller) && AnswersCentralControl() &&
                       KeepsSilentToCloud(service, host);
    return works && allUp ? 0 : 1;
}
