#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <string>

namespace CloudCommand {

/// Reads a text frame and returns the command in the module's form: a JSON object with the code in "cmdType". The
/// keyword in "cmd", if there is one, determines the code.
/// \return an empty object when the frame is not a command; refusal is set to the reason then
QJsonObject Read(const QByteArray& frame, QString& refusal);
/// Returns a reply in the form that the cloud service expects: {"route": ..., "data": "..."}.
QString Reply(int route, const std::string& data);

} // namespace CloudCommand
