#pragma once

#include <QJsonObject>

/// Where a request came from and its reply goes: one hexadecimal digit a channel.
namespace Source {
enum Flag : int {
    App = 0x0001,
    FP = 0x0010,
    CentralControl = 0x0100,
    CloudControl = 0x1000,
    Every = App | FP | CentralControl | CloudControl,
};
} // namespace Source

/// A request on its way to the sender that answers it.
struct SOperation {
    int nSenderType = -1; ///< key of the sender; for a command code its Command::kSenderMask bits
    int nCmdCode = -1;    ///< the full command code, without the reply bit
    QJsonObject jsonBody;
    int nSourceFlags = Source::Every;
};
