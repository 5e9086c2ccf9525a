#pragma once

#include "ShowRemote/Peers/EnvelopePeer.h"

#include <QByteArray>
#include <QString>

#include <chrono>

class CCommandLine;

struct SRequest {
    unsigned int code = 0;
    QByteArray body;
    Channel channel = Channel::Control;
    std::chrono::milliseconds timeout{};
    QString outFile; ///< file for the picture in the reply; empty: don't write it
};

/// Requests of the app and the FP controller. Every received message is printed to standard output.
namespace AppRequests {

/// Returns the code of a request. Throws CWrongUsage for unknown names and for codes of replies.
/// \param request a name, or a number such as 5 or 0x5
unsigned int CodeOf(const QString& request);
/// Returns the request with the code, body and timeout of the command line.
SRequest Read(const CCommandLine& line, Channel channel);

/// Sends a request, prints messages until all expected replies have arrived, and returns the body of the last reply.
/// Throws CFailure if a reply is missing, is not valid or refuses the request.
QByteArray Ask(CEnvelopePeer& peer, const SRequest& request);
/// Prints a message. Throws CFailure if it is the notice that another app has replaced this one.
void Show(const SMessage& message);

} // namespace AppRequests
