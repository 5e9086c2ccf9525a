#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

/// What the host sends to the cloud, by route.
namespace CloudReplies {

/// The routes of the replies that show that a command has been dealt with, in no order. Empty for a command that the
/// host carries out: it answers none.
std::vector<int> RoutesOf(unsigned int code);

/// Shows a reply and returns its route; files of what it carries go to this folder unless it is empty. What is no
/// reply is thrown as CFailure.
int Show(const QByteArray& frame, const QString& outFolder);

} // namespace CloudReplies
