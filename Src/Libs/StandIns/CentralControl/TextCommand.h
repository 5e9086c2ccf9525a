#pragma once

#include <QJsonObject>

#include <string>

/// Content of a datagram from central control. If both members are empty the datagram is to be ignored.
struct STextCommand {
    QJsonObject message; ///< the received object, with "cmd" and "cmdType" set
    QJsonObject refusal; ///< the reply to a datagram that is not a known command
};

namespace TextCommand {

/// Reads a datagram: a JSON object with the keyword in "cmd", or only the keyword, as a JSON string or without quotes.
STextCommand Read(const std::string& datagram);

} // namespace TextCommand
