#include "ExternalController/Common/HostIdentity.h"

#include "ExternalController/Common/HostModel.h"

#include <QHostAddress>
#include <QHostInfo>
#include <QNetworkInterface>

QString GetHostName()
{
    const auto setting = GetModel(&CGlobalModel::GetSoftwareSetting);
    QString name = ReadFrom(setting, &CZXSoftwareSettingData::LoadHostName);
    if (!name.isEmpty())
        return name;
    // Asked once: a machine that is renamed is known by its new name after the host's next start.
    static const QString machineName = QHostInfo::localHostName();
    return machineName;
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
