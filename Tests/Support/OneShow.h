#pragma once

#include "HostModels/Show/HostShow.h"

#include <QString>

/// Whether the calling thread, in a channel's callback, goes on reading the show that it read before a change.
inline bool ReadsOneShow()
{
    const QString before = CShowReading()->name;
    CHostShow::GetInstance().Change([](SShow& show) { show.name += 'x'; });
    return CShowReading()->name == before;
}
