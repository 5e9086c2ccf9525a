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
    // stage
    {StageSnapshot, "stage-snapshot"},
    {ScreenList, "screen-list"},
    {StageSnapshotAgain, "stage-snapshot-again"},
    {ProjectList, "project-list"},
    {PictureAdjustment, "picture-adjustment"},
    {MediaThumbnail, "media-thumbnail"},
    {AppControlMode, "app-control-mode"},
    {StagePreviewMode, "stage-preview-mode"},
    {WindowStreamPath, "window-stream-path"},
    {MediaList, "media-list"},
    // scenes
    {SceneManagerData, "scene-manager-data"},
    {ScenePlay, "scene-play"},
    {SceneThumbnail, "scene-thumbnail"},
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
