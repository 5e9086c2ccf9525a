#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

/// The host's replies to the cloud, by route.
namespace CloudReplies {

struct SReply {
    int route = 0;
    QString fault; ///< why the reply is a failure; empty if it isn't one
};

/// Returns the routes of the replies that show that a command has been handled, in no particular order. Empty for a
/// command without a reply.
std::vector<int> RoutesOf(unsigned int code);

/// Prints a reply and, unless outFolder is empty, writes its content to a file in that folder. Throws CFailure if the
/// frame is not a reply. The file's name depends only on the route and, for a picture, on its type and its valid id, so
/// the file is always inside the folder.
SReply Show(const QByteArray& frame, const QString& outFolder);

} // namespace CloudReplies
