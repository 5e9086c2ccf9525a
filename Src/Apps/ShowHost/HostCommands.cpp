#include "ShowHost/HostCommands.h"

#include "ExternalController/Common/CommandNames.h"
#include "ExternalController/Common/Routes.h"
#include "ExternalController/Common/Vocabulary.h"
#include "ExternalController/ExternalController.h"
#include "HostModels/HostModels.h"
#include "HostModels/Pictures/PictureFile.h"
#include "ShowHost/HostLog.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QEvent>

namespace {

/// The end of an upload, which the module reports without data. An app's own packet with these keys has data.
bool IsUpload(const SResultData& command)
{
    return command.nCmdCode == Command::ResourceItem && command.nSourceFlags == Source::App && !command.hasData &&
           command.jsonBody.contains("resourcePath");
}

/// The module reports these two by itself. It handles an app's own login requests, and its notice that the app is gone
/// has no source, so that no remote can send either of them.
bool IsLogin(const SResultData& command)
{
    return command.nCmdCode == Command::Login && command.nSourceFlags == Source::App;
}

bool IsAppGone(const SResultData& command)
{
    return command.nCmdCode == Command::AppGone && command.nSourceFlags == 0;
}

/// The command's name, or for a code without one central control's keyword for it.
QString NameOf(const SResultData& command)
{
    const auto code = static_cast<unsigned int>(command.nCmdCode);
    QString name = QLatin1String(Command::NameOf(code));
    const auto keyword = CenterControlCmdMap.find(command.jsonBody["cmd"].toString());
    if (name.isEmpty() && keyword != CenterControlCmdMap.end() && keyword->second == command.nCmdCode)
        name = keyword->first;
    return QStringLiteral("%1 (0x%2)").arg(name.isEmpty() ? "unknown" : name).arg(code, 3, 16, QLatin1Char('0'));
}

ControlSource::Index SourceOf(int sourceFlags)
{
    constexpr struct {
        Source::Flag flag;
        ControlSource::Index name;
    } kNames[] = {{Source::App, ControlSource::App},
                  {Source::FP, ControlSource::FP},
                  {Source::CentralControl, ControlSource::CentralControl},
                  {Source::CloudControl, ControlSource::CloudControl}};
    for (const auto& [flag, name] : kNames) {
        if (sourceFlags & flag)
            return name;
    }
    return ControlSource::PC;
}

/// What the show log files a command under.
const char* LogModuleOf(int cmdCode)
{
    switch (cmdCode & Command::kSenderMask) {
    case SenderType::Scene:
        return "Scene";
    case SenderType::Resource:
        return "Resource";
    default:
        return "Stage";
    }
}

/// Asks the host to end, from any thread.
void Quit()
{
    QCoreApplication::postEvent(QCoreApplication::instance(), new QEvent(QEvent::Quit));
}

} // namespace

CHostCommands::CHostCommands(CExternalController& controller, CHostLog& log, const QString& uploadFolder)
    : m_controller(controller), m_log(log), m_uploads(m_events, log, uploadFolder)
{
    // Before the module waits for requests that are being handled: some may be waiting for a picture.
    QObject::connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, &m_events, [this] {
        EnableReadingPictures(false);
        m_uploads.Stop();
    });
}

void CHostCommands::CarryOut(const SResultData& command)
{
    if (IsLogin(command)) {
        LogIn();
    } else if (IsAppGone(command)) {
        m_log.Print("host: the app is gone");
    } else if (command.nCmdCode == Command::CloseSoftware) {
        Answer(command, ResultText::Success);
        Quit();
    } else if (IsUpload(command)) {
        m_uploads.Take(command.jsonBody["resourcePath"].toString());
    } else {
        Route(command);
    }
}

void CHostCommands::LogIn()
{
    CHostUserModel& users = HostModels::UserModel();
    // The app's other connection may have closed since, and ended the login.
    if (!users.GetLoginState())
        return;
    users.SetConnectState(true);
    m_log.Print("host: " + users.GetCurrentLoginUser() + " logged in");
}

void CHostCommands::Route(const SResultData& command)
{
    switch (AnswererOf(command.nCmdCode, command.nSourceFlags)) {
    case Answerer::SenderAndHost:
        return; // has been answered
    case Answerer::HostToSender:
        m_controller.Write({command.nSenderType, command.nCmdCode, command.jsonBody, command.nSourceFlags});
        return;
    default:
        ChangeShow(command);
    }
}

void CHostCommands::ChangeShow(const SResultData& command)
{
    const ShowChange change = FindShowChange(command.nCmdCode);
    if (!change) {
        Answer(command, ResultText::UnknownCommand);
        return;
    }
    // While a project is being switched, the cloud's next command waits for nobody: the module drops it.
    const bool switches = command.nCmdCode == Command::SwitchProject;
    if (switches)
        m_controller.SetPrjLoadState(0);
    ResultText::Index result = ResultText::Fail;
    m_events.Change(
        [&](SShow& show, std::vector<SShowEvent>& events) { result = change(show, command.jsonBody, events); });
    if (switches)
        m_controller.SetPrjLoadState(1);
    Answer(command, result);
}

void CHostCommands::Answer(const SResultData& command, ResultText::Index result)
{
    const std::string& text = ResultTextMap.at(result);
    const ControlSource::Index source = SourceOf(command.nSourceFlags);
    m_log.Print(QStringLiteral("host: %1: %2: %3")
                    .arg(QString::fromStdString(ControlSourceNameMap.at(source)), NameOf(command),
                         QString::fromStdString(text)));
    HostModels::ShowLog().Add(SOPRecord{QDateTime::currentDateTime().toString(kLogTimeFormat),
                                        LogModuleOf(command.nCmdCode), NameOf(command), QString::fromStdString(text),
                                        source});
    m_controller.Write(CExternalController::MakeAnswer(command, result));
}
