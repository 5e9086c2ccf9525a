#include "ExternalController/ExternalController.h"

#include "ExternalController/Common/AppPackage.h"
#include "ExternalController/Common/CodeTable.h"
#include "ExternalController/Common/FPQueries.h"

void CExternalController::RecvFPTcpMsg(std::shared_ptr<Comm::ResponsePackage> packet)
{
    if (!packet || packet->closed)
        return;

    const SOperation request = ReadAppRequest(*packet, Source::FP);
    if (HasCode(kRoutedFromFP, request.nCmdCode))
        Write(request);
    ReportToHost(request, !request.jsonBody.isEmpty());
}
