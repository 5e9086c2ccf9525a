#include "ShowHost/HostCommands.h"

#include "ExternalController/Common/CommandNames.h"
#include "ExternalController/Common/Keywords.h"
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

/// Whether the command is the module's report of a finished upload. It has no data, unlike a packet from an app with
/// the same keys.
bool IsUpload(const SResultData& command)
{
    return command.nCmdCode == Command::ResourceItem && command.nSourceFlags == Source::App && !command.hasData &&
           command.jsonBody.contains("resourcePath");
}

/// Whether the command is the module's report of a login. A remote can't send it: the module handles login requests.
bool IsLogin(const SResultData& command)
{
    return command.nCmdCode == Command::Login && command.nSourceFlags == Source::App;
}

/// Whether the command is the module's report that the logged-in app disconnected. A remote can't send it: commands of
/// remotes have a source.
bool IsAppGone(const SResultData& command)
{
    return command.nCmdCode == Command::AppGone && command.nSourceFlags == 0;
}

/// The command's name, or central control's keyword if the code has no name; with the code.
QString NameOf(const SResultData& command)
{
    const auto code = static_cast<unsigned int>(command.nCmdCode);
    QString name = QLatin1String(Command::NameOf(code));
    const auto keyword = CenterControlCmdMap.find(command.jsonBody["cmd"].toString());
    if (name.isEmpty() && keyword != CenterControlCmdMap.end() && keyword->second == command.nCmdCode)
        name = keyword->first;
    return QString::fromStdString(Command::TextOf(name.isEmpty() ? "unknown" : name.toStdString(), code));
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

/// The module name of the command's record in the show log.
const char* LogModuleOf(int cmdCode)
{
    switch (cmdCode & SenderType::kMask) {
    case SenderType::Scene:
        return "Scene";
    case SenderType::Resource:
        return "Resource";
    default:
        return "Stage";
    }
}

/// Ends the application's event loop. Any thread.
void Quit()
{
    QCoreApplication::postEvent(QCoreApplication::instance(), new QEvent(QEvent::Quit));
}

} // namespace

CHostCommands::CHostCommands(CExternalController& controller, CHostLog& log, const QString& uploadFolder)
    : m_controller(controller), m_log(log), m_uploads(m_events, log, uploadFolder)
{
    // Must happen before the module waits for its active requests: one of them may be waiting for a picture.
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
        m_log.Print("host: the app disconnected");
    } else if (command.nCmdCode == Command::CloseSoftware) {
        Answer(command, ResultText::Success);
        Quit();
    } else if (IsUpload(command)) {
        m_uploads.Take(command.jsonBody["resourcePath"].toString());
    } else {
        Route(command);
    }
}

ResultText::Index CHostCommands::CarryOutForOperator(int cmdCode, const QJsonObject& body)
{
    SResultData command; // without source flags
    command.nCmdCode = cmdCode;
    command.jsonBody = body;
    return ChangeShow(command);
}

void CHostCommands::LogIn()
{
    CHostUserModel& users = HostModels::UserModel();
    // The app's other connection may have closed after the login, which logs the app out.
    if (!users.GetLoginState())
        return;
    users.SetConnectState(true);
    m_log.Print("host: " + users.GetCurrentLoginUser() + " logged in");
}

void CHostCommands::Route(const SResultData& command)
{
    switch (AnswererOf(command.nCmdCode, command.nSourceFlags)) {
    case Answerer::SenderAndHost:
        return; // the module's sender has answered
    case Answerer::HostToSender:
        m_controller.Write({command.nSenderType, command.nCmdCode, command.jsonBody, command.nSourceFlags});
        return;
    default:
        ChangeShow(command);
    }
}

ResultText::Index CHostCommands::ChangeShow(const SResultData& command)
{
    const ShowChange change = FindShowChange(command.nCmdCode);
    if (!change) {
        Answer(command, ResultText::UnknownCommand);
        return ResultText::UnknownCommand;
    }
    // While the load state is 0, the module ignores the cloud's requests to switch the project and to play a scene.
    const bool switches = command.nCmdCode == Command::SwitchProject;
    if (switches)
        m_controller.SetPrjLoadState(0);
    ResultText::Index result = ResultText::Fail;
    m_events.Change(
        [&](SShow& show, std::vector<SShowEvent>& events) { result = change(show, command.jsonBody, events); });
    if (switches)
        m_controller.SetPrjLoadState(1);
    Answer(command, result);
    return result;
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
