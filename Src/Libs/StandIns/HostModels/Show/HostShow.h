#pragma once

#include "HostModels/Show/Show.h"
#include "HostModels/Show/Snapshot.h"

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

private:
    CSnapshot<SShow> m_show;
};

/// A thread's reading of the show: while it exists, every model that the thread asks answers from one show, whatever
/// the host's show is by then, and takes no lock. A channel opens one around each callback, the host around each event;
/// a model opens one in each operation, which joins that of its caller.
///
/// Destroy it on the thread that created it, the last one first.
class CShowReading {
public:
    /// Joins the thread's reading, or begins one of the show as it is now.
    CShowReading();
    /// Begins a reading of this show.
    explicit CShowReading(std::shared_ptr<const SShow> show);
    ~CShowReading();
    CShowReading(const CShowReading&) = delete;
    CShowReading& operator=(const CShowReading&) = delete;

    const SShow& operator*() const { return *m_read; }
    const SShow* operator->() const { return m_read; }

private:
    const SShow* const m_outer;
    const std::shared_ptr<const SShow> m_pinned; ///< null if it joined another reading
    const SShow* const m_read;
};
