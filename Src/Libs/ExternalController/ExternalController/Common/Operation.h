#pragma once

#include <QJsonObject>

#include <utility>

/// Keys of the sender table.
namespace SenderType {

/// The bits of a command code that are the key of its sender.
constexpr int kMask = 0xf00;

enum Key : int {
    None = -1, ///< no command code selects it
    ProjectData = 0x000,
    Stage = 0x100,
    StageMedia = 0x200, ///< second key of the stage sender
    Scene = 0x300,
    Resource = 0x400,
    ExControlDev = 0x500,
};

} // namespace SenderType

/// The channels that a request came from, to which the reply is sent. Each flag is one hexadecimal digit.
namespace Source {
enum Flag : int {
    App = 0x0001,
    FP = 0x0010,
    CentralControl = 0x0100,
    CloudControl = 0x1000,
    Every = App | FP | CentralControl | CloudControl,
};
} // namespace Source

/// A request for a sender.
struct SOperation {
    int nSenderType = SenderType::None; ///< key of the sender; for a command code its kMask bits
    int nCmdCode = -1;                  ///< the full command code, without the reply bit
    QJsonObject jsonBody;               ///< central control and the cloud: the whole message
    int nSourceFlags = Source::Every;   ///< the peers to reply to
};

/// Makes a request for the sender that the code selects.
inline SOperation MakeRequest(int cmdCode, QJsonObject body, int sourceFlags)
{
    return {cmdCode & SenderType::kMask, cmdCode, std::move(body), sourceFlags};
}
