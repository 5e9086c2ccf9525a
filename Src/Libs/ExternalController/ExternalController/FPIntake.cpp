#include "ExternalController/ExternalController.h"

void CExternalController::RecvFPTcpMsg(std::shared_ptr<Comm::ResponsePackage>) {}
