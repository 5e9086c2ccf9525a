#pragma once

#include "ShowRemote/EnvelopePeer.h"

#include <QByteArray>
#include <QString>

#include <chrono>
#include <vector>

struct SRequest {
    unsigned int code = 0;
    QByteArray body;
    Channel channel = Channel::Control;
    std::chrono::milliseconds timeout{};
    QString outFile; ///< for bytes that replies carry; may be empty
};

/// The talk with a host, with everything that comes shown on standard output.
namespace Conversation {

void ConnectBoth(CEnvelopePeer& peer, const QString& host, std::chrono::milliseconds timeout);
/// Sends a request and shows what comes until all that is expected has come; returns all of it.
std::vector<SMessage> Ask(CEnvelopePeer& peer, const SRequest& request);
/// Bytes that the message carries are written to outFile unless that is empty.
void Show(const SMessage& message, const QString& outFile = {});

} // namespace Conversation
