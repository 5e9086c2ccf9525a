#include "ShowRemote/Console/Failure.h"

#include <asio/error.hpp>

QString AddressText(const QString& host, std::uint16_t port)
{
    return (host.contains(':') ? QStringLiteral("[%1]:%2") : QStringLiteral("%1:%2")).arg(host).arg(port);
}

QString ReasonOf(const std::error_code& error)
{
    QString reason = QString::fromLocal8Bit(error.message().c_str());
    if (!reason.isEmpty())
        reason[0] = reason[0].toLower();
    return reason;
}

CFailure CantConnect(const QString& host, std::uint16_t port, const std::error_code& error)
{
    QString text = QStringLiteral("can't connect to %1: %2").arg(AddressText(host, port), ReasonOf(error));
    if (error == asio::error::connection_refused)
        text += QStringLiteral("; is showhost running?");
    return CFailure(text);
}

CFailure CantListen(const QString& address, std::uint16_t port, const QString& reason)
{
    return CFailure(QStringLiteral("can't listen on %1: %2").arg(AddressText(address, port), reason));
}

CFailure CantResolve(const QString& host)
{
    return CFailure(QStringLiteral("can't resolve the host name \"%1\"").arg(host));
}
