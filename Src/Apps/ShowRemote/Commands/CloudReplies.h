#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

/// What the host sends to the cloud, by route.
namespace CloudReplies {

struct SReply {
    int route = 0;
    QString fault; ///< why the reply is not what was asked for; empty if it is
};

/// The routes of the replies that show that a command has been handled, in no order. Empty for a command that the host
/// carries out: it sends no answer.
std::vector<int> RoutesOf(unsigned int code);

/// Shows a reply, and writes what it carries to a file in outFolder unless that is empty. Only the reply's route and,
/// of a picture, its type and a valid id choose the file's name, so it is always inside the folder. Throws CFailure if
/// the frame is not a reply.
SReply Show(const QByteArray& frame, const QString& outFolder);

} // namespace CloudReplies
