#pragma once

#include "HostModels/Show.h"
#include "HostModels/Snapshot.h"

#include <memory>
#include <utility>

/// The show that the host has loaded. Any thread may read and edit it.
class CHostShow {
public:
    static CHostShow& GetInstance();

    std::shared_ptr<const SShow> Current() const { return m_show.Read(); }
    void Load(SShow show)
    {
        m_show.Change([&](SShow& current) { current = std::move(show); });
    }
    /// Calls edit(SShow&) with a copy and makes that the show; then, if it is given, published(before, after) as
    /// CSnapshot does.
    template <class... Calls>
    void Change(Calls&&... calls)
    {
        m_show.Change(std::forward<Calls>(calls)...);
    }

    /// Begins a reading by the calling thread: until its next one all that it asks of the module's models comes from
    /// the show as it is now, or from the show of the thread's CShowReading. The models' GetInstance and the free
    /// functions beside them do this, so that whoever gets all the models that it needs before it asks them sees one
    /// show, and no read takes a lock.
    void BeginReading();
    const SShow& Reading();

private:
    CSnapshot<SShow> m_show;
};

/// While it exists, the calling thread's readings are of this show, whatever the host's show is by then. To be
/// destroyed by the thread that made it, the last one first.
class CShowReading {
public:
    explicit CShowReading(std::shared_ptr<const SShow> show);
    ~CShowReading();
    CShowReading(const CShowReading&) = delete;
    CShowReading& operator=(const CShowReading&) = delete;

private:
    std::shared_ptr<const SShow> m_outer;
};
