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
    QString outFile; ///< for the picture that a reply carries; may be empty
};

/// The talk with a host, with everything that comes shown on standard output.
namespace Conversation {

void ConnectBoth(CEnvelopePeer& peer, const QString& host, std::chrono::milliseconds timeout);
/// Sends a request and shows what comes until all expected replies have come; returns the body of the last one. Throws
/// CFailure if a reply is missing, is not what it should be or refuses the request.
QByteArray Ask(CEnvelopePeer& peer, const SRequest& request);
void Show(const SMessage& message);

} // namespace Conversation
