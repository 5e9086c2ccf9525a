#pragma once

#include <QJsonObject>

#include <string>

/// What a datagram of central control asks for. Neither a message nor a refusal: it is to be passed over.
struct STextCommand {
    QJsonObject message; ///< as it came, "cmd" and "cmdType" set
    QJsonObject refusal; ///< the answer to what is no command
};

namespace TextCommand {

/// Reads a datagram: a JSON object with the keyword in "cmd", or the keyword alone, as a JSON text or bare.
STextCommand Read(const std::string& datagram);
/// "getHDR (0x196), " for the log; never what only the peer says.
std::string Describe(const STextCommand& command);

} // namespace TextCommand
