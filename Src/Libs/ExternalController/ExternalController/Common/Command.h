#pragma once

/// Request codes of the app protocol. The keywords of central control and the cloud are translated into these codes.
/// The bits of SenderType::kMask select the sender. A reply to the app carries the code with kReplyBit set. A code
/// without a comment is described in Docs/Protocol.md.
namespace Command {

constexpr unsigned int kReplyBit = 0x10000000;

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
    AppGone = 0x012, ///< notice to the host: the app disconnected; notice to an app: another app took over its login
    FPPairingCode = 0x013,
    Restart = 0x015,
    SystemInformation = 0x016,
    Logs = 0x017,
    Refresh = 0x018,
    ProjectExport = 0x019,
    ProjectName = 0x020,
    ScreenState = 0x021,
    AppConnectState = 0x023,

    // stage
    StageSnapshot = 0x100,
    ScreenList = 0x101,
    SwitchProject = 0x102,
    BlackScreen = 0x103,
    PlayControl = 0x104, ///< play, pause, stop or restart everything
    Volume = 0x105,
    StageSnapshotAgain = 0x107, ///< answered like StageSnapshot, but with this code
    OpenScreens = 0x108,
    ProjectList = 0x109,
    PlayNextOrLast = 0x111,
    PictureAdjustment = 0x112,
    Brightness = 0x113,
    MediaThumbnail = 0x118,
    AppControlMode = 0x119,
    StagePreviewMode = 0x121,
    PlayStateText = 0x122,
    StagePreviewPush = 0x189,
    CloseSoftware = 0x190,
    PlayStateNumber = 0x191,
    VolumeState = 0x192,
    BlackScreenState = 0x193,
    PreviewPath = 0x194,
    SwitchHdrKind = 0x195,
    HdrState = 0x196,
    SwitchHdr = 0x197,
    MuteState = 0x198,
    Mute = 0x199,

    // stage media
    MediaList = 0x200,
    MediaData = 0x201,
    TurnPages = 0x205,
    MuteMedia = 0x211,
    WindowStreamPath = 0x299,

    // scenes
    SceneManagerData = 0x300,
    SwitchSceneGroup = 0x301,
    MainSceneGroup = 0x302,
    MainSceneGroupAgain = 0x304, ///< answered like MainSceneGroup
    ScenePlay = 0x306,           ///< command to play a scene; notice to the app: another scene plays
    SceneThumbnail = 0x308,
    PlayingChapter = 0x399,

    // resources
    ResourceList = 0x400,
    ResourceItem = 0x401, ///< query from the app; notice to the host: an upload has ended
    ResourceThumbnail = 0x403,
    TextResource = 0x404,
    FontList = 0x405,
    SupportedFileTypes = 0x416,
    SharedTypeThumbnails = 0x417,
    SharedFolderList = 0x418,
    ResourceUsed = 0x421,
    ResourceDemuxed = 0x422,
};

/// The code of a reply to the app for a request with this code.
constexpr unsigned int ReplyTo(int cmdCode)
{
    return static_cast<unsigned int>(cmdCode) | kReplyBit;
}

} // namespace Command
