#include "AppServer/AppServerConfig.h"
#include "CentralControl/CentralControlConfig.h"
#include "Comm/PayloadText.h"
#include "Devices/ClosingPorts.h"
#include "ExternalController/ExternalController.h"
#include "HostModels/Files/JsonFile.h"
#include "HostModels/HostModels.h"
#include "HostModels/Show/ShowFile.h"
#include "Log/OperationLog.h"
#include "Platform/Files.h"
#include "Platform/Process.h"
#include "Platform/ServiceManager.h"
#include "ShowHost/ChannelConfig.h"
#include "ShowHost/Console.h"
#include "ShowHost/FaultRules.h"
#include "ShowHost/HostCommands.h"
#include "ShowHost/HostLog.h"
#include "ShowHost/Page/HttpRequest.h"
#include "ShowHost/Page/PageServer.h"
#include "ShowHost/Shutdown.h"
#include "ShowHost/Users.h"
#include "Traffic/Recorder.h"

#include <QCommandLineParser>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QGuiApplication>
#include <QHostAddress>
#include <QStandardPaths>
#include <QTimer>
#include <QUrl>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <memory>
#include <optional>
#include <stdexcept>

namespace {

enum ExitCode : int {
    Success = 0,
    ChannelFailed = 1,
    BadInput = 2,
    Restart = 3, ///< a remote requested a restart; the process supervisor starts the host again
};

constexpr char kExitCodes[] =
    "\nStandard input accepts commands, one per line; the command help lists them.\n"
    "Exit codes: 0 success, 1 a channel can't be opened, 2 wrong usage or an invalid file, 3 restart requested.\n";

constexpr char kSettingsFile[] = "settings.json";
constexpr char kDeviceFile[] = "Devices.json";
constexpr char kShowLog[] = "show.sqlite";
constexpr char kOperationLog[] = "operation.log";
constexpr char kUploads[] = "Resources";

#if defined(ZENTRAVOX_PAGE)
constexpr char kDefaultPage[] = "127.0.0.1:25512";
constexpr char kPageHelp[] = "Serve the stage page at this address (default 127.0.0.1:25512).";
#else
constexpr char kDefaultPage[] = "off";
constexpr char kPageHelp[] = "Has no effect: this program was built without the stage page.";
#endif

struct SPageAddress {
    QHostAddress address;
    quint16 port;

    std::string Text() const { return AuthorityOf(address, port).toStdString(); }
};

struct SOptions {
    QString information; ///< the help or the version, printed instead of serving; the other options are not read
    QString show;
    QString settings;
    QString state;
    QString listen;
    bool quiet = false;
    bool addsUser = false; ///< instead of serving
    QString newUser;
    int access = 0;
    int passwordDescriptor = -1;
    QString fp;
    QString cloud;
    QString record;
    QString faults;
    std::optional<SPageAddress> page; ///< no value: no page
};

void PrintError(const std::string& text)
{
    static const char* const prefix = IsJournal(fileno(stderr)) ? "<3>" : "";
    std::fprintf(stderr, "%sshowhost: %s\n", prefix, LineText(text).c_str());
}

int ReadNumber(const QCommandLineParser& parser, const QCommandLineOption& option)
{
    bool isNumber = false;
    const int number = parser.value(option).toInt(&isNumber);
    if (!isNumber)
        throw CFileError("--" + option.names().constFirst().toStdString() + ": expected a number, got \"" +
                         parser.value(option).toStdString() + '"');
    return number;
}

std::optional<SPageAddress> ReadPageAddress(const QString& text)
{
    if (text == QLatin1String("off"))
        return std::nullopt;
    const QUrl url("http://" + text, QUrl::StrictMode);
    const SPageAddress page{QHostAddress(url.host()), static_cast<quint16>(url.port(0))};
    if (page.address.isNull() || page.port == 0 || url.authority() != text)
        throw CFileError("--page: expected ADDRESS:PORT with an IP address, or off, got \"" + text.toStdString() + '"');
    return page;
}

SOptions ReadOptions(QCoreApplication& application)
{
    const QCommandLineOption show("show", "Load this show.", "FILE");
    const QCommandLineOption settings("settings", "Read settings from this file; they override those of the show.",
                                      "FILE");
    const QString ownFolder = QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation);
    const QString shownFolder =
        ownFolder.startsWith(QDir::homePath() + '/') ? '~' + ownFolder.mid(QDir::homePath().size()) : ownFolder;
    const QCommandLineOption state(
        "state", "Store uploads, logs and changed settings in DIR (default " + shownFolder + ").", "DIR", ownFolder);
    const QCommandLineOption listen("listen", "Listen on this IP address (default 127.0.0.1).", "ADDRESS", "127.0.0.1");
    const QCommandLineOption quiet("quiet", "Don't log traffic or debug messages.");
    const QCommandLineOption addUser("add-user", "Add an app user, ask for the password, and exit.", "NAME");
    const QCommandLineOption access("access", "Set the access level of the new user (default 1).", "LEVEL", "1");
    const QCommandLineOption passwordFd("password-fd", "Read the password of the new user from this file descriptor.",
                                        "N", "-1");
    const QCommandLineOption fp("fp", "Connect to the FP controller at this address; overrides the settings.",
                                "HOST:PORT");
    const QCommandLineOption cloud("cloud", "Enable cloud control and connect to this URL; overrides the settings.",
                                   "URL");
    const QCommandLineOption record("record", "Record the traffic of all channels in this file; replaces its content.",
                                    "FILE");
    const QCommandLineOption faults("faults", "Apply the fault rules in this file to the traffic.", "FILE");
    const QCommandLineOption page("page", kPageHelp, "ADDRESS:PORT|off", kDefaultPage);
    const QCommandLineOption help({"h", "help"}, "Show this help.");
    const QCommandLineOption version("version", "Show the versions of showhost and of the message contract.");

    QCommandLineParser parser;
    parser.setApplicationDescription("Load a show and serve remote controllers. Nothing is shown on a screen.");
    parser.addOptions({help, version, show, settings, state, listen, quiet, addUser, access, passwordFd, fp, cloud,
                       record, faults, page});
    if (!parser.parse(application.arguments()))
        throw CFileError(parser.errorText().toStdString());
    SOptions options;
    if (parser.isSet(help))
        options.information = parser.helpText() + kExitCodes;
    else if (parser.isSet(version))
        options.information =
            QStringLiteral("showhost %1 (contract %2)\n").arg(ZENTRAVOX_VERSION).arg(ZENTRAVOX_CONTRACT_VERSION);
    if (!options.information.isEmpty())
        return options;
    if (!parser.positionalArguments().isEmpty())
        throw CFileError("unexpected argument: " + parser.positionalArguments().constFirst().toStdString());
    if (!parser.isSet(show) && !parser.isSet(addUser))
        throw CFileError("expected --show FILE");
    if (QHostAddress(parser.value(listen)).isNull())
        throw CFileError("--listen: expected an IP address, got \"" + parser.value(listen).toStdString() + '"');
    options.show = parser.value(show);
    options.settings = parser.value(settings);
    options.state = parser.value(state);
    options.listen = parser.value(listen);
    options.quiet = parser.isSet(quiet);
    options.addsUser = parser.isSet(addUser);
    options.newUser = parser.value(addUser);
    options.access = ReadNumber(parser, access);
    options.passwordDescriptor = ReadNumber(parser, passwordFd);
    options.fp = parser.value(fp);
    options.cloud = parser.value(cloud);
    options.record = parser.value(record);
    options.faults = parser.value(faults);
    options.page = ReadPageAddress(parser.value(page));
    return options;
}

SSettings SettingsOf(const SOptions& options, const SSettings& showSettings)
{
    SSettings settings = options.settings.isEmpty() ? showSettings : ReadSettings(options.settings, showSettings);
    if (!options.cloud.isEmpty())
        SwitchCloudOn(settings, options.cloud);
    return settings;
}

/// Restricts access to the owner. On failure prints a warning; the host continues.
void MakePrivateOrWarn(const QString& path)
{
    const std::string reason = MakePrivate(path.toStdString());
    if (!reason.empty())
        PrintError(path.toStdString() + ": other users may have access: " + reason);
}

/// Restricts access to the state folder and to all files in it, which an earlier run may have created with other
/// rights.
void MakeStatePrivate(const QDir& state)
{
    MakePrivateOrWarn(state.path());
    for (const QString& name :
         state.entryList({kSettingsFile, kDeviceFile, kOperationLog, kShowLog + QStringLiteral("*")},
                         QDir::Files | QDir::NoSymLinks))
        MakePrivateOrWarn(state.filePath(name));
    const QString uploads = state.filePath(kUploads);
    if (!QFileInfo(uploads).isDir() || QFileInfo(uploads).isSymLink())
        return;
    MakePrivateOrWarn(uploads);
    QDirIterator entries(uploads, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot | QDir::NoSymLinks,
                         QDirIterator::Subdirectories);
    while (entries.hasNext())
        MakePrivateOrWarn(entries.next());
}

void PrepareHost(const SOptions& options, const SSettings& showSettings)
{
    const QDir state(options.state);
    if (!state.mkpath("."))
        throw CFileError(options.state.toStdString() + ": can't create this folder");
    CreatePrivateFiles();
    MakeStatePrivate(state);
    CHostSoftwareSetting& setting = HostModels::SoftwareSetting();
    setting.Load(SettingsOf(options, showSettings), state.filePath(kSettingsFile));
    const auto settings = setting.Current();

    const std::string showLog = state.filePath(kShowLog).toStdString();
    const std::string refusal = HostModels::ShowLog().Open(showLog);
    if (!refusal.empty())
        throw CFileError(showLog + ": can't open the show log: " + refusal);
    const std::string operationLog = state.filePath(kOperationLog).toStdString();
    if (!OperationLog::Open(operationLog))
        throw CFileError(operationLog + ": can't open the operation log for writing");
    MakePrivateOrWarn(QString::fromStdString(operationLog));

    HostModels::UserModel().Load(settings->users.empty() ? DemoUsers() : settings->users);
    const QString uploads = settings->resourceFolder.isEmpty() ? state.filePath(kUploads) : settings->resourceFolder;
    AppServer::Config().Set({options.listen.toStdString(), settings->ftpUser.toStdString(),
                             settings->ftpPassword.toStdString(), uploads.toStdString()});
    CentralControl::Config().Set({options.listen.toStdString()});
    FPClient::Config().Set(FPClientConfigOf(*settings, options.fp));
    CloudControl::Config().Set(CloudConfigOf(*settings));
}

int AddUser(const SOptions& options)
{
    const SAPPUserNode user = MakeUser(options.newUser, ReadPassword(options.passwordDescriptor), options.access);
    if (!HostModels::SoftwareSetting().SaveUser(user))
        throw CFileError("can't store the user in " + options.state.toStdString());
    std::printf("user %s added\n", LineText(options.newUser).toUtf8().constData());
    return Success;
}

/// Returns null if the traffic is not to be recorded.
std::unique_ptr<CTrafficRecorder> StartRecording(const SOptions& options, CHostLog& log)
{
    if (options.record.isEmpty())
        return nullptr;
    try {
        return std::make_unique<CTrafficRecorder>(
            options.record.toStdString(), "showhost " ZENTRAVOX_VERSION, [&log](const std::string& reason) {
                log.PrintAnswer(QStringLiteral("host: ") + QString::fromStdString(reason));
            });
    } catch (const std::runtime_error& error) {
        throw CFileError(error.what());
    }
}

/// Starts the stage page. On failure prints the reason and returns null; the host continues.
std::unique_ptr<CPageServer> StartPage(const SOptions& options, CExternalController& controller, CHostLog& log,
                                       CHostCommands& commands)
{
    const auto& page = options.page;
    if (!page)
        return nullptr;
    const CLivePages::SActions actions = {
        [&](int cmdCode, const QJsonObject& body) { return commands.CarryOutForOperator(cmdCode, body); },
        [&](const QString& line) {
            QMetaObject::invokeMethod(
                &controller, [&, line] { CConsole(controller, log).CarryOut(line); }, Qt::QueuedConnection);
        }};
    auto server = std::make_unique<CPageServer>(page->address, page->port, actions, !options.quiet);
    if (server->Error().isEmpty())
        return server;
    PrintError("no stage page at " + page->Text() + ": " + server->Error().toStdString());
    return nullptr;
}

void PrintReady(CHostLog& log, const QString& show, const std::string& pageAddress)
{
    std::string line = "showhost ready: " + show.toStdString();
    const char* separator = "; ";
    for (const std::string& channel : log.Listening()) {
        line += separator + channel;
        separator = ", ";
    }
    if (!pageAddress.empty())
        line += separator + ("page http://" + pageAddress + '/');
    log.PrintAnswer(QString::fromStdString(line));
}

/// Runs the event loop until the host is requested to end. Its timer notifies the service manager's watchdog, which
/// restarts a host whose event loop is blocked.
void Run(QCoreApplication& application)
{
    using std::chrono::milliseconds;
    QTimer watchdog;
    QObject::connect(&watchdog, &QTimer::timeout, [] { NotifyServiceManager("WATCHDOG=1"); });
    if (const auto limit = WatchdogLimit(); limit.count() > 0)
        watchdog.start(std::chrono::duration_cast<milliseconds>(limit / 2));
    NotifyServiceManager("READY=1");
    application.exec();
    NotifyServiceManager("STOPPING=1");
}

int Serve(QCoreApplication& application, CHostLog& log, const QString& show, const SOptions& options, bool hasInput,
          CShutdownDeadline& deadline)
{
    InitExternalController();
    CExternalController& controller = *GetExternalController();
    CHostCommands commands(controller, log, QString::fromStdString(AppServer::Config().Get().uploadFolder));
    HostModels::SetResultHandler([&](const SResultData& command) { commands.CarryOut(command); });
    QObject::connect(&controller, &CExternalController::signalCloseSoftWare, [&](bool shutsDown) {
        log.Print(shutsDown ? "host: shutdown requested" : "host: close requested");
        QCoreApplication::postEvent(&application, new QEvent(QEvent::Quit));
    });
    std::atomic<bool> restarts{false};
    QObject::connect(&controller, &CExternalController::signalRestartSoftware, [&] {
        log.Print("host: restart requested");
        restarts = true;
        QCoreApplication::postEvent(&application, new QEvent(QEvent::Quit));
    });
    auto page = StartPage(options, controller, log, commands); // before the channels start: it counts their connections
    controller.Init();

    const std::vector<std::string> failures = log.Failures();
    for (const std::string& failure : failures)
        PrintError(failure);
    if (failures.empty()) {
        PrintReady(log, show, page ? options.page->Text() : std::string());
        CConsole console(controller, log);
        if (hasInput)
            console.Listen();
        Run(application);
        log.Print("showhost exits");
    }

    const int exitCode = !failures.empty() ? ChannelFailed : restarts ? Restart : Success;
    deadline.Start(exitCode);
    CFaults::GetInstance().Clear(); // ends their delays
    page.reset();                   // it calls the controller
    StopExternalController();
    UninitExternalController();
    CClosingPorts::GetInstance().WaitForAll(); // before the log closes: it reports commands that were not delivered
    HostModels::SetResultHandler({});
    return exitCode;
}

} // namespace

int main(int argc, char** argv)
{
    LimitAllocatorArenas();
    // Check first: if standard input is closed, the next file that is opened gets its descriptor number.
    const bool hasInput = CConsole::HasInput();
    // QPixmap needs a QGuiApplication, which needs a display or the platform plugin "offscreen".
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") &&
        qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
#if defined(SIGXFSZ)
    // A write beyond the file size limit of the process then fails with EFBIG and doesn't terminate the process.
    std::signal(SIGXFSZ, SIG_IGN);
#endif
    CHostLog log;
    QGuiApplication application(argc, argv);
    QCoreApplication::setApplicationName("showhost");
    QCoreApplication::setApplicationVersion(ZENTRAVOX_VERSION);
    RaiseDescriptorLimit();

    try {
        const SOptions options = ReadOptions(application);
        if (!options.information.isEmpty()) {
            std::printf("%s", options.information.toUtf8().constData());
            return Success;
        }
        const SShowFile file = options.show.isEmpty() ? SShowFile{} : ReadShowFile(options.show);
        PrepareHost(options, file.settings);
        if (options.addsUser)
            return AddUser(options);
        HostModels::Show().Load(file.show);
        HostModels::Devices().Load(file.deviceFile.isEmpty() ? QDir(options.state).filePath(kDeviceFile)
                                                             : file.deviceFile);
        CShutdownDeadline deadline([] { PrintError("a request did not finish in time and is abandoned"); });
        const CShutdownSignals shutdown([&] {
            deadline.Start(Success);
            QCoreApplication::postEvent(&application, new QEvent(QEvent::Quit));
        });
        log.SetQuiet(options.quiet);
        const auto recorder = StartRecording(options, log);
        if (!options.faults.isEmpty())
            LoadFaults(options.faults);
        return Serve(application, log, file.show.name, options, hasInput, deadline);
    } catch (const CFileError& error) {
        PrintError(error.what());
        return BadInput;
    }
}
