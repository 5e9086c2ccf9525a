#include "HostModels/HostShow.h"

namespace {

thread_local std::shared_ptr<const SShow> t_reading;

} // namespace

CHostShow& CHostShow::GetInstance()
{
    static CHostShow show;
    return show;
}

void CHostShow::BeginReading()
{
    t_reading = m_show.Read();
}

const SShow& CHostShow::Reading()
{
    if (!t_reading)
        BeginReading();
    return *t_reading;
}
