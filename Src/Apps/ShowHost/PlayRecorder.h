#pragma once

#include "HostModels/Show.h"
#include "ShowHost/ShowChanges.h"

#include <QDateTime>

#include <memory>

/// Writes into the show log what was played: each medium of a scene when the scene ends. On the host's thread.
class CPlayRecorder {
public:
    void Take(const SShowEvent& event);

private:
    void Write() const;

    std::shared_ptr<const SShow> m_show; ///< as it was when the scene started
    QDateTime m_start;
};
