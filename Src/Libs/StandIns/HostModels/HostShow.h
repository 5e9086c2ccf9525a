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
    /// Calls edit(SShow&) with a copy and makes that the show.
    template <class Edit>
    void Change(Edit&& edit)
    {
        m_show.Change(std::forward<Edit>(edit));
    }

    /// Begins a reading by the calling thread: until its next one all that it asks of the module's models comes from
    /// the show as it is now. The models' GetInstance and the free functions beside them do this, so that whoever
    /// gets all the models that it needs before it asks them sees one show, and no read takes a lock.
    void BeginReading();
    const SShow& Reading();

private:
    CSnapshot<SShow> m_show;
};
