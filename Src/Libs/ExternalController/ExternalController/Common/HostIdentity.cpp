#include "ExternalController/Common/HostIdentity.h"

#include "ExternalController/Common/HostModel.h"

#include <QByteArray>
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

CAdapters::CAdapters()
{
    ULONG bytes = 0;
    if (GetAdaptersInfo(nullptr, &bytes) == ERROR_BUFFER_OVERFLOW)
        Read(bytes);
}

CAdapters::CAdapters(ULONG bytes)
{
    Read(bytes);
}

void CAdapters::Read(ULONG bytes)
{
    // A vector of records instead of bytes, so that the records are aligned.
    m_records.resize((bytes + sizeof(IP_ADAPTER_INFO) - 1) / sizeof(IP_ADAPTER_INFO));
    if (GetAdaptersInfo(m_records.data(), &bytes) != NO_ERROR)
        m_records.clear();
}

QString MacText(const IP_ADAPTER_INFO& adapter, std::size_t bytes)
{
    const QByteArray mac(reinterpret_cast<const char*>(adapter.Address), static_cast<int>(bytes));
    return QString::fromLatin1(mac.toHex('-').toUpper());
}
