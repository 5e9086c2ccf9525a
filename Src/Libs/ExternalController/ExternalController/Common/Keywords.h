#pragma once

#include "ExternalController/Common/Command.h"

#include <QString>

#include <map>

// The keywords of central control and the cloud. Their spelling is fixed by the protocol.

/// The code of a keyword that is known but has no command.
constexpr int kNoCommand = 0;

/// The keywords of central control. Several keywords share a code; the message's body has the direction or value.
inline const std::map<QString, int> CenterControlCmdMap = {
    {"shutdown", Command::ShutDown},
    {"switchProject", Command::SwitchProject},
    {"openProject", Command::SwitchProject},
    {"CloseSoftware", Command::CloseSoftware},
    {"OpenAllScreen", Command::OpenScreens},
    {"CloseAllScreen", Command::OpenScreens},
    {"continueAll", Command::PlayControl},
    {"pauseAll", Command::PlayControl},
    {"restartAll", Command::PlayControl},
    {"getPlayingChapter", Command::PlayingChapter},
    {"stopWnd", kNoCommand},
    {"playMedia", kNoCommand},
    {"pauseMedia", kNoCommand},
    {"restartMedia", kNoCommand},
    {"stopMedia", kNoCommand},
    {"getPos", kNoCommand},
    {"getNode", kNoCommand},
    {"getPlayingNode", kNoCommand},
    {"getPausingNode", kNoCommand},
    {"playNext", Command::PlayNextOrLast},
    {"playLast", Command::PlayNextOrLast},
    {"switchSceneGroup", Command::SwitchSceneGroup},
    {"playScene", Command::ScenePlay},
    {"globalMute", Command::Mute},
    {"globalUnMute", Command::Mute},
    {"globalMuteState", Command::MuteState},
    {"globalVolume", Command::Volume},
    {"adjustVolume", Command::Volume},
    {"mute", kNoCommand},
    {"muteWnd", kNoCommand}, // muteWnd and unmuteWnd are commands of the cloud only
    {"unmuteWnd", kNoCommand},
    {"muteAllWnd", kNoCommand},
    {"unmuteAllWnd", kNoCommand},
    {"increaseVolume", kNoCommand},
    {"getMuteWnd", kNoCommand},
    {"getAllMuteWnd", kNoCommand},
    {"globalBrightness", Command::Brightness},
    {"blackAll", Command::BlackScreen},
    {"getGlobalBrightness", Command::PictureAdjustment},
    {"getBlackAll", Command::BlackScreenState},
    {"turnPPT", kNoCommand},
    {"turnAllPPT", Command::TurnPages},
    {"openHDR", Command::SwitchHdr},
    {"closeHDR", Command::SwitchHdr},
    {"switchSoftwareHDR", Command::SwitchHdrKind},
    {"switchHardwareHDR", Command::SwitchHdrKind},
    {"getHDR", Command::HdrState},
    {"getPreviewPath", Command::PreviewPath},
    {"getWindowStreamPath", Command::WindowStreamPath},
    {"getProjectName", Command::ProjectName},
    {"getScreenStateByIndex", Command::ScreenState},
    {"getGlobalPlayState", Command::PlayStateText},
    {"getAppConnectState", Command::AppConnectState},
};

/// The keywords of the cloud.
inline const std::map<QString, int> CloudControlCmdMap = {
    {"globleBrightness", Command::Brightness}, // the spelling that the cloud uses
    {"refresh", Command::Refresh},
    {"reboot", Command::Restart},
    {"switchProject", Command::SwitchProject},
    {"downLoadLog", Command::Logs},
    {"playScene", Command::ScenePlay},
    {"playNext", Command::PlayNextOrLast},
    {"playLast", Command::PlayNextOrLast},
    {"stop", Command::PlayControl},
    {"pauseAll", Command::PlayControl},
    {"muteWnd", Command::MuteMedia},
    {"unmuteWnd", Command::MuteMedia},
    {"globalVolume", Command::Volume},
};
