#pragma once

#include "ShowHost/PlayRecorder.h"
#include "ShowHost/ShowChanges.h"

#include <QObject>

#include <deque>
#include <mutex>
#include <vector>

/// Logs what happened on the stage and emits the host's signals for it: on the host's thread, each once, and in the
/// order in which it happened.
class CHostEvents : public QObject {
public:
    /// Any thread. Call it where the show is being changed, so that the order is that of the changes.
    void Add(const std::vector<SShowEvent>& events);

protected:
    void customEvent(QEvent* event) override;

private:
    std::mutex m_mutex;
    std::deque<SShowEvent> m_events;
    CPlayRecorder m_recorder;
};
