#include "ExternalController/Common/HostIdentity.h"

#include "ExternalController/Common/HostModel.h"

#include <QHostAddress>
#include <QHostInfo>
#include <QNetworkInterface>

QString GetHostName()
{
    const auto setting = GetModel(&CGlobalModel::GetSoftwareSetting);
    const QString name = ReadFrom(setting, &CZXSoftwareSettingData::LoadHostName);
    return name.isEmpty() ? QHostInfo::localHostName() : name;
}

QString GetLocalIPv4()
{
    const QHostAddress loopback(QHostAddress::LocalHost);
    const QList<QHostAddress> addresses = QNetworkInterface::allAddresses();
    for (const QHostAddress& address : addresses) {
        if (address != loopback && address.toIPv4Address() != 0)
            return address.toString();
    }
    return loopback.toString();
}
