#pragma once

#include "ShowRemote/Peers/EnvelopePeer.h"

#include <QString>

#include <vector>

/// Requests of the app protocol as they are written on the command line.
namespace AppRequests {

/// Returns the code of a request. Throws CWrongUsage for unknown names and for codes of replies.
/// \param request a name, or a number such as 5 or 0x5
unsigned int CodeOf(const QString& request);
/// Returns the codes of the replies that show that a request has been handled, in no particular order.
std::vector<unsigned int> RepliesTo(Channel channel, unsigned int code, const QByteArray& body);

} // namespace AppRequests
