#pragma once

#include <QByteArray>
#include <QHash>
#include <QHostAddress>

/// The head of a request of HTTP/1.1 (RFC 9112).
struct SHttpRequest {
    QByteArray method;
    QByteArray target;
    QHash<QByteArray, QByteArray> fields; ///< by their names in lower case
    bool isWellFormed = false;            ///< if not, the other members are incomplete

    bool AsksForWebSocket() const { return fields.value("upgrade").toLower() == "websocket"; }
};

/// Parses a head. Line folding and repeated fields are malformed.
/// \param head without the empty line at its end
SHttpRequest ParseHttpHead(const QByteArray& head);

/// Returns "127.0.0.1:25512" or "[::1]:25512": the form of an address in a URL and in the field Host.
QByteArray AuthorityOf(const QHostAddress& address, quint16 port);

/// Returns the status line to refuse the request with, such as "403 Forbidden", or null if it is allowed.
///
/// The field Host must name the address of the server or localhost. Otherwise a web site could make its own name
/// resolve to this address, and its scripts could read the page (DNS rebinding). For the same reason, and because a
/// browser lets every site open WebSockets to every address, the field Origin of a WebSocket must be the page's own.
/// \param local the server's end of the connection
const char* RefusalOf(const SHttpRequest& request, const QHostAddress& local, quint16 port);
