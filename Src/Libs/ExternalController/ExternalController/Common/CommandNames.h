#pragma once

#include "ExternalController/Common/Command.h"

/// What people call the requests: in the tools, their logs and the documentation.
namespace Command {

struct SName {
    Code code;
    const char* name;
};

constexpr SName kNames[] = {
    // session
    {Heartbeat, "heartbeat"},
    {Login, "login"},
    {SetHostName, "set-host-name"},
    {HostNameAndVersion, "host-name-and-version"},
    {LoginIdentity, "login-identity"},
    {PublicKey, "public-key"},
    {CheckAppId, "check-app-id"},
    {ShutDown, "shut-down"},
    {AppGone, "app-gone"},
    {FPPairingCode, "fp-pairing-code"},
    {Restart, "restart"},
    {SystemInformation, "system-information"},
    {Logs, "logs"},
    {Refresh, "refresh"},
    {ProjectExport, "project-export"},
    {ProjectName, "project-name"},
    {ScreenState, "screen-state"},
    {AppConnectState, "app-connect-state"},
    // stage
    {StageSnapshot, "stage-snapshot"},
    {ScreenList, "screen-list"},
    {SwitchProject, "switch-project"},
    {BlackScreen, "black-screen"},
    {PlayControl, "play-control"},
    {Volume, "volume"},
    {StageSnapshotAgain, "stage-snapshot-again"},
    {OpenScreens, "open-screens"},
    {ProjectList, "project-list"},
    {PlayNextOrLast, "play-next-or-last"},
    {PictureAdjustment, "picture-adjustment"},
    {Brightness, "brightness"},
    {MediaThumbnail, "media-thumbnail"},
    {AppControlMode, "app-control-mode"},
    {StagePreviewMode, "stage-preview-mode"},
    {PlayStateText, "play-state-text"},
    {StagePreviewPush, "stage-preview-push"},
    {CloseSoftware, "close-software"},
    {PlayStateNumber, "play-state-number"},
    {VolumeState, "volume-state"},
    {BlackScreenState, "black-screen-state"},
    {PreviewPath, "preview-path"},
    {SwitchHdrKind, "switch-hdr-kind"},
    {HdrState, "hdr-state"},
    {SwitchHdr, "switch-hdr"},
    {MuteState, "mute-state"},
    {Mute, "mute"},
    // stage media
    {MediaList, "media-list"},
    {MediaData, "media-data"},
    {TurnPages, "turn-pages"},
    {MuteMedia, "mute-media"},
    {WindowStreamPath, "window-stream-path"},
    // scenes
    {SceneManagerData, "scene-manager-data"},
    {SwitchSceneGroup, "switch-scene-group"},
    {MainSceneGroup, "main-scene-group"},
    {MainSceneGroupAgain, "main-scene-group-again"},
    {ScenePlay, "scene-play"},
    {SceneThumbnail, "scene-thumbnail"},
    {PlayingChapter, "playing-chapter"},
    // resources
    {ResourceList, "resource-list"},
    {ResourceItem, "resource-item"},
    {ResourceThumbnail, "resource-thumbnail"},
    {TextResource, "text-resource"},
    {FontList, "font-list"},
    {SupportedFileTypes, "supported-file-types"},
    {SharedTypeThumbnails, "shared-type-thumbnails"},
    {SharedFolderList, "shared-folder-list"},
    {ResourceUsed, "resource-used"},
    {ResourceDemuxed, "resource-demuxed"},
};

/// The name of a request code, or null for a code without one.
constexpr const char* NameOf(unsigned int code)
{
    for (const SName& entry : kNames) {
        if (static_cast<unsigned int>(entry.code) == code)
            return entry.name;
    }
    return nullptr;
}

} // namespace Command
