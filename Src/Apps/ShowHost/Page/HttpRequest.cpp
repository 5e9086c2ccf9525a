#include "ShowHost/Page/HttpRequest.h"

SHttpRequest ParseHttpHead(const QByteArray& head)
{
    SHttpRequest request;
    const QList<QByteArray> lines = head.split('\n');
    const QList<QByteArray> first = lines.constFirst().trimmed().split(' ');
    if (first.size() != 3 || first[2] != "HTTP/1.1")
        return request;
    request.method = first[0];
    request.target = first[1];
    for (int i = 1; i < lines.size(); ++i) {
        const int colon = lines[i].indexOf(':');
        const QByteArray name = lines[i].left(colon).toLower();
        if (colon < 1 || name.contains(' ') || name.contains('\t') || request.fields.contains(name))
            return request;
        request.fields.insert(name, lines[i].mid(colon + 1).trimmed());
    }
    request.isWellFormed = true;
    return request;
}

QByteArray AuthorityOf(const QHostAddress& address, quint16 port)
{
    bool isIPv4 = false; // also true for an IPv4 address in the form of IPv6, which a server on all addresses gets
    const QHostAddress ipv4(address.toIPv4Address(&isIPv4));
    const QString text = isIPv4 ? ipv4.toString() : '[' + address.toString() + ']';
    return text.toLatin1() + ':' + QByteArray::number(port);
}

const char* RefusalOf(const SHttpRequest& request, const QHostAddress& local, quint16 port)
{
    const auto has = [&](const char* field) { return request.fields.contains(field); };
    if (!request.isWellFormed || has("content-length") || has("transfer-encoding"))
        return "400 Bad Request";
    const QByteArray host = request.fields.value("host").toLower();
    if (host != AuthorityOf(local, port) && host != "localhost:" + QByteArray::number(port))
        return "403 Forbidden";
    if (request.method != "GET" && request.method != "HEAD")
        return "405 Method Not Allowed";
    if (request.target != "/live")
        return nullptr;
    if (!request.AsksForWebSocket() || request.method != "GET")
        return "426 Upgrade Required";
    return request.fields.value("origin").toLower() == "http://" + host ? nullptr : "403 Forbidden";
}
