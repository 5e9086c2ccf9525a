#include "ExternalController/ExternalController.h"

#include "ExternalController/Common/AppPackage.h"
#include "ExternalController/Common/Routes.h"

void CExternalController::RecvFPTcpMsg(std::shared_ptr<Comm::ResponsePackage> packet)
{
    if (!packet || packet->closed)
        return;

    const SOperation request = ReadAppRequest(*packet, Source::FP);
    if (AnswererOf(request.nCmdCode, Source::FP) == Answerer::SenderAndHost)
        Write(request);
    // The host receives every packet of this channel, also those that a sender answers.
    ReportToHost(request, !request.jsonBody.isEmpty());
}
