#pragma once

#include "ExternalController/Common/Command.h"

/// The FP controller's queries, which the senders answer. The host hears of them too, unlike on the other channels, and
/// need not answer again.
constexpr int kRoutedFromFP[] = {
    // session
    Command::FPPairingCode,
    // stage
    Command::ProjectList,
    Command::PictureAdjustment,
    Command::PlayStateNumber,
    Command::VolumeState,
    Command::BlackScreenState,
    // scenes
    Command::SceneManagerData,
};
