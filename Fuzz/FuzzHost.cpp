#include "FuzzHost.h"

#include "Comm/Envelope.h"
#include "ExternalController/Common/Command.h"
#include "ExternalController/ExternalController.h"
#include "HostModels/Files/PasswordCipher.h"
#include "HostModels/HostModels.h"
#include "HostModels/Show/ShowFile.h"
#include "ShowHost/HostCommands.h"
#include "ShowHost/HostLog.h"
#include "ShowHost/Users.h"
#include "Support/RecordingChannels.h"

#include <QGuiApplication>
#include <QJsonDocument>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <optional>

namespace {

constexpr int kMaxRequests = 16;
constexpr char kSeparator = '\x1e';
constexpr std::size_t kRequestHeaderBytes = 3;
/// In processor time, since the machine may be busy. Sanitizers make the host about five times slower.
constexpr double kMaxSeconds = 5;
constexpr char kAppIp[] = "10.0.0.7";
constexpr std::uint16_t kAppPort = 4007;

class CHost {
public:
    CHost()
    {
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
        HostModels::SoftwareSetting().Load(m_file.settings, {});
        HostModels::Show().Load(m_file.show);
        InitExternalController();
        m_commands.emplace(*GetExternalController(), m_log, m_folder.filePath("Uploads"));
        HostModels::SetResultHandler([this](const SResultData& command) { m_commands->CarryOut(command); });
        GetExternalController()->Init();
        HostModels::Devices().Load(m_file.deviceFile);
    }
    ~CHost()
    {
        StopExternalController();
        UninitExternalController();
        HostModels::SetResultHandler({});
    }
    CHost(const CHost&) = delete;
    CHost& operator=(const CHost&) = delete;

    void Reset()
    {
        HostModels::SoftwareSetting().Load(m_file.settings, {});
        HostModels::UserModel().Load(m_users);
        HostModels::Show().Load(m_file.show);
        RecordingChannels::ForgetCalls();
    }

    void EndInput()
    {
        FuzzHost::CloseApp();
        QCoreApplication::sendPostedEvents();
        RecordingChannels::ForgetCalls();
        // The log is not reset between inputs: reopening it takes longer than most inputs.
        if (++m_inputs % kInputsPerLog == 0)
            HostModels::ShowLog().Open(":memory:");
    }

    const QString& Password() const { return m_password; }
    QString InputFile() const { return m_folder.filePath("Input.json"); }

private:
    static constexpr int kInputsPerLog = 256;

    CHostLog m_log;
    const QTemporaryDir m_folder;
    const SShowFile m_file = ReadShowFile(FUZZ_SHOW);
    const std::vector<SAPPUserNode> m_users = DemoUsers();
    const QString m_password = EncryptPassword("demo").value();
    std::optional<CHostCommands> m_commands;
    int m_inputs = 0;
};

CHost* s_host;

double ProcessorSeconds()
{
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

} // namespace

void FuzzHost::ForEachRequest(std::string_view input, const std::function<void(const SRequest&)>& handle)
{
    for (int count = 0; count < kMaxRequests && input.size() >= kRequestHeaderBytes; ++count) {
        const std::size_t end = input.find(kSeparator, kRequestHeaderBytes);
        const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(input[i]); };
        handle({std::uint32_t{byte(0)} << 8 | byte(1), byte(2),
                std::string(input.substr(kRequestHeaderBytes, end - kRequestHeaderBytes))});
        input.remove_prefix(end == std::string_view::npos ? input.size() : end + 1);
    }
}

void FuzzHost::SendBytes(EChannel channel, std::string bytes)
{
    const auto packet = std::make_shared<Comm::ResponsePackage>();
    packet->payload = std::move(bytes);
    packet->remoteIp = kAppIp;
    packet->remotePort = kAppPort;
    packet->localPort = channel == EChannel::AppBulk ? AppServer::kBulkPort : AppServer::kControlPort;
    if (channel == EChannel::FP)
        RecordingChannels::Callbacks().fp(packet);
    else
        RecordingChannels::Callbacks().appTcp(packet);
}

void FuzzHost::SendEnvelope(EChannel channel, std::uint32_t code, std::string_view body)
{
    std::string envelope(Envelope::kCodeHeaderBytes, '\0');
    envelope.replace(0, Envelope::kMarkBytes, Envelope::kCodeMark);
    Envelope::WriteNumber(&envelope[Envelope::kMarkBytes], code);
    Envelope::WriteNumber(&envelope[Envelope::kMarkBytes + 4], static_cast<std::uint32_t>(body.size()));
    SendBytes(channel, envelope.append(body));
}

void FuzzHost::LogIn()
{
    const QJsonObject body = {{"username", "demo"}, {"password", s_host->Password()}, {"force", 1}};
    SendEnvelope(EChannel::AppControl, Command::Login, QJsonDocument(body).toJson().toStdString());
    Require(HostModels::UserModel().GetLoginState(), "the app is logged in after a valid login");
}

void FuzzHost::CloseApp()
{
    const auto notice = std::make_shared<Comm::ResponsePackage>();
    notice->closed = 1;
    notice->remoteIp = kAppIp;
    notice->remotePort = kAppPort;
    notice->localPort = AppServer::kControlPort;
    RecordingChannels::Callbacks().appTcp(notice);
}

QString FuzzHost::WriteFile(std::string_view input)
{
    QString path = s_host->InputFile();
    QFile file(path);
    Require(file.open(QIODevice::WriteOnly | QIODevice::Truncate), "the input's file can be opened");
    Require(file.write(input.data(), static_cast<qint64>(input.size())) == static_cast<qint64>(input.size()),
            "the input's file can be written");
    return path;
}

void FuzzHost::Require(bool condition, const char* text)
{
    if (condition)
        return;
    std::fprintf(stderr, "violated: %s\n", text);
    std::abort();
}

void FuzzHost::RequireConsistent(const SShow& show)
{
    const auto isShare = [](float value) { return value >= 0 && value <= 1; };
    const SEffect& effect = show.effect;
    for (const float share : {effect.volume, effect.blue, effect.red, effect.green, effect.contrast, effect.luminance,
                              effect.saturation, effect.hue, show.playback.leftVolume, show.playback.rightVolume})
        Require(isShare(share), "shares are from 0 to 1");
    Require(show.projects.empty() || show.openProject < show.projects.size(), "the open project exists");
    Require(show.playback.scene.isNull() || show.CurrentScene(), "the current scene exists");
}

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // Never deleted: Qt's static objects may be destroyed first.
    static const QGuiApplication* const application = new QGuiApplication(*argc, *argv);
    static CHost host;
    s_host = &host;
    return application ? 0 : 1;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const double start = ProcessorSeconds();
    s_host->Reset();
    FuzzInput({reinterpret_cast<const char*>(data), size});
    FuzzHost::RequireConsistent(*HostModels::Show().Current());
    s_host->EndInput();
    FuzzHost::Require(ProcessorSeconds() - start < kMaxSeconds, "an input is handled within seconds");
    return 0;
}
