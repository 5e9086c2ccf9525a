#pragma once

#include "HostModels/Show/Show.h"
#include "ShowHost/ShowChanges.h"

#include <QDateTime>

#include <memory>

/// Writes a record to the show log for each medium of a scene when the scene ends. Use it on the host's thread.
class CPlayRecorder {
public:
    /// If the loaded show has a current scene that is not stopped, recording of this scene starts now.
    CPlayRecorder();
    /// Records the scene that is still playing, if any.
    ~CPlayRecorder();
    CPlayRecorder(const CPlayRecorder&) = delete;
    CPlayRecorder& operator=(const CPlayRecorder&) = delete;

    /// Handles SceneStarted and SceneEnded; ignores other events.
    /// \param show the show at the time of the event
    void Take(const SShowEvent& event, const std::shared_ptr<const SShow>& show);

private:
    void Begin(std::shared_ptr<const SShow> show, const QUuid& groupId, const QUuid& sceneId);
    void End();

    // The state when the scene started.
    std::shared_ptr<const SShow> m_show;
    const SScene* m_scene = nullptr; ///< null if no scene is playing
    QDateTime m_start;
};
