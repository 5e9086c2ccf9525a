#pragma once

#include "HostModels/Show/Show.h"
#include "HostModels/Show/Snapshot.h"

#include <memory>
#include <utility>

/// The show that the host has loaded. Any thread may read and change it.
class CHostShow {
public:
    static CHostShow& GetInstance();

    /// The current version of the show. It doesn't change; a later Change publishes another one.
    std::shared_ptr<const SShow> Current() const { return m_show.Read(); }
    /// Replaces the show.
    void Load(SShow show)
    {
        m_show.Change([&](SShow& current) { current = std::move(show); });
    }
    /// Calls edit(SShow&) with a copy and publishes the copy. Then calls published(before, after), if given. See
    /// CSnapshot::Change.
    template <class... Calls>
    void Change(Calls&&... calls)
    {
        m_show.Change(std::forward<Calls>(calls)...);
    }

private:
    CSnapshot<SShow> m_show;
};

/// Pins a version of the show for the calling thread. While the object exists, all models read this version on this
/// thread, without a lock, even if the show is changed meanwhile. Channels create one for each callback, the host for
/// each event, and models for each operation; a nested object uses the version of the outer one.
///
/// Destroy objects on the thread that created them, in reverse order.
class CShowReading {
public:
    /// Uses the version of the thread's enclosing CShowReading or, without one, the current version.
    CShowReading();
    /// Pins this version.
    explicit CShowReading(std::shared_ptr<const SShow> show);
    ~CShowReading();
    CShowReading(const CShowReading&) = delete;
    CShowReading& operator=(const CShowReading&) = delete;

    const SShow& operator*() const { return *m_read; }
    const SShow* operator->() const { return m_read; }

private:
    const SShow* const m_outer;
    const std::shared_ptr<const SShow> m_pinned; ///< null if it uses the version of the enclosing object
    const SShow* const m_read;
};
