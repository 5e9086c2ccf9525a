#include "ShowHost/HostCommands.h"

#include "ExternalController/Common/CommandNames.h"
#include "ExternalController/Common/FileType.h"
#include "ExternalController/Common/Routes.h"
#include "ExternalController/ExternalController.h"
#include "HostModels/HostModels.h"
#include "ShowHost/HostLog.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QEvent>
#include <QFileInfo>
#include <QImageReader>

#include <utility>

namespace {

QString NameOf(int cmdCode)
{
    const auto code = static_cast<unsigned int>(cmdCode);
    const char* name = Command::NameOf(code);
    return QStringLiteral("%1 (0x%2)").arg(QLatin1String(name ? name : "unknown")).arg(code, 3, 16, QLatin1Char('0'));
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

CHostCommands::CHostCommands(CExternalController& controller, CHostLog& log, QString uploadFolder)
    : m_controller(controller), m_log(log), m_uploadFolder(std::move(uploadFolder))
{}

void CHostCommands::CarryOut(const SResultData& command)
{
    const QString uploaded = command.jsonBody["resourcePath"].toString();
    switch (command.nCmdCode) {
    case Command::Login:
        HostModels::UserModel().SetConnectState(true);
        m_log.Print("host: " + HostModels::UserModel().GetCurrentLoginUser() + " logged in");
        return;
    case Command::AppGone:
        m_log.Print("host: the app is gone");
        return;
    case Command::CloseSoftware:
        Answer(command, ResultText::Success);
        Quit();
        return;
    default:
        break;
    }
    if (command.nCmdCode == Command::ResourceItem && !uploaded.isEmpty())
        TakeUpload(uploaded);
    else
        Route(command);
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
    HostModels::Show().Change([&](SShow& show) {
        std::vector<SShowEvent> events;
        result = change(show, command.jsonBody, events);
        m_events.Add(events);
    });
    if (switches)
        m_controller.SetPrjLoadState(1);
    Answer(command, result);
}

void CHostCommands::Answer(const SResultData& command, ResultText::Index result)
{
    const std::string& text = ResultTextMap.at(result);
    const ControlSource::Index source = SourceOf(command.nSourceFlags);
    m_log.Print(QStringLiteral("host: %1: %2: %3")
                    .arg(QString::fromStdString(ControlSourceNameMap.at(source)), NameOf(command.nCmdCode),
                         QString::fromStdString(text)));
    HostModels::ShowLog().Add(SOPRecord{QDateTime::currentDateTime().toString(kLogTimeFormat),
                                        LogModuleOf(command.nCmdCode), NameOf(command.nCmdCode),
                                        QString::fromStdString(text), source});
    m_controller.Write(CExternalController::MakeAnswer(command, result));
}

void CHostCommands::TakeUpload(const QString& path)
{
    m_log.Print("host: uploaded " + path);
    const QFileInfo file(QDir(m_uploadFolder), path);
    const int type = GetFileResType(file.fileName());
    if (type < 0) {
        m_log.Print("host: no resource: nothing plays such a file");
        return;
    }
    if (!HostModels::Show().Current()->Project()) {
        m_log.Print("host: no resource: no project is open");
        return;
    }
    SResourceProperties resource;
    resource.id = QUuid::createUuid();
    resource.type = type;
    resource.name = file.fileName();
    resource.path = file.absoluteFilePath();
    HostModels::Show().Change([&](SShow& show) { AddResource(show, resource); });

    const QSize resolution = QImageReader(resource.path).size();
    HostModels::Show().Change([&](SShow& show) {
        std::vector<SShowEvent> events;
        Demux(show, resource.id, resolution.isValid() ? resolution : QSize(), events);
        m_events.Add(events);
    });
}
