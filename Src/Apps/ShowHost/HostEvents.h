#pragma once

#include "ShowHost/PlayRecorder.h"
#include "ShowHost/ShowChanges.h"

#include <QObject>

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

/// Changes the show. Logs what happened on the stage and emits the host's signals for it: on the host's thread, each
/// once, and in the order of the changes.
class CHostEvents : public QObject {
public:
    using Edit = std::function<void(SShow& show, std::vector<SShowEvent>& events)>;

    /// Any thread. The events that the edit adds are reported when readers have the changed show. While one is
    /// reported, the host's thread reads the show that the change made; for a scene that ended, the show in which it
    /// played.
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
