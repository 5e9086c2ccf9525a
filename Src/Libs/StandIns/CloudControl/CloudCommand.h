#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <string>

namespace CloudCommand {

/// A command as the module takes it: an object with "cmdType", which the keyword in "cmd" stands for if there is one.
/// Empty for a frame that is no command; refusal says why then.
QJsonObject Read(const QByteArray& frame, QString& refusal);
/// A reply as the cloud takes it: {"route": ..., "data": "..."}.
QString Reply(int route, const std::string& data);

} // namespace CloudCommand
