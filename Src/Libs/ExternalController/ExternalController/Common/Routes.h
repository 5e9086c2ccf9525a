#pragma once

#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/Operation.h"

/// Who answers a request.
enum class Answerer {
    Intake,        ///< the receive function of the channel, without a sender
    Sender,        ///< the message sender that the code selects
    SenderAndHost, ///< that sender; the host receives the request too, but must not answer it
    Host,          ///< the host, which executes the command
    HostToSender,  ///< that sender, after the host has passed the request back with Write
};

/// The channels on which a request is allowed, and who answers it there.
struct SRoute {
    Command::Code code;
    int askers; ///< Source flags
    Answerer answerer;
};

constexpr SRoute kRoutes[] = {
    // session
    {Command::Heartbeat, Source::App, Answerer::Intake},
    {Command::Login, Source::App, Answerer::Intake},
    {Command::SetHostName, Source::App, Answerer::HostToSender},
    {Command::HostNameAndVersion, Source::App, Answerer::Sender},
    {Command::LoginIdentity, Source::App, Answerer::Sender},
    {Command::PublicKey, Source::App, Answerer::Intake},
    {Command::CheckAppId, Source::App, Answerer::Sender},
    {Command::ShutDown, Source::App | Source::CentralControl, Answerer::Intake},
    {Command::FPPairingCode, Source::FP, Answerer::SenderAndHost},
    {Command::Restart, Source::CloudControl, Answerer::Intake},
    {Command::SystemInformation, Source::CloudControl, Answerer::Sender},
    {Command::Logs, Source::CloudControl, Answerer::Sender},
    {Command::Refresh, Source::CloudControl, Answerer::Intake},
    {Command::ProjectExport, Source::CloudControl, Answerer::Sender},
    {Command::ProjectName, Source::CentralControl, Answerer::Sender},
    {Command::ScreenState, Source::CentralControl, Answerer::Sender},
    {Command::AppConnectState, Source::CentralControl, Answerer::Sender},

    // stage
    {Command::StageSnapshot, Source::App, Answerer::Sender},
    {Command::ScreenList, Source::App, Answerer::Sender},
    {Command::SwitchProject, Source::Every, Answerer::Host},
    {Command::BlackScreen, Source::Every, Answerer::Host},
    {Command::PlayControl, Source::Every, Answerer::Host},
    {Command::Volume, Source::Every, Answerer::Host},
    {Command::StageSnapshotAgain, Source::App, Answerer::Sender},
    {Command::OpenScreens, Source::Every, Answerer::Host},
    {Command::ProjectList, Source::App, Answerer::Sender},
    {Command::ProjectList, Source::FP, Answerer::SenderAndHost},
    {Command::PlayNextOrLast, Source::Every, Answerer::Host},
    {Command::PictureAdjustment, Source::App | Source::CentralControl, Answerer::Sender},
    {Command::PictureAdjustment, Source::FP, Answerer::SenderAndHost},
    {Command::Brightness, Source::Every, Answerer::Host},
    {Command::MediaThumbnail, Source::App, Answerer::Sender},
    {Command::AppControlMode, Source::App, Answerer::Sender},
    {Command::StagePreviewMode, Source::App, Answerer::Sender},
    {Command::PlayStateText, Source::CentralControl, Answerer::Sender},
    {Command::StagePreviewPush, Source::CloudControl, Answerer::Sender},
    {Command::CloseSoftware, Source::Every, Answerer::Host},
    {Command::PlayStateNumber, Source::FP, Answerer::SenderAndHost},
    {Command::VolumeState, Source::FP, Answerer::SenderAndHost},
    {Command::BlackScreenState, Source::FP, Answerer::SenderAndHost},
    {Command::BlackScreenState, Source::CentralControl, Answerer::Sender},
    {Command::PreviewPath, Source::CentralControl, Answerer::Sender},
    {Command::SwitchHdrKind, Source::Every, Answerer::Host},
    {Command::HdrState, Source::CentralControl, Answerer::Sender},
    {Command::SwitchHdr, Source::Every, Answerer::Host},
    {Command::MuteState, Source::CentralControl, Answerer::Sender},
    {Command::Mute, Source::Every, Answerer::Host},

    // stage media
    {Command::MediaList, Source::App, Answerer::Sender},
    {Command::MediaData, Source::App, Answerer::HostToSender},
    {Command::TurnPages, Source::Every, Answerer::Host},
    {Command::MuteMedia, Source::App | Source::FP | Source::CloudControl, Answerer::Host},
    {Command::WindowStreamPath, Source::CentralControl, Answerer::Sender},

    // scenes
    {Command::SceneManagerData, Source::App, Answerer::Sender},
    {Command::SceneManagerData, Source::FP, Answerer::SenderAndHost},
    {Command::SwitchSceneGroup, Source::Every, Answerer::Host},
    {Command::MainSceneGroup, Source::App | Source::FP, Answerer::HostToSender},
    {Command::MainSceneGroupAgain, Source::App | Source::FP, Answerer::HostToSender},
    {Command::ScenePlay, Source::Every, Answerer::Host},
    {Command::SceneThumbnail, Source::App, Answerer::Sender},
    {Command::PlayingChapter, Source::CentralControl, Answerer::Sender},

    // resources
    {Command::ResourceList, Source::App, Answerer::Sender},
    {Command::ResourceItem, Source::App, Answerer::HostToSender},
    {Command::ResourceThumbnail, Source::App, Answerer::Sender},
    {Command::TextResource, Source::App, Answerer::Sender},
    {Command::FontList, Source::App, Answerer::Sender},
    {Command::SupportedFileTypes, Source::App, Answerer::Sender},
    {Command::SharedTypeThumbnails, Source::App, Answerer::Sender},
    {Command::SharedFolderList, Source::App, Answerer::Sender},
};

/// Returns who answers a request with this code from a channel with one of the source flags. A code that is not in the
/// table is passed to the host, which rejects unknown commands.
constexpr Answerer AnswererOf(int cmdCode, int askers)
{
    for (const SRoute& route : kRoutes) {
        if (route.code == cmdCode && (route.askers & askers) != 0)
            return route.answerer;
    }
    return Answerer::Host;
}
