#include "ExternalController/ExternalController.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/DebugLog.h"
#include "ExternalController/Common/Routes.h"

#include <QJsonObject>

void CExternalController::RecvContralControllerUdpMsg(QJsonObject& message)
{
    if (message.isEmpty())
        return;

    const int code = message.value(QLatin1String("cmdType")).toInt();
    const SOperation request = MakeRequest(code, message, Source::CentralControl);
    if (code == Command::ShutDown) {
        DebugLog() << "Recv ShutDown msg";
        emit signalCloseSoftWare(true);
        return;
    }
    if (AnswererOf(code, Source::CentralControl) == Answerer::Sender) {
        Write(request);
        return;
    }
    if (code == Command::CloseSoftware)
        emit signalCloseSoftWare(false);
    ReportToHost(request);
}
