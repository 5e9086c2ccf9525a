#include "ShowRemote/Peers/SocketErrors.h"

#include <asio/error.hpp>

QString ReasonOf(const asio::error_code& error)
{
    QString reason = QString::fromLocal8Bit(error.message().c_str());
    if (!reason.isEmpty())
        reason[0] = reason[0].toLower();
    return reason;
}

QString CantConnect(const QString& host, std::uint16_t port, const asio::error_code& error)
{
    QString text = QStringLiteral("can't connect to %1:%2: %3").arg(host).arg(port).arg(ReasonOf(error));
    if (error == asio::error::connection_refused)
        text += QStringLiteral("; is showhost running?");
    return text;
}

QString CantFind(const QString& host)
{
    return QStringLiteral("can't resolve the host name \"%1\"").arg(host);
}
