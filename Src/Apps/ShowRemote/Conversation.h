#pragma once

#include "ShowRemote/AppClient.h"

#include <QByteArray>
#include <QString>

#include <chrono>
#include <vector>

struct SRequest {
    unsigned int code = 0;
    QByteArray body;
    AppServer::Channel channel = AppServer::Control;
    std::chrono::milliseconds timeout{};
    QString outFile; ///< for bytes that replies carry; may be empty
};

/// The app's talk with a host, with everything that comes shown on standard output.
namespace Conversation {

void ConnectBoth(CAppClient& client, const QString& host, std::chrono::milliseconds timeout);
/// Sends a request and shows what comes until all that is expected has come; returns all of it.
std::vector<SAppMessage> Ask(CAppClient& client, const SRequest& request);
/// Bytes that the message carries are written to outFile unless that is empty.
void Show(const SAppMessage& message, const QString& outFile = {});

} // namespace Conversation
