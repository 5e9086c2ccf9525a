#pragma once

#include "HostModels/Show/Show.h"
#include "ShowHost/ShowChanges.h"

#include <QDateTime>

#include <memory>

/// Writes into the show log what was played: each medium of a scene when the scene ends. On the host's thread.
class CPlayRecorder {
public:
    /// A scene that the show was loaded with and that isn't stopped begins to play now.
    CPlayRecorder();
    /// One that still plays ends.
    ~CPlayRecorder();
    CPlayRecorder(const CPlayRecorder&) = delete;
    CPlayRecorder& operator=(const CPlayRecorder&) = delete;

    /// show: in which it happened.
    void Take(const SShowEvent& event, const std::shared_ptr<const SShow>& show);

private:
    void Begin(std::shared_ptr<const SShow> show, const QUuid& groupId, const QUuid& sceneId);
    void End();

    // As they were when the scene started.
    std::shared_ptr<const SShow> m_show;
    const SScene* m_scene = nullptr; ///< null when none plays
    QDateTime m_start;
};
