#pragma once

#include "HostModels/Show/HostShow.h"

#include <QString>

/// Returns whether the calling thread, in a channel's callback, still reads the old show after the show has changed.
inline bool ReadsOneShow()
{
    const QString before = CShowReading()->name;
    CHostShow::GetInstance().Change([](SShow& show) { show.name += 'x'; });
    return CShowReading()->name == before;
}
