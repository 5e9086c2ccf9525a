#include "ExternalController/ExternalController.h"

void CExternalController::RecvContralControllerUdpMsg(QJsonObject&) {}
