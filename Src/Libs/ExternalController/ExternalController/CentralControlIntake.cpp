#include "ExternalController/ExternalController.h"

#include "ExternalController/Common/CodeTable.h"
#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/DebugLog.h"

#include <QJsonObject>

namespace {

/// Central control's queries, which the senders answer. Everything else changes the show: that is the host's.
constexpr int kRoutedFromCentralControl[] = {
    // session
    Command::ProjectName,
    Command::ScreenState,
    Command::AppConnectState,
    // stage
    Command::PictureAdjustment,
    Command::PlayStateText,
    Command::BlackScreenState,
    Command::PreviewPath,
    Command::HdrState,
    Command::MuteState,
    // stage media
    Command::WindowStreamPath,
    // scenes
    Command::PlayingChapter,
};

} // namespace

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
    if (HasCode(kRoutedFromCentralControl, code)) {
        Write(request);
        return;
    }
    if (code == Command::CloseSoftware)
        emit signalCloseSoftWare(false);
    ReportToHost(request);
}
