#include <AppServer/AppServerConfig.h>
#include <CentralControl/CentralControlConfig.h>
#include <Comm/ChannelEvents.h>
#include <ExternalController/ExternalController.h>

#include <QGuiApplication>
#include <QHostAddress>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QUdpSocket>

#include <atomic>
#include <cstdio>

namespace {

constexpr char kAddress[] = "127.0.0.101";
constexpr quint16 kDiscoveryPort = 25505;
constexpr int kPatienceMs = 10'000;

/// Whether an app on the network finds this host.
bool IsFound()
{
    QUdpSocket app;
    app.writeDatagram("App Server request Zentravox Controller", QHostAddress(kAddress), kDiscoveryPort);
    if (!app.waitForReadyRead(kPatienceMs))
        return false;
    QByteArray answer(static_cast<int>(app.pendingDatagramSize()), '\0');
    app.readDatagram(answer.data(), answer.size());
    return QJsonDocument::fromJson(answer)["name"].isString();
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    const QTemporaryDir uploads;
    AppServer::Config().Set({kAddress, "demo", "demo", uploads.path().toStdString()});
    CentralControl::Config().Set({kAddress});
    // The upload channel among them: its script lies with the libraries, not with this program.
    std::atomic<bool> allUp{true};
    CChannelEvents::GetInstance().SetSink(
        [&](const SChannelEvent& event) {
            if (event.kind != SChannelEvent::Kind::Failed)
                return;
            std::fprintf(stderr, "%s: %s\n", event.channel.c_str(), event.text.c_str());
            allUp = false;
        },
        false);

    InitExternalController();
    GetExternalController()->Init();
    const bool found = IsFound();
    StopExternalController();
    UninitExternalController();

    if (!found)
        std::fputs("the host doesn't answer discovery\n", stderr);
    return found && allUp ? 0 : 1;
}
