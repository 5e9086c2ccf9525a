#pragma once

#include "ShowHost/PlayRecorder.h"
#include "ShowHost/ShowChanges.h"

#include <QObject>

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

/// Changes the show. For each event of a change, writes the show log and emits the host's signal, on the host's thread,
/// once and in the order of the changes. Create it on the host's thread.
class CHostEvents : public QObject {
public:
    using Edit = std::function<void(SShow& show, std::vector<SShowEvent>& events)>;

    /// Changes the show and queues the events that the edit adds. Events are reported after the changed show is
    /// published. While an event is reported, the host's thread reads the show that the change produced; for a scene
    /// that ended, it reads the show before the change. Any thread.
    void Change(const Edit& edit);

protected:
    void customEvent(QEvent* event) override;

private:
    struct SReport {
        SShowEvent event;
        std::shared_ptr<const SShow> show;
    };

    std::mutex m_mutex;
    std::deque<SReport> m_reports;
    CPlayRecorder m_recorder;
};
