#pragma once

/// The host's numbers for the state of the stage, as CPlayController::GetGlobalPlayState returns them.
namespace PlayState {
enum State : int {
    Playing = 0,
    Paused = 1,
    Stopped = 2,
};
} // namespace PlayState
