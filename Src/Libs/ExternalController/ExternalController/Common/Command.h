#pragma once

/// Request codes of the app protocol, which the other channels' commands are translated into.
/// The kSenderMask bits select the sender; a reply to the app carries the code with kReplyBit set.
namespace Command {

constexpr unsigned int kReplyBit = 0x10000000;
constexpr int kSenderMask = 0xf00;

enum Code : int {
    // session
    Heartbeat = 0x001,
    Login = 0x003,
    SetHostName = 0x004,
    HostNameAndVersion = 0x005,
    LoginIdentity = 0x006,
    PublicKey = 0x007,
    CheckAppId = 0x010,
    ShutDown = 0x011,
    AppGone = 0x012, ///< to the host: the app disconnected; to an app: another one took its place

    // stage
    StageSnapshot = 0x100,
    ScreenList = 0x101,
    StageSnapshotAgain = 0x107, ///< answered like StageSnapshot, under its own code
    ProjectList = 0x109,
    PictureAdjustment = 0x112,
    MediaThumbnail = 0x118,
    AppControlMode = 0x119,
    StagePreviewMode = 0x121,
    WindowStreamPath = 0x299,
    MediaList = 0x200,

    // scenes
    SceneManagerData = 0x300,
    ScenePlay = 0x306, ///< from central control and the cloud a command, to the app the notice of a change
    SceneThumbnail = 0x308,

    // resources
    ResourceList = 0x400,
    ResourceItem = 0x401, ///< from the app a query; to the host also the end of an upload
    ResourceThumbnail = 0x403,
    TextResource = 0x404,
    FontList = 0x405,
    SupportedFileTypes = 0x416,
    SharedTypeThumbnails = 0x417,
    SharedFolderList = 0x418,
    ResourceUsed = 0x421,
    ResourceDemuxed = 0x422,
};

constexpr unsigned int ReplyTo(int cmdCode)
{
    return static_cast<unsigned int>(cmdCode) | kReplyBit;
}

} // namespace Command
