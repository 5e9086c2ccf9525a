#pragma once

#include "ShowRemote/Peers/EnvelopePeer.h"

#include <QByteArray>
#include <QString>

#include <chrono>

struct SRequest {
    unsigned int code = 0;
    QByteArray body;
    Channel channel = Channel::Control;
    std::chrono::milliseconds timeout{};
    QString outFile; ///< file for the picture in the reply; empty: don't write it
};

/// Requests to a host. Every received message is printed to standard output.
namespace Conversation {

/// Connects the control and the bulk channel of the app. Throws CFailure if a connection fails.
void ConnectBoth(CEnvelopePeer& peer, const QString& host, std::chrono::milliseconds timeout);
/// Sends a request, prints messages until all expected replies have arrived, and returns the body of the last reply.
/// Throws CFailure if a reply is missing, is not valid or refuses the request.
QByteArray Ask(CEnvelopePeer& peer, const SRequest& request);
/// Prints a message.
void Show(const SMessage& message);

} // namespace Conversation
