#include "ShowHost/HostCommands.h"

#include "ExternalController/Common/CommandNames.h"
#include "ExternalController/ExternalController.h"
#include "HostModels/HostModels.h"
#include "ShowHost/HostLog.h"

CHostCommands::CHostCommands(CExternalController& controller, CHostLog& log) : m_controller(controller), m_log(log) {}

void CHostCommands::CarryOut(const SResultData& command)
{
    switch (command.nCmdCode) {
    case Command::SetHostName:
        HandBack(command);
        break;
    case Command::ResourceItem:
        if (command.jsonBody.contains("resourcePath"))
            TakeUpload(command);
        else
            HandBack(command);
        break;
    case Command::Login:
        HostModels::UserModel().SetConnectState(true);
        m_log.Print("host: " + HostModels::UserModel().GetCurrentLoginUser() + " logged in");
        break;
    case Command::AppGone:
        m_log.Print("host: the app is gone");
        break;
    default:
        const char* name = Command::NameOf(static_cast<unsigned int>(command.nCmdCode));
        m_log.Print(QStringLiteral("host: passes over %1 (0x%2)")
                        .arg(QLatin1String(name ? name : "an unknown command"))
                        .arg(static_cast<unsigned int>(command.nCmdCode), 3, 16, QLatin1Char('0')));
    }
}

void CHostCommands::HandBack(const SResultData& command)
{
    m_controller.Write({command.nSenderType, command.nCmdCode, command.jsonBody, command.nSourceFlags});
}

void CHostCommands::TakeUpload(const SResultData& command)
{
    m_log.Print("host: uploaded " + command.jsonBody["resourcePath"].toString());
}
