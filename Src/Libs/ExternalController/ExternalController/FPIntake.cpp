#include "ExternalController/ExternalController.h"

#include "ExternalController/Common/CodeTable.h"
#include "ExternalController/Common/Command.h"
#include "Interfaces/ResultModel.h"
#include "Interfaces/ZXComm.h"

#include <QJsonObject>

namespace {

/// The FP controller's queries, which the senders answer.
constexpr int kRoutedFromFP[] = {
    // session
    Command::FPPairingCode,
    // stage
    Command::ProjectList,
    Command::PictureAdjustment,
    Command::PlayStateNumber,
    Command::VolumeState,
    Command::BlackScreenState,
    // scenes
    Command::SceneManagerData,
};

} // namespace

void CExternalController::RecvFPTcpMsg(std::shared_ptr<Comm::ResponsePackage> packet)
{
    if (!packet || packet->closed)
        return;

    // The packet outlives the pack that reads it.
    const CAppDataPack pack(QByteArray::fromRawData(packet->payload.data(), static_cast<int>(packet->payload.size())));
    QJsonObject body;
    pack.ReadJsonFromData(body);
    const int code = static_cast<int>(pack.GetCmdCode());
    const int senderType = code & Command::kSenderMask;

    if (HasCode(kRoutedFromFP, code))
        Write({senderType, code, body, Source::FP});
    // The host hears of an answered query too, unlike on the other channels.
    ReportToHost({senderType, code, !body.isEmpty(), body, Source::FP});
}
