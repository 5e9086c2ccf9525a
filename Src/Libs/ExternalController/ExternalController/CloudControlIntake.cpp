#include "ExternalController/ExternalController.h"

void CExternalController::CloudControlConnect() {}

void CExternalController::CloudControlLogin(const QString&, const QString&, const QString&) {}

void CExternalController::RecvCloudControlMsg(QJsonObject&) {}
