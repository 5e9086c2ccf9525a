#pragma once

#include "ShowRemote/Peers/EnvelopePeer.h"

#include <QString>

#include <vector>

/// Requests of the app protocol as people write them on the command line.
namespace AppRequests {

/// The code of a request that is given by name, or by number as 5 or 0x5. Throws CWrongUsage.
unsigned int CodeOf(const QString& request);
/// The codes of the replies that show that a request has been handled, in no order.
std::vector<unsigned int> RepliesTo(Channel channel, unsigned int code, const QByteArray& body);

} // namespace AppRequests
