#include "ExternalController/ExternalController.h"

#include "ExternalController/Common/CodeTable.h"
#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/FPQueries.h"
#include "Interfaces/ResultModel.h"
#include "Interfaces/ZXComm.h"

#include <QJsonObject>

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
    ReportToHost({senderType, code, !body.isEmpty(), body, Source::FP});
}
