#include "ShowHost/HostAndPort.h"

#include "HostModels/Files/JsonFile.h"

std::pair<std::string, std::uint16_t> ReadHostAndPort(const std::string& option, const QString& text)
{
    const int colon = text.lastIndexOf(':');
    const std::uint16_t port = text.mid(colon + 1).toUShort();
    QString host = text.left(colon);
    if (host.startsWith('[') && host.endsWith(']'))
        host = host.mid(1, host.size() - 2);
    else if (host.contains(':'))
        host.clear();
    if (colon < 0 || port == 0 || host.isEmpty())
        throw CFileError(option + ": expected HOST:PORT, got \"" + text.toStdString() + '"');
    return {host.toStdString(), port};
}
